// SPDX-License-Identifier: GPL-2.0-or-later
// What the fuzzers hold against a configuration and a ruleset: it takes what was approved, and
// refuses whatever a hostile text would add.
#include "fuzz/planCheck.hh"
#include "lib/vnet/services/databases.hh"
#include "vnet/services/plan.hh"

#include <gtest/gtest.h>

using namespace vnet::services;

namespace {

// A network with something of everything.
Database MakeFull()
{
   for (auto const& database : MakeDatabases()) {
      if (database.name == "nat-everything") {
         return database;
      }
   }
   throw std::logic_error("there is no such database");
}

class OutputGrammarTest : public testing::Test {
protected:
   Database const database = MakeFull();
   WantedNetwork wanted = Plan(database.settings, database.index, database.facts);

   std::string Judge() const { return fuzz::FindFault(wanted, database.settings, database.facts); }

   // Replaces a text within a text, which must be there.
   static std::string With(std::string text, std::string const& present, std::string const& planted)
   {
      auto const at = text.find(present);
      EXPECT_NE(std::string::npos, at) << present;
      return text.replace(at, present.size(), planted);
   }
   std::string JudgeRules(std::string const& present, std::string const& planted)
   {
      auto const good = wanted.ruleset;
      wanted.ruleset = With(good, present, planted);
      auto const fault = Judge();
      wanted.ruleset = good;
      return fault;
   }
   std::string JudgeFile(std::string WantedDnsmasq::*file, std::string const& present,
                         std::string const& planted)
   {
      auto const good = *wanted.dnsmasq.*file;
      *wanted.dnsmasq.*file = With(good, present, planted);
      auto const fault = Judge();
      *wanted.dnsmasq.*file = good;
      return fault;
   }
};

TEST(OutputGrammar, EveryApprovedPlanIsTaken)
{
   for (auto const& database : MakeDatabases()) {
      auto const wanted = Plan(database.settings, database.index, database.facts);
      EXPECT_EQ("", fuzz::FindFault(wanted, database.settings, database.facts)) << database.name;
   }
}

TEST_F(OutputGrammarTest, APlantedLineOfTheConfigurationIsRefused)
{
   auto const file = &WantedDnsmasq::configuration;
   ASSERT_EQ("", Judge());
   EXPECT_EQ("\"dhcp-script=/bin/sh\"",
             JudgeFile(file, "no-ping\n", "no-ping\ndhcp-script=/bin/sh\n"));
   EXPECT_EQ("\"port=53\"", JudgeFile(file, "no-ping\n", "port=53\n"));
   EXPECT_EQ("\"conf-file=/tmp/x\"", JudgeFile(file, "user=", "conf-file=/tmp/x\nuser="));
   EXPECT_EQ("\"# Lab\"", JudgeFile(file, "no-ping\n", "# Lab\nno-ping\n"));
   EXPECT_EQ("\"\"", JudgeFile(file, "no-ping\n", "no-ping\n\n"));
   EXPECT_EQ("\"user=root\"", JudgeFile(file, "user=dnsmasq", "user=root"));
   EXPECT_EQ("no user=", JudgeFile(file, "user=dnsmasq\n", ""));
   EXPECT_EQ("no bind-interfaces", JudgeFile(file, "bind-interfaces\n", ""));
   EXPECT_EQ("twice interface", JudgeFile(file, "no-ping\n", "no-ping\ninterface=tvnet8\n"));
   EXPECT_EQ("\"interface=eth0\"", JudgeFile(file, "interface=tvnet8", "interface=eth0"));
   EXPECT_NE("", JudgeFile(file, "/tvnet8/dnsmasq.pid", "/../dnsmasq.pid"));
   EXPECT_NE("", JudgeFile(file, "192.168.8.10,", "192.168.8.10\nport=0,"));
   EXPECT_NE("", JudgeFile(file, "192.168.8.10,", "192.168.9.10,"));
   EXPECT_NE("", JudgeFile(file, "192.168.8.10,", "192.168.8.010,"));
   EXPECT_NE("", JudgeFile(file, "255.255.255.0,", "255.0.255.0,"));
   EXPECT_NE("", JudgeFile(file, ",600", ",infinite"));
   EXPECT_NE("", JudgeFile(file, "fd00:1:2:3::8000", "fd00:1:2:4::8000"));
   EXPECT_NE("", JudgeFile(file, "fd00:1:2:3::8000,", "fd00:1:2:3::8000,set:x,"));
   EXPECT_NE("", JudgeFile(file, "64,600\n", "64,600"));
}

TEST_F(OutputGrammarTest, APlantedOptionIsRefused)
{
   auto const file = &WantedDnsmasq::options;
   EXPECT_EQ("\"option:router,192.168.9.1\"",
             JudgeFile(file, "router,192.168.8.1", "router,192.168.9.1"));
   EXPECT_NE("", JudgeFile(file, "option:router", "121,0.0.0.0/0,192.168.8.7\noption:router"));
   EXPECT_NE("", JudgeFile(file, "dns-server,192.168.8.1", "dns-server,8.8.8.8"));
   EXPECT_NE("", JudgeFile(file, "mtu,1400", "mtu,14000"));
   EXPECT_NE("", JudgeFile(file, "[fd00:1:2:3::2]", "[fd00:1:2:3::2],[2001:db8::1]"));
}

TEST_F(OutputGrammarTest, APlantedServerIsRefused)
{
   wanted.dnsmasq->servers += "server=/bank.example/192.0.2.66\n";
   EXPECT_EQ("\"server=/bank.example/192.0.2.66\"", Judge());
}

TEST_F(OutputGrammarTest, APlantedRuleIsRefused)
{
   std::string const first = "      jump timeouts\n";
   ASSERT_EQ("", Judge());
   EXPECT_EQ("\"      accept accept\"", JudgeRules(first, "      accept accept\n"));
   EXPECT_NE("", JudgeRules(first, "      ip daddr 192.168.8.7; accept\n"));
   EXPECT_NE("", JudgeRules(first, "      iifname \"eth0\" accept\n"));
   EXPECT_NE("", JudgeRules(first, "      ip saddr 192.168.9.7 accept\n"));
   EXPECT_NE("", JudgeRules(first, "      ip saddr 192.168.8.0/16 accept\n"));
   EXPECT_NE("", JudgeRules(first, "      ip6 saddr 2001:db8::1 accept\n"));
   EXPECT_NE("", JudgeRules(first, "      comment \"Lab\" accept\n"));
   EXPECT_NE("", JudgeRules(first, "      # Lab\n"));
   EXPECT_NE("", JudgeRules(first, "      include \"/tmp/x\"\n"));
   EXPECT_NE("", JudgeRules(first, "      jump nowhere\n"));
   EXPECT_NE("", JudgeRules(first, "      goto nowhere\n"));
   EXPECT_NE("", JudgeRules(first, "      jump tcp-forwards\n"));
   EXPECT_NE("", JudgeRules(first, "      ip daddr 192.168.8.7\n"));
   EXPECT_NE("", JudgeRules(first, "      accept } chain x {\n"));
   EXPECT_NE("", JudgeRules(first, "   }\n}\nflush ruleset\ntable inet x {\n   chain guard {\n"));
   EXPECT_NE("", JudgeRules(first, "\n"));
   EXPECT_NE("", JudgeRules("8080 : ", "8080-9090 : "));
   EXPECT_NE("", JudgeRules("8080 : ", "99999 : "));
   EXPECT_NE("", JudgeRules("52:54:00:00:00:00", "aa:bb:cc:00:00:00"));
   EXPECT_NE("", JudgeRules("policy accept", "policy drop"));
}

TEST_F(OutputGrammarTest, ATableOfSomebodyElseIsRefused)
{
   EXPECT_EQ("the frame",
             JudgeRules("delete table inet tavrin-tvnet8", "delete table inet filter"));
   EXPECT_EQ("the frame", JudgeRules("table inet tavrin-tvnet8 {", "table inet filter {"));
   wanted.ruleset += "flush ruleset\n";
   EXPECT_EQ("the frame", Judge());
}

TEST_F(OutputGrammarTest, TheParkedRulesAreLookedAtToo)
{
   wanted.parkedRuleset += "flush ruleset\n";
   EXPECT_EQ("the frame", Judge());
}

TEST_F(OutputGrammarTest, APathInTheNameOfADeviceIsRefused)
{
   wanted.bridging.adapters = {"../../eth0"};
   EXPECT_EQ("../../eth0", Judge());
   wanted.bridging.adapters.clear();
   wanted.sysctls.push_back({"ipv4", "../all", "forwarding", "1", true});
   EXPECT_NE("", Judge());
}

TEST_F(OutputGrammarTest, ARemarkOfSeveralLinesIsRefused)
{
   wanted.remarks.push_back("serve tvnet8: no\nERROR: all is lost");
   EXPECT_NE("", Judge());
}

} // namespace
