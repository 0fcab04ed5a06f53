// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/dhcp.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/common/golden.hh"
#include "tvnetcfg/common/nat.hh"

#include <boost/property_tree/exceptions.hpp>
#include <boost/property_tree/ptree.hpp>
#include <csignal>
#include <gtest/gtest.h>
#include <memory>

namespace netcfg::common {

namespace {

using boost::property_tree::ptree_bad_data;
using boost::property_tree::ptree_bad_path;

std::unique_ptr<Editable> Read(std::string const& text)
{
   return std::unique_ptr<Editable>(Editable::Restore(text.c_str()));
}

std::unique_ptr<Editable> RoundTrip(Editable const& editable)
{
   return std::unique_ptr<Editable>(Editable::Restore(Editable::Serialize(&editable)));
}

// A snapshot of these networks and adapters eth0 to eth2.
std::string Snapshot(std::string const& networks, std::string const& autoIndex = "-1")
{
   return R"({"MaxNetworks":"20","Networks":)" + networks + R"(,"AutoBridgeNetworkIndex":")" +
          autoIndex +
          R"(","HostAdapterDisplayName":[{"Adapter":"eth0","DisplayName":"a"},)"
          R"({"Adapter":"eth1","DisplayName":"b"},{"Adapter":"eth2","DisplayName":"c"}]})";
}

std::string HostOnly(std::string const& index)
{
   return R"({"Index":")" + index +
          R"(","HasDHCP":"false","HasVirtualAdapter":"false","DisplayName":"","SubnetAddress":"",)"
          R"("SubnetMask":"","Type":"2","MTU":"-"})";
}

std::string Bridged(std::string const& index, std::string const& bridge)
{
   return R"({"Index":")" + index +
          R"(","HasDHCP":"false","HasVirtualAdapter":"false","DisplayName":"","SubnetAddress":"",)"
          R"("SubnetMask":"","Type":"0","MTU":"1500","Bridge":)" +
          bridge + "}";
}

std::string Fixed(std::string const& index, std::string const& adapters)
{
   return Bridged(index, R"({"Auto":"false","Adapters":)" + adapters + "}");
}

std::string Automatic(std::string const& index)
{
   return Bridged(index, R"({"Auto":"true","Adapters":""})");
}

unsigned int OwnerOf(Editable& editable, char const* adapter)
{
   Network* const network = editable.GetNetworkForAdapter(adapter);
   return network ? network->GetIndex() : 999;
}

class MalformedSnapshotTest : public testing::TestWithParam<char const*> {};

} // namespace

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

TEST(SnapshotReaderTest, AFixedBridgeComesBackWithItsAdapter)
{
   std::unique_ptr<Editable> const editable =
      Read(Snapshot(R"({"2":)" + Fixed("2", R"(["eth1"])") + "}"));

   EXPECT_FALSE(editable->GetNetwork(2)->GetBridge()->IsAuto());
   EXPECT_EQ("eth1", editable->GetNetwork(2)->GetBridge()->GetAdapter());
   EXPECT_EQ(2u, OwnerOf(*editable, "eth1"));
   EXPECT_EQ(999u, OwnerOf(*editable, "eth0"));
}

TEST(SnapshotReaderTest, AFixedBridgeKeepsTheFirstOfSeveralAdapters)
{
   std::unique_ptr<Editable> const editable =
      Read(Snapshot(R"({"2":)" + Fixed("2", R"(["eth2","eth0"])") + "}"));

   EXPECT_EQ(2u, OwnerOf(*editable, "eth2"));
   EXPECT_EQ(999u, OwnerOf(*editable, "eth0"));
}

TEST(SnapshotReaderTest, AFixedBridgeWithoutAdaptersStaysEmpty)
{
   for (char const* none : {R"("")", "[]", "{}", R"("eth0")"}) {
      std::unique_ptr<Editable> const editable =
         Read(Snapshot(R"({"2":)" + Fixed("2", none) + "}"));

      EXPECT_EQ("", editable->GetNetwork(2)->GetBridge()->GetAdapter()) << none;
      EXPECT_EQ("eth0", editable->GetUnusedHostAdapter()) << none;
   }
}

