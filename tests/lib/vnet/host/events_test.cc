// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/events.hh"

#include "support/netlab/lab.hh"
#include "support/testProcess.hh"
#include "vnet/host/netlink.hh"
#include "vnet/host/ruleset.hh"

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <linux/netfilter.h>
#include <linux/netlink.h>
#include <poll.h>
#include <unistd.h>

namespace vnet::host {

namespace {

class EventsTest : public netlab::LabTest {
protected:
   void SetUp() override
   {
      LabTest::SetUp();
      if (!IsSkipped()) {
         events.emplace();
      }
   }

   // Waits for the descriptor until an event of this kind fits.
   template <class Kind>
   bool WaitFor(std::function<bool(Kind const&)> const& fits)
   {
      auto const end = std::chrono::steady_clock::now() + test::patience;
      while (std::chrono::steady_clock::now() < end) {
         for (auto const& event : events->Read()) {
            auto const* wanted = std::get_if<Kind>(&event);
            if (wanted && fits(*wanted)) {
               return true;
            }
         }
         pollfd watched{events->GetDescriptor(), POLLIN, 0};
         poll(&watched, 1, 1000);
      }
      return false;
   }

   bool HasInput()
   {
      pollfd watched{events->GetDescriptor(), POLLIN, 0};
      return poll(&watched, 1, 0) == 1;
   }

