// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/engine/engineTest.hh"

#include <gmock/gmock.h>

namespace vnet::engine {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using std::string_literals::operator""s;

class StartTest : public EngineTest {};

} // namespace

TEST_F(StartTest, ANatNetworkGetsAllThatItHas)
{
   settings.networks[8] = MakeNat(8);
   engine->StartAll(settings);

   EXPECT_THAT(GetHost().Command("ip -d link show tvnet8"), HasSubstr("alias tavrin-tvnet8"));
   EXPECT_THAT(ListAddresses("tvnet8"),
               ElementsAre("192.168.8.1/24", "192.168.8.2/32", "192.168.8.254/32"));
   EXPECT_THAT(ListTable(8), HasSubstr("masquerade"));
   EXPECT_EQ("1", ReadSysctl("ipv4/conf/tvnet8/forwarding"));
   EXPECT_EQ("1", ReadSysctl("ipv4/conf/eth0/forwarding"));
   EXPECT_THAT(ListDnsmasqs(8), SizeIs(1));
   EXPECT_THAT(ListDifferences(8), IsEmpty());
   EXPECT_EQ(1, watchersEnsured);
}

} // namespace vnet::engine
