// SPDX-License-Identifier: GPL-2.0-or-later
// Each key of the snapshot taken away in turn, and each value spoilt in turn.
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/common/golden.hh"

#include <boost/property_tree/json_parser.hpp>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <vector>

namespace netcfg::common {

namespace {

using boost::property_tree::ptree;
using boost::property_tree::ptree_bad_data;
using boost::property_tree::ptree_bad_path;
using Strings = std::vector<std::string>;

ptree Parse(std::string const& golden)
{
   std::istringstream stream(Golden(golden));
   ptree tree;
   boost::property_tree::read_json(stream, tree);
   return tree;
}

// May throw what Restore throws.
std::unique_ptr<Editable> Read(ptree const& tree)
{
   std::ostringstream stream;
   boost::property_tree::write_json(stream, tree, false);
   return std::unique_ptr<Editable>(Editable::Restore(stream.str().c_str()));
}

// A "#" in a path stands for the first element of an array.
ptree& Find(ptree& tree, Strings const& path)
{
   ptree* found = &tree;
   for (std::string const& key : path) {
      found = &found->find(key == "#" ? "" : key)->second;
   }
   return *found;
}

Strings Split(std::string const& path)
{
   Strings keys;
   std::istringstream stream(path);
   for (std::string key; std::getline(stream, key, '.');) {
      keys.push_back(key);
   }
   return keys;
}

bool Erase(ptree& tree, std::string const& path)
{
   Strings keys = Split(path);
   std::string const last = keys.back();
   keys.pop_back();
   return Find(tree, keys).erase(last) == 1;
}

void Put(ptree& tree, std::string const& path, std::string const& value)
{
   ptree& leaf = Find(tree, Split(path));
   ASSERT_TRUE(leaf.empty()) << path;
   leaf.data() = value;
}

struct PathCase {
   char const* golden;
   char const* path;
};

void PrintTo(PathCase const& c, std::ostream* out)
{
   *out << c.path;
}

PathCase const requiredKeys[] = {
   {"empty", "MaxNetworks"},
   {"empty", "Networks"},
   {"empty", "AutoBridgeNetworkIndex"},
   {"empty", "HostAdapterDisplayName"},
   {"defaultNetworks", "HostAdapterDisplayName.#.Adapter"},
   {"defaultNetworks", "HostAdapterDisplayName.#.DisplayName"},
   {"defaultNetworks", "Networks.1.HasDHCP"},
   {"defaultNetworks", "Networks.1.HasVirtualAdapter"},
   {"defaultNetworks", "Networks.1.DisplayName"},
   {"defaultNetworks", "Networks.1.SubnetAddress"},
   {"defaultNetworks", "Networks.1.SubnetMask"},
   {"defaultNetworks", "Networks.1.Type"},
   {"defaultNetworks", "Networks.1.MTU"},
   {"defaultNetworks", "Networks.0.MTU"},
   {"defaultNetworks", "Networks.1.DHCP"},
   {"defaultNetworks", "Networks.1.DHCP.BeginIP"},
   {"defaultNetworks", "Networks.1.DHCP.EndIP"},
   {"defaultNetworks", "Networks.1.DHCP.DefaultLeaseTime"},
   {"defaultNetworks", "Networks.1.DHCP.MaxLeaseTime"},
   {"defaultNetworks", "Networks.0.Bridge"},
   {"defaultNetworks", "Networks.0.Bridge.Auto"},
   {"fixedBridges", "Networks.2.Bridge.Auto"},
   {"fixedBridges", "Networks.2.Bridge.Adapters"},
   {"defaultNetworks", "Networks.8.NAT"},
   {"defaultNetworks", "Networks.8.NAT.NATParams"},
   {"defaultNetworks", "Networks.8.NAT.NATParams.GatewayIP"},
   {"defaultNetworks", "Networks.8.NAT.NATParams.ConfigPort"},
   {"defaultNetworks", "Networks.8.NAT.NATParams.AllowActiveFTP"},
   {"defaultNetworks", "Networks.8.NAT.NATParams.AllowOUI"},
   {"defaultNetworks", "Networks.8.NAT.NATParams.UDPTimeout"},
   {"defaultNetworks", "Networks.8.NAT.NATParams.EnableIPv6"},
   {"defaultNetworks", "Networks.8.NAT.NATParams.IPv6Prefix"},
   {"defaultNetworks", "Networks.8.NAT.NetBiosParams"},
   {"defaultNetworks", "Networks.8.NAT.NetBiosParams.NBNSTimeout"},
   {"defaultNetworks", "Networks.8.NAT.NetBiosParams.NBNSRetries"},
   {"defaultNetworks", "Networks.8.NAT.NetBiosParams.NBDSTimeout"},
   {"defaultNetworks", "Networks.8.NAT.DNSParams"},
   {"defaultNetworks", "Networks.8.NAT.DNSParams.DNSPolicy"},
   {"defaultNetworks", "Networks.8.NAT.DNSParams.DNSTimeout"},
   {"defaultNetworks", "Networks.8.NAT.DNSParams.DNSRetries"},
   {"defaultNetworks", "Networks.8.NAT.DNSParams.DNSAutoDetect"},
   {"defaultNetworks", "Networks.8.NAT.DNSParams.DNSList"},
   {"defaultNetworks", "Networks.8.NAT.PortForwardList"},
   {"defaultNetworks", "Networks.8.NAT.PortForwardList.#.HostPort"},
   {"defaultNetworks", "Networks.8.NAT.PortForwardList.#.VMPort"},
   {"defaultNetworks", "Networks.8.NAT.PortForwardList.#.TCP"},
   {"defaultNetworks", "Networks.8.NAT.PortForwardList.#.IP"},
   {"defaultNetworks", "Networks.8.NAT.PortForwardList.#.Description"},
};

class RequiredKeyTest : public testing::TestWithParam<PathCase> {};

// These are read as int.
PathCase const ints[] = {
   {"empty", "MaxNetworks"},
   {"empty", "AutoBridgeNetworkIndex"},
   {"defaultNetworks", "Networks.1.Type"},
   {"defaultNetworks", "Networks.1.DHCP.DefaultLeaseTime"},
   {"defaultNetworks", "Networks.1.DHCP.MaxLeaseTime"},
   {"defaultNetworks", "Networks.8.NAT.NATParams.ConfigPort"},
   {"defaultNetworks", "Networks.8.NAT.NATParams.UDPTimeout"},
   {"defaultNetworks", "Networks.8.NAT.NetBiosParams.NBNSTimeout"},
   {"defaultNetworks", "Networks.8.NAT.NetBiosParams.NBNSRetries"},
   {"defaultNetworks", "Networks.8.NAT.NetBiosParams.NBDSTimeout"},
   {"defaultNetworks", "Networks.8.NAT.DNSParams.DNSPolicy"},
   {"defaultNetworks", "Networks.8.NAT.DNSParams.DNSTimeout"},
   {"defaultNetworks", "Networks.8.NAT.DNSParams.DNSRetries"},
};

PathCase const ports[] = {
   {"defaultNetworks", "Networks.8.NAT.PortForwardList.#.HostPort"},
   {"defaultNetworks", "Networks.8.NAT.PortForwardList.#.VMPort"},
};

PathCase const bools[] = {
   {"defaultNetworks", "Networks.1.HasDHCP"},
   {"defaultNetworks", "Networks.1.HasVirtualAdapter"},
   {"defaultNetworks", "Networks.0.Bridge.Auto"},
   {"defaultNetworks", "Networks.8.NAT.NATParams.AllowActiveFTP"},
   {"defaultNetworks", "Networks.8.NAT.NATParams.AllowOUI"},
   {"defaultNetworks", "Networks.8.NAT.NATParams.EnableIPv6"},
   {"defaultNetworks", "Networks.8.NAT.DNSParams.DNSAutoDetect"},
   {"defaultNetworks", "Networks.8.NAT.PortForwardList.#.TCP"},
};

class IntValueTest : public testing::TestWithParam<PathCase> {};
class PortValueTest : public testing::TestWithParam<PathCase> {};
class BoolValueTest : public testing::TestWithParam<PathCase> {};

// The snapshot of what is read with value at path.
std::string ReadWith(PathCase const& c, std::string const& value)
{
   ptree tree = Parse(c.golden);
   Put(tree, c.path, value);
   return Editable::Serialize(Read(tree).get()).c_str();
}

void ExpectRefused(PathCase const& c, Strings const& values)
{
   for (std::string const& value : values) {
      EXPECT_THROW(ReadWith(c, value), ptree_bad_data) << '[' << value << ']';
   }
}

void ExpectReadAs(PathCase const& c, std::string const& value, std::string const& same)
{
   EXPECT_EQ(ReadWith(c, same), ReadWith(c, value)) << '[' << value << ']';
}

} // namespace

TEST_P(RequiredKeyTest, IsMissed)
{
   ptree tree = Parse(GetParam().golden);
   ASSERT_NE(nullptr, Read(tree));
   ASSERT_TRUE(Erase(tree, GetParam().path));

   EXPECT_THROW(Read(tree), ptree_bad_path);
}

INSTANTIATE_TEST_SUITE_P(All, RequiredKeyTest, testing::ValuesIn(requiredKeys));

TEST(OptionalKeyTest, AreNotMissedWhereTheirFlagOrTypeSaysSo)
{
   for (PathCase const& c :
        {PathCase{"defaultNetworks", "Networks.0.Bridge.Adapters"},
         PathCase{"defaultNetworks", "Networks.8.Index"}, PathCase{"defaultNetworks", "Networks.8"},
         PathCase{"defaultNetworks", "Networks.3"}}) {
      ptree tree = Parse(c.golden);
      ASSERT_TRUE(Erase(tree, c.path)) << c.path;
      EXPECT_NE(nullptr, Read(tree)) << c.path;
   }
}

TEST(OptionalKeyTest, AnObjectWhoseFlagIsOffIsNotLookedAt)
{
   ptree tree = Parse("defaultNetworks");
   Put(tree, "Networks.1.HasDHCP", "false");
   Put(tree, "Networks.1.DHCP.MaxLeaseTime", "rubbish");

   EXPECT_NO_THROW(Read(tree));
}

TEST_P(IntValueTest, MustBeAnInt)
{
   ExpectRefused(GetParam(),
                 {"", " ", "x", "1x", "0x10", "1.5", "1e3", "1 2", "--1", "true", "2147483648",
                  "4294967295", "-2147483649", "99999999999999999999", "1,000", "1.000", "\u0661"});
}

TEST_P(IntValueTest, MayHaveASignAndSpaceAroundIt)
{
   // Each of these paths takes a 1, but for the automatic index, whose network isn't there.
   bool const isIndex = std::string(GetParam().path) == "AutoBridgeNetworkIndex";
   std::string const value = isIndex ? "-1" : "1";
   if (std::string(GetParam().path) == "Networks.1.Type") {
      return;
   }
   ExpectReadAs(GetParam(), " " + value, value);
   ExpectReadAs(GetParam(), value + " \n", value);
   ExpectReadAs(GetParam(), isIndex ? "-0001" : "+0001", value);
}

INSTANTIATE_TEST_SUITE_P(All, IntValueTest, testing::ValuesIn(ints));

TEST(IntValueTest, ANegativeNumberIsReadAsUnsigned)
{
   PathCase const c = {"defaultNetworks", "Networks.8.NAT.DNSParams.DNSPolicy"};

   EXPECT_NE(std::string::npos, ReadWith(c, "-1").find(R"("DNSPolicy":"4294967295")"));
   EXPECT_NE(std::string::npos, ReadWith(c, "77").find(R"("DNSPolicy":"77")"));
}

TEST_P(PortValueTest, MustFitSixteenBits)
{
   ExpectRefused(GetParam(), {"", "x", "80x", "65536", "99999999999999999999", "-65536", "80.0",
                              "0x50", "6.553"});
   ExpectReadAs(GetParam(), "00080", "80");
   ExpectReadAs(GetParam(), " 80 ", "80");
   EXPECT_NO_THROW(ReadWith(GetParam(), "0"));
   EXPECT_NO_THROW(ReadWith(GetParam(), "65535"));
}

TEST_P(PortValueTest, WrapsANegativeOneAsStreamsDo)
{
   ExpectReadAs(GetParam(), "-1", "65535");
}

INSTANTIATE_TEST_SUITE_P(All, PortValueTest, testing::ValuesIn(ports));

TEST_P(BoolValueTest, IsAWordOrADigit)
{
   ExpectReadAs(GetParam(), "1", "true");
   ExpectReadAs(GetParam(), " true ", "true");
   if (std::string(GetParam().path) != "Networks.1.HasDHCP") {
      ExpectReadAs(GetParam(), "0", "false");
   }
   EXPECT_NE(ReadWith(GetParam(), "true"), ReadWith(GetParam(), "false"));
   ExpectRefused(GetParam(),
                 {"", "2", "-1", "TRUE", "True", "t", "truex", "yes", "on", "true false", "wahr"});
}

INSTANTIATE_TEST_SUITE_P(All, BoolValueTest, testing::ValuesIn(bools));

} // namespace netcfg::common
