// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/doctor/checks.hh"
#include "vnet/doctor/shellWord.hh"
#include "vnet/engine/ours.hh"

#include <algorithm>
#include <linux/rtnetlink.h>
#include <map>

namespace vnet::doctor {

namespace {

constexpr unsigned char halfOfAll = 1; // prefix length: as good as a default route

// The words of ip-route(8) for routes by which something happens to packets.
std::map<int, std::string> const types = {{RTN_UNICAST, ""},
                                          {RTN_BLACKHOLE, "blackhole "},
                                          {RTN_UNREACHABLE, "unreachable "},
                                          {RTN_PROHIBIT, "prohibit "}};

std::string const textBehind = " Guests, or what is behind it, can't be reached; one of the two "
                               "needs another subnet.";

Subnet GetSubnet(Address address, unsigned int prefixLength)
{
   Subnet subnet{address, prefixLength};
   subnet.address.value &= subnet.GetMask().value;
   return subnet;
}

// The narrower route goes first, and tables of policies come before the main one.
bool GoesFirst(host::Route const& route, Subnet const& subnet)
{
   auto const address = route.destination.ToAddress();
   bool const counts = address && types.contains(route.type) && route.prefixLength > halfOfAll &&
                       route.table != RT_TABLE_LOCAL;
   return counts && GetSubnet(*address, route.prefixLength).Overlaps(subnet) &&
          (route.table != RT_TABLE_MAIN || route.prefixLength >= subnet.prefixLength);
}

bool IsOthers(host::Link const* link)
{
   return !link || !engine::IsOurs(*link);
}

Finding MakeFinding(Patient const& patient, Subnet const& subnet, std::string const& what,
                    std::string const& remedy)
{
   return {"overlap", patient.index,
           what + ", which overlaps the network's subnet " + subnet.ToString() + "." + textBehind,
           remedy + " && " + patient.GetStart()};
}

Finding MakeFinding(Patient const& patient, Subnet const& subnet,
                    host::InterfaceAddress const& address, host::Link const& link)
{
   auto const text = address.address.ToString() + "/" + std::to_string(address.prefixLength);
   return MakeFinding(patient, subnet, link.name + " has the address " + text,
                      "ip address del " + text + " dev " + MakeShellWord(link.name));
}

Finding MakeFinding(Patient const& patient, Subnet const& subnet, host::Route const& route,
                    host::Link const* link)
{
   auto const words = types.at(route.type) + route.ToString();
   auto const remedy =
      "ip route del " + words + (link ? " dev " + MakeShellWord(link->name) : "") +
      (route.table == RT_TABLE_MAIN ? "" : " table " + std::to_string(route.table));
   return MakeFinding(patient, subnet,
                      (link ? link->name + " leads to " : "A route leads to ") + words, remedy);
}

// A route that comes and goes with an address that was told already.
bool IsOfAddress(host::Route const& route, std::vector<int> const& linksOfAddresses)
{
   return route.protocol == RTPROT_KERNEL &&
          std::ranges::find(linksOfAddresses, route.link) != linksOfAddresses.end();
}

} // namespace

Findings FindOverlaps(Patient const& patient, Surroundings const& around)
{
   Findings findings;
   auto const subnet = patient.settings.GetSubnet();
   if (!subnet) {
      return findings;
   }
   std::vector<int> linksOfAddresses;
   for (auto const& each : around.addresses) {
      auto const* const link = around.FindLink(each.link);
      auto const address = each.address.ToAddress();
      if (link && IsOthers(link) && address && subnet->Contains(*address)) {
         findings.push_back(MakeFinding(patient, *subnet, each, *link));
         linksOfAddresses.push_back(each.link);
      }
   }
   for (auto const& route : around.routes) {
      auto const* const link = around.FindLink(route.link);
      if (IsOthers(link) && GoesFirst(route, *subnet) && !IsOfAddress(route, linksOfAddresses)) {
         findings.push_back(MakeFinding(patient, *subnet, route, link));
      }
   }
   return findings;
}

} // namespace vnet::doctor
