// SPDX-License-Identifier: GPL-2.0-or-later
#include "mgrTest.hh"
#include "vnet/vnetlib.h"

#include <algorithm>

namespace netcfg {

namespace {

using testing::ElementsAre;

constexpr char natNetwork[] = "network=8 nat dhcp adapter 192.168.8.0 255.255.255.0\n"
                              "name=8 Home B\xc3\xbcro\n"
                              "mtu=8 1400\n"
                              "nat=8 0x2343 192.168.8.2\n"
                              "nat=8 0x2346 8765\n"
                              "nat=8 0x2347 0\n"
                              "nat=8 0x2348 1\n"
                              "nat=8 0x2349 45\n"
                              "nat=8 0x235a 1\n"
                              "nat=8 0x235b fd00::/64\n"
                              "forward=8 udp 53 192.168.8.5 5353 names\n"
                              "forward=8 tcp 80 192.168.8.3 8080 web\n"
                              "forward=8 tcp 22 192.168.8.4 22\n";

class LoadTest : public MgrTest {
protected:
   void Load(std::string const& database)
   {
      SetDatabase(database);
      mgr.Load();
   }

   std::vector<unsigned int> GetIndices()
   {
      std::vector<unsigned int> indices;
      for (auto const& [index, network] : editable->GetNetworks()) {
         indices.push_back(index);
      }
      return indices;
   }

