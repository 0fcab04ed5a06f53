// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/network.hh"

#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/listener.hh"
#include "tvnetcfg/common/refusals.hh"

#include <gtest/gtest.h>

namespace netcfg::common {

namespace {

class NetworkTest : public testing::Test {
protected:
   NetworkTest()
   {
      editable.AddHostAdapter("eth0", "");
      editable.AddHostAdapter("eth1", "");
   }

   Network& Add(Network::Type type, unsigned int index)
   {
      return *editable.AddNetwork(type, index, false, OnDone());
   }

   Network& AddNew(Network::Type type, unsigned int index)
   {
      return *editable.AddNetwork(type, index, true, OnDone());
   }

   void TakeAllAdapters() { AddNew(Network::Bridged, 0); }

   // What was heard, in order. The model tells until it is gone.
   std::vector<std::string> events;
   Editable editable{20};
   Refusals refusals;
};

class HostedNetworkTest : public NetworkTest, public testing::WithParamInterface<Network::Type> {};

Network::Type const allTypes[] = {Network::Bridged, Network::NAT, Network::HostOnly};

void ExpectHostedDefaults(Network const& network)
{
   EXPECT_EQ("", network.GetSubnetAddr());
   EXPECT_EQ("255.255.255.0", network.GetSubnetMask());
   EXPECT_TRUE(network.GetHasDHCP());
   EXPECT_TRUE(network.GetHasVirtualAdapter());
}

} // namespace

TEST_F(NetworkTest, TheSystemNameIsTvnetAndTheIndex)
{
   EXPECT_EQ("tvnet0", Network::NetToString(0));
   EXPECT_EQ("tvnet19", Network::NetToString(19));
   EXPECT_EQ("tvnet4294967295", Network::NetToString(4294967295u));
}

TEST_F(NetworkTest, ADisplayNameHasOneTo127Bytes)
{
   EXPECT_FALSE(Network::IsValidDisplayName(""));
   EXPECT_TRUE(Network::IsValidDisplayName("x"));
   EXPECT_TRUE(Network::IsValidDisplayName(std::string(127, 'x').c_str()));
   EXPECT_FALSE(Network::IsValidDisplayName(std::string(128, 'x').c_str()));
   // 64 characters of two bytes each.
   std::string umlauts;
   for (int i = 0; i < 64; ++i) {
      umlauts += "\u00FC";
   }
   EXPECT_FALSE(Network::IsValidDisplayName(umlauts.c_str()));
}

TEST_F(NetworkTest, TheNamesOfTheDefaultNetworksAreReserved)
{
   EXPECT_FALSE(Network::IsValidDisplayName("tvnet0"));
   EXPECT_FALSE(Network::IsValidDisplayName("tvnet1"));
   EXPECT_FALSE(Network::IsValidDisplayName("tvnet8"));
   EXPECT_TRUE(Network::IsValidDisplayName("TVNET0"));
   EXPECT_TRUE(Network::IsValidDisplayName("tvnet2"));
   EXPECT_TRUE(Network::IsValidDisplayName("tvnet10"));
   EXPECT_TRUE(Network::IsValidDisplayName("tvnet"));
}

TEST_P(HostedNetworkTest, ANewOneHasTheHostedDefaults)
{
   Network const& network = AddNew(GetParam(), 2);

   ExpectHostedDefaults(network);
   EXPECT_EQ("-", network.GetMTU());
   EXPECT_EQ("", network.GetDisplayName());
}

TEST_P(HostedNetworkTest, AStoredOneStartsEmpty)
{
   Network const& network = Add(GetParam(), 2);

   EXPECT_EQ("", network.GetSubnetAddr());
   EXPECT_EQ("", network.GetSubnetMask());
   EXPECT_FALSE(network.GetHasDHCP());
   EXPECT_FALSE(network.GetHasVirtualAdapter());
   EXPECT_EQ("-", network.GetMTU());
}

INSTANTIATE_TEST_SUITE_P(Both, HostedNetworkTest, testing::Values(Network::NAT, Network::HostOnly));

TEST_F(NetworkTest, ANewBridgedNetworkGetsNoHostedDefaults)
{
   Network& network = AddNew(Network::Bridged, 2);

   EXPECT_EQ("", network.GetSubnetMask());
   Listener listener(editable, network);
   network.SetHasDHCP(false);
   network.SetHasVirtualAdapter(false);
   EXPECT_EQ(Heard(), listener.heard);
}

TEST_F(NetworkTest, OnlyABridgedNetworkHasABridgeAndEveryOneHasDHCPAndNAT)
{
   for (Network::Type type : allTypes) {
      Network const& network = Add(type, type);
      EXPECT_EQ(type == Network::Bridged, network.GetBridge() != nullptr);
      EXPECT_NE(nullptr, network.GetDHCP());
      EXPECT_NE(nullptr, network.GetNAT());
   }
}

TEST_F(NetworkTest, ABridgedNetworkStoresItsFlagsAndReportsFalse)
{
   Network& network = Add(Network::Bridged, 2);
   Listener listener(editable, network);

   network.SetHasDHCP(true);
   network.SetHasVirtualAdapter(true);

   EXPECT_FALSE(network.GetHasDHCP());
   EXPECT_FALSE(network.GetHasVirtualAdapter());
   EXPECT_EQ((Heard{.network = 2}), listener.heard);
   network.SetType(Network::NAT, OnDone());
   EXPECT_TRUE(network.GetHasDHCP());
   EXPECT_TRUE(network.GetHasVirtualAdapter());
}

TEST_F(NetworkTest, SetTypeToTheCurrentTypeDoesNothing)
{
   TakeAllAdapters();
   for (Network::Type type : allTypes) {
      Network& network = Add(type, 2 + type);
      Listener listener(editable, network);
      Bridge* const bridge = network.GetBridge();

      network.SetType(type, refusals.Slot());

      EXPECT_EQ(Heard(), listener.heard);
      EXPECT_EQ(bridge, network.GetBridge());
   }
   EXPECT_TRUE(refusals.messages.empty());
}

TEST_F(NetworkTest, BetweenNATAndHostOnlyEverythingStays)
{
   Network& network = AddNew(Network::NAT, 2);
   network.SetSubnetAddr("10.1.0.0");
   network.SetSubnetMask("255.255.0.0");
   network.SetHasDHCP(false);
   network.SetMTU("1400");
   network.GetNAT()->SetUDPTimeout(60);
   NAT* const nat = network.GetNAT();

   for (Network::Type type : {Network::HostOnly, Network::NAT}) {
      Listener listener(editable, network);
      network.SetType(type, OnDone());

      EXPECT_EQ((Heard{.network = 1}), listener.heard);
      EXPECT_EQ(type, network.GetType());
      EXPECT_EQ("10.1.0.0", network.GetSubnetAddr());
      EXPECT_EQ("255.255.0.0", network.GetSubnetMask());
      EXPECT_FALSE(network.GetHasDHCP());
      EXPECT_TRUE(network.GetHasVirtualAdapter());
      EXPECT_EQ("1400", network.GetMTU());
      EXPECT_EQ(nat, network.GetNAT());
      EXPECT_EQ(60u, nat->GetUDPTimeout());
   }
}

TEST_F(NetworkTest, ThroughBridgedTheHostedValuesAreResetAndTheRestStays)
{
   Network& network = AddNew(Network::HostOnly, 2);
   network.SetSubnetAddr("10.1.0.0");
   network.SetSubnetMask("255.255.0.0");
   network.SetHasDHCP(false);
   network.SetHasVirtualAdapter(false);
   network.SetDisplayName("office");
   network.SetMTU("1400");
   network.GetDHCP()->SetBeginIP("10.1.0.10");

   network.SetType(Network::Bridged, refusals.Slot());
   EXPECT_EQ("10.1.0.0", network.GetSubnetAddr());
   EXPECT_EQ("255.255.0.0", network.GetSubnetMask());
   EXPECT_EQ("eth0", network.GetBridge()->GetAdapter());

   network.SetType(Network::HostOnly, refusals.Slot());
   ExpectHostedDefaults(network);
   EXPECT_EQ(nullptr, network.GetBridge());
   EXPECT_EQ("office", network.GetDisplayName());
   EXPECT_EQ("1400", network.GetMTU());
   EXPECT_EQ("10.1.0.10", network.GetDHCP()->GetBeginIP());
   EXPECT_TRUE(refusals.messages.empty());
}

TEST_F(NetworkTest, LeavingBridgedFreesTheAdaptersAndTheAutomaticBridging)
{
   Network& network = AddNew(Network::Bridged, 0);
   ASSERT_EQ(&network, editable.GetAutoBridgeNetwork());

   network.SetType(Network::NAT, OnDone());

   EXPECT_EQ(nullptr, editable.GetAutoBridgeNetwork());
   EXPECT_EQ(nullptr, editable.GetNetworkForAdapter("eth0"));
   EXPECT_EQ(nullptr, editable.GetNetworkForAdapter("eth1"));
}

TEST_F(NetworkTest, Tvnet0BecomesBridgedAutomatically)
{
   Network& network = AddNew(Network::NAT, 0);

   network.SetType(Network::Bridged, OnDone());

   EXPECT_TRUE(network.GetBridge()->IsAuto());
   EXPECT_EQ(&network, editable.GetAutoBridgeNetwork());
   EXPECT_EQ("", editable.GetUnusedHostAdapter());
}

TEST_F(NetworkTest, SetTypeToBridgedWithoutAFreeAdapterIsRefused)
{
   TakeAllAdapters();
   Network& network = AddNew(Network::NAT, 2);
   network.SetSubnetAddr("10.1.0.0");
   Listener listener(editable, network);

   network.SetType(Network::Bridged, refusals.Slot());

   EXPECT_EQ(Network::NAT, network.GetType());
   EXPECT_EQ(nullptr, network.GetBridge());
   EXPECT_EQ("10.1.0.0", network.GetSubnetAddr());
   EXPECT_EQ(Heard(), listener.heard);
   EXPECT_EQ(0, refusals.successes);
   EXPECT_EQ(std::vector<std::string>{"Cannot change network to bridged: There are no un-bridged "
                                      "host network adapters."},
             refusals.messages);
}

TEST_F(NetworkTest, Tvnet0NeedsAFreeAdapterToBecomeBridgedToo)
{
   AddNew(Network::Bridged, 2);
   AddNew(Network::Bridged, 3);
   Network& network = AddNew(Network::NAT, 0);

   network.SetType(Network::Bridged, refusals.Slot());

   EXPECT_EQ(Network::NAT, network.GetType());
   EXPECT_EQ(1u, refusals.messages.size());
}

TEST_F(NetworkTest, EachSetterStoresAndNotifiesOnceOfAnotherValueAndNotOfTheStoredOne)
{
   Network& network = Add(Network::NAT, 2);
   Listener listener(editable, network);

   for (int round = 0; round < 2; ++round) {
      network.SetHasDHCP(true);
      network.SetHasVirtualAdapter(true);
      network.SetDisplayName("office");
      network.SetSubnetAddr("10.1.0.0");
      network.SetSubnetMask("255.255.0.0");
      network.SetMTU("9000");
   }

   EXPECT_EQ((Heard{.network = 6}), listener.heard);
   EXPECT_TRUE(network.GetHasDHCP());
   EXPECT_TRUE(network.GetHasVirtualAdapter());
   EXPECT_EQ("office", network.GetDisplayName());
   EXPECT_EQ("10.1.0.0", network.GetSubnetAddr());
   EXPECT_EQ("255.255.0.0", network.GetSubnetMask());
   EXPECT_EQ("9000", network.GetMTU());
}

TEST_F(NetworkTest, SettersTakeValuesThatNoSaveWouldAccept)
{
   Network& network = Add(Network::NAT, 2);

   network.SetSubnetAddr("anything");
   network.SetSubnetMask("255.0.255.0");
   network.SetMTU("many");

   EXPECT_EQ("anything", network.GetSubnetAddr());
   EXPECT_EQ("255.0.255.0", network.GetSubnetMask());
   EXPECT_EQ("many", network.GetMTU());
}

TEST_F(NetworkTest, TheChildrenOfEveryTypeForwardTheirChanges)
{
   for (Network::Type type : allTypes) {
      Network& network = Add(type, 2 + type);
      Listener listener(editable, network);

      network.GetDHCP()->SetMaxLeaseTime(60);
      network.GetNAT()->SetUDPTimeout(60);

      EXPECT_EQ((Heard{.network = 2, .dhcp = 1, .nat = 1}), listener.heard);
   }
}

TEST_F(NetworkTest, ANetworkThatIsDeletedWhileBridgedFreesItsAdapters)
{
   AddNew(Network::Bridged, 0);
   ASSERT_EQ("", editable.GetUnusedHostAdapter());

   editable.RemoveNetwork(0);

   EXPECT_EQ("eth0", editable.GetUnusedHostAdapter());
   EXPECT_EQ(nullptr, editable.GetAutoBridgeNetwork());
}

TEST_F(NetworkTest, ListenersToAChangeOfTypeFindTheNewStateWhole)
{
   Network& network = AddNew(Network::HostOnly, 2);
   std::vector<std::string> seen;
   network.changed.connect([&] {
      seen.push_back(network.GetBridge() ? network.GetBridge()->GetAdapter().c_str()
                                         : network.GetSubnetMask().c_str());
   });

   network.SetType(Network::Bridged, OnDone());
   network.SetType(Network::NAT, OnDone());

   EXPECT_EQ((std::vector<std::string>{"eth0", "255.255.255.0"}), seen);
}

TEST_F(NetworkTest, AChangeOfTypeTellsOfTheAdaptersFirst)
{
   Network& network = AddNew(Network::HostOnly, 2);
   editable.adaptersChanged.connect([&] { events.push_back("adapters"); });
   network.changed.connect([&] { events.push_back("network"); });

   network.SetType(Network::Bridged, OnDone());
   network.SetType(Network::NAT, OnDone());

   EXPECT_EQ((std::vector<std::string>{"adapters", "network", "adapters", "network"}), events);
}

TEST_F(NetworkTest, InitializeHostedIsSilent)
{
   Network& network = Add(Network::NAT, 2);
   network.SetSubnetAddr("10.1.0.0");
   Listener listener(editable, network);

   network.InitializeHosted();

   ExpectHostedDefaults(network);
   EXPECT_EQ(Heard(), listener.heard);
}

} // namespace netcfg::common
