// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/services/layout.hh"

#include <algorithm>

namespace vnet::services {

namespace {

using Remarks = std::vector<std::string>;

constexpr std::uint32_t minMtu6 = 1280; // RFC 8200, 5

// Ranges of which no host can have an address: RFC 6890.
bool IsUsable(Subnet const& subnet)
{
   Subnet const unusable[] = {
      {{0x00000000}, 8}, // this network
      {{0x7f000000}, 8}, // loopback
      {{0xe0000000}, 3}, // multicast, reserved and broadcast
   };
   return std::none_of(std::begin(unusable), std::end(unusable),
                       [&subnet](auto const& range) { return range.Overlaps(subnet); });
}

std::optional<Subnet> FindSubnet(NetworkSettings const& settings, std::string const& name,
                                 Remarks& remarks)
{
   auto const subnet = settings.GetSubnet();
   if (!subnet) {
      remarks.push_back("serve " + name + ": it has no subnet");
      return {};
   }
   if (!IsUsable(*subnet) || subnet->prefixLength > 30) {
      remarks.push_back("serve " + name + ": " + subnet->ToString() + " holds no network");
      return {};
   }
   return subnet;
}

// The user's, if it can be one.
std::optional<Address> FindUserGateway(NetworkSettings const& settings, Subnet const& subnet,
                                       std::string const& name, Remarks& remarks)
{
   auto const gateway = settings.useNat ? settings.nat.gateway : std::nullopt;
   if (!gateway || subnet.IsHost(*gateway)) {
      return gateway;
   }
   remarks.push_back("make " + gateway->ToString() + " the gateway of " + name +
                     ": it is no host of " + subnet.ToString());
   return {};
}

// Whom the addresses belong to, whether in use or not.
struct Owners {
   Address adapter;
   Address gateway;
   Address server;

