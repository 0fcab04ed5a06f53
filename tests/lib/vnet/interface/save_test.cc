// SPDX-License-Identifier: GPL-2.0-or-later
// Whole saves: the calls that the editor's server makes, one by one in its order, and what the
// database and the host's side make of them.
#include "lib/vnet/interface/interfaceTest.hh"

#include "vnet/database/decode.hh"
#include "vnet/database/keyFile.hh"

#include <gmock/gmock.h>
#include <sys/stat.h>

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

enum class Kind { Removed, Bridged, Nat, HostOnly };

// A network as the editor holds it.
struct Model {
   Kind kind = Kind::Removed;
   std::string subnet; // empty: the library's choice
   std::string mask;
   std::string name;
   std::uint32_t mtu = 0; // 0: none
   bool adapter = true;
   bool dhcp = true;
   bool automatic = false;
   std::string gateway;
};

struct Editor {
   std::map<int, Model> networks;
   std::map<std::string, int> adapters; // -1: none
};

void MoveAdapters(Editor const& editor)
{
   VNL_HostAdapterList* list = nullptr;
   VNL_GetHostAdapterList(1, &list);
   for (auto* node = list->first; node; node = node->next) {
      auto const found = editor.adapters.find(node->name);
      VnetRef const wanted = {1, 1, found == editor.adapters.end() ? -1 : found->second};
      VnetRef const present = node->network;
      if (wanted.vnet != present.vnet) {
         VNL_BridgeMoveAdapter(node, present.vnet < 0 ? nullptr : &present, &wanted);
      }
   }
   VNL_FreeHostAdapterList(list);
}

void StopServices(char const* name)
{
   VNL_StopService(name, VNL_SERVICE_BRIDGE);
   VNL_StopService(name, VNL_SERVICE_DHCP);
   VNL_StopService(name, VNL_SERVICE_NAT);
   VNL_DisableNetworkAdapter(name);
}

void SetAutomatic(int index)
{
   VnetRef const network = {1, 1, index};
   VNL_SetBridgeDefaultNetwork(&network);
}

void SaveBridged(char const* name, int index, Model const& model, int before)
{
   VNL_SetVnetSubnetAddr(name, nullptr);
   VNL_SetVnetSubnetMask(name, nullptr);
   VNL_SetVnetUseAdapter(name, false, 1);
   VNL_SetVnetUseDHCP(name, false, 1);
   VNL_SetVnetUseNAT(name, false, 1);
   if (model.automatic != (index == before)) {
      SetAutomatic(model.automatic ? index : -1);
   }
   VNL_StartService(name, VNL_SERVICE_BRIDGE);
}

void SaveGateway(char const* name, std::string const& gateway)
{
   char stored[VNL_VALUE_SIZE + 1];
   std::uint32_t length = VNL_VALUE_SIZE;
   VNL_GetNATParam(name, VNL_NAT_GATEWAY, 1, stored, &length);
   if (gateway == std::string(stored, length)) {
      return;
   }
   char const* const value = gateway.empty() ? nullptr : gateway.c_str();
   VNL_SetNATParam(name, VNL_NAT_GATEWAY, value, gateway.size());
   VNL_SetDHCPParam(name, VNL_DHCP_ROUTER, value, gateway.size());
   VNL_SetDHCPParam(name, VNL_DHCP_DNS_SERVER, value, gateway.size());
   VNL_SetDHCPParam(name, VNL_DHCP_NETBIOS_SERVER, value, gateway.size());
}

void SaveHosted(char const* name, int index, Model const& model, int before)
{
   if (index == before) {
      SetAutomatic(-1);
   }
   if (model.subnet.empty()) {
      VNL_AssignSubnetAddressToVnet(name, 1);
   } else {
      VNL_SetVnetSubnetAddr(name, model.subnet.c_str());
   }
   VNL_SetVnetSubnetMask(name, model.mask.c_str());
   VNL_SetVnetDisplayName(name, model.name.c_str());
   model.mtu ? VNL_SetVnetMTU(name, model.mtu) : VNL_RemoveMTU(name);
   VNL_SetVnetUseAdapter(name, model.adapter, 1);
   if (model.adapter) {
      VNL_EnableNetworkAdapter(name);
   }
   VNL_SetVnetUseDHCP(name, model.dhcp, 1);
   VNL_SetVnetUseNAT(name, model.kind == Kind::Nat, 1);
   if (model.kind == Kind::Nat) {
      SaveGateway(name, model.gateway);
   }
   VNL_UpdateDHCPFromConfig(name);
   VNL_StopService(name, VNL_SERVICE_DHCP);
   if (model.dhcp) {
      VNL_StartService(name, VNL_SERVICE_DHCP);
   }
   VNL_UpdateNATFromConfig(name);
   VNL_StopService(name, VNL_SERVICE_NAT);
   if (model.kind == Kind::Nat) {
      VNL_StartService(name, VNL_SERVICE_NAT);
   }
}

