// SPDX-License-Identifier: GPL-2.0-or-later
// A process dies at any moment of its work; the next one makes everything as wanted.
#include "lib/vnet/engine/engineTest.hh"
#include "support/testProcess.hh"

#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

namespace vnet::engine {

namespace {

using std::chrono::microseconds;

// KILLS asks for more of them.
int GetKills()
{
   auto const* text = getenv("KILLS");
   return text ? atoi(text) : 12;
}

class KillTest : public EngineTest {
protected:
   void SetUp() override;

   // Runs `work` in a process of its own and kills it after the time, unless it was done before.
   // Returns whether it was killed.
   template <class Work>
   bool RunAndKill(microseconds after, Work work);
   // How long `work` takes when it isn't killed.
   template <class Work>
   microseconds Measure(Work work);
   // A moment within it.
   microseconds Choose(microseconds whole);
   void ExpectWanted();
   void ExpectNothing();

   test::HostState wanted;

private:
   std::mt19937 random{4711};
};

void KillTest::SetUp()
{
   EngineTest::SetUp();
   if (IsSkipped()) {
      return;
   }
   settings.networks[1] = MakeHostOnly(1);
   settings.networks[8] = MakeNat(8);
   settings.networks[8].nat.forwards = {MakeForward(8080, "192.168.8.128", 80),
                                        MakeForward(5353, "192.168.8.129", 53, false)};
   settings.networks[8].nat.enableIpv6 = true;
   settings.networks[8].nat.ipv6Prefix = Prefix6::Parse("fd00:8::/64");
   settings.automatic = 0;
   settings.adapters["eth0"] = 0;
   engine->StartAll(settings);
   wanted = test::TakeState(GetHost());
   engine->StopAll(settings);
}

template <class Work>
bool KillTest::RunAndKill(microseconds after, Work work)
{
   auto const child = fork();
   if (child == 0) {
      int status = 1;
      try {
         work();
         status = 0;
      } catch (std::exception const& error) {
         fprintf(stderr, "%s\n", error.what());
      }
      _exit(status);
   }
   std::this_thread::sleep_for(after);
   kill(child, SIGKILL);
   int status = 0;
   EXPECT_EQ(child, waitpid(child, &status, 0));
   EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) == 0);
   return WIFSIGNALED(status);
}

template <class Work>
microseconds KillTest::Measure(Work work)
{
   auto const start = std::chrono::steady_clock::now();
   work();
   return std::chrono::duration_cast<microseconds>(std::chrono::steady_clock::now() - start);
}

microseconds KillTest::Choose(microseconds whole)
{
   std::uniform_int_distribution<long> part(0, whole.count());
   return microseconds(part(random));
}

// Without what tells only how often a thing was made.
test::HostState Normalize(test::HostState state)
{
   std::erase_if(state, [](auto const& entry) {
      return entry.first.ends_with(".leases") || entry.first.ends_with("/patch");
   });
   return state;
}

void KillTest::ExpectWanted()
{
   EXPECT_TRUE(test::AreEqual(Normalize(wanted), Normalize(test::TakeState(GetHost()))));
}

void KillTest::ExpectNothing()
{
   EXPECT_TRUE(test::AreEqual(Normalize(before), Normalize(test::TakeState(GetHost()))));
}

} // namespace

TEST_F(KillTest, TheNextStartLeavesExactlyWhatIsWanted)
{
   auto const start = [this] { Engine().StartAll(settings); };
   auto const stop = [this] { Engine().StopAll(settings); };
   auto const startTime = Measure(start);
   auto const stopTime = Measure(stop);
   int killed = 0;
   // Now and then one is done before its time comes.
   for (int round = 0; killed < GetKills() && round < 2 * GetKills() && !HasFailure(); ++round) {
      bool const starting = round % 2 == 0;
      auto const after = Choose(starting ? startTime : stopTime);
      SCOPED_TRACE("round " + std::to_string(round) + ", " + std::to_string(after.count()) + " us");
      if (starting) {
         stop();
         killed += RunAndKill(after, start);
      } else {
         killed += RunAndKill(after, stop);
      }
      ASSERT_EQ("", GetFailure(start));
      ExpectWanted();
   }
   EXPECT_EQ(GetKills(), killed);
}

TEST_F(KillTest, AStopAfterAKilledStartLeavesNothing)
{
   auto const start = [this] { Engine().StartAll(settings); };
   auto const startTime = Measure(start);
   Engine().StopAll(settings);
   for (int round = 0; round < GetKills() / 2 && !HasFailure(); ++round) {
      auto const after = Choose(startTime);
      SCOPED_TRACE("round " + std::to_string(round) + ", " + std::to_string(after.count()) + " us");
      RunAndKill(after, start);
      ASSERT_EQ("", GetFailure([this] { Engine().StopAll(settings); }));
      ExpectNothing();
   }
}

} // namespace vnet::engine
