// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/linux/editorTexts.hh"

#include "cui/localString.hh"

namespace netcfg::editorTexts {

utf::string GetNotApplicable()
{
   return cui::GetLocalString("@&!*@*@(msg.netcfg.linux.netlist.notApplicable)―");
}

utf::string GetNone()
{
   return cui::GetLocalString("@&!*@*@(msg.netcfg.linux.netlist.none)none");
}

utf::string GetBridged()
{
   return cui::GetLocalString("@&!*@*@(msg.netcfg.linux.netlist.type.bridged)bridged");
}

utf::string GetNat()
{
   return cui::GetLocalString("@&!*@*@(msg.netcfg.linux.netlist.type.nat)NAT");
}

utf::string GetHostOnly()
{
   return cui::GetLocalString("@&!*@*@(msg.netcfg.linux.netlist.type.hostonly)host-only");
}

utf::string GetAutoBridging()
{
   return cui::GetLocalString("@&!*@*@(msg.netcfg.linux.netlist.bridged.automatic)auto-bridging");
}

utf::string GetNatConnection()
{
   return cui::GetLocalString("@&!*@*@(msg.netcfg.linux.netlist.externalConnection.nat)NAT");
}

utf::string GetYes()
{
   return cui::GetLocalString("@&!*@*@(msg.netcfg.linux.netlist.dhcp.yes)yes");
}

utf::string GetNo()
{
   return cui::GetLocalString("@&!*@*@(msg.netcfg.linux.netlist.dhcp.no)no");
}

utf::string GetAutoDetect()
{
   return cui::GetLocalString("@&!*@*@(msg.netcfg.linux.netlist.subnetAuto)auto-detect");
}

} // namespace netcfg::editorTexts
