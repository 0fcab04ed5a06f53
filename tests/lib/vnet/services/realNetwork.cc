// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/services/realNetwork.hh"

#include "support/netlab/dhcpClient.hh"
#include "vnet/host/addresses.hh"
#include "vnet/host/routes.hh"
#include "vnet/host/sysctl.hh"
#include "vnet/process/serviceUser.hh"
#include "vnet/values/address.hh"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace vnet::services {

namespace {

Address Parse(std::string const& text)
{
   return *Address::Parse(text);
}

template <class Thing>
std::vector<Thing> GetGone(std::vector<Thing> const& before, std::vector<Thing> const& now)
{
   std::vector<Thing> gone;
   std::copy_if(before.begin(), before.end(), std::back_inserter(gone), [&now](auto const& thing) {
      return std::find(now.begin(), now.end(), thing) == now.end();
   });
   return gone;
}

} // namespace

void RealNetworkTest::SetUp()
{
   LabTest::SetUp();
   if (IsSkipped()) {
      return;
   }
   MakeOutside();
   socket = std::make_unique<host::RouteSocket>();
   ruleset = std::make_unique<host::Ruleset>();
   auto const service = process::FindServiceUser();
   facts.dnsmasqUser = service.user;
   facts.dnsmasqGroup = service.group;
   facts.waysOut = {{"eth0", 1}};
   facts.nameservers = {"198.51.100.2"};
   facts.forwardsIpv6ByDevice =
      host::Sysctl().Read("ipv6", "default", "force_forwarding").has_value();
}

void RealNetworkTest::MakeOutside()
{
   auto const& host = GetHost();
   netlab::Connect(host, "eth0", outside, "eth0");
   host.AddAddress("eth0", "198.51.100.1/24");
   outside.AddAddress("eth0", "198.51.100.2/24");
   host.Command("ip addr add 2001:db8::1/64 dev eth0 nodad");
   outside.Command("ip addr add 2001:db8::2/64 dev eth0 nodad");
   host.Command("ip route add default via 198.51.100.2");
   host.Command("ip -6 route add default via 2001:db8::2");
   AddResolver("198.51.100.2", "203.0.113.7");
}

void RealNetworkTest::AddResolver(std::string const& address, std::string const& known)
{
   resolvers.emplace_back(outside, address, known);
}

void RealNetworkTest::TearDown()
{
   for (auto& [index, network] : made) {
      if (network.dnsmasq) {
         network.dnsmasq->Stop();
      }
   }
}

NetworkSettings& RealNetworkTest::AddHostOnly(unsigned int index, std::string const& subnet)
{
   auto& network = settings.networks[index];
   network.subnetAddress = Parse(subnet);
   network.subnetMask = Parse("255.255.255.0");
   network.useAdapter = true;
   network.useDhcp = true;
   return network;
}

NetworkSettings& RealNetworkTest::AddNat(unsigned int index, std::string const& subnet)
{
   auto& network = AddHostOnly(index, subnet);
   network.useNat = true;
   return network;
}

WantedNetwork RealNetworkTest::Make(unsigned int index)
{
   auto wanted = Plan(settings, index, facts);
   MakeBridge(wanted);
   ruleset->Run(wanted.ruleset, wanted.bridge.name);
   host::Sysctl const sysctl;
   for (auto const& [family, device, name, value, ofHost] : wanted.sysctls) {
      sysctl.Write(family, device, name, value);
   }
   auto const link = host::Links(*socket).Find(wanted.bridge.name);
   MakeAddresses(wanted, *link);
   MakeDnsmasq(wanted, *link);
   return wanted;
}

void RealNetworkTest::Park(unsigned int index)
{
   ruleset->Run(Plan(settings, index, facts).parkedRuleset, "parked");
}

void RealNetworkTest::MakeBridge(WantedNetwork const& wanted)
{
   auto const& bridge = wanted.bridge;
   auto const mtu = bridge.mtu.value_or(1500);
   host::Links links(*socket);
   auto const link = links.Find(bridge.name);
   if (!link) {
      links.CreateBridge({bridge.name, {bridge.mac}, mtu, bridge.alias});
   } else if (link->mtu != mtu) {
      links.SetMtu(*link, mtu);
   }
}

void RealNetworkTest::MakeAddresses(WantedNetwork const& wanted, host::Link const& link)
{
   auto const& before = made[wanted.index].wanted;
   host::Addresses addresses(*socket);
   auto const convert = [&link](WantedAddress const& address) {
      auto const scope = address.scopeLink ? RT_SCOPE_LINK : RT_SCOPE_UNIVERSE;
      return host::InterfaceAddress{link.index, address.address,
                                    static_cast<unsigned char>(address.prefixLength), 0,
                                    static_cast<unsigned char>(scope)};
   };
   for (auto const& address : GetGone(before.addresses, wanted.addresses)) {
      addresses.Remove(link, convert(address));
   }
   for (auto const& address : wanted.addresses) {
      addresses.Add(link, convert(address));
   }
   for (auto const& [address, length] : wanted.addresses6) {
      GetHost().Command("ip addr replace " + address + "/" + std::to_string(length) + " dev " +
                        link.name + " nodad");
   }
   MakeRoutes(wanted, link);
}

void RealNetworkTest::MakeRoutes(WantedNetwork const& wanted, host::Link const& link)
{
   auto const convert = [&link](WantedRoute const& wantedRoute) {
      host::Route route;
      route.destination = wantedRoute.destination.address;
      route.prefixLength = static_cast<unsigned char>(wantedRoute.destination.prefixLength);
      route.link = link.index;
      route.source = wantedRoute.source;
      return route;
   };
   host::Routes routes(*socket);
   for (auto const& route : GetGone(made[wanted.index].wanted.routes, wanted.routes)) {
      routes.Remove(convert(route));
   }
   for (auto const& route : wanted.routes) {
      routes.Add(convert(route));
   }
}

void RealNetworkTest::MakeDnsmasq(WantedNetwork const& wanted, host::Link const& link)
{
   auto& [before, dnsmasq] = made[wanted.index];
   before = wanted;
   if (!wanted.dnsmasq) {
      if (dnsmasq) {
         dnsmasq->Stop();
      }
      return;
   }
   auto const& files = *wanted.dnsmasq;
   dnsmasq.emplace(process::DnsmasqFiles{files.configurationPath, files.optionsPath,
                                         files.serversPath, files.pidPath, files.leasePath});
   dnsmasq->Apply(
      {files.configuration, files.options, files.servers, static_cast<std::uint64_t>(link.index)});
}

Guest& RealNetworkTest::Plug(unsigned int index)
{
   auto& guest = guests.emplace_back();
   std::string const port = "port" + std::to_string(guests.size());
   netlab::Connect(guest.place, guest.device, GetHost(), port);
   GetHost().Command("ip link set " + port + " master " + GetNetworkName(index));
   return guest;
}

Guest& RealNetworkTest::AddGuest(unsigned int index)
{
   auto& guest = Plug(index);
   auto const lease = netlab::DhcpClient(guest.place, guest.device).Acquire();
   EXPECT_TRUE(lease) << "no lease";
   if (lease) {
      netlab::DhcpClient::Configure(guest.place, guest.device, *lease);
   }
   return guest;
}

Guest& RealNetworkTest::AddGuest(unsigned int index, std::string const& address,
                                 std::string const& router)
{
   auto& guest = Plug(index);
   guest.place.AddAddress(guest.device, address);
   guest.place.Command("ip route add default via " + router);
   return guest;
}

} // namespace vnet::services