   bool Include(Address address) const
   {
      return address == adapter || address == gateway || address == server;
   }
};

Owners FindOwners(Subnet const& subnet, std::optional<Address> userGateway)
{
   auto const next = [userGateway](Address address, std::uint32_t step) {
      return address == userGateway ? Address{address.value + step} : address;
   };
   Address const last{subnet.GetBroadcast().value - 1};
   return {next(subnet.GetHost(1), 1), userGateway.value_or(subnet.GetHost(2)), next(last, -1U)};
}

std::vector<Range> Without(std::vector<Range> const& ranges, Address address)
{
   std::vector<Range> result;
   for (auto const& [begin, end] : ranges) {
      if (address < begin || end < address) {
         result.push_back({begin, end});
         continue;
      }
      if (begin < address) {
         result.push_back({begin, {address.value - 1}});
      }
      if (address < end) {
         result.push_back({{address.value + 1}, end});
      }
   }
   return result;
}

Range ChooseRange(DhcpSettings const& dhcp, Subnet const& subnet, Owners const& owners,
                  std::string const& name, Remarks& remarks)
{
   auto const begin = dhcp.rangeBegin;
   auto const end = dhcp.rangeEnd;
   if (begin && end && subnet.IsHost(*begin) && subnet.IsHost(*end) && *begin <= *end) {
      return {*begin, *end};
   }
   if (begin || end) {
      remarks.push_back("lease the range set for " + name + ": it is no range of " +
                        subnet.ToString());
   }
   auto const half = (subnet.GetBroadcast().value - subnet.address.value) / 2 + 1;
   return {subnet.GetHost(half), {owners.server.value - 1}};
}

std::vector<Range> FindRanges(DhcpSettings const& dhcp, Subnet const& subnet, Owners const& owners,
                              std::string const& name, Remarks& remarks)
{
   std::vector<Range> ranges = {ChooseRange(dhcp, subnet, owners, name, remarks)};
   for (auto const address : {owners.adapter, owners.gateway, owners.server}) {
      ranges = Without(ranges, address);
   }
   if (ranges.empty()) {
      remarks.push_back("lease addresses in " + name + ": its range has none that is free");
   }
   return ranges;
}

// Global and unique local unicast (RFC 4291, 2.4), with room for the host, the gateway and guests.
bool IsUsable(Prefix6 const& prefix)
{
   auto const first = prefix.address[0];
   bool const linkLocal = first == 0xfe && (prefix.address[1] & 0xc0) == 0x80;
   return first != 0 && first != 0xff && !linkLocal && prefix.length <= 125;
}

std::string FindObstacle6(NetworkSettings const& settings, bool hasIpv6)
{
   if (!hasIpv6) {
      return "the kernel has none";
   }
   auto const& prefix = settings.nat.ipv6Prefix;
   if (!prefix) {
      return "it has no prefix";
   }
   if (!IsUsable(*prefix)) {
      return prefix->ToString() + " holds no network";
   }
   return settings.mtu.value_or(minMtu6) < minMtu6 ? "its MTU is less than 1280" : "";
}

Layout6 MakeLayout6(Prefix6 prefix, bool useAdapter)
{
   // A network is one link, and links have prefixes of 64 bits or, with less, no autonomous guests.
   prefix.length = std::max(prefix.length, 64U);
   std::uint64_t const size = std::uint64_t{1} << std::min(128 - prefix.length, 16U);
   Layout6 layout{
      prefix, {}, prefix.GetHost(2), prefix.GetHost(size / 2), prefix.GetHost(size - 2)};
   if (useAdapter) {
      layout.adapter = prefix.GetHost(1);
   }
   return layout;
}

std::optional<Layout6> FindLayout6(NetworkSettings const& settings, std::string const& name,
                                   bool hasIpv6, Remarks& remarks)
{
   if (!settings.useNat || !settings.nat.enableIpv6) {
      return {};
   }
   auto const obstacle = FindObstacle6(settings, hasIpv6);
   if (!obstacle.empty()) {
      remarks.push_back("use IPv6 in " + name + ": " + obstacle);
      return {};
   }
   return MakeLayout6(*settings.nat.ipv6Prefix, settings.useAdapter);
}

// Fills what a /30 can't hold.
void LayOutServices(Layout& layout, NetworkSettings const& settings, Owners const& owners,
                    std::string const& name, Remarks& remarks)
{
   if (settings.useDhcp || settings.useNat) {
      layout.server = owners.server;
   }
   if (settings.useAdapter) {
      layout.adapter = owners.adapter;
   }
   if (settings.useDhcp) {
      layout.ranges = FindRanges(settings.dhcp, layout.subnet, owners, name, remarks);
   }
}

// The two hosts are the gateway, or without one the adapter, and a guest.
void LayOutPair(Layout& layout, NetworkSettings const& settings, std::string const& name,
                Remarks& remarks)
{
   if (settings.useDhcp) {
      remarks.push_back("lease addresses in " + name + ": " + layout.subnet.ToString() +
                        " is full");
   }
   if (settings.useAdapter && layout.gateway) {
      remarks.push_back("give the host an address in " + name + ": " + layout.subnet.ToString() +
                        " is full");
   } else if (settings.useAdapter) {
      layout.adapter = layout.subnet.GetHost(1);
   }
}

} // namespace

bool Layout::IsGuest(Address address) const
{
   return subnet.IsHost(address) && address != adapter && address != gateway && address != server;
}

std::optional<Layout> LayOut(NetworkSettings const& settings, std::string const& name, bool hasIpv6,
                             Remarks& remarks)
{
   auto const subnet = FindSubnet(settings, name, remarks);
   if (!subnet) {
      return {};
   }
   Layout layout;
   layout.subnet = *subnet;
   auto const owners = FindOwners(*subnet, FindUserGateway(settings, *subnet, name, remarks));
   if (settings.useNat) {
      layout.gateway = owners.gateway;
   }
   if (subnet->prefixLength == 30) {
      LayOutPair(layout, settings, name, remarks);
   } else {
      LayOutServices(layout, settings, owners, name, remarks);
   }
   layout.ipv6 = FindLayout6(settings, name, hasIpv6, remarks);
   return layout;
}

} // namespace vnet::services
