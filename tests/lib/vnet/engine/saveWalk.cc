// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/engine/saveWalk.hh"

#include "vnet/vnetlib.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <gtest/gtest.h>
#include <utility>

namespace test {

namespace {

using vnet::PortForward;

struct Ended {};

class Walk {
public:
   explicit Walk(std::optional<unsigned int> atEnd) : end(atEnd) {}

   void SaveAll(Edited const& model);
   unsigned int GetCount() const { return count; }

private:
   std::optional<unsigned int> const end;
   unsigned int count = 0;
   int oldDefault = VNL_NO_VNET;

   // No result stops a save.
   template <class Function, class... Arguments>
   auto Call(Function function, Arguments... arguments)
   {
      if (end == count) {
         throw Ended();
      }
      ++count;
      return function(arguments...);
   }

   void SaveAdapters(Edited const& model);
   void SetDefault(int index);
   void StopServices(char const* name);
   void SaveRemoved(int index, char const* name);
   void SaveBridged(int index, char const* name, EditedNetwork const& network);
   void SaveHosted(int index, char const* name, EditedNetwork const& network);
   void SaveSubnet(char const* name, EditedNetwork const& network);
   void SaveNat(char const* name, EditedNetwork const& network);
   void RestartServices(char const* name, EditedNetwork const& network);
   std::vector<PortForward> LoadForwards(char const* name);
};

VnetRef MakeReference(int index)
{
   return {VNL_RECORD_VERSION, VNL_RECORD_VERSION, index};
}

void Walk::SaveAdapters(Edited const& model)
{
   VNL_HostAdapterList* list = nullptr;
   Call(VNL_GetHostAdapterList, 1, &list);
   for (auto* node = list->first; node; node = node->next) {
      auto const found = model.adapters.find(node->name);
      int const wanted =
         found == model.adapters.end() ? VNL_NO_VNET : static_cast<int>(found->second);
      VnetRef const source = node->network;
      VnetRef const target = MakeReference(wanted);
      if (source.vnet != wanted) {
         Call(VNL_BridgeMoveAdapter, node, source.vnet < 0 ? nullptr : &source, &target);
      }
   }
   Call(VNL_FreeHostAdapterList, list);
}

void Walk::SetDefault(int index)
{
   VnetRef const reference = MakeReference(index);
   Call(VNL_SetBridgeDefaultNetwork, &reference);
}

void Walk::StopServices(char const* name)
{
   Call(VNL_StopService, name, VNL_SERVICE_BRIDGE);
   Call(VNL_StopService, name, VNL_SERVICE_DHCP);
   Call(VNL_StopService, name, VNL_SERVICE_NAT);
   Call(VNL_DisableNetworkAdapter, name);
}

void Walk::SaveRemoved(int index, char const* name)
{
   if (index == oldDefault) {
      SetDefault(VNL_NO_VNET);
   }
   Call(VNL_DeleteVnetFromDatabase, name);
}

void Walk::SaveBridged(int index, char const* name, EditedNetwork const& network)
{
   Call(VNL_SetVnetSubnetAddr, name, nullptr);
   Call(VNL_SetVnetSubnetMask, name, nullptr);
   Call(VNL_SetVnetUseAdapter, name, false, 1);
   Call(VNL_SetVnetUseDHCP, name, false, 1);
   Call(VNL_SetVnetUseNAT, name, false, 1);
   if (network.automatic != (index == oldDefault)) {
      SetDefault(network.automatic ? index : VNL_NO_VNET);
   }
   Call(VNL_StartService, name, VNL_SERVICE_BRIDGE);
}

void Walk::SaveSubnet(char const* name, EditedNetwork const& network)
{
   if (network.subnet.empty()) {
      Call(VNL_AssignSubnetAddressToVnet, name, 1);
   } else {
      Call(VNL_SetVnetSubnetAddr, name, network.subnet.c_str());
   }
   Call(VNL_SetVnetSubnetMask, name, network.mask.c_str());
   Call(VNL_SetVnetDisplayName, name, "");
   if (network.mtu) {
      Call(VNL_SetVnetMTU, name, *network.mtu);
   } else {
      Call(VNL_RemoveMTU, name);
   }
}

std::vector<PortForward> Walk::LoadForwards(char const* name)
{
   std::vector<PortForward> forwards;
   for (bool const tcp : {true, false}) {
      std::uint32_t cursor = 0;
      std::array<char, 129> address{}, description{};
      PortForward forward{tcp, 0, {}, 0, ""};
      for (;;) {
         std::uint32_t addressLength = 128;
         std::uint32_t descriptionLength = 128;
         if (!Call(VNL_EnumNATPortForward, name, tcp, &cursor, &forward.hostPort, address.data(),
                   &addressLength, &forward.vmPort, description.data(), &descriptionLength)) {
            break;
         }
         forward.address = vnet::Address::Parse(address.data()).value();
         forwards.push_back(forward);
      }
   }
   return forwards;
}

void Walk::SaveNat(char const* name, EditedNetwork const& network)
{
   std::array<char, 129> gateway{};
   std::uint32_t length = 128;
   Call(VNL_GetNATParam, name, VNL_NAT_GATEWAY, 1, gateway.data(), &length);
   if (network.gateway != gateway.data()) {
      auto const* text = network.gateway.empty() ? nullptr : network.gateway.c_str();
      auto const size = static_cast<std::uint32_t>(network.gateway.size());
      Call(VNL_SetNATParam, name, VNL_NAT_GATEWAY, text, size);
      for (auto const id : {VNL_DHCP_ROUTER, VNL_DHCP_DNS_SERVER, VNL_DHCP_NETBIOS_SERVER}) {
         Call(VNL_SetDHCPParam, name, id, text, size);
      }
   }
   auto const isIn = [](std::vector<PortForward> const& list, PortForward const& forward) {
      return std::ranges::find(list, forward) != list.end();
   };
   auto const stored = LoadForwards(name);
   for (auto const& forward : stored) {
      if (!isIn(network.forwards, forward)) {
         Call(VNL_SetNATPortForward, name, forward.tcp, forward.hostPort, nullptr, 0, nullptr, 0);
      }
   }
   for (auto const& forward : network.forwards) {
      if (!isIn(stored, forward)) {
         Call(VNL_SetNATPortForward, name, forward.tcp, forward.hostPort,
              forward.address.ToString().c_str(), forward.vmPort, "", 0);
      }
   }
}

void Walk::RestartServices(char const* name, EditedNetwork const& network)
{
   Call(VNL_UpdateDHCPFromConfig, name);
   Call(VNL_StopService, name, VNL_SERVICE_DHCP);
   if (network.dhcp) {
      Call(VNL_StartService, name, VNL_SERVICE_DHCP);
   }
   Call(VNL_UpdateNATFromConfig, name);
   Call(VNL_StopService, name, VNL_SERVICE_NAT);
   if (network.type == EditedNetwork::Type::Nat) {
      Call(VNL_StartService, name, VNL_SERVICE_NAT);
   }
}

void Walk::SaveHosted(int index, char const* name, EditedNetwork const& network)
{
   bool const nat = network.type == EditedNetwork::Type::Nat;
   if (index == oldDefault) {
      SetDefault(VNL_NO_VNET);
   }
   SaveSubnet(name, network);
   Call(VNL_SetVnetUseAdapter, name, network.adapter, 1);
   if (network.adapter) {
      Call(VNL_EnableNetworkAdapter, name);
   }
   Call(VNL_SetVnetUseDHCP, name, network.dhcp, 1);
   Call(VNL_SetVnetUseNAT, name, nat, 1);
   if (nat) {
      SaveNat(name, network);
   }
   RestartServices(name, network);
}

void Walk::SaveAll(Edited const& model)
{
   SaveAdapters(model);
   VnetRef automatic = MakeReference(VNL_NO_VNET);
   Call(VNL_GetBridgeDefaultNetwork, &automatic);
   oldDefault = automatic.vnet;
   for (auto const& [index, network] : model.networks) {
      auto const name = vnet::GetNetworkName(index);
      StopServices(name.c_str());
      if (!network) {
         SaveRemoved(static_cast<int>(index), name.c_str());
      } else if (network->type == EditedNetwork::Type::Bridged) {
         SaveBridged(static_cast<int>(index), name.c_str(), *network);
      } else {
         SaveHosted(static_cast<int>(index), name.c_str(), *network);
      }
   }
}

} // namespace

EditedNetwork Edited::MakeNat(unsigned int index)
{
   EditedNetwork network;
   network.subnet = "192.168." + std::to_string(index) + ".0";
   return network;
}

EditedNetwork Edited::MakeHostOnly(unsigned int index)
{
   auto network = MakeNat(index);
   network.type = EditedNetwork::Type::HostOnly;
   return network;
}

EditedNetwork Edited::MakeBridged(bool automatic)
{
   EditedNetwork network;
   network.type = EditedNetwork::Type::Bridged;
   network.automatic = automatic;
   return network;
}

unsigned int WalkSave(Edited const& model, std::optional<unsigned int> atEnd)
{
   Walk walk(atEnd);
   try {
      walk.SaveAll(model);
   } catch (Ended) {
   }
   return walk.GetCount();
}

void Save(Edited const& model)
{
   ASSERT_TRUE(VNL_Load(0));
   WalkSave(model);
   VNL_Unload();
}

} // namespace test
