// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/network.hh"

#include "cui/format.hh"
#include "cui/localString.hh"
#include "tvnetcfg/common/assign.hh"
#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/dhcp.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/common/nat.hh"

#include <algorithm>
#include <array>
#include <cstring>

namespace netcfg::common {

namespace {

// The database keeps a name in a field of 128 bytes, with its NUL.
std::size_t const LONGEST_DISPLAY_NAME = 127;

} // namespace

Network::Network(Editable* editable, Type type, unsigned int index, bool initialize)
   : editable(editable), type(type), index(index)
{
   if (type == Bridged) {
      bridge = new Bridge(editable, this, initialize);
   } else if (initialize) {
      InitializeHosted();
   }
   dhcp = new DHCP(this);
   nat = new common::NAT(this);
}

Network::~Network()
{
   if (type == Bridged) {
      delete bridge;
      bridge = nullptr;
   }
   delete dhcp;
   delete nat;
}

utf::string Network::NetToString(unsigned int index)
{
   return cui::Format("tvnet%u", index);
}

bool Network::IsValidDisplayName(char const* name)
{
   static std::array<utf::string, 3> const reserved = {NetToString(0), NetToString(1),
                                                       NetToString(8)};
   std::size_t const bytes = strlen(name);
   return bytes >= 1 && bytes <= LONGEST_DISPLAY_NAME &&
          std::none_of(reserved.begin(), reserved.end(), [name](utf::string const& taken) {
             return strcmp(name, taken.c_str()) == 0;
          });
}

void Network::InitializeHosted()
{
   subnetAddr = utf::string();
   subnetMask = "255.255.255.0";
   hasVirtualAdapter = true;
   hasDHCP = true;
}

void Network::SetType(Type newType, OnDone onDone)
{
   if (newType == type) {
      return;
   }
   if (newType == Bridged && editable->GetUnusedHostAdapter().empty()) {
      Refuse(
         onDone,
         cui::GetLocalString(
            "@&!*@*@(msg.netcfg.common.network.setType.noBridgedAdapters)"
            "Cannot change network to bridged: There are no un-bridged host network adapters."));
      return;
   }
   Type const oldType = type;
   type = newType;
   if (oldType == Bridged) {
      LeaveBridged();
   } else if (newType == Bridged) {
      bridge = new Bridge(editable, this, true);
   }
   changed.emit();
}

void Network::LeaveBridged()
{
   delete bridge;
   bridge = nullptr;
   InitializeHosted();
}

void Network::SetHasDHCP(bool value)
{
   Assign(hasDHCP, value, changed);
}

void Network::SetHasVirtualAdapter(bool value)
{
   Assign(hasVirtualAdapter, value, changed);
}

void Network::SetDisplayName(utf::string const& value)
{
   Assign(displayName, value, changed);
}

void Network::SetSubnetAddr(utf::string value)
{
   Assign(subnetAddr, value, changed);
}

void Network::SetSubnetMask(utf::string value)
{
   Assign(subnetMask, value, changed);
}

void Network::SetMTU(utf::string const& value)
{
   Assign(mtu, value, changed);
}

} // namespace netcfg::common
