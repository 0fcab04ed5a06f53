// SPDX-License-Identifier: GPL-2.0-or-later
// What is read off the rules of others is what the kernel makes of them.
#include "support/netlab/lab.hh"
#include "vnet/host/filterWalk.hh"

#include <gtest/gtest.h>
#include <linux/netlink.h>
#include <netinet/in.h>

namespace vnet::host {

namespace {

constexpr char forwardBegin[] = "table inet theirs { chain forward { type filter hook forward "
                                "priority 0; policy ";

FilteredPacket MakeOut()
{
   FilteredPacket packet;
   packet.in = "tvnet8";
   packet.out = "eth0";
   packet.source = Address::Parse("192.168.8.100");
   return packet;
}

FilteredPacket MakeReply()
{
   FilteredPacket packet;
   packet.in = "eth0";
   packet.out = "tvnet8";
   packet.reply = true;
   return packet;
}

FilteredPacket MakeForwarded()
{
   auto packet = MakeReply();
   packet.reply = false;
   packet.forwarded = true;
   return packet;
}

FilteredPacket MakeQuestion()
{
   FilteredPacket packet;
   packet.hook = FilterHook::Input;
   packet.in = "tvnet8";
   packet.protocol = IPPROTO_UDP;
   packet.port = 53;
   return packet;
}

class FilterWalkTest : public netlab::LabTest {
protected:
   void Load(std::string const& text) { GetHost().Command({"nft", text}); }

   // "family table chain" of whoever drops it, or "".
   std::string GetDrop(FilteredPacket const& packet)
   {
      NetlinkSocket socket(NETLINK_NETFILTER);
      auto const drop = FindDrop(ListFilters(socket, "tavrin-"), packet);
      return drop ? drop->family + " " + drop->table + " " + drop->chain : "";
   }

