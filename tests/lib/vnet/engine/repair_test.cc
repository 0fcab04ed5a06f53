// SPDX-License-Identifier: GPL-2.0-or-later
// What others change, the next comparison sees and puts right, and nothing else.
#include "lib/vnet/engine/engineTest.hh"

#include "support/testProcess.hh"
#include "vnet/process/runningProcess.hh"

#include <csignal>
#include <functional>
#include <gmock/gmock.h>

namespace vnet::engine {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

struct Harm {
   std::string name;
   std::function<void(netlab::Namespace&)> change;
   std::string difference;
   bool newTable = false;
   bool newDnsmasq = false;
   bool newBridge = false;
};

// The command's words have single spaces between them.
std::function<void(netlab::Namespace&)> Do(std::string const& command)
{
   return [command](netlab::Namespace& host) { host.Command(command); };
}

std::function<void(netlab::Namespace&)> Shell(std::string const& script)
{
   return [script](netlab::Namespace& host) { host.Command({"/bin/sh", "-c", script}); };
}

std::vector<Harm> const harms = {
   {"Flush", Do("nft flush ruleset"), "rules", true},
   {"EmptyTable", Do("nft flush table inet tavrin-tvnet8"), "rules", true},
   {"AnotherRule", Do("nft insert rule inet tavrin-tvnet8 forward iifname tvnet8 accept"), "rules",
    true},
   {"FewerRules", Do("nft flush chain inet tavrin-tvnet8 guard"), "rules", true},
   {"OtherForward", Shell("nft 'delete element inet tavrin-tvnet8 tcp-forwards { 8080 }'"), "rules",
    true},
   {"NoAdapter", Do("ip addr del 192.168.8.1/24 dev tvnet8"), "address 192.168.8.1/24"},
   {"NoGateway", Do("ip addr del 192.168.8.2/32 dev tvnet8"), "address 192.168.8.2/32"},
   {"AnotherAddress", Do("ip addr add 10.9.9.9/24 dev tvnet8"), "address 10.9.9.9/24"},
   {"NoAddress", Do("ip addr flush dev tvnet8"), "address 192.168.8.254/32"},
   {"Down", Do("ip link set tvnet8 down"), "state of tvnet8"},
   {"Mtu", Do("ip link set tvnet8 mtu 1300"), "MTU of tvnet8"},
   {"Mac", Do("ip link set tvnet8 address 02:00:00:00:00:01"), "MAC address of tvnet8"},
   {"Forwarding", Shell("echo 0 > /proc/sys/net/ipv4/conf/tvnet8/forwarding"), "switches"},
   {"HostForwarding", Shell("echo 0 > /proc/sys/net/ipv4/conf/eth0/forwarding"), "switches"},
   {"ArpIgnore", Shell("echo 0 > /proc/sys/net/ipv4/conf/tvnet8/arp_ignore"), "switches"},
   {"Configuration", Shell("echo >> /run/tavrin/tvnet8/dnsmasq.conf"), "dnsmasq", false, true},
   {"NoBridge", Do("ip link del tvnet8"), "bridge tvnet8", false, true, true},
   {"NoNotes", Shell("rm -r /run/tavrin/tvnet8"), "rules", true, true},
};

class RepairTest : public EngineTest, public testing::WithParamInterface<Harm> {};

} // namespace

TEST_P(RepairTest, IsSeenAndPutRight)
{
   auto const& harm = GetParam();
   settings.networks[1] = MakeHostOnly(1);
   settings.networks[8] = MakeNat(8);
   settings.networks[8].nat.forwards = {MakeForward(8080, "192.168.8.128", 80)};
   engine->StartAll(settings);
   auto const good = test::TakeState(GetHost());
   auto const table = GetHost().Command("nft -a list table inet tavrin-tvnet8");
   auto const pids = ListDnsmasqs(8);
   auto const otherPids = ListDnsmasqs(1);
   auto const bridge = GetNumber("tvnet8");
   harm.change(GetHost());
   ASSERT_FALSE(test::AreEqual(good, test::TakeState(GetHost())));

   EXPECT_THAT(ListDifferences(8), Contains(harm.difference));
   engine->Reconcile(settings);

   EXPECT_TRUE(test::AreEqual(good, test::TakeState(GetHost())));
   EXPECT_THAT(ListDifferences(8), IsEmpty());
   EXPECT_EQ(harm.newTable, table != GetHost().Command("nft -a list table inet tavrin-tvnet8"));
   EXPECT_EQ(harm.newDnsmasq, pids != ListDnsmasqs(8));
   EXPECT_EQ(otherPids, ListDnsmasqs(1));
   EXPECT_EQ(harm.newBridge, bridge != GetNumber("tvnet8"));
}