   std::optional<Events> events;
};

TEST_F(EventsTest, WhereNothingHappensNothingIsHeard)
{
   events->Read();
   EXPECT_FALSE(HasInput());
   EXPECT_TRUE(events->Read().empty());
}

TEST_F(EventsTest, ALinksLifeIsHeard)
{
   GetHost().Command("ip link add v0 type veth peer name v1");
   EXPECT_TRUE(WaitFor<LinkChanged>(
      [](auto const& event) { return event.link.name == "v0" && !event.removed; }));
   GetHost().Command("ip link set v0 up");
   GetHost().Command("ip link set v1 up");
   EXPECT_TRUE(WaitFor<LinkChanged>([](auto const& event) {
      return event.link.name == "v0" && event.link.IsUp() && event.link.carrier;
   }));
   GetHost().Command("ip link set v1 down");
   EXPECT_TRUE(WaitFor<LinkChanged>([](auto const& event) {
      return event.link.name == "v0" && event.link.IsUp() && !event.link.carrier;
   }));
   GetHost().Command("ip link delete v0");
   EXPECT_TRUE(WaitFor<LinkChanged>(
      [](auto const& event) { return event.link.name == "v0" && event.removed; }));
}

TEST_F(EventsTest, AddressesAndRoutesAreHeard)
{
   GetHost().Command("ip link add v0 type veth peer name v1");
   GetHost().Command("ip link set v0 up");
   GetHost().Command("ip addr add 10.1.0.1/24 dev v0");
   EXPECT_TRUE(WaitFor<AddressChanged>([](auto const& event) {
      return event.address.address.ToString() == "10.1.0.1" && !event.removed;
   }));
   GetHost().Command("ip link set v1 up");
   GetHost().Command("ip route add default via 10.1.0.9");
   EXPECT_TRUE(WaitFor<RouteChanged>([](auto const& event) {
      return event.route.IsDefault() && event.route.gateway && !event.removed;
   }));
   GetHost().Command("ip route delete default");
   EXPECT_TRUE(WaitFor<RouteChanged>(
      [](auto const& event) { return event.route.IsDefault() && event.removed; }));
   GetHost().Command("ip addr del 10.1.0.1/24 dev v0");
   EXPECT_TRUE(WaitFor<AddressChanged>([](auto const& event) {
      return event.address.address.ToString() == "10.1.0.1" && event.removed;
   }));
   GetHost().Command("ip -6 addr add fd01::1/64 dev v0");
   EXPECT_TRUE(WaitFor<AddressChanged>(
      [](auto const& event) { return event.address.address.ToString() == "fd01::1"; }));
}

TEST_F(EventsTest, AFlushedTableIsHeardWithWhoDidIt)
{
   Ruleset ruleset;
   ruleset.Run("table inet tavrin-tvnet8 { chain c { }; }", "x");
   EXPECT_TRUE(WaitFor<RulesetChanged>([](auto const& event) {
      return event.family == NFPROTO_INET && event.table == "tavrin-tvnet8" && !event.removed &&
             event.process == vnet::host::FindOwnProcess();
   }));
   GetHost().Command("nft flush ruleset");
   EXPECT_TRUE(WaitFor<RulesetChanged>([](auto const& event) {
      return event.table == "tavrin-tvnet8" && event.removed &&
             event.process != vnet::host::FindOwnProcess();
   }));
}

TEST_F(EventsTest, AReplacedTableIsOneEventAndNotARemoval)
{
   Ruleset ruleset;
   auto const text = "table inet a\ndelete table inet a\ntable inet a { chain c { accept; }; }\n";
   ruleset.Run(text, "x");
   events->Read();
   ruleset.Run(text, "x");
   auto const heard = events->Read();
   ASSERT_EQ(1u, heard.size());
   auto const* changed = std::get_if<RulesetChanged>(&heard[0]);
   ASSERT_TRUE(changed);
   EXPECT_EQ("a", changed->table);
   EXPECT_FALSE(changed->removed);
}

TEST_F(EventsTest, AChangeWithinATableIsHeard)
{
   Ruleset ruleset;
   ruleset.Run("table inet a { chain c { accept; }; set s { type mark; }; }", "x");
   for (auto const* change : {"flush chain inet a c", "add element inet a s { 1 }",
                              "add rule inet a c drop", "delete chain inet a c"}) {
      events->Read();
      ruleset.Run(change, "x");
      EXPECT_TRUE(WaitFor<RulesetChanged>([](auto const& event) { return event.table == "a"; }))
         << change;
   }
}

TEST_F(EventsTest, WhenTooMuchHappenedThatIsToldAndListeningGoesOn)
{
   RouteSocket socket;
   Links links(socket);
   GetHost().Command("ip link add v0 type veth peer name v1");
   auto const v0 = links.Require("v0");
   bool lost = false;
   for (int round = 0; round < 40 && !lost; ++round) {
      for (int i = 0; i < 2000; ++i) {
         links.SetMtu(v0, i % 2 ? 1400 : 1300);
      }
      auto const heard = events->Read();
      lost = std::any_of(heard.begin(), heard.end(), [](auto const& event) {
         return std::holds_alternative<EventsLost>(event);
      });
      if (!lost) {
         // All was kept: make the pile larger by not reading in between.
         for (int i = 0; i < 40000; ++i) {
            links.SetMtu(v0, i % 2 ? 1400 : 1300);
         }
      }
   }
   EXPECT_TRUE(lost);
   links.SetMtu(v0, 1234);
   EXPECT_TRUE(WaitFor<LinkChanged>([](auto const& event) { return event.link.mtu == 1234; }));
}

TEST_F(EventsTest, OnlyTheKernelIsBelieved)
{
   events->Read();
   // Another process may send to the group if it is root here.
   base::FileDescriptor const liar(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
   Request request(RTM_NEWLINK, 0);
   ifinfomsg header{};
   header.ifi_index = 99;
   request.Append(header).PutString(IFLA_IFNAME, "lie0");
   sockaddr_nl group{};
   group.nl_family = AF_NETLINK;
   group.nl_groups = 1 << (RTNLGRP_LINK - 1);
   auto const* message = request.GetMessage();
   sendto(liar.Get(), message, message->nlmsg_len, 0, reinterpret_cast<sockaddr*>(&group),
          sizeof group);
   GetHost().Command("ip link add v0 type veth peer name v1");
   bool lied = false;
   EXPECT_TRUE(WaitFor<LinkChanged>([&](auto const& event) {
      lied |= event.link.name == "lie0";
      return event.link.name == "v0";
   }));
   EXPECT_FALSE(lied);
}

TEST_F(EventsTest, ItsDescriptorsAreClosedForOtherPrograms)
{
   auto const output = GetHost().Command(
      std::vector<std::string>{"sh", "-c", "for f in /proc/self/fd/*; do readlink $f; done; true"});
   EXPECT_EQ(std::string::npos, output.find("socket:")) << output;
   EXPECT_EQ(std::string::npos, output.find("eventpoll")) << output;
}

} // namespace

} // namespace vnet::host
