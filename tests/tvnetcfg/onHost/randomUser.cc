// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/onHost/randomUser.hh"

#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/nat.hh"

#include <algorithm>
#include <utility>

namespace netcfg::onHost {

using common::Editable;
using common::NAT;
using common::Network;
using common::OnDone;

namespace {

// A laboratory with more networks would see the same things more slowly.
constexpr unsigned int mostNetworks = 7;
constexpr unsigned int indices = 20;
constexpr std::size_t mostForwards = 6;
// A forward to the gateway itself leads nowhere.
constexpr unsigned int firstGuest = 10;
constexpr unsigned int firstGateway = 60;

std::string GetName(Network const& network)
{
   return Network::NetToString(network.GetIndex()).c_str();
}

bool IsHosted(Network const* network)
{
   return network && network->GetType() != Network::Bridged;
}

} // namespace

RandomUser::RandomUser(std::uint32_t seed, std::set<unsigned int> keptNetworks)
   : random(seed), kept(std::move(keptNetworks))
{}

unsigned int RandomUser::Pick(unsigned int below)
{
   return random() % below;
}

Network* RandomUser::PickNetwork(Editable& model)
{
   std::vector<Network*> present;
   for (auto const& [index, network] : model.GetNetworks()) {
      if (network) {
         present.push_back(network);
      }
   }
   return present.empty() ? nullptr : PickOf(present);
}

std::string RandomUser::Edit(Editable& model)
{
   std::string told;
   for (unsigned int left = 1 + Pick(4); left > 0; --left) {
      auto const change = EditOnce(model);
      told += (told.empty() || change.empty() ? "" : ", ") + change;
   }
   return told;
}

std::string RandomUser::EditOnce(Editable& model)
{
   unsigned int const kind = Pick(12);
   if (kind == 0) {
      return Add(model);
   }
   if (kind == 1) {
      return Remove(model);
   }
   if (kind == 2) {
      return ChangeType(model);
   }
   if (kind == 3) {
      return ChangeAdapter(model);
   }
   Network* const network = PickNetwork(model);
   if (!IsHosted(network)) {
      return {};
   }
   if (kind < 8) {
      return ChangeHosted(*network);
   }
   return kind < 10 ? ChangeForwards(*network) : ChangeNat(*network);
}

// A third of an index is its own range, so that most edits go together with the others.
void RandomUser::SetSubnet(Network& network)
{
   unsigned int const third = 10 * network.GetIndex() + Pick(4);
   static std::vector<std::string> const masks{"255.255.255.0", "255.255.255.128"};
   network.SetSubnetAddr(("172.20." + std::to_string(third) + ".0").c_str());
   network.SetSubnetMask(PickOf(masks).c_str());
   network.GetNAT()->SetGatewayIP("");
   network.GetNAT()->SetPortForwardList({});
}

std::string RandomUser::Add(Editable& model)
{
   auto const& networks = model.GetNetworks();
   auto const present =
      std::ranges::count_if(networks, [](auto const& each) { return each.second; });
   unsigned int const index = Pick(indices);
   if (present >= mostNetworks || model.GetNetwork(index)) {
      return {};
   }
   static std::vector<Network::Type> const types{Network::Bridged, Network::NAT, Network::HostOnly};
   Network* const network = model.AddNetwork(PickOf(types), index, true, OnDone());
   if (IsHosted(network)) {
      SetSubnet(*network);
   }
   return network ? "add " + GetName(*network) : "";
}

std::string RandomUser::Remove(Editable& model)
{
   Network* const network = PickNetwork(model);
   if (!network || kept.contains(network->GetIndex())) {
      return {};
   }
   auto const name = GetName(*network);
   model.RemoveNetwork(network->GetIndex());
   return "remove " + name;
}

std::string RandomUser::ChangeType(Editable& model)
{
   Network* const network = PickNetwork(model);
   if (!network) {
      return {};
   }
   bool const wasHosted = IsHosted(network);
   network->SetType(static_cast<Network::Type>(Pick(3)), OnDone());
   if (IsHosted(network) && !wasHosted) {
      SetSubnet(*network);
      network->SetMTU("-");
   }
   return "type of " + GetName(*network);
}

std::string RandomUser::ChangeAdapter(Editable& model)
{
   Network* const network = PickNetwork(model);
   if (!network || !network->GetBridge()) {
      return {};
   }
   common::Bridge& bridge = *network->GetBridge();
   std::vector<utf::string> names;
   for (auto const& [name, user] : model.GetHostAdapters()) {
      names.push_back(name);
   }
   utf::string const name = PickOf(names);
   unsigned int const way = Pick(4);
   if (way == 0) {
      bridge.SetAuto(Toss(), OnDone());
   } else if (way == 1 && bridge.IsAuto()) {
      bridge.AddAutoAdapter(name, OnDone());
   } else if (way == 2 && bridge.IsAuto()) {
      bridge.RemoveAutoAdapter(name);
   } else {
      bridge.SetAdapter(name, OnDone());
   }
   return "adapters of " + GetName(*network);
}

std::string RandomUser::ChangeHosted(Network& network)
{
   static std::vector<std::string> const mtus{"-", "1400", "1280", "1500", "9000"};
   switch (Pick(4)) {
   case 0:
      network.SetHasDHCP(Toss());
      return "DHCP of " + GetName(network);
   case 1:
      network.SetHasVirtualAdapter(Toss());
      return "adapter of " + GetName(network);
   case 2:
      network.SetMTU(PickOf(mtus).c_str());
      return "MTU of " + GetName(network);
   default:
      SetSubnet(network);
      return "subnet of " + GetName(network);
   }
}

std::string RandomUser::MakeAddress(Network const& network, unsigned int first)
{
   std::string const subnet = network.GetSubnetAddr().c_str();
   return subnet.substr(0, subnet.rfind('.') + 1) + std::to_string(first + Pick(40));
}

std::string RandomUser::ChangeNat(Network& network)
{
   NAT& nat = *network.GetNAT();
   switch (Pick(4)) {
   case 0:
      nat.SetUDPTimeout(10 + Pick(100));
      return "UDP timeout of " + GetName(network);
   case 1:
      nat.SetIPv6Prefix(("fd00:0:0:" + std::to_string(1 + network.GetIndex()) + "::/64").c_str());
      nat.SetEnableIPv6(Toss());
      return "IPv6 of " + GetName(network);
   case 2:
      nat.SetGatewayIP("");
      return "gateway of " + GetName(network);
   default:
      nat.SetGatewayIP(MakeAddress(network, firstGateway).c_str());
      return "gateway of " + GetName(network);
   }
}

std::string RandomUser::ChangeForwards(Network& network)
{
   NAT::PortForwardList list = network.GetNAT()->GetPortForwardList();
   if (!list.empty() && (list.size() >= mostForwards || Pick(3) == 0)) {
      list.erase(list.begin() + Pick(static_cast<unsigned int>(list.size())));
   } else {
      // Two networks that want one port of the host are another test's subject.
      auto const port = static_cast<std::uint16_t>(10000 + 100 * network.GetIndex() + Pick(100));
      bool const tcp = Toss();
      std::erase_if(list,
                    [&](auto const& each) { return each.hostPort == port && each.tcp == tcp; });
      list.push_back({port, static_cast<std::uint16_t>(1 + Pick(65535)), tcp,
                      MakeAddress(network, firstGuest).c_str(),
                      Toss() ? "web; \"{}\" \xC3\xA4" : ""});
   }
   network.GetNAT()->SetPortForwardList(list);
   return "forwards of " + GetName(network);
}

} // namespace netcfg::onHost