   int GetOwner(char const* adapter) const
   {
      Network const* const network = editable->GetNetworkForAdapter(adapter);
      return network ? static_cast<int>(network->GetIndex()) : -1;
   }
};

long Count(Lines const& lines, std::string const& start)
{
   return std::count_if(lines.begin(), lines.end(),
                        [&](std::string const& line) { return line.rfind(start, 0) == 0; });
}

TEST_F(LoadTest, EmptyDatabaseGivesAnEmptyModel)
{
   Load("vnets=2\n");

   EXPECT_TRUE(editable->GetNetworks().empty());
   EXPECT_TRUE(editable->GetHostAdapters().empty());
   EXPECT_EQ(nullptr, editable->GetAutoBridgeNetwork());
   EXPECT_THAT(VnetDouble::GetLog(),
               ElementsAre("VNL_GetNumberOfVnets()", "VNL_GetVnetFeatures({1, {1, 1, 0}})",
                           "VNL_GetNumberOfVnets()", "VNL_GetVnetFeatures({1, {1, 1, 1}})",
                           "VNL_GetNumberOfVnets()", "VNL_GetBridgeDefaultNetwork({1, 1, 1})",
                           "VNL_GetHostAdapterList(1)", "VNL_FreeHostAdapterList(list)"));
}

TEST_F(LoadTest, HostWithoutAnyIndexIsLoadedToo)
{
   Load("vnets=0\n");

   EXPECT_THAT(VnetDouble::GetLog(),
               ElementsAre("VNL_GetNumberOfVnets()", "VNL_GetBridgeDefaultNetwork({1, 1, 0})",
                           "VNL_GetHostAdapterList(1)", "VNL_FreeHostAdapterList(list)"));
}

TEST_F(LoadTest, NothingLoadedGivesAnEmptyModel)
{
   VnetDouble::Reset();
   mgr.Load();

   EXPECT_TRUE(editable->GetNetworks().empty());
   EXPECT_TRUE(editable->GetHostAdapters().empty());
}

TEST_F(LoadTest, NATNetworkTakesEverythingInThisOrder)
{
   SetDatabase("vnets=9\n" + std::string(natNetwork));
   VNL_FeatureStruct features{};
   features.hosted = features.nat = features.dhcp = features.virtualAdapter = 1;
   mgr.LoadHostedNetwork(8, features);

   EXPECT_THAT(VnetDouble::GetLog(),
               ElementsAre("VNL_GetVnetSubnetAddr(\"tvnet8\", 16)",
                           "VNL_GetVnetSubnetMask(\"tvnet8\", 16)",
                           "VNL_GetVnetDisplayName(\"tvnet8\", 128)", "VNL_GetVnetMTU(\"tvnet8\")",
                           "VNL_GetNATParam(\"tvnet8\", 0x2343, 1, 128)",
                           "VNL_GetNATParam(\"tvnet8\", 0x2347, 1, 128)",
                           "VNL_GetNATParam(\"tvnet8\", 0x2348, 1, 128)",
                           "VNL_GetNATParam(\"tvnet8\", 0x235a, 1, 128)",
                           "VNL_GetNATParam(\"tvnet8\", 0x235b, 1, 128)",
                           "VNL_GetNATParam(\"tvnet8\", 0x2346, 1, 128)",
                           "VNL_GetNATParam(\"tvnet8\", 0x2349, 1, 128)",
                           "VNL_EnumNATPortForward(\"tvnet8\", true, 0, 128, 128)",
                           "VNL_EnumNATPortForward(\"tvnet8\", true, 1, 128, 128)",
                           "VNL_EnumNATPortForward(\"tvnet8\", true, 2, 128, 128)",
                           "VNL_EnumNATPortForward(\"tvnet8\", false, 0, 128, 128)",
                           "VNL_EnumNATPortForward(\"tvnet8\", false, 1, 128, 128)"));
}

TEST_F(LoadTest, NATNetworkHoldsWhatTheDatabaseSays)
{
   Load(natNetwork);

   ASSERT_THAT(GetIndices(), ElementsAre(8));
   Network const& network = *editable->GetNetwork(8);
   EXPECT_EQ(Network::NAT, network.GetType());
   EXPECT_TRUE(network.GetHasDHCP());
   EXPECT_TRUE(network.GetHasVirtualAdapter());
   EXPECT_EQ("192.168.8.0", network.GetSubnetAddr());
   EXPECT_EQ("255.255.255.0", network.GetSubnetMask());
   EXPECT_EQ("Home B\xc3\xbcro", network.GetDisplayName());
   EXPECT_EQ("1400", network.GetMTU());

   NAT const& nat = *network.GetNAT();
   EXPECT_EQ("192.168.8.2", nat.GetGatewayIP());
   EXPECT_EQ(8765u, nat.GetConfigPort());
   EXPECT_FALSE(nat.GetAllowActiveFTP());
   EXPECT_TRUE(nat.GetAllowOUI());
   EXPECT_EQ(45u, nat.GetUDPTimeout());
   EXPECT_TRUE(nat.GetEnableIPv6());
   EXPECT_EQ("fd00::/64", nat.GetIPv6Prefix());
   using Entry = NAT::PortForwardEntry;
   EXPECT_THAT(nat.GetPortForwardList(),
               ElementsAre(Entry{22, 22, true, "192.168.8.4", ""},
                           Entry{80, 8080, true, "192.168.8.3", "web"},
                           Entry{53, 5353, false, "192.168.8.5", "names"}));
}

TEST_F(LoadTest, HostOnlyNetworkHasNoNATValuesRead)
{
   Load("network=1 172.16.1.0 255.255.255.0\n");

   Network const& network = *editable->GetNetwork(1);
   EXPECT_EQ(Network::HostOnly, network.GetType());
   EXPECT_FALSE(network.GetHasDHCP());
   EXPECT_FALSE(network.GetHasVirtualAdapter());
   EXPECT_EQ("-", network.GetMTU());
   EXPECT_EQ(0, Count(VnetDouble::GetLog(), "VNL_GetNATParam"));
   EXPECT_EQ(Lines{}, LogDouble::GetLines());
}

TEST_F(LoadTest, OfTheRecordsBytesOnlyTheValue1Counts)
{
   VNL_FeatureStruct features{};
   features.hosted = features.nat = features.dhcp = features.virtualAdapter = 2;
   mgr.LoadHostedNetwork(8, features);

   Network const& network = *editable->GetNetwork(8);
   EXPECT_EQ(Network::HostOnly, network.GetType());
   EXPECT_FALSE(network.GetHasDHCP());
   EXPECT_FALSE(network.GetHasVirtualAdapter());
}

TEST_F(LoadTest, HostedNetworkOfATakenIndexIsSkipped)
{
   AddHosted(Network::HostOnly, 8);
   SetDatabase(natNetwork);
   VNL_FeatureStruct features{};
   features.nat = 1;
   mgr.LoadHostedNetwork(8, features);

   EXPECT_EQ(Network::HostOnly, editable->GetNetwork(8)->GetType());
   EXPECT_EQ(Lines{}, VnetDouble::GetLog());
}

TEST_F(LoadTest, DHCPObjectsAndTheOtherNATGroupsKeepTheirDefaults)
{
   Load(std::string(natNetwork) + "dhcp=8 0x3426 192.168.8.128\ndhcp=8 0x342a 60\n");

   common::DHCP const& dhcp = *editable->GetNetwork(8)->GetDHCP();
   EXPECT_EQ("", dhcp.GetBeginIP());
   EXPECT_EQ(1800u, dhcp.GetDefaultLeaseTime());
   EXPECT_EQ(2u, editable->GetNetwork(8)->GetNAT()->GetDNSTimeout());
   EXPECT_EQ(0, Count(VnetDouble::GetLog(), "VNL_GetDHCPParam"));
}

TEST_F(LoadTest, SecondLoadRefreshesNothing)
{
   Load(natNetwork);
   Stored(8).subnetAddress = "10.0.0.0";
   mgr.Load();

   EXPECT_EQ("192.168.8.0", editable->GetNetwork(8)->GetSubnetAddr());
}

class UnreadableTextTest : public LoadTest, public testing::WithParamInterface<char const*> {};

TEST_P(UnreadableTextTest, ReadsAsEmpty)
{
   SetDatabase(natNetwork);
   VnetDouble::FailFunction(GetParam());
   mgr.Load();

   Network const& network = *editable->GetNetwork(8);
   std::string const failed = GetParam();
   EXPECT_EQ(failed == "VNL_GetVnetSubnetAddr" ? "" : "192.168.8.0", network.GetSubnetAddr());
   EXPECT_EQ(failed == "VNL_GetVnetSubnetMask" ? "" : "255.255.255.0", network.GetSubnetMask());
   EXPECT_EQ(failed == "VNL_GetVnetDisplayName" ? "" : "Home B\xc3\xbcro",
             network.GetDisplayName());
}

INSTANTIATE_TEST_SUITE_P(, UnreadableTextTest,
                         testing::Values("VNL_GetVnetSubnetAddr", "VNL_GetVnetSubnetMask",
                                         "VNL_GetVnetDisplayName"));

TEST_F(LoadTest, LongestDisplayNameIsReadWhole)
{
   std::string const name(127, 'n');
   Load("network=1 172.16.1.0 255.255.255.0\nname=1 " + name + "\n");

   EXPECT_EQ(name.c_str(), editable->GetNetwork(1)->GetDisplayName());
}

TEST_F(LoadTest, MTUThatCannotBeReadIsNone)
{
   SetDatabase(natNetwork);
   VnetDouble::FailFunction("VNL_GetVnetMTU");
   mgr.Load();

   EXPECT_EQ("-", editable->GetNetwork(8)->GetMTU());
}

TEST_F(LoadTest, WithoutTheCapabilityTheMTUStaysAsConstructed)
{
   cui::GetFeatures().mtu = cui::Capability(false);
   Load(natNetwork);

   EXPECT_EQ("-", editable->GetNetwork(8)->GetMTU());
   EXPECT_EQ(0, Count(VnetDouble::GetLog(), "VNL_GetVnetMTU"));
}

// --- the automatic bridging network and the adapters

TEST_F(LoadTest, AdapterOfNoNetworkIsKnownAndUnused)
{
   Load("adapter=eth0 -1\n");

   EXPECT_EQ(1u, editable->GetHostAdapters().count("eth0"));
   EXPECT_EQ(-1, GetOwner("eth0"));
   EXPECT_EQ("", editable->GetDisplayNameForAdapter("eth0"));
   EXPECT_TRUE(editable->GetNetworks().empty());
}

TEST_F(LoadTest, OfTwoAdaptersOnAFixedNetworkTheFirstGetsIt)
{
   Load("adapter=wlan0 2\nadapter=eth0 2\n");

   ASSERT_THAT(GetIndices(), ElementsAre(2));
   EXPECT_EQ(2, GetOwner("wlan0"));
   EXPECT_EQ(-1, GetOwner("eth0"));
   EXPECT_FALSE(editable->GetNetwork(2)->GetBridge()->IsAuto());
   EXPECT_EQ("wlan0", editable->GetNetwork(2)->GetBridge()->GetAdapter());
}

TEST_F(LoadTest, TwoAdaptersOnTheAutomaticNetworkBothBelongToIt)
{
   Load("automatic=0\nadapter=eth0 0\nadapter=eth1 0\nadapter=eth2 -1\n");

   EXPECT_EQ(editable->GetNetwork(0), editable->GetAutoBridgeNetwork());
   EXPECT_TRUE(editable->GetNetwork(0)->GetBridge()->IsAuto());
   EXPECT_EQ(0, GetOwner("eth0"));
   EXPECT_EQ(0, GetOwner("eth1"));
   EXPECT_EQ(-1, GetOwner("eth2")) << "automatic bridging adopts nothing here";
}

TEST_F(LoadTest, AutomaticNetworkWithoutAdaptersIsInTheModel)
{
   Load("automatic=0\nadapter=eth0 3\n");

   EXPECT_THAT(GetIndices(), ElementsAre(0, 3));
   EXPECT_TRUE(editable->GetNetwork(0)->GetBridge()->IsAuto());
   EXPECT_EQ(3, GetOwner("eth0"));
}

TEST_F(LoadTest, AutomaticNetworkAdoptsNoAdapterOfTheModels)
{
   editable->AddHostAdapter("old", "");
   Load("automatic=0\n");

   EXPECT_TRUE(editable->GetNetwork(0)->GetBridge()->IsAuto());
   EXPECT_EQ(-1, GetOwner("old"));
}

TEST_F(LoadTest, AutomaticIndexOfAHostedNetworkLeavesItHosted)
{
   Load("automatic=0\nnetwork=0 10.0.0.0 255.0.0.0\nadapter=eth0 0\nadapter=eth1 0\n");

   EXPECT_EQ(Network::HostOnly, editable->GetNetwork(0)->GetType());
   EXPECT_EQ(nullptr, editable->GetAutoBridgeNetwork());
   EXPECT_EQ(-1, GetOwner("eth0"));
   EXPECT_EQ(-1, GetOwner("eth1"));
}

TEST_F(LoadTest, AutomaticNetworkOfAnotherIndexCollectsItsAdaptersWithoutBeingAutomatic)
{
   Load("automatic=3\nadapter=eth0 3\nadapter=eth1 3\n");

   EXPECT_FALSE(editable->GetNetwork(3)->GetBridge()->IsAuto());
   EXPECT_EQ(nullptr, editable->GetAutoBridgeNetwork());
   EXPECT_EQ(3, GetOwner("eth0"));
   EXPECT_EQ(3, GetOwner("eth1"));
}

TEST_F(LoadTest, AdapterOnAHostedNetworkIsKnownAndUnused)
{
   Load("network=1 10.0.0.0 255.0.0.0\nadapter=eth0 1\n");

   EXPECT_EQ(-1, GetOwner("eth0"));
   EXPECT_EQ(1u, editable->GetHostAdapters().count("eth0"));
}

TEST_F(LoadTest, BridgedNetworkTakesNothingElseFromTheDatabase)
{
   Load("network=2\nname=2 bridge\nmtu=2 1400\nadapter=eth0 2\n");

   Network const& network = *editable->GetNetwork(2);
   EXPECT_EQ("", network.GetDisplayName());
   EXPECT_EQ("-", network.GetMTU());
   EXPECT_EQ("", network.GetSubnetAddr());
   EXPECT_FALSE(network.GetHasDHCP());
}

TEST_F(LoadTest, FailedReadOfTheAutomaticNetworkReadsAsNone)
{
   SetDatabase("automatic=0\n");
   VnetDouble::FailFunction("VNL_GetBridgeDefaultNetwork");
   mgr.Load();

   EXPECT_TRUE(editable->GetNetworks().empty());
}

TEST_F(LoadTest, FailedAdapterListIsAnEmptyOneAndIsFreed)
{
   SetDatabase("adapter=eth0 0\n");
   VnetDouble::FailFunction("VNL_GetHostAdapterList");
   mgr.Load();

   EXPECT_TRUE(editable->GetHostAdapters().empty());
   EXPECT_EQ(1, Count(VnetDouble::GetLog(), "VNL_FreeHostAdapterList"));
}

// --- NAT values

class LoadNATTest : public LoadTest {
protected:
   LoadNATTest() : network(AddHosted(Network::NAT, 8)), nat(*network.GetNAT()) {}

