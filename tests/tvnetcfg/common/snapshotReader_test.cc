// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/dhcp.hh"
#include "tvnetcfg/common/golden.hh"
#include "tvnetcfg/common/nat.hh"
#include "tvnetcfg/common/snapshotText.hh"

#include <boost/property_tree/exceptions.hpp>
#include <csignal>
#include <gtest/gtest.h>

namespace netcfg::common {

TEST(SnapshotReaderTest, AnEmptyModelComesBackEmpty)
{
   std::unique_ptr<Editable> const editable = Read(Golden("empty"));

   ASSERT_NE(nullptr, editable);
   EXPECT_EQ(0u, editable->GetMaxNetworks());
   EXPECT_TRUE(editable->GetNetworks().empty());
   EXPECT_TRUE(editable->GetHostAdapters().empty());
   EXPECT_EQ(nullptr, editable->GetAutoBridgeNetwork());
}

TEST(SnapshotReaderTest, TheDefaultNetworksComeBackWhole)
{
   std::unique_ptr<Editable> const editable = Read(Golden("defaultNetworks"));

   ASSERT_NE(nullptr, editable);
   EXPECT_EQ(20u, editable->GetMaxNetworks());
   EXPECT_EQ(Golden("defaultNetworks"), Editable::Serialize(editable.get()).c_str());
   EXPECT_EQ("B\u00FCro", editable->GetNetwork(8)->GetDisplayName());
   EXPECT_EQ("tab\tline\n\u0001 \U0001D11E",
             editable->GetNetwork(8)->GetNAT()->GetPortForwardList().at(1).description);
}

TEST(SnapshotReaderTest, ARemovedSlotComesBackAsANullOne)
{
   std::unique_ptr<Editable> const editable = Read(Snapshot(R"({"3":"0"})"));

   EXPECT_EQ(1u, editable->GetNetworks().count(3));
   EXPECT_EQ(nullptr, editable->GetNetwork(3));
}

TEST(SnapshotReaderTest, AStoredDHCPFlagOfABridgedNetworkSurvivesAndStaysHidden)
{
   Editable written(20);
   Network& network = *written.AddNetwork(Network::Bridged, 2, false, OnDone());
   network.SetHasDHCP(true);
   network.GetDHCP()->SetBeginIP("10.0.0.3");

   std::unique_ptr<Editable> const editable = RoundTrip(written);

   EXPECT_FALSE(editable->GetNetwork(2)->GetHasDHCP());
   EXPECT_EQ("10.0.0.3", editable->GetNetwork(2)->GetDHCP()->GetBeginIP());
   EXPECT_EQ(Editable::Serialize(&written), Editable::Serialize(editable.get()));
}

TEST(SnapshotReaderTest, DHCPSettingsDoNotSurviveWithoutTheFlag)
{
   Editable written(20);
   written.AddNetwork(Network::NAT, 2, false, OnDone())->GetDHCP()->SetMaxLeaseTime(1);

   std::unique_ptr<Editable> const editable = RoundTrip(written);

   EXPECT_EQ(7200u, editable->GetNetwork(2)->GetDHCP()->GetMaxLeaseTime());
}

TEST(SnapshotReaderTest, NATSettingsSurviveForANATNetworkAlone)
{
   Editable written(20);
   Network& network = *written.AddNetwork(Network::NAT, 2, true, OnDone());
   network.GetNAT()->SetUDPTimeout(60);
   EXPECT_EQ(60u, RoundTrip(written)->GetNetwork(2)->GetNAT()->GetUDPTimeout());

   network.SetType(Network::HostOnly, OnDone());

   EXPECT_EQ(30u, RoundTrip(written)->GetNetwork(2)->GetNAT()->GetUDPTimeout());
}

TEST(SnapshotReaderTest, ABridgedNetworkLosesItsMTU)
{
   Editable written(20);
   for (Network::Type type : {Network::Bridged, Network::NAT, Network::HostOnly}) {
      written.AddNetwork(type, type, false, OnDone())->SetMTU("1500");
   }

   std::unique_ptr<Editable> const editable = RoundTrip(written);

   EXPECT_EQ("-", editable->GetNetwork(Network::Bridged)->GetMTU());
   EXPECT_EQ("1500", editable->GetNetwork(Network::NAT)->GetMTU());
   EXPECT_EQ("1500", editable->GetNetwork(Network::HostOnly)->GetMTU());
}

TEST(SnapshotReaderTest, TheIndexDecidesAndNotTheKey)
{
   std::unique_ptr<Editable> const editable = Read(Snapshot(R"({"3":)" + HostOnly("5") + "}"));

   EXPECT_EQ(nullptr, editable->GetNetwork(3));
   EXPECT_EQ(0u, editable->GetNetworks().count(3));
   EXPECT_NE(nullptr, editable->GetNetwork(5));
}

TEST(SnapshotReaderTest, AnIndexOfMinusOneOrNoneMeansAnEmptySlotAtTheKey)
{
   for (char const* empty : {R"({"Index":"-1"})", R"({"Type":"7"})", R"("0")", R"("")", "null",
                             "{}", R"({"Index":"x"})", R"({"Index":"2147483648"})"}) {
      std::unique_ptr<Editable> const editable =
         Read(Snapshot(R"({"6":)" + std::string(empty) + "}"));

      EXPECT_EQ(1u, editable->GetNetworks().count(6)) << empty;
      EXPECT_EQ(nullptr, editable->GetNetwork(6)) << empty;
   }
}

TEST(SnapshotReaderTest, TheKeyOfAnEmptySlotIsReadAsFarAsItIsANumber)
{
   std::unique_ptr<Editable> const editable =
      Read(Snapshot(R"({"7x":"0","":"0","4294967295":"0"})"));

   EXPECT_EQ(3u, editable->GetNetworks().size());
   EXPECT_EQ(1u, editable->GetNetworks().count(7));
   EXPECT_EQ(1u, editable->GetNetworks().count(0));
   EXPECT_EQ(1u, editable->GetNetworks().count(4294967295u));
}

TEST(SnapshotReaderTest, OtherNegativeIndexesAreReadAsUnsigned)
{
   EXPECT_NE(nullptr, Read(Snapshot(R"({"1":)" + HostOnly("-2") + "}"))->GetNetwork(4294967294u));
}

TEST(SnapshotReaderTest, AnIndexThatStandsTwiceThrows)
{
   EXPECT_THROW(Read(Snapshot(R"({"1":)" + HostOnly("1") + R"(,"2":)" + HostOnly("1") + "}")),
                boost::property_tree::ptree_bad_data);
}

TEST(SnapshotReaderTest, ASlotThatIsFilledAndEmptiedFreesItsAdapters)
{
   std::unique_ptr<Editable> const editable =
      Read(Snapshot(R"({"0":)" + Automatic("0") + R"(,"0":"0"})", "0"));

   EXPECT_EQ(nullptr, editable->GetNetwork(0));
   EXPECT_EQ(nullptr, editable->GetAutoBridgeNetwork());
   EXPECT_EQ("eth0", editable->GetUnusedHostAdapter());
}

TEST(SnapshotReaderTest, ASlotThatIsEmptiedAndFilledHoldsTheNetwork)
{
   std::unique_ptr<Editable> const editable =
      Read(Snapshot(R"({"1":"0","x":)" + HostOnly("1") + "}"));

   EXPECT_NE(nullptr, editable->GetNetwork(1));
}

TEST(SnapshotReaderTest, UnknownKeysAreIgnored)
{
   std::string text = Golden("defaultNetworks");
   std::string const known = R"("Index":"8")";
   text.replace(text.find(known), known.size(), R"("New":{"a":["b"]},"Index":"8")");
   text.replace(0, 1, R"({"Other":"x",)");

   EXPECT_EQ(Golden("defaultNetworks"), Editable::Serialize(Read(text).get()).c_str());
}

TEST(SnapshotReaderTest, BoolsMayBeNumbers)
{
   std::string text = Golden("defaultNetworks");
   for (auto const& [word, number] : {std::pair(R"("true")", R"("1")"), {R"("false")", R"("0")"}}) {
      std::string const from = word;
      for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from)) {
         text.replace(at, from.size(), number);
      }
   }
   ASSERT_EQ(std::string::npos, text.find("true"));

   EXPECT_EQ(Golden("defaultNetworks"), Editable::Serialize(Read(text).get()).c_str());
}