void SaveNetwork(int index, Model const& model, int before)
{
   auto const text = "tvnet" + std::to_string(index);
   char const* const name = text.c_str();
   StopServices(name);
   if (model.kind == Kind::Bridged) {
      SaveBridged(name, index, model, before);
   } else if (model.kind != Kind::Removed) {
      SaveHosted(name, index, model, before);
   } else {
      if (index == before) {
         SetAutomatic(-1);
      }
      VNL_DeleteVnetFromDatabase(name);
   }
}

void Save(Editor const& editor)
{
   MoveAdapters(editor);
   VnetRef before = {1, 1, 0};
   VNL_GetBridgeDefaultNetwork(&before);
   for (auto const& [index, model] : editor.networks) {
      SaveNetwork(index, model, before.vnet);
   }
}

class SaveTest : public test::InterfaceTest {
protected:
   void SetUp() override
   {
      host.adapters = {"eth0", "eth1"};
      Load(text);
   }
   // Saves and unloads. Nothing of it may fail.
   void Run()
   {
      host.calls.clear();
      Save(editor);
      VNL_Unload();
      EXPECT_THAT(TakeLog(), IsEmpty());
   }
   vnet::Settings GetStored() const
   {
      return vnet::Decode(vnet::KeyFile::Parse(place.Read())).settings;
   }

   std::string const text = "# Mine.\n" + minimal +
                            "automatic=tvnet0\n\n[tvnet1]\nsubnet=192.168.5.0\n"
                            "mask=255.255.255.0\nadapter=true\ndhcp=true\nnat=false\n\n"
                            "[tvnet8]\nname=n\nsubnet=192.168.6.0\nmask=255.255.255.0\nmtu=1400\n"
                            "adapter=true\ndhcp=true\nnat=true\nnat-gateway=192.168.6.2\n\n"
                            "[adapter eth0]\nnetwork=tvnet0\n";
   Editor editor = {
      {{0, {Kind::Bridged, "", "", "", 0, false, false, true, ""}},
       {1, {Kind::HostOnly, "192.168.5.0", "255.255.255.0", "", 0, true, true, false, ""}},
       {8,
        {Kind::Nat, "192.168.6.0", "255.255.255.0", "n", 1400, true, true, false, "192.168.6.2"}}},
      {{"eth0", 0}, {"eth1", -1}}};
};

TEST_F(SaveTest, OneThatChangesNothingWritesNothing)
{
   struct stat before;
   struct stat after;
   ASSERT_EQ(0, stat(place.GetFile().c_str(), &before));
   Run();

   ASSERT_EQ(0, stat(place.GetFile().c_str(), &after));
   EXPECT_EQ(before.st_ino, after.st_ino);
   EXPECT_EQ(text, place.Read());
   EXPECT_EQ("finish unchanged", host.calls.back());
   EXPECT_THAT(host.calls, Contains("start 0 bridge"));
   EXPECT_THAT(host.calls, Contains("start 8 nat"));
}

TEST_F(SaveTest, NatBecomesHostOnlyBridgedAndNatAgain)
{
   editor.networks[8].kind = Kind::HostOnly;
   Run();
   EXPECT_FALSE(GetStored().networks.at(8).useNat);
   EXPECT_TRUE(GetStored().networks.at(8).useDhcp);
   EXPECT_EQ("finish changed", host.calls.back());

   ASSERT_TRUE(VNL_Load(0));
   editor.networks[8].kind = Kind::Bridged;
   Run();
   EXPECT_FALSE(GetStored().networks.at(8).IsHosted());

   ASSERT_TRUE(VNL_Load(0));
   editor.networks[8].kind = Kind::Nat;
   Run();
   auto expected = vnet::Decode(vnet::KeyFile::Parse(text)).settings;
   EXPECT_EQ(expected, GetStored());
   EXPECT_TRUE(place.Read().starts_with("# Mine.\n"));
}

TEST_F(SaveTest, HostOnlyWithoutAdapterAndDhcpIsStoredAndOnlyMarked)
{
   editor.networks[1].adapter = editor.networks[1].dhcp = false;
   Run();

   auto const network = GetStored().networks.at(1);
   EXPECT_FALSE(network.useAdapter || network.useDhcp || network.useNat);
   EXPECT_TRUE(network.IsHosted());
   EXPECT_THAT(host.calls, testing::Not(Contains("start 1 dhcp")));
}

