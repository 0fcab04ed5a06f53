// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/dhcp.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/common/golden.hh"
#include "tvnetcfg/common/nat.hh"

#include <algorithm>
#include <boost/property_tree/ptree.hpp>
#include <csignal>
#include <gtest/gtest.h>

namespace netcfg::common {

namespace {

class SnapshotWriterTest : public testing::Test {
protected:
   Network& Add(Network::Type type, unsigned int index, bool initialize = false)
   {
      return *editable.AddNetwork(type, index, initialize, OnDone());
   }

   std::string Text() { return Editable::Serialize(&editable).c_str(); }

   bool Has(std::string const& part) { return Text().find(part) != std::string::npos; }

   Editable editable{20};
};

void FillHostOnly(Network& network)
{
   network.SetDisplayName("Host only");
   network.SetSubnetAddr("192.168.56.0");
   network.GetDHCP()->SetBeginIP("192.168.56.128");
   network.GetDHCP()->SetEndIP("192.168.56.254");
}

void FillNAT(Network& network)
{
   network.SetDisplayName("B\u00FCro");
   network.SetSubnetAddr("192.168.8.0");
   network.SetHasVirtualAdapter(false);
   network.SetMTU("1500");
   network.GetDHCP()->SetDefaultLeaseTime(60);
   network.GetDHCP()->SetMaxLeaseTime(120);
   NAT& nat = *network.GetNAT();
   nat.SetGatewayIP("192.168.8.2");
   nat.SetConfigPort(33445);
   nat.SetAllowActiveFTP(false);
   nat.SetUDPTimeout(2147483647);
   nat.SetEnableIPv6(true);
   nat.SetIPv6Prefix("fd00:1:2:3::/64");
   nat.SetNBNSTimeout(4);
   nat.SetNBNSRetries(5);
   nat.SetNBDSTimeout(6);
   nat.SetDNSTimeout(7);
   nat.SetDNSRetries(8);
   nat.SetDNSAutoDetect(false);
   nat.SetDNSList({"192.168.8.1", "", "9.9.9.9"});
   nat.SetPortForwardList({{65535, 80, true, "192.168.8.128", "B\u00FCro / \"web\""},
                           {5353, 0, false, "192.168.8.129", "tab\tline\n\u0001 \U0001D11E"}});
}

} // namespace

TEST_F(SnapshotWriterTest, AnEmptyModelMatchesTheGoldenText)
{
   Editable empty(0);

   EXPECT_EQ(Golden("empty"), Editable::Serialize(&empty).c_str());
}

TEST_F(SnapshotWriterTest, TheDefaultNetworksAndARemovedSlotMatchTheGoldenText)
{
   editable.AddHostAdapter("wlan0", "Fr\u00E4nkie \U0001F600");
   editable.AddHostAdapter("eth0", "");
   FillNAT(Add(Network::NAT, 8, true));
   Add(Network::HostOnly, 3);
   FillHostOnly(Add(Network::HostOnly, 1, true));
   Add(Network::Bridged, 0, true);
   editable.RemoveNetwork(3);

   EXPECT_EQ(Golden("defaultNetworks"), Text());
}

TEST_F(SnapshotWriterTest, FixedBridgesAndDefaultValuesMatchTheGoldenText)
{
   Editable large(1000000);
   large.AddHostAdapter("eth0", "first");
   large.AddHostAdapter("eth1", "second");
   large.AddHostAdapter("eth2", "");
   for (unsigned int index : {0, 2, 5}) {
      large.AddNetwork(Network::Bridged, index, false, OnDone());
   }
   large.GetNetwork(0)->SetMTU("9000");
   large.GetNetwork(0)->SetHasDHCP(true);
   large.GetNetwork(0)->SetHasVirtualAdapter(true);
   large.GetNetwork(2)->GetBridge()->SetAdapter("eth1", OnDone());
   large.GetNetwork(5)->GetBridge()->SetAdapter("eth2", OnDone());
   large.GetNetwork(5)->GetBridge()->AddAutoAdapter("eth0", OnDone());
   large.AddNetwork(Network::NAT, 7, false, OnDone());
   large.AddNetwork(Network::HostOnly, 9, true, OnDone())->SetHasDHCP(false);
   large.AddNetwork(Network::NAT, 1000, true, OnDone());
   large.RemoveNetwork(1000);

   EXPECT_EQ(Golden("fixedBridges"), Editable::Serialize(&large).c_str());
}

TEST_F(SnapshotWriterTest, ANullSlotIsWrittenAsZero)
{
   Add(Network::NAT, 3);
   editable.RemoveNetwork(3);

   EXPECT_TRUE(Has(R"("Networks":{"3":"0"})"));
}

TEST_F(SnapshotWriterTest, TheStoredFlagsAreWrittenWhateverTheGettersTell)
{
   Network& network = Add(Network::Bridged, 2);
   network.SetHasDHCP(true);
   network.SetHasVirtualAdapter(true);
   ASSERT_FALSE(network.GetHasDHCP());

   EXPECT_TRUE(Has(R"("HasDHCP":"true","HasVirtualAdapter":"true")"));
   EXPECT_TRUE(Has(R"("DHCP":{"BeginIP":"")"));
}

TEST_F(SnapshotWriterTest, TheAutomaticNetworkIsNamedByItsKey)
{
   EXPECT_TRUE(Has(R"("AutoBridgeNetworkIndex":"-1")"));

   Add(Network::Bridged, 0).GetBridge()->SetAuto(false, OnDone());

   EXPECT_TRUE(Has(R"("AutoBridgeNetworkIndex":"0")"));
}

TEST_F(SnapshotWriterTest, AnAutomaticNetworkOfAnotherModelCountsAsNone)
{
   Editable other(20);
   editable.SetAutoBridgeNetwork(other.AddNetwork(Network::Bridged, 0, false, OnDone()));
   Add(Network::NAT, 0);
   Add(Network::NAT, 1);
   editable.RemoveNetwork(1);

   EXPECT_TRUE(Has(R"("AutoBridgeNetworkIndex":"-1")"));
}

TEST_F(SnapshotWriterTest, UnsignedNumbersAreWrittenWhole)
{
   Add(Network::NAT, 4294967295u).GetNAT()->SetUDPTimeout(4294967295u);

   EXPECT_TRUE(Has(R"("4294967295":{"Index":"4294967295")"));
   EXPECT_TRUE(Has(R"("UDPTimeout":"4294967295")"));
}

TEST_F(SnapshotWriterTest, ATextEndsAtItsFirstNul)
{
   Add(Network::NAT, 2).SetDisplayName(utf::string("a\0b", 3));

   EXPECT_TRUE(Has(R"("DisplayName":"a","SubnetAddress")"));
}

TEST_F(SnapshotWriterTest, TheTextIsOneAsciiLine)
{
   Add(Network::NAT, 2).SetDisplayName("B\u00FCro\n\U0001D11E");

   utf::string const text = Editable::Serialize(&editable);

   EXPECT_EQ(text.bytes(), text.size());
   std::string const raw = text.c_str();
   EXPECT_EQ(raw.size() - 1, raw.find('\n'));
   EXPECT_TRUE(std::all_of(raw.begin(), raw.end(), [](char c) { return c > 0; }));
   EXPECT_TRUE(Has(R"("DisplayName":"B\u00FCro\n\uD834\uDD1E")"));
}

TEST_F(SnapshotWriterTest, WritingChangesNothing)
{
   editable.AddHostAdapter("eth0", "");
   Add(Network::Bridged, 0, true);

   EXPECT_EQ(Text(), Text());
   EXPECT_TRUE(editable.GetNetwork(0)->GetBridge()->IsAuto());
}

TEST(SnapshotWriterDeathTest, ATypeThatIsNoneEndsTheProcess)
{
   Editable editable(20);
   Network network(&editable, static_cast<Network::Type>(3), 2, false);

   EXPECT_EXIT(network.ToPropertyTree(), testing::KilledBySignal(SIGABRT),
               "NOT_REACHED tvnetcfg/common/network:[0-9]+");
}

} // namespace netcfg::common
