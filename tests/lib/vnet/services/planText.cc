// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/services/planText.hh"

#include "vnet/host/macAddress.hh"

#include <sstream>

namespace vnet::services {

namespace {

char const* GetName(Kind kind)
{
   switch (kind) {
   case Kind::Absent:
      return "absent";
   case Kind::Bridged:
      return "bridged";
   case Kind::HostOnly:
      return "host-only";
   case Kind::Nat:
      return "NAT";
   }
   return "";
}

void PutBridge(std::ostream& text, WantedBridge const& bridge)
{
   text << "bridge " << bridge.name << " " << host::MacAddress{bridge.mac}.ToString() << " mtu "
        << (bridge.mtu ? std::to_string(*bridge.mtu) : "of the adapter") << " alias "
        << bridge.alias << "\n";
}

void PutAddresses(std::ostream& text, WantedNetwork const& wanted)
{
   for (auto const& [address, length, scopeLink] : wanted.addresses) {
      text << "address " << address.ToString() << "/" << length << (scopeLink ? " link" : "")
           << "\n";
   }
   for (auto const& [address, length] : wanted.addresses6) {
      text << "address " << address << "/" << length << "\n";
   }
   for (auto const& [destination, source] : wanted.routes) {
      text << "route " << destination.ToString() << " from " << source.ToString() << "\n";
   }
}

void PutForwards(std::ostream& text, WantedNetwork const& wanted)
{
   for (auto const& [tcp, hostPort, address, vmPort] : wanted.forwards) {
      text << "forward " << (tcp ? "TCP " : "UDP ") << hostPort << " to " << address.ToString()
           << " " << vmPort << "\n";
   }
}

void PutFiles(std::ostream& text, WantedDnsmasq const& files)
{
   text << "dnsmasq " << files.configurationPath << " " << files.optionsPath << " "
        << files.serversPath << " " << files.pidPath << " " << files.leasePath << "\n";
}

} // namespace

std::string ToText(WantedNetwork const& wanted)
{
   std::ostringstream text;
   text << wanted.index << " " << GetName(wanted.kind) << "\n";
   PutBridge(text, wanted.bridge);
   for (auto const& [family, device, name, value, ofHost] : wanted.sysctls) {
      text << family << " " << device << " " << name << " " << value
           << (ofHost ? " of the host" : "") << "\n";
   }
   PutAddresses(text, wanted);
   PutForwards(text, wanted);
   if (wanted.dnsmasq) {
      PutFiles(text, *wanted.dnsmasq);
   }
   for (auto const& adapter : wanted.bridging.adapters) {
      text << "adapter " << adapter << (wanted.bridging.automatic ? " perhaps" : "") << "\n";
   }
   for (auto const& remark : wanted.remarks) {
      text << "remark " << remark << "\n";
   }
   return text.str();
}

} // namespace vnet::services