   Network& network;
   NAT& nat;
};

TEST_F(LoadNATTest, UnreadableValuesAreEmptyOrFalseOrKept)
{
   nat.SetGatewayIP("10.0.0.2");
   nat.SetIPv6Prefix("fd00::/64");
   nat.SetEnableIPv6(true);
   mgr.LoadNAT("tvnet8", &nat);

   EXPECT_EQ("", nat.GetGatewayIP());
   EXPECT_EQ("", nat.GetIPv6Prefix());
   EXPECT_FALSE(nat.GetAllowActiveFTP()) << "the default was true";
   EXPECT_FALSE(nat.GetAllowOUI()) << "the default was true";
   EXPECT_FALSE(nat.GetEnableIPv6());
   EXPECT_EQ(0u, nat.GetConfigPort());
   EXPECT_EQ(30u, nat.GetUDPTimeout());
   EXPECT_THAT(
      LogDouble::GetLines(),
      ElementsAre("Warning: GetNATParam: Unable to get NAT param 0x2343.\n",
                  "Warning: GetNATParam: Unable to get NAT param 0x2347.\n",
                  "Warning: GetNATParam: Unable to get NAT param 0x2348.\n",
                  "Warning: GetNATParam: Unable to get NAT param 0x235a.\n",
                  "Warning: GetNATParam: Unable to get NAT param 0x235b.\n",
                  "Warning: GetNATParam: Unable to get NAT param 0x2346.\n",
                  "Warning: GetNATParam: Bad config file: Unable to convert NAT param "
                  "\"0x2346\" to an integer value.\n",
                  "Warning: GetNATParam: Unable to get NAT param 0x2349.\n",
                  "Warning: GetNATParam: Bad config file: Unable to convert NAT param "
                  "\"0x2349\" to an integer value.\n",
                  "LogV(7): EnumNATPortForward: enumeration for network \"tvnet8\" stopped at 0.\n",
                  "LogV(7): EnumNATPortForward: enumeration for network \"tvnet8\" stopped at "
                  "0.\n"));
}

TEST_F(LoadNATTest, ConfigPortThatIsNoNumberIsLoggedAndStays0)
{
   SetDatabase(std::string(natNetwork) + "nat=8 0x2346 many\n");
   LogDouble::Clear();
   mgr.LoadNAT("tvnet8", &nat);

   EXPECT_EQ(0u, nat.GetConfigPort());
   EXPECT_EQ(45u, nat.GetUDPTimeout());
   EXPECT_THAT(
      LogDouble::GetLines(),
      ElementsAre("Warning: GetNATParam: Bad config file: Unable to convert NAT param "
                  "\"0x2346\" to an integer value.\n",
                  "LogV(7): EnumNATPortForward: enumeration for network \"tvnet8\" stopped at 2.\n",
                  "LogV(7): EnumNATPortForward: enumeration for network \"tvnet8\" stopped at "
                  "1.\n"));
}

TEST_F(LoadNATTest, NetworkWithoutForwardsLogsTheEndOfBothLists)
{
   SetDatabase("network=8 nat 192.168.8.0 255.255.255.0\n");
   mgr.LoadNAT("tvnet8", &nat);

   EXPECT_EQ(2, Count(LogDouble::GetLines(), "LogV(7): EnumNATPortForward: enumeration for network "
                                             "\"tvnet8\" stopped at 0."));
}

struct SwitchCase {
   char const* text;
   bool on;
};

void PrintTo(SwitchCase const& value, std::ostream* out)
{
   *out << '"' << value.text << '"';
}

class SwitchTest : public LoadNATTest, public testing::WithParamInterface<SwitchCase> {};

TEST_P(SwitchTest, IsOnForThe1Alone)
{
   for (unsigned int const id : {0x2347u, 0x2348u, 0x235au}) {
      Stored(8).natParams[id] = GetParam().text;
   }
   mgr.LoadNAT("tvnet8", &nat);

   EXPECT_EQ(GetParam().on, nat.GetAllowActiveFTP());
   EXPECT_EQ(GetParam().on, nat.GetAllowOUI());
   EXPECT_EQ(GetParam().on, nat.GetEnableIPv6());
}

INSTANTIATE_TEST_SUITE_P(, SwitchTest,
                         testing::Values(SwitchCase{"1", true}, SwitchCase{"0", false},
                                         SwitchCase{"true", false}, SwitchCase{"01", false},
                                         SwitchCase{" 1", false}, SwitchCase{"", false}));

TEST_F(LoadNATTest, OnlyWhatDiffersIsToldOf)
{
   SetDatabase(natNetwork);
   mgr.LoadNAT("tvnet8", &nat);
   int heard = 0;
   nat.changed.connect([&heard] { ++heard; });

   mgr.LoadNAT("tvnet8", &nat);
   EXPECT_EQ(0, heard);

   Stored(8).natParams[0x2349] = "46";
   Stored(8).tcpForwards[0].description = "other";
   mgr.LoadNAT("tvnet8", &nat);
   EXPECT_EQ(2, heard);
   EXPECT_EQ("other", nat.GetPortForwardList()[0].description);
}

TEST_F(LoadNATTest, ForwardsThatWentAreDropped)
{
   nat.SetPortForwardList({{1, 2, true, "10.0.0.1", "gone"}});
   SetDatabase("network=8 nat 192.168.8.0 255.255.255.0\n");
   mgr.LoadNAT("tvnet8", &nat);

   EXPECT_TRUE(nat.GetPortForwardList().empty());
}

TEST_F(LoadNATTest, NumberOfForwardsHasNoLimit)
{
   for (int port = 1; port <= 3000; ++port) {
      Stored(8).PutForward({true, static_cast<std::uint16_t>(port), "10.0.0.1", 80, ""});
   }
   mgr.LoadNAT("tvnet8", &nat);

   EXPECT_EQ(3000u, nat.GetPortForwardList().size());
}

// --- DHCP values

class LoadDHCPTest : public LoadTest {
protected:
   LoadDHCPTest() : dhcp(*AddHosted(Network::NAT, 8).GetDHCP()) {}

