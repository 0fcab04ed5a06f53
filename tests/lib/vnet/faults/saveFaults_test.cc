// SPDX-License-Identifier: GPL-2.0-or-later
// Each system call of a save goes wrong once, in turn.
#include "lib/vnet/faults/faultList.hh"
#include "lib/vnet/faults/faultTest.hh"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <regex>

namespace vnet::engine {

namespace {

using test::Fault;

bool IsFailure(std::string const& line)
{
   static std::regex const severe("^(LogV\\([0-2]\\)|Warning): ");
   return std::regex_search(line, severe);
}

// "create bridge tvnet8: File exists". The manager above the library has a form of its own for what
// the library has told already.
bool NamesActionObjectAndCause(std::string const& line)
{
   static std::regex const form("^[^ ]+: ([a-z][^:]* [^:]+: .+|[A-Za-z]+: Unable to )");
   return std::regex_search(line, form);
}

// What a failure may spoil silently: netmap.conf, which is written without looking back, and the
// fingerprint of rules, without which they are only made once more.
test::HostState WithoutHarmless(test::HostState state)
{
   std::erase_if(state, [](auto const& entry) {
      return entry.first.ends_with("/netmap.conf") || entry.first.ends_with("/rules");
   });
   return state;
}

// Where libnftables has no memory for a message it calls abort, after a line of its own.
bool IsAbortForMemory(Fault const& fault, Outcome const& outcome)
{
   return fault.error == ENOMEM && test::KilledBy(outcome.run.status, SIGABRT);
}

class SaveFaultsTest : public FaultTest {
protected:
   // Goes from one model to the other and back, while one call of each save goes wrong, until each
   // way has had its number of faults.
   void Sweep(std::size_t count,
              std::vector<Fault> (*choose)(std::vector<test::SystemCall> const&));

   void Try(Model model, Fault const& fault);

private:
   void ExpectTold(Model model, Outcome const& outcome);
};

void SaveFaultsTest::ExpectTold(Model model, Outcome const& outcome)
{
   bool told = false;
   for (auto const& line : outcome.log) {
      EXPECT_TRUE(!IsFailure(line) || NamesActionObjectAndCause(line)) << line;
      told |= IsFailure(line);
   }
   // What isn't told must not matter.
   if (!told) {
      EXPECT_EQ(GetDatabase(model), ReadDatabase());
      EXPECT_TRUE(test::AreEqual(WithoutHarmless(GetState(model)), WithoutHarmless(TakeState())));
   }
}

void SaveFaultsTest::Try(Model model, Fault const& fault)
{
   auto const outcome = Save(model, fault);
   auto const& calls = outcome.run.calls;
   SCOPED_TRACE("to model " + std::to_string(model) + ", process " + std::to_string(fault.process) +
                ", call " + std::to_string(fault.index) + ": " +
                (calls.empty() ? "never comes" : calls[0].ToString()) + " " + fault.ToString());
   SCOPED_TRACE("log:\n" + outcome.GetLog());
   EXPECT_TRUE(outcome.run.status) << "it hangs";
   if (fault.kind == Fault::Kind::Kill) {
      EXPECT_TRUE(test::KilledBy(outcome.run.status, SIGKILL) || calls.empty());
   } else if (!IsAbortForMemory(fault, outcome)) {
      EXPECT_TRUE(outcome.Ended() || outcome.WasEnded());
      EXPECT_EQ("", outcome.leaks);
      ExpectTold(model, outcome);
   }
   EXPECT_TRUE(IsWhole(GetDatabase(First), GetDatabase(Second)));
   ExpectMended(model);
}

void SaveFaultsTest::Sweep(std::size_t count,
                           std::vector<Fault> (*choose)(std::vector<test::SystemCall> const&))
{
   std::map<Model, std::vector<Fault>> faults;
   for (auto const model : {Second, First}) {
      auto const recorded = Record(model);
      ASSERT_TRUE(recorded.Ended());
      faults[model] = test::Thin(choose(recorded.run.calls), count);
      std::cout << recorded.run.calls.size() << " calls, " << faults[model].size() << " faults\n";
   }
   auto const most = std::max(faults[First].size(), faults[Second].size());
   for (std::size_t at = 0; at < most; ++at) {
      for (auto const model : {Second, First}) {
         if (at < faults[model].size()) {
            Try(model, faults[model][at]);
         } else {
            ExpectMended(model);
         }
         if (HasFatalFailure()) {
            return;
         }
      }
   }
}

// One of each kind. The objects tell them wherever they come in the sequence.
struct Moment {
   char const* call;
   Fault::Kind kind;
   int error;
};
Moment const moments[] = {
   {"openat /run/tavrin/networking.lock", Fault::Kind::Fail, EMFILE},
   {"write /etc/tavrin/.networking.new", Fault::Kind::Fail, ENOSPC},
   {"fsync /etc/tavrin/.networking.new", Fault::Kind::Fail, EIO},
   {"renameat /etc/tavrin/.networking.new networking", Fault::Kind::Fail, EIO},
   {"renameat /etc/tavrin/.networking.new networking", Fault::Kind::Kill, 0},
   {"write /run/tavrin/tvnet10/.dnsmasq.conf.new", Fault::Kind::Fail, EINTR},
   {"sendmsg socket:", Fault::Kind::Fail, EPERM},
   {"recvmsg socket:", Fault::Kind::Fail, ENOBUFS},
   {"clone", Fault::Kind::Fail, EAGAIN},
   {"execve /usr/sbin/dnsmasq", Fault::Kind::KillProgram, 0},
};

TEST_F(SaveFaultsTest, OneCallOfEachKindThatGoesWrongLosesNothing)
{
   auto const recorded = Record(Second);
   ASSERT_TRUE(recorded.Ended());
   ExpectMended(First);
   for (auto const& moment : moments) {
      auto const isIt = [&](test::SystemCall const& call) {
         return call.ToString().starts_with(moment.call);
      };
      auto const call = std::ranges::find_if(recorded.run.calls, isIt);
      ASSERT_NE(recorded.run.calls.end(), call) << moment.call;
      Try(Second, {call->process, call->index, call->number, moment.kind, moment.error});
      ExpectMended(First);
   }
}

// What takes hours if it is to be complete: FAULTS tells how many for each way, 0: all.
class SweepTest : public SaveFaultsTest {
protected:
   void SetUp() override
   {
      if (!getenv("FAULTS")) {
         GTEST_SKIP() << "FAULTS doesn't ask for it";
      }
      SaveFaultsTest::SetUp();
   }
};

TEST_F(SweepTest, ACallThatFailsLosesNothing)
{
   Sweep(test::GetCount("FAULTS", 0), test::ListFailures);
}

TEST_F(SweepTest, DeathAtACallLosesNothing)
{
   Sweep(test::GetCount("FAULTS", 0), test::ListDeaths);
}

} // namespace

} // namespace vnet::engine
