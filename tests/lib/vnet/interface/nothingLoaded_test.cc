// SPDX-License-Identifier: GPL-2.0-or-later
// With nothing loaded, reading is safe and empty, and changing a logged no-op.
#include "lib/vnet/interface/interfaceTest.hh"

#include <cstring>
#include <functional>
#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

class NothingLoadedTest : public test::InterfaceTest {
protected:
   // A call that must fail with a line in the log and leave the host alone.
   void ExpectLoggedNoOp(char const* what, std::function<bool()> const& call)
   {
      TakeLog();
      EXPECT_FALSE(call()) << what;
      auto const log = TakeLog();
      ASSERT_EQ(1u, log.size()) << what;
      EXPECT_THAT(log[0], StartsWith("LogV(2): ")) << what;
      EXPECT_THAT(log[0], HasSubstr(": No database is loaded\n")) << what;
      EXPECT_TRUE(host.calls.empty()) << what;
   }
};

struct Call {
   char const* name;
   std::function<bool()> run;
};

VnetRef const eight = {1, 1, 8};
VNL_HostAdapter adapter = {1, nullptr, {1, 1, 8}, {}, "eth0"};

Call const changes[] = {
   {"AssignSubnet", [] { return VNL_AssignSubnetAddressToVnet("tvnet8", 1); }},
   {"SetSubnet", [] { return VNL_SetVnetSubnetAddr("tvnet8", "10.0.0.0"); }},
   {"ClearSubnet", [] { return VNL_SetVnetSubnetAddr("tvnet8", nullptr); }},
   {"SetMask", [] { return VNL_SetVnetSubnetMask("tvnet8", "255.0.0.0"); }},
   {"SetDisplayName", [] { return VNL_SetVnetDisplayName("tvnet8", "x"); }},
   {"SetMTU", [] { return VNL_SetVnetMTU("tvnet8", 1500); }},
   {"RemoveMTU", [] { return VNL_RemoveMTU("tvnet8"); }},
   {"SetUseAdapter", [] { return VNL_SetVnetUseAdapter("tvnet8", true, 1); }},
   {"SetUseDHCP", [] { return VNL_SetVnetUseDHCP("tvnet8", true, 1); }},
   {"SetUseNAT", [] { return VNL_SetVnetUseNAT("tvnet8", true, 1); }},
   {"EnableAdapter", [] { return VNL_EnableNetworkAdapter("tvnet8"); }},
   {"DisableAdapter", [] { return VNL_DisableNetworkAdapter("tvnet8"); }},
   {"UpdateDHCP", [] { return VNL_UpdateDHCPFromConfig("tvnet8"); }},
   {"UpdateNAT", [] { return VNL_UpdateNATFromConfig("tvnet8"); }},
   {"StartService", [] { return VNL_StartService("tvnet8", VNL_SERVICE_NAT); }},
   {"StopService", [] { return VNL_StopService("tvnet8", VNL_SERVICE_NAT); }},
   {"Delete", [] { return VNL_DeleteVnetFromDatabase("tvnet8"); }},
   {"SetDefault", [] { return VNL_SetBridgeDefaultNetwork(&eight); }},
   {"MoveAdapter", [] { return VNL_BridgeMoveAdapter(&adapter, nullptr, &eight); }},
   {"SetNATParam", [] { return VNL_SetNATParam("tvnet8", VNL_NAT_UDP_TIMEOUT, "60", 2); }},
   {"SetDHCPParam", [] { return VNL_SetDHCPParam("tvnet8", VNL_DHCP_MAX_LEASE, "60", 2); }},
   {"SetForward", [] { return VNL_SetNATPortForward("tvnet8", true, 80, "10.0.0.3", 80, "", 0); }},
   {"RemoveForward",
    [] { return VNL_SetNATPortForward("tvnet8", true, 80, nullptr, 0, nullptr, 0); }},
};

TEST_F(NothingLoadedTest, EveryChangeIsALoggedNoOp)
{
   for (auto const& call : changes) {
      ExpectLoggedNoOp(call.name, call.run);
   }
   EXPECT_EQ(minimal, place.Read());
   EXPECT_THAT(place.List(), ElementsAre("networking"));
}