TEST(SnapshotReaderTest, NumbersAndBoolsMayStandWithoutQuotes)
{
   std::unique_ptr<Editable> const editable =
      Read(R"({"MaxNetworks":20,"Networks":"","AutoBridgeNetworkIndex":-1,)"
           R"("HostAdapterDisplayName":""})");

   EXPECT_EQ(20u, editable->GetMaxNetworks());
}

TEST(SnapshotReaderTest, WhiteSpaceAndAByteOrderMarkDoNotMatter)
{
   EXPECT_NE(nullptr, Read("\uFEFF \t\r\n" + Golden("defaultNetworks") + "\n "));
}

TEST(SnapshotReaderTest, RawAndEscapedCharactersReadAlike)
{
   std::string text = Golden("empty");
   std::string const none = R"("HostAdapterDisplayName":"")";
   text.replace(text.find(none), none.size(),
                R"("HostAdapterDisplayName":[{"Adapter":"a","DisplayName":")"
                "B\u00FCro \U0001D11E"
                R"("},{"Adapter":"b","DisplayName":"B\u00fCro \ud834\uDD1E"}])");

   std::unique_ptr<Editable> const editable = Read(text);

   EXPECT_EQ("B\u00FCro \U0001D11E", editable->GetDisplayNameForAdapter("a"));
   EXPECT_EQ("B\u00FCro \U0001D11E", editable->GetDisplayNameForAdapter("b"));
}