   common::DHCP& dhcp;
};

TEST_F(LoadDHCPTest, TakesLeaseTimesThenTheRange)
{
   SetDatabase("dhcp=8 0x3426 192.168.8.128\ndhcp=8 0x3427 192.168.8.254\n"
               "dhcp=8 0x342a 60\ndhcp=8 0x342b 120\n");
   mgr.LoadDHCP("tvnet8", &dhcp);

   EXPECT_EQ(60u, dhcp.GetDefaultLeaseTime());
   EXPECT_EQ(120u, dhcp.GetMaxLeaseTime());
   EXPECT_EQ("192.168.8.128", dhcp.GetBeginIP());
   EXPECT_EQ("192.168.8.254", dhcp.GetEndIP());
   EXPECT_THAT(VnetDouble::GetLog(), ElementsAre("VNL_GetDHCPParam(\"tvnet8\", 0x342a, 1, 128)",
                                                 "VNL_GetDHCPParam(\"tvnet8\", 0x342b, 1, 128)",
                                                 "VNL_GetDHCPParam(\"tvnet8\", 0x3426, 1, 128)",
                                                 "VNL_GetDHCPParam(\"tvnet8\", 0x3427, 1, 128)"));
   EXPECT_EQ(Lines{}, LogDouble::GetLines());
}

TEST_F(LoadDHCPTest, BadLeaseTimeOverwritesTheFieldUnlikeABadNATNumber)
{
   SetDatabase("dhcp=8 0x342a soon\n");
   mgr.LoadDHCP("tvnet8", &dhcp);

   EXPECT_EQ(0u, dhcp.GetDefaultLeaseTime());
   EXPECT_EQ(0u, dhcp.GetMaxLeaseTime());
   EXPECT_EQ("", dhcp.GetBeginIP());
   EXPECT_THAT(LogDouble::GetLines(),
               ElementsAre("Warning: GetDHCPParam: Unable to get DHCP param 0x342b.\n",
                           "Warning: GetDHCPParam: Unable to get DHCP param 0x3426.\n",
                           "Warning: GetDHCPParam: Unable to get DHCP param 0x3427.\n"));
}

TEST_F(LoadDHCPTest, OnlyWhatDiffersIsToldOf)
{
   SetDatabase("dhcp=8 0x3426 192.168.8.128\ndhcp=8 0x3427 192.168.8.254\n"
               "dhcp=8 0x342a 60\ndhcp=8 0x342b 120\n");
   int heard = 0;
   dhcp.changed.connect([&heard] { ++heard; });

   mgr.LoadDHCP("tvnet8", &dhcp);
   EXPECT_EQ(4, heard);
   mgr.LoadDHCP("tvnet8", &dhcp);
   EXPECT_EQ(4, heard);
}

} // namespace

} // namespace netcfg