TEST_F(NothingLoadedTest, TextsStayAsTheyWere)
{
   char buffer[128] = "before";
   std::uint32_t length = sizeof buffer;
   ExpectLoggedNoOp("subnet", [&] { return VNL_GetVnetSubnetAddr("tvnet8", buffer, &length); });
   ExpectLoggedNoOp("mask", [&] { return VNL_GetVnetSubnetMask("tvnet8", buffer, &length); });
   ExpectLoggedNoOp("name", [&] { return VNL_GetVnetDisplayName("tvnet8", buffer, &length); });
   ExpectLoggedNoOp("NAT", [&] { return VNL_GetNATParam("tvnet8", 0x2349, 1, buffer, &length); });
   ExpectLoggedNoOp("DHCP", [&] { return VNL_GetDHCPParam("tvnet8", 0x342a, 1, buffer, &length); });

   EXPECT_STREQ("before", buffer);
   EXPECT_EQ(sizeof buffer, length);
}

TEST_F(NothingLoadedTest, NumbersStayAsTheyWere)
{
   std::uint32_t mtu = 7;
   ExpectLoggedNoOp("MTU", [&] { return VNL_GetVnetMTU("tvnet8", &mtu); });
   EXPECT_EQ(7u, mtu);
}

TEST_F(NothingLoadedTest, ThereIsNoForward)
{
   std::uint32_t cursor = 0;
   std::uint16_t hostPort = 1;
   std::uint16_t vmPort = 2;
   char address[128] = "a";
   char description[128] = "d";
   std::uint32_t addressLength = 128;
   std::uint32_t descriptionLength = 128;
   ExpectLoggedNoOp("forwards", [&] {
      return VNL_EnumNATPortForward("tvnet8", true, &cursor, &hostPort, address, &addressLength,
                                    &vmPort, description, &descriptionLength);
   });
   EXPECT_EQ(0u, cursor);
   EXPECT_EQ(1, hostPort);
   EXPECT_STREQ("a", address);
   EXPECT_EQ(128u, addressLength);
}

TEST_F(NothingLoadedTest, NoNetworkIsHosted)
{
   VNL_FeatureStruct features;
   std::memset(&features, 0xff, sizeof features);
   features.version = features.ref.version = features.ref.kindVersion = 1;
   features.ref.vnet = 8;
   ExpectLoggedNoOp("features", [&] { return VNL_GetVnetFeatures(&features); });

   EXPECT_EQ(0, features.hosted);
   EXPECT_EQ(0, features.dhcp);
   EXPECT_EQ(0, features.nat);
   EXPECT_EQ(0, features.virtualAdapter);
}

TEST_F(NothingLoadedTest, NoNetworkBridgesAutomatically)
{
   VnetRef network = {1, 1, 255};
   ExpectLoggedNoOp("default", [&] { return VNL_GetBridgeDefaultNetwork(&network); });
   EXPECT_EQ(VNL_NO_VNET, network.vnet);
}

TEST_F(NothingLoadedTest, TheAdapterListIsValidAndEmpty)
{
   host.adapters = {"eth0"};
   VNL_HostAdapterList* list = nullptr;
   ExpectLoggedNoOp("adapters", [&] { return VNL_GetHostAdapterList(1, &list); });

   ASSERT_TRUE(list);
   EXPECT_EQ(nullptr, list->first);
   EXPECT_EQ(0u, list->count);
   VNL_FreeHostAdapterList(list);
}

TEST_F(NothingLoadedTest, ThereIsNothingToExport)
{
   ExpectLoggedNoOp("export", [] { return VNL_ExportDatabaseToBuffer() != nullptr; });
}

TEST_F(NothingLoadedTest, TheNumberOfNetworksIsKnown)
{
   EXPECT_EQ(256u, VNL_GetNumberOfVnets());
   EXPECT_TRUE(TakeLog().empty());
}

TEST_F(NothingLoadedTest, UnloadingDoesNothing)
{
   VNL_Unload();
   VNL_Unload();

   EXPECT_TRUE(host.calls.empty());
   EXPECT_TRUE(TakeLog().empty());
   EXPECT_THAT(place.List(), ElementsAre("networking"));
}

TEST_F(NothingLoadedTest, AfterUnloadingItIsTheSame)
{
   ASSERT_TRUE(VNL_Load(0));
   VNL_Unload();
   host.calls.clear();

   ExpectLoggedNoOp("MTU", [] { return VNL_SetVnetMTU("tvnet8", 1500); });
}

} // namespace
