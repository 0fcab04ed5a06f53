// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/onHost/savedHost.hh"

#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/nat.hh"
#include "vnet/database/database.hh"

#include <algorithm>
#include <gmock/gmock.h>

namespace netcfg::onHost {

using common::Editable;
using common::NAT;
using common::Network;

namespace {

constexpr std::uint32_t adapterNumber = 1;
constexpr std::uint32_t gatewayNumber = 2;

std::string GetName(Network const& network)
{
   return vnet::GetNetworkName(network.GetIndex());
}

vnet::PortForward Convert(NAT::PortForwardEntry const& entry)
{
   return {entry.tcp, entry.hostPort, vnet::Address::Parse(entry.ip.c_str()).value(), entry.vmPort,
           entry.description.c_str()};
}

// What the database is to hold of a hosted network's NAT.
vnet::NatSettings ConvertNat(NAT const& nat, vnet::NatSettings stored)
{
   stored.gateway = vnet::Address::Parse(nat.GetGatewayIP().c_str());
   stored.udpTimeout = nat.GetUDPTimeout();
   stored.enableIpv6 = nat.GetEnableIPv6();
   stored.ipv6Prefix = vnet::Prefix6::Parse(nat.GetIPv6Prefix().c_str());
   stored.forwards.clear();
   std::ranges::transform(nat.GetPortForwardList(), std::back_inserter(stored.forwards), Convert);
   std::ranges::sort(stored.forwards, [](auto const& one, auto const& other) {
      return std::pair(!one.tcp, one.hostPort) < std::pair(!other.tcp, other.hostPort);
   });
   return stored;
}

std::optional<std::uint32_t> GetMtu(Network const& network)
{
   std::string const text = network.GetMTU().c_str();
   return text == "-" ? std::nullopt : std::optional(static_cast<std::uint32_t>(std::stoul(text)));
}

// What the database is to hold of a network; what no editor changes stays as it is stored.
vnet::NetworkSettings Convert(Network& network, vnet::NetworkSettings const& stored)
{
   if (network.GetType() == Network::Bridged) {
      auto bridged = stored;
      bridged.subnetAddress.reset();
      bridged.subnetMask.reset();
      bridged.useAdapter = bridged.useDhcp = bridged.useNat = false;
      return bridged;
   }
   auto hosted = stored;
   hosted.subnetAddress = vnet::Address::Parse(network.GetSubnetAddr().c_str());
   hosted.subnetMask = vnet::Address::Parse(network.GetSubnetMask().c_str());
   hosted.mtu = GetMtu(network);
   hosted.useAdapter = network.GetHasVirtualAdapter();
   hosted.useDhcp = network.GetHasDHCP();
   hosted.useNat = network.GetType() == Network::NAT;
   if (hosted.useNat) {
      hosted.nat = ConvertNat(*network.GetNAT(), stored.nat);
   }
   return hosted;
}

std::string Describe(vnet::PortForward const& forward)
{
   return std::string(forward.tcp ? "tcp " : "udp ") + std::to_string(forward.hostPort) + " " +
          forward.address.ToString() + " " + std::to_string(forward.vmPort) + " " +
          forward.description;
}

std::vector<std::string> Describe(vnet::NetworkSettings const& settings)
{
   auto const write = [](auto const& address) { return address ? address->ToString() : "none"; };
   std::vector<std::string> lines = {
      "subnet " + write(settings.subnetAddress),
      "mask " + write(settings.subnetMask),
      "mtu " + (settings.mtu ? std::to_string(*settings.mtu) : "none"),
      "adapter " + std::to_string(settings.useAdapter),
      "dhcp " + std::to_string(settings.useDhcp),
      "nat " + std::to_string(settings.useNat),
      "gateway " + write(settings.nat.gateway),
      "udp timeout " + std::to_string(settings.nat.udpTimeout),
      "ipv6 " + std::to_string(settings.nat.enableIpv6) + " " + write(settings.nat.ipv6Prefix)};
   std::ranges::transform(settings.nat.forwards, std::back_inserter(lines),
                          [](auto const& forward) { return Describe(forward); });
   return lines;
}

std::set<unsigned int> ListIndices(std::string const& text, std::string const& prefix)
{
   std::set<unsigned int> indices;
   for (auto at = text.find(prefix); at != std::string::npos; at = text.find(prefix, at + 1)) {
      auto const start = at + prefix.size();
      auto const end = text.find_first_not_of("0123456789", start);
      if (end != start) {
         indices.insert(static_cast<unsigned int>(std::stoul(text.substr(start, end - start))));
      }
   }
   return indices;
}

} // namespace

void SavedHostTest::SetUp()
{
   VnetsTest::SetUp();
   if (IsSkipped()) {
      return;
   }
   WriteDatabase(GetAutomatic({"eth0", "eth1"}) + GetHosted());
   RunWell({"start"});
}

vnet::Settings SavedHostTest::ReadSettings()
{
   return vnet::Database(vnet::Database::Place()).GetSettings();
}

void SavedHostTest::ExpectStored(vnet::Settings const& settings, Editable& model)
{
   std::set<unsigned int> wanted;
   for (auto const& [index, network] : model.GetNetworks()) {
      if (!network) {
         continue;
      }
      wanted.insert(index);
      auto const found = settings.networks.find(index);
      auto const stored =
         found == settings.networks.end() ? vnet::NetworkSettings() : found->second;
      EXPECT_EQ(Describe(Convert(*network, stored)), Describe(stored)) << GetName(*network);
      bool const isAuto = network->GetType() == Network::Bridged && network->GetBridge()->IsAuto();
      EXPECT_EQ(isAuto, settings.automatic == index);
   }
   for (auto const& [index, stored] : settings.networks) {
      // A bridged network whose adapters were all taken is in no model, whatever is stored of it.
      EXPECT_TRUE(wanted.contains(index) || !stored.IsHosted()) << index;
   }
   for (auto const& [adapter, network] : model.GetHostAdapters()) {
      auto const found = settings.adapters.find(adapter.c_str());
      EXPECT_EQ(network != nullptr, found != settings.adapters.end()) << adapter.c_str();
      if (network && found != settings.adapters.end()) {
         EXPECT_EQ(network->GetIndex(), found->second) << adapter.c_str();
      }
   }
}

void SavedHostTest::ExpectHosted(Network& network)
{
   auto const name = GetName(network);
   auto const link = GetHost().Command("ip -o link show dev " + name);
   auto const mtu = GetMtu(network).value_or(1500);
   EXPECT_THAT(link, testing::HasSubstr(" mtu " + std::to_string(mtu) + " "));

   auto const subnet = vnet::Subnet::Make(*vnet::Address::Parse(network.GetSubnetAddr().c_str()),
                                          *vnet::Address::Parse(network.GetSubnetMask().c_str()));
   ASSERT_TRUE(subnet);
   auto const addresses = GetHost().Command("ip -o -4 addr show dev " + name);
   auto const has = [&](vnet::Address address) {
      return addresses.find(" " + address.ToString() + "/") != std::string::npos;
   };
   EXPECT_EQ(network.GetHasVirtualAdapter(), has(subnet->GetHost(adapterNumber))) << addresses;
   bool const isNat = network.GetType() == Network::NAT;
   EXPECT_EQ(isNat, has(vnet::Address::Parse(network.GetNAT()->GetGatewayIP().c_str())
                           .value_or(subnet->GetHost(gatewayNumber))))
      << addresses;

   auto const rules = GetHost().Command("nft -n list table inet tavrin-" + name);
   EXPECT_EQ(isNat, rules.find("masquerade") != std::string::npos) << rules;
   for (auto const& entry : network.GetNAT()->GetPortForwardList()) {
      auto const target = std::string(entry.ip.c_str()) + " . " + std::to_string(entry.vmPort);
      EXPECT_EQ(isNat, rules.find(target) != std::string::npos) << target << "\n" << rules;
   }
}

void SavedHostTest::ExpectBridged(Network& network)
{
   auto const rules = GetHost().Command("nft -n list table inet tavrin-" + GetName(network));
   EXPECT_EQ(std::string::npos, rules.find("masquerade")) << rules;
   EXPECT_EQ("", GetHost().Command("ip -o -4 addr show dev " + GetName(network)));
}

void SavedHostTest::ExpectSaved(Editable& model, std::set<unsigned int> const& plugged)
{
   ExpectStored(ReadSettings(), model);
   std::set<unsigned int> bridges = plugged;
   std::size_t services = 0;
   for (auto const& [index, network] : model.GetNetworks()) {
      if (!network) {
         continue;
      }
      if (network->GetType() != Network::Bridged) {
         ExpectHosted(*network);
         bridges.insert(index);
         services += network->GetHasDHCP() || network->GetType() == Network::NAT;
      } else if (!network->GetBridge()->GetAdapter().empty()) {
         ExpectBridged(*network);
         bridges.insert(index);
      }
   }
   EXPECT_EQ(bridges, ListIndices(GetHost().Command("ip -o link show type bridge"), ": tvnet"));
   EXPECT_EQ(bridges, ListIndices(ListTables(), "inet tavrin-tvnet"));
   EXPECT_EQ(services, ListDnsmasqs().size());
   EXPECT_EQ(bridges.empty() ? 0u : 1u, ListWatchers().size());
   ExpectInLine();
}

void SavedHostTest::ExpectInLine()
{
   auto const status = RunWell({"status"});
   EXPECT_THAT(status, testing::Not(testing::HasSubstr("differs")));
}

} // namespace netcfg::onHost