   // With one rule before the end of a chain whose policy drops: whether the rule lets it pass.
   bool LetsPass(std::string const& rule, FilteredPacket const& packet)
   {
      Load("flush ruleset");
      Load(forwardBegin + std::string("drop; ") + rule + "; }; }");
      return GetDrop(packet).empty();
   }
};

TEST_F(FilterWalkTest, WithoutTablesNothingIsDropped)
{
   EXPECT_EQ("", GetDrop(MakeOut()));
   EXPECT_EQ("", GetDrop(MakeQuestion()));
}

TEST_F(FilterWalkTest, APolicyDrops)
{
   Load(forwardBegin + std::string("drop; }; }"));
   EXPECT_EQ("inet theirs forward", GetDrop(MakeOut()));
   EXPECT_EQ("", GetDrop(MakeQuestion()));
   Load("flush ruleset");
   Load(forwardBegin + std::string("accept; }; }"));
   EXPECT_EQ("", GetDrop(MakeOut()));
}

TEST_F(FilterWalkTest, OurOwnTablesAreNoObstacle)
{
   Load("table inet tavrin-tvnet8 { chain f { type filter hook forward priority 0; policy drop; }; "
        "}");
   EXPECT_EQ("", GetDrop(MakeOut()));
}

TEST_F(FilterWalkTest, RulesThatMatchDecide)
{
   for (auto const* rule :
        {"iifname tvnet8 accept", "iifname \"tvnet*\" accept", "oifname eth0 accept",
         "iifname { eth1, tvnet8 } accept", "iifname { \"tv*\", eth1 } accept",
         "iifname != eth1 accept", "iifname . oifname { tvnet8 . eth0 } accept",
         "ip saddr 192.168.8.0/24 accept", "ip saddr 192.168.8.0/20 accept",
         "ip saddr { 10.0.0.0/8, 192.168.0.0-192.168.9.5 } accept", "ct state new accept",
         "ct state { new, related } accept", "meta nfproto ipv4 accept", "counter accept",
         "ct state vmap { new : accept, established : drop }",
         "iifname vmap { tvnet8 : accept, eth1 : drop }", "meta mark 0 accept",
         "log prefix \"x\" accept", "accept comment \"a word\""}) {
      EXPECT_TRUE(LetsPass(rule, MakeOut())) << rule;
   }
   for (auto const* rule :
        {"iifname tvnet9 accept", "iifname \"tvnet9*\" accept", "oifname != eth0 accept",
         "iifname { eth1, tvnet9 } accept", "iifname . oifname { tvnet8 . eth1 } accept",
         "ip saddr 192.168.16.0/20 accept", "ip saddr != 192.168.0.0/16 accept",
         "ip saddr { 10.0.0.0/8, 192.168.9.0-192.168.9.5 } accept",
         "ct state established,related accept", "ct state vmap { established : accept }",
         "ct status dnat accept", "meta nfproto ipv6 accept", "ip6 saddr ::/0 accept",
         "tcp dport 22 accept", "ip daddr 1.1.1.1 accept", "meta mark 1 accept",
         "limit rate 1/second accept", "iifname tvnet8 return", "iifname tvnet8 reject"}) {
      EXPECT_FALSE(LetsPass(rule, MakeOut())) << rule;
   }
}

TEST_F(FilterWalkTest, AnswersAndForwardedConnectionsAreToldFromOthers)
{
   EXPECT_TRUE(LetsPass("ct state established,related accept", MakeReply()));
   EXPECT_TRUE(LetsPass("ct state { established, related } accept", MakeReply()));
   EXPECT_FALSE(LetsPass("ct state established,related accept", MakeForwarded()));
   EXPECT_TRUE(LetsPass("ct status dnat accept", MakeForwarded()));
   EXPECT_FALSE(LetsPass("ct status dnat accept", MakeReply()));
}

TEST_F(FilterWalkTest, ChainsAreGoneThroughAsTheKernelDoes)
{
   Load("table ip theirs { chain inner { iifname tvnet9 drop; iifname tvnet8 return; drop; }; "
        "chain last { iifname tvnet8 reject; }; "
        "chain passed { iifname tvnet8 goto last; accept; }; "
        "chain forward { type filter hook forward priority 0; policy accept; "
        "jump inner; jump passed; accept; }; }");
   EXPECT_EQ("ip theirs last", GetDrop(MakeOut()));
   Load("flush chain ip theirs last");
   // A goto comes back behind the jump before it.
   EXPECT_EQ("", GetDrop(MakeOut()));
   auto other = MakeOut();
   other.in = "tvnet9";
   EXPECT_EQ("ip theirs inner", GetDrop(other));
}

TEST_F(FilterWalkTest, EveryTableHasItsSay)
{
   Load("table ip one { chain f { type filter hook forward priority 0; accept; }; }");
   Load("table inet two { chain f { type filter hook forward priority -5; }; "
        "chain g { type filter hook forward priority 5; iifname tvnet8 drop; }; }");
   EXPECT_EQ("inet two g", GetDrop(MakeOut()));
}

TEST_F(FilterWalkTest, WhatComesToTheHostIsAskedOfOtherChains)
{
   Load("table inet theirs { chain input { type filter hook input priority 0; policy drop; "
        "iifname tvnet8 udp dport { 67, 53 } accept; }; }");
   EXPECT_EQ("", GetDrop(MakeQuestion()));
   auto other = MakeQuestion();
   other.port = 123;
   EXPECT_EQ("inet theirs input", GetDrop(other));
   Load("delete table inet theirs");
   Load("table inet theirs { chain input { type filter hook input priority 0; policy accept; "
        "meta l4proto udp th dport 53 drop; }; }");
   EXPECT_EQ("inet theirs input", GetDrop(MakeQuestion()));
}

TEST_F(FilterWalkTest, TheRulesOfIptablesAreUnderstood)
{
   auto const run = [this](std::string const& arguments) {
      GetHost().Command("iptables-nft " + arguments);
   };
   try {
      run("-P FORWARD DROP");
   } catch (std::exception const&) {
      GTEST_SKIP() << "no iptables-nft here";
   }
   EXPECT_EQ("ip filter FORWARD", GetDrop(MakeOut()));
   run("-A FORWARD -m conntrack --ctstate RELATED,ESTABLISHED -j ACCEPT");
   EXPECT_EQ("", GetDrop(MakeReply()));
   EXPECT_EQ("ip filter FORWARD", GetDrop(MakeOut()));
   EXPECT_EQ("ip filter FORWARD", GetDrop(MakeForwarded()));
   run("-A FORWARD -m conntrack --ctstate DNAT -j ACCEPT");
   EXPECT_EQ("", GetDrop(MakeForwarded()));
   run("-A FORWARD -s 192.168.8.0/24 -i tvnet8 -m comment --comment words -j ACCEPT");
   EXPECT_EQ("", GetDrop(MakeOut()));
   run("-N CHAIN");
   run("-A CHAIN -i tvnet+ -j REJECT");
   run("-I FORWARD -j CHAIN");
   EXPECT_EQ("ip filter CHAIN", GetDrop(MakeOut()));
   run("-A INPUT -i tvnet8 -p udp -m udp --dport 53 -j DROP");
   EXPECT_EQ("ip filter INPUT", GetDrop(MakeQuestion()));
}

TEST_F(FilterWalkTest, OnlyARuleWithoutConditionsAlwaysReturns)
{
   Load("table ip theirs { chain c { iifname eth0 return; tcp dport 1 return; accept; "
        "counter return; return; }; }");
   NetlinkSocket socket(NETLINK_NETFILTER);
   auto const chain = FindFilterChain(socket, "ip", "theirs", "c");
   ASSERT_TRUE(chain);
   std::vector<bool> always;
   for (auto const& rule : chain->rules) {
      always.push_back(AlwaysReturns(rule));
   }
   EXPECT_EQ((std::vector{false, false, false, true, true}), always);
   EXPECT_FALSE(FindFilterChain(socket, "ip", "theirs", "d"));
   EXPECT_FALSE(FindFilterChain(socket, "ip", "others", "c"));
}

} // namespace

} // namespace vnet::host