INSTANTIATE_TEST_SUITE_P(Harm, RepairTest, testing::ValuesIn(harms),
                         [](auto const& tested) { return tested.param.name; });

namespace {

class DeathTest : public EngineTest {};

} // namespace

TEST_F(DeathTest, ADeadDnsmasqIsStartedAgain)
{
   settings.networks[8] = MakeNat(8);
   engine->StartAll(settings);
   auto const pids = ListDnsmasqs(8);
   ASSERT_EQ(1u, pids.size());
   auto const dnsmasq = process::ProcessHandle::Open(process::FindProcess(pids[0])->identity);
   dnsmasq->Signal(SIGKILL);
   ASSERT_TRUE(dnsmasq->WaitForEnd(test::patience));

   EXPECT_THAT(ListDifferences(8), Contains("dnsmasq"));
   engine->Reconcile(settings);
   EXPECT_EQ(1u, ListDnsmasqs(8).size());
}

// What a process wrote first, or removed last, when it died over a start or a stop.
TEST_F(DeathTest, NoFileOfADnsmasqThatIsNotWantedStays)
{
   settings.networks[8] = MakeHostOnly(8);
   settings.networks[8].useDhcp = false;
   engine->StartAll(settings);
   auto const good = test::TakeState(GetHost());
   for (auto const* name : {"conf", "pid", "options", "servers"}) {
      test::WriteText(std::string("/run/tavrin/tvnet8/dnsmasq.") + name, "\n");
      EXPECT_THAT(ListDifferences(8), ElementsAre("dnsmasq")) << name;
      engine->Reconcile(settings);
      EXPECT_TRUE(test::AreEqual(good, test::TakeState(GetHost()))) << name;
   }
}

TEST_F(DeathTest, TheRouteOfANetworkWithoutAdapterComesBack)
{
   settings.networks[8] = MakeNat(8);
   settings.networks[8].useAdapter = false;
   engine->StartAll(settings);
   GetHost().Command("ip route del 192.168.8.0/24 dev tvnet8");
   EXPECT_THAT(ListDifferences(8), Contains("route 192.168.8.0/24"));
   engine->Reconcile(settings);
   EXPECT_THAT(ListDifferences(8), IsEmpty());
}

// A process that died over the change between the two leaves one in the other's place.
TEST_F(DeathTest, TheKernelsRouteOfANetworkWithAdapterComesBack)
{
   settings.networks[8] = MakeNat(8);
   engine->StartAll(settings);
   auto const good = test::TakeState(GetHost());
   GetHost().Command("ip route replace 192.168.8.0/24 dev tvnet8 proto 116 src 192.168.8.2");
   EXPECT_THAT(ListDifferences(8), Contains("route 192.168.8.0/24"));
   engine->Reconcile(settings);
   EXPECT_TRUE(test::AreEqual(good, test::TakeState(GetHost())));
}

TEST_F(DeathTest, ARouteThatSomeoneAddedStays)
{
   settings.networks[8] = MakeNat(8);
   engine->StartAll(settings);
   GetHost().Command("ip route add 10.77.0.0/16 via 192.168.8.130 dev tvnet8");
   engine->StartAll(settings);
   EXPECT_NE(std::string::npos, GetHost().Command("ip route show dev tvnet8").find("10.77.0.0/16"));
}

} // namespace vnet::engine