TEST(SnapshotReaderTest, AFixedBridgeOnAnUnknownAdapterStaysEmpty)
{
   std::unique_ptr<Editable> const editable =
      Read(Snapshot(R"({"2":)" + Fixed("2", R"(["eth7"])") + "}"));

   EXPECT_EQ("", editable->GetNetwork(2)->GetBridge()->GetAdapter());
   EXPECT_EQ(3u, editable->GetHostAdapters().size());
}

TEST(SnapshotReaderTest, AnAutomaticTvnet0ComesBackWithAllAdapters)
{
   std::unique_ptr<Editable> const editable =
      Read(Snapshot(R"({"0":)" + Automatic("0") + "}", "0"));

   EXPECT_TRUE(editable->GetNetwork(0)->GetBridge()->IsAuto());
   EXPECT_EQ(editable->GetNetwork(0), editable->GetAutoBridgeNetwork());
   EXPECT_EQ("", editable->GetUnusedHostAdapter());
}

TEST(SnapshotReaderTest, AnAutomaticTvnet0TakesBackWhatTheUserTookOut)
{
   Editable written(20);
   written.AddHostAdapter("eth0", "");
   written.AddHostAdapter("eth1", "");
   written.AddNetwork(Network::Bridged, 0, true, OnDone())->GetBridge()->RemoveAutoAdapter("eth1");

   EXPECT_EQ(0u, OwnerOf(*RoundTrip(written), "eth1"));
}

TEST(SnapshotReaderTest, AnAutomaticTvnet0TakesTheAdapterOfALaterNetwork)
{
   Editable written(20);
   written.AddHostAdapter("eth0", "");
   written.AddHostAdapter("eth1", "");
   written.AddNetwork(Network::Bridged, 3, true, OnDone());
   written.AddNetwork(Network::Bridged, 0, true, OnDone());

   std::unique_ptr<Editable> const editable = RoundTrip(written);

   EXPECT_EQ(0u, OwnerOf(*editable, "eth0"));
   EXPECT_EQ("", editable->GetNetwork(3)->GetBridge()->GetAdapter());
   EXPECT_NO_THROW(RoundTrip(*editable));
}

TEST(SnapshotReaderTest, TheOrderOfTheTextDecidesWhoTakesAnAdapter)
{
   std::unique_ptr<Editable> const editable = Read(
      Snapshot(R"({"3":)" + Fixed("3", R"(["eth1"])") + R"(,"0":)" + Automatic("0") + "}", "0"));

   EXPECT_EQ(3u, OwnerOf(*editable, "eth1"));
   EXPECT_EQ(0u, OwnerOf(*editable, "eth0"));
   EXPECT_EQ(0u, OwnerOf(*editable, "eth2"));
}

TEST(SnapshotReaderTest, OnlyTvnet0BecomesAutomatic)
{
   std::unique_ptr<Editable> const editable = Read(Snapshot(R"({"2":)" + Automatic("2") + "}"));

   EXPECT_FALSE(editable->GetNetwork(2)->GetBridge()->IsAuto());
   EXPECT_EQ(nullptr, editable->GetAutoBridgeNetwork());
   EXPECT_EQ("eth0", editable->GetUnusedHostAdapter());
}

TEST(SnapshotReaderTest, AnAutomaticBridgeNeedsNoListOfAdapters)
{
   std::unique_ptr<Editable> const editable =
      Read(Snapshot(R"({"0":)" + Bridged("0", R"({"Auto":"true"})") + "}", "0"));

   EXPECT_TRUE(editable->GetNetwork(0)->GetBridge()->IsAuto());
}

TEST(SnapshotReaderTest, TheAutomaticIndexGivesItsNetworkEveryFreeAdapter)
{
   std::unique_ptr<Editable> const editable = Read(Snapshot(
      R"({"2":)" + Fixed("2", R"(["eth1"])") + R"(,"4":)" + Fixed("4", R"(["eth2"])") + "}", "2"));

   EXPECT_EQ(2u, OwnerOf(*editable, "eth0"));
   EXPECT_EQ(2u, OwnerOf(*editable, "eth1"));
   EXPECT_EQ(4u, OwnerOf(*editable, "eth2"));
   EXPECT_EQ(nullptr, editable->GetAutoBridgeNetwork());
}

