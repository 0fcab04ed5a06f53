// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/nat.hh"

#include "tvnetcfg/common/allocation.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/common/listener.hh"

#include <csignal>
#include <gtest/gtest.h>

namespace netcfg::common {

namespace {

using Entry = NAT::PortForwardEntry;
using List = NAT::PortForwardList;

Entry const web = {8080, 80, true, "10.0.0.5", "web"};
Entry const dns = {5353, 53, false, "10.0.0.6", "dns"};

class NATTest : public testing::Test {
protected:
   Editable editable{20};
   Network& network = *editable.AddNetwork(Network::NAT, 8, false, OnDone());
   NAT& nat = *network.GetNAT();
};

struct PrefixCase {
   char const* text;
   NAT::IPv6PrefixError error;
   char const* stripped;
};

void PrintTo(PrefixCase const& c, std::ostream* out)
{
   *out << '"' << c.text << '"';
}

class IPv6PrefixTest : public NATTest, public testing::WithParamInterface<PrefixCase> {};

} // namespace

TEST_F(NATTest, ANewObjectHasItsDefaults)
{
   EXPECT_EQ(&network, nat.GetNetwork());
   EXPECT_TRUE(nat.GetGatewayIP().empty());
   EXPECT_EQ(0u, nat.GetConfigPort());
   EXPECT_TRUE(nat.GetAllowActiveFTP());
   EXPECT_TRUE(nat.GetAllowOUI());
   EXPECT_EQ(30u, nat.GetUDPTimeout());
   EXPECT_FALSE(nat.GetEnableIPv6());
   EXPECT_TRUE(nat.GetIPv6Prefix().empty());
   EXPECT_EQ(2u, nat.GetNBNSTimeout());
   EXPECT_EQ(3u, nat.GetNBNSRetries());
   EXPECT_EQ(3u, nat.GetNBDSTimeout());
   EXPECT_EQ(NAT::DNSPolicyDefault, nat.GetDNSPolicy());
   EXPECT_EQ(2u, nat.GetDNSTimeout());
   EXPECT_EQ(3u, nat.GetDNSRetries());
   EXPECT_TRUE(nat.GetDNSAutoDetect());
   EXPECT_EQ(std::vector<utf::string>(3), nat.GetDNSList());
   EXPECT_TRUE(nat.GetPortForwardList().empty());
}

TEST_F(NATTest, EachSetterStoresAndNotifiesOnceOfAnotherValueAndNotOfTheStoredOne)
{
   Listener listener(editable, network);
   List const forwards = {web, dns};

   for (int round = 0; round < 2; ++round) {
      nat.SetGatewayIP("10.0.0.2");
      nat.SetConfigPort(33445);
      nat.SetAllowActiveFTP(false);
      nat.SetAllowOUI(false);
      nat.SetUDPTimeout(31);
      nat.SetEnableIPv6(true);
      nat.SetIPv6Prefix("fd00::/64");
      nat.SetNBNSTimeout(4);
      nat.SetNBNSRetries(5);
      nat.SetNBDSTimeout(6);
      nat.SetDNSPolicy(static_cast<NAT::DNSPolicy>(7));
      nat.SetDNSTimeout(8);
      nat.SetDNSRetries(9);
      nat.SetDNSAutoDetect(false);
      nat.SetDNSList({"10.0.0.1"});
      nat.SetPortForwardList(forwards);
   }

   EXPECT_EQ((Heard{.network = 16, .nat = 16}), listener.heard);
   EXPECT_EQ("10.0.0.2", nat.GetGatewayIP());
   EXPECT_EQ(33445u, nat.GetConfigPort());
   EXPECT_FALSE(nat.GetAllowActiveFTP());
   EXPECT_FALSE(nat.GetAllowOUI());
   EXPECT_EQ(31u, nat.GetUDPTimeout());
   EXPECT_TRUE(nat.GetEnableIPv6());
   EXPECT_EQ("fd00::/64", nat.GetIPv6Prefix());
   EXPECT_EQ(4u, nat.GetNBNSTimeout());
   EXPECT_EQ(5u, nat.GetNBNSRetries());
   EXPECT_EQ(6u, nat.GetNBDSTimeout());
   EXPECT_EQ(7u, nat.GetDNSPolicy());
   EXPECT_EQ(8u, nat.GetDNSTimeout());
   EXPECT_EQ(9u, nat.GetDNSRetries());
   EXPECT_FALSE(nat.GetDNSAutoDetect());
   EXPECT_EQ(std::vector<utf::string>{"10.0.0.1"}, nat.GetDNSList());
   EXPECT_EQ(forwards, nat.GetPortForwardList());
}

TEST_F(NATTest, AListInAnotherOrderIsAChange)
{
   nat.SetPortForwardList({web, dns});
   nat.SetDNSList({"a", "b"});
   Listener listener(editable, network);

   nat.SetPortForwardList({dns, web});
   nat.SetDNSList({"b", "a"});

   EXPECT_EQ((Heard{.network = 2, .nat = 2}), listener.heard);
}

TEST_F(NATTest, ASecondObjectOfTheNetworkForwardsTooAndLeavesNothingBehind)
{
   Listener listener(editable, network);
   {
      NAT stored(&network);
      stored.SetUDPTimeout(60);
   }
   EXPECT_EQ((Heard{.network = 1}), listener.heard);

   nat.SetUDPTimeout(60);
   EXPECT_EQ((Heard{.network = 2, .nat = 1}), listener.heard);
}

TEST_F(NATTest, EntriesAreEqualIfAllFiveFieldsAre)
{
   EXPECT_EQ(web, Entry(web));
   for (Entry const& other :
        {Entry{8081, 80, true, "10.0.0.5", "web"}, Entry{8080, 81, true, "10.0.0.5", "web"},
         Entry{8080, 80, false, "10.0.0.5", "web"}, Entry{8080, 80, true, "10.0.0.6", "web"},
         Entry{8080, 80, true, "10.0.0.5", "Web"}}) {
      EXPECT_NE(web, other);
   }
}

TEST_F(NATTest, AllEntriesAreRemovedIfNoneIsLeft)
{
   EXPECT_EQ((List{web, dns}), NAT::GetRemovedList({}, {web, dns}));
}

TEST_F(NATTest, NothingIsRemovedBetweenEqualLists)
{
   EXPECT_EQ(List(), NAT::GetRemovedList({web, dns}, {web, dns}));
   EXPECT_EQ(List(), NAT::GetRemovedList({dns, web}, {web, dns}));
}

TEST_F(NATTest, NothingIsRemovedFromAnEmptyList)
{
   EXPECT_EQ(List(), NAT::GetRemovedList({web, dns}, {}));
}

TEST_F(NATTest, AnEntryWithAnotherDescriptionCountsAsRemoved)
{
   Entry renamed = web;
   renamed.description = "another";

   EXPECT_EQ(List{web}, NAT::GetRemovedList({renamed, dns}, {web, dns}));
}

TEST_F(NATTest, RemovedEntriesKeepTheirOrderAndTheirDuplicates)
{
   EXPECT_EQ((List{dns, web, dns}), NAT::GetRemovedList({}, {dns, web, dns}));
   EXPECT_EQ((List{dns, dns}), NAT::GetRemovedList({web}, {dns, web, dns}));
}

TEST_F(NATTest, AnEntryThatDiffersInAnyFieldCountsAsRemoved)
{
   for (Entry const& other :
        {Entry{8081, 80, true, "10.0.0.5", "web"}, Entry{8080, 81, true, "10.0.0.5", "web"},
         Entry{8080, 80, false, "10.0.0.5", "web"}, Entry{8080, 80, true, "10.0.0.6", "web"},
         Entry{8080, 80, true, "10.0.0.5", "Web"}}) {
      EXPECT_EQ(List{web}, NAT::GetRemovedList({other}, {web}));
   }
}

// Pair by pair this would be 17 thousand million comparisons, and the test would run into its
// limit.
TEST_F(NATTest, ListsOfEveryPortAreCompared)
{
   List all;
   for (int port = 1; port <= 65535; ++port) {
      all.push_back({static_cast<std::uint16_t>(port), 80, true, "10.0.0.5", ""});
      all.push_back({static_cast<std::uint16_t>(port), 80, false, "10.0.0.5", ""});
   }
   List renamed = all;
   for (Entry& entry : renamed) {
      entry.description = "x";
   }

   EXPECT_EQ(all.size(), NAT::GetRemovedList(renamed, all).size());
   EXPECT_TRUE(NAT::GetRemovedList(all, all).empty());
}

TEST_P(IPv6PrefixTest, IsJudgedAndStripped)
{
   utf::string prefix = GetParam().text;

   EXPECT_EQ(GetParam().error, nat.ValidateIPv6Prefix(prefix));
   EXPECT_EQ(GetParam().stripped, prefix);
}

INSTANTIATE_TEST_SUITE_P(
   Texts, IPv6PrefixTest,
   testing::Values(PrefixCase{"fd00::/64", NAT::PrefixV6Ok, "fd00::/64"},
                   PrefixCase{" fd00:: / 64 ", NAT::PrefixV6Ok, "fd00::/64"},
                   PrefixCase{"\tfd\n0\v0\f:\r:/6 4", NAT::PrefixV6Ok, "fd00::/64"},
                   PrefixCase{"fd00::/128", NAT::PrefixV6Ok, "fd00::/128"},
                   PrefixCase{"fd00::/129", NAT::PrefixV6BadSubnet, "fd00::/129"},
                   PrefixCase{"fd00::/-1", NAT::PrefixV6BadSubnet, "fd00::/-1"},
                   PrefixCase{"fd00::/0", NAT::PrefixV6Ok, "fd00::/0"},
                   PrefixCase{"fd00::/99999999999", NAT::PrefixV6BadSubnet, "fd00::/99999999999"},
                   PrefixCase{"fd00::", NAT::PrefixV6BadSubnet, "fd00::"},
                   PrefixCase{"fd00::/abc", NAT::PrefixV6BadSubnet, "fd00::/abc"},
                   PrefixCase{"fd00::/64x", NAT::PrefixV6BadSubnet, "fd00::/64x"},
                   PrefixCase{"fd00::/", NAT::PrefixV6BadSubnet, "fd00::/"},
                   PrefixCase{"fd00::/64/", NAT::PrefixV6BadSubnet, "fd00::/64/"},
                   PrefixCase{"1.2.3.4/24", NAT::PrefixV6NotV6, "1.2.3.4/24"},
                   PrefixCase{"1.2.3.4", NAT::PrefixV6NotV6, "1.2.3.4"},
                   PrefixCase{" 1.2.3.4 / x ", NAT::PrefixV6NotV6, "1.2.3.4/x"},
                   PrefixCase{"xyz/64", NAT::PrefixV6BadFormat, "xyz/64"},
                   PrefixCase{" x y z / 64", NAT::PrefixV6BadFormat, "xyz/64"},
                   PrefixCase{"", NAT::PrefixV6BadFormat, ""},
                   PrefixCase{" \t ", NAT::PrefixV6BadFormat, ""},
                   PrefixCase{"/64", NAT::PrefixV6BadFormat, "/64"},
                   PrefixCase{"/", NAT::PrefixV6BadFormat, "/"},
                   PrefixCase{"localhost/64", NAT::PrefixV6BadFormat, "localhost/64"},
                   PrefixCase{"*/64", NAT::PrefixV6BadFormat, "*/64"},
                   // U+0085 and U+00A0 are space to some locales, as bytes or as characters.
                   PrefixCase{"fd00::\u0085/64", NAT::PrefixV6BadFormat, "fd00::\u0085/64"},
                   PrefixCase{"\u00A0fd00::/64", NAT::PrefixV6BadFormat, "\u00A0fd00::/64"},
                   PrefixCase{"B\u00FCro /64", NAT::PrefixV6BadFormat, "B\u00FCro/64"}));

TEST_F(NATTest, AnExceptionMakesThePrefixInvalid)
{
   utf::string prefix = "fd00::/64";
   NAT::IPv6PrefixError error = NAT::PrefixV6Ok;
   {
      NoMemory noMemory;
      error = nat.ValidateIPv6Prefix(prefix);
   }
   EXPECT_EQ(NAT::PrefixV6Invalid, error);
}

TEST_F(NATTest, EachPrefixErrorHasItsMessage)
{
   EXPECT_EQ("", NAT::GetIPv6PrefixErrorMessage(NAT::PrefixV6Ok));
   EXPECT_EQ("The IPv6 prefix must not be an IPv4 address.  See help for more information about "
             "this field.",
             NAT::GetIPv6PrefixErrorMessage(NAT::PrefixV6NotV6));
   EXPECT_EQ("The IPv6 prefix is not a valid IPv6 address.  See help for more information about "
             "this field.",
             NAT::GetIPv6PrefixErrorMessage(NAT::PrefixV6BadFormat));
   EXPECT_EQ("The IPv6 prefix does not have a valid subnet.  See help for more information about "
             "this field.",
             NAT::GetIPv6PrefixErrorMessage(NAT::PrefixV6BadSubnet));
   EXPECT_EQ("The IPv6 prefix is invalid.  See help for more information about this field.",
             NAT::GetIPv6PrefixErrorMessage(NAT::PrefixV6Invalid));
}

TEST(NATDeathTest, AnUnknownPrefixErrorEndsTheProcess)
{
   EXPECT_EXIT(NAT::GetIPv6PrefixErrorMessage(static_cast<NAT::IPv6PrefixError>(5)),
               testing::KilledBySignal(SIGABRT), "NOT_REACHED tvnetcfg/common/nat:[0-9]+");
}

} // namespace netcfg::common
