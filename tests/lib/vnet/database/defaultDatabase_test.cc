// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/database/defaultDatabase.hh"

#include "vnet/database/decode.hh"
#include "vnet/database/keyFile.hh"

#include <gtest/gtest.h>

using namespace vnet;

namespace {

TEST(DefaultDatabaseTest, HoldsOneNetworkOfEachKind)
{
   Subnet const hostOnly{Address::Parse("192.168.5.0").value(), 24};
   Subnet const nat{Address::Parse("192.168.6.0").value(), 24};
   auto const decoded = Decode(KeyFile::Parse(MakeDefaultDatabase(hostOnly, nat)));

   Settings expected;
   expected.automatic = 0;
   auto& first = expected.networks[1];
   first.subnetAddress = hostOnly.address;
   first.subnetMask = hostOnly.GetMask();
   first.useAdapter = first.useDhcp = true;
   auto& eighth = expected.networks[8];
   eighth.subnetAddress = nat.address;
   eighth.subnetMask = nat.GetMask();
   eighth.useAdapter = eighth.useDhcp = eighth.useNat = true;
   EXPECT_EQ(expected, decoded.settings);
   EXPECT_TRUE(decoded.complaints.empty());
   EXPECT_TRUE(decoded.unknown.empty());
}

TEST(DefaultDatabaseTest, TicksTheHostsAdapters)
{
   Subnet const hostOnly{Address::Parse("192.168.5.0").value(), 24};
   Subnet const nat{Address::Parse("192.168.6.0").value(), 24};
   auto const text = MakeDefaultDatabase(hostOnly, nat, {"eth0", "odd[1]%"});
   auto const decoded = Decode(KeyFile::Parse(text));

   std::map<std::string, unsigned int> const expected{{"eth0", 0}, {"odd[1]%", 0}};
   EXPECT_EQ(expected, decoded.settings.adapters);
   EXPECT_TRUE(decoded.complaints.empty());
   EXPECT_TRUE(decoded.unknown.empty());
}

} // namespace