TEST_F(SaveTest, ASubnetMovesToALowerNetwork)
{
   editor.networks[1].subnet = "192.168.6.0";
   editor.networks[8].subnet = "192.168.5.0";
   editor.networks[8].gateway = "192.168.5.2";
   Run();

   EXPECT_EQ("192.168.6.0/24", GetStored().networks.at(1).GetSubnet()->ToString());
   EXPECT_EQ("192.168.5.0/24", GetStored().networks.at(8).GetSubnet()->ToString());
   EXPECT_EQ("192.168.5.2", GetStored().networks.at(8).dhcp.router->ToString());
}

TEST_F(SaveTest, AnAdapterMovesUpAndDown)
{
   editor.networks[0].automatic = false;
   editor.networks[5] = {Kind::Bridged, "", "", "", 0, false, false, false, ""};
   editor.adapters = {{"eth0", 5}, {"eth1", 0}};
   Run();
   EXPECT_EQ((std::map<std::string, unsigned int>{{"eth0", 5}, {"eth1", 0}}), GetStored().adapters);

   ASSERT_TRUE(VNL_Load(0));
   editor.adapters = {{"eth0", 0}, {"eth1", -1}};
   Run();
   EXPECT_EQ((std::map<std::string, unsigned int>{{"eth0", 0}}), GetStored().adapters);
   EXPECT_THAT(host.calls, Contains("start 5 bridge"));
}

TEST_F(SaveTest, ARemovedNetworkIsGoneFromDatabaseAndHost)
{
   editor.networks[8].kind = Kind::Removed;
   editor.networks[0].kind = Kind::Removed;
   editor.adapters = {{"eth0", -1}, {"eth1", -1}};
   Run();

   EXPECT_EQ(0u, GetStored().networks.count(8));
   EXPECT_TRUE(GetStored().adapters.empty());
   EXPECT_FALSE(GetStored().automatic);
   EXPECT_THAT(host.calls, Contains("remove 0"));
   EXPECT_THAT(host.calls, Contains("remove 8"));
}

TEST_F(SaveTest, TheAutomaticNetworkMovesUpButDownItIsCleared)
{
   editor.networks[0].automatic = false;
   editor.networks[9] = {Kind::Bridged, "", "", "", 0, false, false, true, ""};
   Run();
   EXPECT_EQ(9u, GetStored().automatic);

   // The higher network, which was the automatic one, is saved last and clears it.
   ASSERT_TRUE(VNL_Load(0));
   editor.networks[0].automatic = true;
   editor.networks[9].automatic = false;
   Run();
   EXPECT_FALSE(GetStored().automatic);
}

TEST_F(SaveTest, AnEmptySubnetIsChosenOnceAndStays)
{
   editor.networks[3] = {Kind::HostOnly, "", "", "", 0, true, true, false, ""};
   Run();
   auto const chosen = GetStored().networks.at(3).GetSubnet();
   ASSERT_TRUE(chosen);
   EXPECT_EQ("192.168.7.0/24", chosen->ToString());

   ASSERT_TRUE(VNL_Load(0));
   Run();
   EXPECT_EQ(chosen, GetStored().networks.at(3).GetSubnet());
   EXPECT_EQ("finish unchanged", host.calls.back());
}

TEST_F(SaveTest, ABridgedNetworkMayBeLeftWithoutAdapters)
{
   editor.adapters = {{"eth0", -1}, {"eth1", -1}};
   Run();

   EXPECT_TRUE(GetStored().adapters.empty());
   EXPECT_EQ(0u, GetStored().automatic);
   EXPECT_THAT(host.calls, Contains("start 0 bridge"));
}

TEST_F(SaveTest, ASecondSaveWithNothingLoadedChangesNothing)
{
   Run();
   auto const before = place.Read();
   host.calls.clear();
   editor.networks[8].kind = Kind::Removed;
   Save(editor);
   VNL_Unload();

   EXPECT_EQ(before, place.Read());
   EXPECT_THAT(host.calls, IsEmpty());
   EXPECT_GT(TakeLog().size(), 20u);
}

TEST_F(SaveTest, QuittingWithoutASaveTouchesNothing)
{
   VNL_Unload();
   VNL_Unload();

   EXPECT_EQ(text, place.Read());
   EXPECT_THAT(host.calls, ElementsAre("finish unchanged"));
   EXPECT_THAT(place.List(), ElementsAre("networking"));
}

} // namespace