TEST(SnapshotReaderTest, AValueIsCutAtItsNul)
{
   std::string text = Snapshot(R"("")");
   text.replace(text.find(R"("a")"), 3, R"("x\u0000y")");

   EXPECT_EQ("x", Read(text)->GetDisplayNameForAdapter("eth0"));
}

TEST(SnapshotReaderTest, AnAdapterThatStandsTwiceKeepsItsLastName)
{
   std::string text = Snapshot(R"("")");
   text.replace(text.find("eth1"), 4, "eth0");

   std::unique_ptr<Editable> const editable = Read(text);

   EXPECT_EQ(2u, editable->GetHostAdapters().size());
   EXPECT_EQ("b", editable->GetDisplayNameForAdapter("eth0"));
}

TEST(SnapshotReaderTest, ThreeEmptyDNSServersAndNoForwardsComeBackAsTheyWere)
{
   Editable written(20);
   written.AddNetwork(Network::NAT, 2, false, OnDone());

   std::unique_ptr<Editable> const editable = RoundTrip(written);

   NAT const& nat = *editable->GetNetwork(2)->GetNAT();
   EXPECT_EQ(std::vector<utf::string>(3), nat.GetDNSList());
   EXPECT_TRUE(nat.GetPortForwardList().empty());
}

TEST(SnapshotReaderTest, AnEmptyListOfDNSServersComesBackEmpty)
{
   Editable written(20);
   written.AddNetwork(Network::NAT, 2, false, OnDone())->GetNAT()->SetDNSList({});

   EXPECT_TRUE(RoundTrip(written)->GetNetwork(2)->GetNAT()->GetDNSList().empty());
}

TEST(SnapshotReaderDeathTest, ATypeThatIsNoneEndsTheProcess)
{
   for (char const* type : {"3", "-1", "2147483647"}) {
      std::string network = HostOnly("1");
      std::string const known = R"("Type":"2")";
      network.replace(network.find(known), known.size(), R"("Type":")" + std::string(type) + "\"");

      EXPECT_EXIT(Read(Snapshot(R"({"1":)" + network + "}")), testing::KilledBySignal(SIGABRT),
                  "NOT_REACHED tvnetcfg/common/editable:[0-9]+");
   }
}

} // namespace netcfg::common
