// SPDX-License-Identifier: GPL-2.0-or-later
// Host adapters, and the network that bridges automatically.
#include "lib/vnet/interface/interfaceTest.hh"

#include <cstring>
#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class AdaptersTest : public test::InterfaceTest {
protected:
   // "eth0:3", read as the caller reads it: by offsets.
   static std::vector<std::string> List(bool expected = true)
   {
      VNL_HostAdapterList* list = nullptr;
      EXPECT_EQ(expected, VNL_GetHostAdapterList(1, &list));
      std::vector<std::string> adapters;
      auto const* bytes = reinterpret_cast<char const*>(list);
      char const* node = nullptr;
      std::memcpy(&node, bytes + 8, sizeof node);
      while (node) {
         std::int32_t vnet = 0;
         std::memcpy(&vnet, node + 20, sizeof vnet);
         adapters.push_back(std::string(node + 300) + ":" + std::to_string(vnet));
         std::memcpy(&node, node + 4, sizeof node);
      }
      EXPECT_EQ(adapters.size(), list->count);
      VNL_FreeHostAdapterList(list);
      return adapters;
   }
   static bool Move(char const* name, std::int32_t source, std::int32_t target)
   {
      VNL_HostAdapter adapter = {};
      adapter.version = 1;
      adapter.network = {1, 1, source};
      std::string(name).copy(adapter.name, sizeof adapter.name - 1);
      VnetRef const to = {1, 1, target};
      VnetRef const from = adapter.network;
      return VNL_BridgeMoveAdapter(&adapter, source < 0 ? nullptr : &from, &to);
   }
};

TEST_F(AdaptersTest, TheHostsComeFirstAndThoseThatItLacksAfter)
{
   Load(minimal + "[adapter wlan0]\nnetwork=tvnet2\n[adapter eth1]\nnetwork=tvnet0\n");
   host.adapters = {"eth2", "eth1", "eth0"};

   EXPECT_THAT(List(), ElementsAre("eth2:-1", "eth1:0", "eth0:-1", "wlan0:2"));
   EXPECT_THAT(TakeLog(), IsEmpty());
}

TEST_F(AdaptersTest, WithoutAnyTheListIsEmpty)
{
   Load(minimal);
   EXPECT_THAT(List(), IsEmpty());
}

TEST_F(AdaptersTest, AHostThatCannotBeAskedLeavesTheStoredOnes)
{
   Load(minimal + "[adapter eth1]\nnetwork=tvnet0\n");
   host.adapters = {"eth0"};
   host.failing = true;

   EXPECT_THAT(List(false), ElementsAre("eth1:0"));
   EXPECT_EQ(1u, TakeLog().size());
}

TEST_F(AdaptersTest, AHostThatCannotBeAskedAgainHasThoseThatItHad)
{
   Load(minimal + "[adapter eth1]\nnetwork=tvnet0\n");
   host.adapters = {"eth0"};
   List();
   host.failing = true;

   EXPECT_THAT(List(false), ElementsAre("eth0:-1", "eth1:0"));
   EXPECT_EQ(1u, TakeLog().size());
}

TEST_F(AdaptersTest, AnyListCanBeFreed)
{
   Load(minimal);
   VNL_FreeHostAdapterList(nullptr);
   VNL_HostAdapterList* list = nullptr;
   EXPECT_FALSE(VNL_GetHostAdapterList(0, &list));
   ASSERT_TRUE(list);
   VNL_FreeHostAdapterList(list);
   EXPECT_FALSE(VNL_GetHostAdapterList(1, nullptr));
}

TEST_F(AdaptersTest, AnAdapterMovesAtOnceAndOnlyInTheDatabase)
{
   Load(minimal);
   host.adapters = {"eth0", "eth1"};
   EXPECT_TRUE(Move("eth0", -1, 2));
   EXPECT_TRUE(Move("eth1", -1, 2));
   EXPECT_THAT(List(), ElementsAre("eth0:2", "eth1:2"));

   EXPECT_TRUE(Move("eth0", 2, 0));
   EXPECT_TRUE(Move("eth1", 2, -1));
   EXPECT_THAT(List(), ElementsAre("eth0:0", "eth1:-1"));
   EXPECT_THAT(host.calls, IsEmpty());
   EXPECT_THAT(Export(), HasSubstr("[adapter eth0]\nnetwork=tvnet0\n"));
}