TEST(SnapshotReaderTest, AnAutomaticIndexOfAnEmptySlotIsPassedOver)
{
   EXPECT_NE(nullptr, Read(Snapshot(R"({"0":"0"})", "0")));
}

TEST(SnapshotReaderTest, AnyNegativeAutomaticIndexMeansNone)
{
   EXPECT_NE(nullptr, Read(Snapshot(R"("")", "-5")));
}

TEST(SnapshotReaderTest, AnAutomaticIndexThatIsNotThereThrows)
{
   EXPECT_THROW(Read(Snapshot(R"({"1":"0"})", "0")), std::out_of_range);
   EXPECT_THROW(Read(Snapshot(R"("")", "0")), std::out_of_range);
}

TEST(SnapshotReaderTest, AnAutomaticIndexOfANetworkThatIsNotBridgedThrows)
{
   EXPECT_THROW(Read(Snapshot(R"({"0":)" + HostOnly("0") + "}", "0")), ptree_bad_data);
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
                ptree_bad_data);
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

TEST(SnapshotReaderTest, ATextWithANulIsNoJSON)
{
   std::string const text = Golden("empty") + std::string(1, '\0');

   EXPECT_EQ(nullptr, Editable::Restore(utf::string(text.data(), text.size())));
}

TEST_P(MalformedSnapshotTest, GivesNoModel)
{
   EXPECT_EQ(nullptr, Read(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
   Texts, MalformedSnapshotTest,
   testing::Values("", " ", "\n", "x", "{", "}", "[", "]", "{]", "[}", "{}}", "{} {}", "{},",
                   "[1,]", "{,}", R"({"a"})", R"({"a":})", R"({"a":1,})", R"({a:1})",
                   R"({"a":1 "b":2})", R"({"a":"b)", R"({"a":"b\)", R"({"a":"\q"})",
                   R"({"a":"\u12"})", R"({"a":"\uD834"})", R"({"a":"\uD834x"})",
                   R"({"a":"\uD834\u0041"})", R"({"a":"\uDD1E"})", "{\"a\":\"b\nc\"}",
                   "{\"a\":\"\x01\"}", R"({"a":'b'})", R"({"a":tru})", R"({"a":01})", R"({"a":+1})",
                   R"({"a":1.})", R"({"a":.5})", R"({"a":NaN})",
                   R"({"MaxNetworks":"20","Networks":")", "Fail", "Fail\nmessage", "Success",
                   "// {}\n{}", "{\xFF}", "{}\xFF"));

TEST(SnapshotDepthTest, SixtyFourLevelsAreReadAndSixtyFiveAreNot)
{
   auto text = [](unsigned int levels) {
      std::string empty = Golden("empty");
      // The root is a level itself.
      std::string const extra = std::string(levels - 1, '[') + std::string(levels - 1, ']');
      return empty.replace(0, 1, R"({"Extra":)" + extra + ",");
   };

   EXPECT_NE(nullptr, Read(text(64)));
   EXPECT_EQ(nullptr, Read(text(65)));
}

TEST(SnapshotDepthTest, AMillionBracketsAreRefused)
{
   std::string const open(1000000, '[');
   std::string objects;
   for (int i = 0; i < 1000000; ++i) {
      objects += R"({"a":)";
   }
   EXPECT_EQ(nullptr, Read(open));
   EXPECT_EQ(nullptr, Read(open + std::string(1000000, ']')));
   EXPECT_EQ(nullptr, Read(std::string(1000000, '{')));
   EXPECT_EQ(nullptr, Read(objects));
   EXPECT_EQ(nullptr, Read(Golden("empty") + open));
}

TEST(SnapshotDepthTest, BracketsInATextDoNotCount)
{
   Editable written(20);
   utf::string const brackets = std::string(1000, '[').c_str();
   utf::string const quoted = utf::string("\"\\") + brackets;
   written.AddNetwork(Network::NAT, 2, false, OnDone())->SetDisplayName(quoted);

   EXPECT_EQ(quoted, RoundTrip(written)->GetNetwork(2)->GetDisplayName());
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
