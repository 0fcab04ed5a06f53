// SPDX-License-Identifier: GPL-2.0-or-later
// A dnsmasq that a service manager keeps.
#include "lib/vnet/process/dnsmasqTest.hh"
#include "support/testProcess.hh"
#include "vnet/process/childProcess.hh"
#include "vnet/process/smallFile.hh"
#include "vnet/values/error.hh"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <unistd.h>

namespace vnet::process {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

// Runs it as the unit says.
class UnitsDouble : public Units {
public:
   void Start(std::string const& unit) override
   {
      calls.push_back("start " + unit);
      Require("start", unit);
      Launch();
   }

   void Stop(std::string const& unit) override
   {
      calls.push_back("stop " + unit);
      Require("stop", unit);
      for (auto const& facts : FindProcesses(arguments)) {
         // Another test's has the same arguments.
         auto const handle =
            facts.sameNetwork.value_or(false) ? ProcessHandle::Open(facts.identity) : std::nullopt;
         if (handle) {
            handle->Terminate(test::patience);
         }
      }
   }

   std::string GetState(std::string const&) override { return "inactive"; }

   // As the manager does when it died.
   void Launch()
   {
      auto const completion = RunToEnd({.arguments = arguments}, test::patience);
      EXPECT_TRUE(completion.ending.IsSuccess()) << completion.errors;
   }

   std::vector<std::string> calls;
   std::string obstacle; // to each call

private:
   std::vector<std::string> const arguments{"/usr/sbin/dnsmasq",
                                            "--conf-file=/run/tavrin/tvnet8/dnsmasq.conf"};

   void Require(char const* action, std::string const& unit) const
   {
      if (!obstacle.empty()) {
         throw Error(action, unit, obstacle);
      }
   }
};

class DnsmasqUnitTest : public DnsmasqTest {
protected:
   std::shared_ptr<UnitsDouble> units = std::make_shared<UnitsDouble>();
   Dnsmasq kept{GetFiles(), "/usr/sbin/dnsmasq", {units, "tavrin-dhcp@tvnet8.service"}};

   std::vector<std::string> TakeCalls() { return std::exchange(units->calls, {}); }
};

TEST_F(DnsmasqUnitTest, TheManagerStartsAndStopsIt)
{
   EXPECT_EQ(DnsmasqChange::Started, kept.Apply(texts));
   EXPECT_THAT(TakeCalls(), ElementsAre("start tavrin-dhcp@tvnet8.service"));
   EXPECT_TRUE(kept.Runs(texts));
   EXPECT_TRUE(Answers());
   kept.Stop();
   EXPECT_THAT(TakeCalls(), ElementsAre("stop tavrin-dhcp@tvnet8.service"));
   EXPECT_TRUE(ListRunning().empty());
   EXPECT_FALSE(fs::exists(folder));
}

TEST_F(DnsmasqUnitTest, WhatRunsAsWantedIsLeftAloneAndOptionsAreReadAgain)
{
   kept.Apply(texts);
   pid_t const pid = GetOnlyPid();
   TakeCalls();
   EXPECT_EQ(DnsmasqChange::None, kept.Apply(texts));
   texts.options = "option:mtu,1300\n";
   EXPECT_EQ(DnsmasqChange::Reloaded, kept.Apply(texts));
   EXPECT_TRUE(kept.Runs(texts));
   EXPECT_EQ(pid, GetOnlyPid());
   EXPECT_THAT(units->calls, IsEmpty());
}

TEST_F(DnsmasqUnitTest, AChangedConfigurationTakesAStopAndAStart)
{
   kept.Apply(texts);
   TakeCalls();
   texts.configuration += "cache-size=10\n";
   EXPECT_EQ(DnsmasqChange::Restarted, kept.Apply(texts));
   EXPECT_THAT(TakeCalls(),
               ElementsAre("stop tavrin-dhcp@tvnet8.service", "start tavrin-dhcp@tvnet8.service"));
   EXPECT_TRUE(Answers());
}

TEST_F(DnsmasqUnitTest, OneThatTheManagerStartedAnewIsTheOneWanted)
{
   kept.Apply(texts);
   pid_t const killed = KillOnly();
   EXPECT_FALSE(kept.IsRunning());
   units->Launch();
   TakeCalls();
   EXPECT_TRUE(kept.Runs(texts));
   EXPECT_EQ(DnsmasqChange::None, kept.Apply(texts));
   EXPECT_NE(killed, GetOnlyPid());
   texts.options = "option:mtu,1300\n";
   EXPECT_EQ(DnsmasqChange::Reloaded, kept.Apply(texts));
   EXPECT_THAT(units->calls, IsEmpty());
   EXPECT_TRUE(test::Eventually([this] { return LeaseMtu() == 1300u; }));
}

// It may have read what was meant for another time.
TEST_F(DnsmasqUnitTest, OneThatRunsWithoutARecordIsReplaced)
{
   kept.Apply(texts);
   pid_t const pid = GetOnlyPid();
   fs::remove(std::string(folder) + "/dnsmasq.process");
   EXPECT_FALSE(kept.Runs(texts));
   EXPECT_EQ(DnsmasqChange::Started, kept.Apply(texts));
   EXPECT_NE(pid, GetOnlyPid());
   EXPECT_TRUE(kept.Runs(texts));
}

TEST_F(DnsmasqUnitTest, AStrangerThatItsFileNamesIsLeftAlone)
{
   kept.Apply(texts);
   KillOnly();
   auto const stranger = test::TestProcess::MakeIdle();
   ReplaceFile(GetFiles().pid, std::to_string(stranger.GetPid()) + "\n");
   EXPECT_FALSE(kept.IsRunning());
   EXPECT_EQ(DnsmasqChange::Started, kept.Apply(texts));
   EXPECT_EQ(0, kill(stranger.GetPid(), 0));
   EXPECT_TRUE(Answers());
}

TEST_F(DnsmasqUnitTest, OneOfOursIsHandedOverToTheManager)
{
   dnsmasq.Apply(texts);
   pid_t const own = GetOnlyPid();
   EXPECT_EQ(DnsmasqChange::None, kept.Apply(texts));
   texts.configuration += "cache-size=10\n";
   EXPECT_EQ(DnsmasqChange::Restarted, kept.Apply(texts));
   EXPECT_NE(own, GetOnlyPid());
   EXPECT_EQ("start tavrin-dhcp@tvnet8.service", units->calls.back());
}

TEST_F(DnsmasqUnitTest, AManagerThatRefusesIsToldInItsWords)
{
   units->obstacle = "Unit is masked.";
   EXPECT_EQ("start tavrin-dhcp@tvnet8.service: Unit is masked.", GetFailure(kept));
   EXPECT_TRUE(ListRunning().empty());
   units->obstacle.clear();
   EXPECT_EQ(DnsmasqChange::Started, kept.Apply(texts));
}

TEST_F(DnsmasqUnitTest, AManagerThatIsGoneIsNoObstacleToAStop)
{
   kept.Apply(texts);
   units->obstacle = "it is gone";
   kept.Stop();
   EXPECT_TRUE(ListRunning().empty());
   EXPECT_FALSE(fs::exists(folder));
}

} // namespace

} // namespace vnet::process