TEST_F(AdaptersTest, TheNodeOfAListCanBeMoved)
{
   Load(minimal + "[adapter eth0]\nnetwork=tvnet2\n");
   host.adapters = {"eth0"};
   VNL_HostAdapterList* list = nullptr;
   ASSERT_TRUE(VNL_GetHostAdapterList(1, &list));
   auto* const node = list->first;
   VnetRef const present = node->network;
   VnetRef const target = {1, 1, 5};
   EXPECT_TRUE(VNL_BridgeMoveAdapter(node, &present, &target));
   VNL_FreeHostAdapterList(list);

   EXPECT_THAT(List(), ElementsAre("eth0:5"));
}

TEST_F(AdaptersTest, BadMovesAreRefused)
{
   Load(test::richText);
   auto const before = Export();
   VNL_HostAdapter adapter = {1, nullptr, {1, 1, 0}, {}, "eth0"};
   VnetRef const target = {1, 1, 3};
   VnetRef const otherVersion = {2, 1, 3};

   EXPECT_FALSE(VNL_BridgeMoveAdapter(nullptr, nullptr, &target));
   EXPECT_FALSE(VNL_BridgeMoveAdapter(&adapter, nullptr, nullptr));
   EXPECT_FALSE(VNL_BridgeMoveAdapter(&adapter, &otherVersion, &target));
   EXPECT_FALSE(VNL_BridgeMoveAdapter(&adapter, nullptr, &otherVersion));
   adapter.version = 2;
   EXPECT_FALSE(VNL_BridgeMoveAdapter(&adapter, nullptr, &target));
   EXPECT_EQ(5u, TakeLog().size());

   for (auto const name :
        {"", ".", "..", "eth/0", "eth 0", "eth0\n", "1234567890123456", "\xff", "eth:0"}) {
      EXPECT_FALSE(Move(name, -1, 3)) << name;
   }
   for (std::int32_t const index : {256, -2, 1 << 30}) {
      EXPECT_FALSE(Move("eth0", 0, index)) << index;
   }
   EXPECT_EQ(12u, TakeLog().size());
   EXPECT_EQ(before, Export());
}

TEST_F(AdaptersTest, ANameWithoutItsNulIsRefused)
{
   Load(minimal);
   VNL_HostAdapter adapter = {1, nullptr, {1, 1, -1}, {}, ""};
   std::memset(adapter.name, 'x', sizeof adapter.name);
   VnetRef const target = {1, 1, 3};

   EXPECT_FALSE(VNL_BridgeMoveAdapter(&adapter, nullptr, &target));
}

TEST_F(AdaptersTest, TheAutomaticNetworkIsSetAndCleared)
{
   Load(minimal);
   VnetRef network = {1, 1, 5};
   EXPECT_TRUE(VNL_SetBridgeDefaultNetwork(&network));
   network.vnet = 99;
   EXPECT_TRUE(VNL_GetBridgeDefaultNetwork(&network));
   EXPECT_EQ(5, network.vnet);

   network.vnet = VNL_NO_VNET;
   EXPECT_TRUE(VNL_SetBridgeDefaultNetwork(&network));
   network.vnet = 99;
   EXPECT_TRUE(VNL_GetBridgeDefaultNetwork(&network));
   EXPECT_EQ(VNL_NO_VNET, network.vnet);
}

TEST_F(AdaptersTest, ABadAutomaticNetworkIsRefused)
{
   Load(test::richText);
   auto const before = Export();
   for (VnetRef const bad :
        {VnetRef{1, 1, 256}, VnetRef{1, 1, -2}, VnetRef{0, 1, 3}, VnetRef{1, 2, 3}}) {
      EXPECT_FALSE(VNL_SetBridgeDefaultNetwork(&bad));
   }
   EXPECT_FALSE(VNL_SetBridgeDefaultNetwork(nullptr));
   EXPECT_EQ(5u, TakeLog().size());
   EXPECT_EQ(before, Export());
}

} // namespace
