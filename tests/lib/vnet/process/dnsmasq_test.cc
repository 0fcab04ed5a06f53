// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/dnsmasq.hh"

#include "lib/vnet/process/dnsmasqTest.hh"
#include "support/netlab/endpoint.hh"
#include "support/testProcess.hh"
#include "support/trace/systemCall.hh"
#include "support/trace/tracedRun.hh"
#include "vnet/process/serviceUser.hh"
#include "vnet/process/smallFile.hh"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <gmock/gmock.h>
#include <sched.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vnet::process {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;

TEST_F(DnsmasqTest, AnswersWhenTheStartReturns)
{
   EXPECT_FALSE(dnsmasq.IsRunning());
   EXPECT_EQ(DnsmasqChange::Started, dnsmasq.Apply(texts));
   EXPECT_TRUE(Answers());
   EXPECT_TRUE(dnsmasq.IsRunning());
   EXPECT_TRUE(dnsmasq.Runs(texts));
   EXPECT_EQ(1400u, LeaseMtu());
   EXPECT_THAT(test::ReadFile(leases), HasSubstr("192.168.8."));
}

TEST_F(DnsmasqTest, WhatRunsAsWantedIsLeftAlone)
{
   dnsmasq.Apply(texts);
   pid_t const pid = GetOnlyPid();
   EXPECT_EQ(DnsmasqChange::None, dnsmasq.Apply(texts));
   EXPECT_EQ(DnsmasqChange::None, Dnsmasq(GetFiles()).Apply(texts));
   EXPECT_EQ(pid, GetOnlyPid());
}

TEST_F(DnsmasqTest, ChangedOptionsAreReadWithoutARestart)
{
   dnsmasq.Apply(texts);
   pid_t const pid = GetOnlyPid();
   texts.options = "option:mtu,1300\n";
   EXPECT_FALSE(dnsmasq.Runs(texts));
   EXPECT_EQ(DnsmasqChange::Reloaded, dnsmasq.Apply(texts));
   EXPECT_TRUE(dnsmasq.Runs(texts));
   EXPECT_EQ(pid, GetOnlyPid());
   EXPECT_TRUE(test::Eventually([this] { return LeaseMtu() == 1300u; }));
}

TEST_F(DnsmasqTest, AChangedConfigurationTakesARestart)
{
   dnsmasq.Apply(texts);
   pid_t const pid = GetOnlyPid();
   texts.configuration += "cache-size=10\n";
   EXPECT_FALSE(dnsmasq.Runs(texts));
   EXPECT_EQ(DnsmasqChange::Restarted, dnsmasq.Apply(texts));
   EXPECT_NE(pid, GetOnlyPid());
   EXPECT_TRUE(Answers());
}

TEST_F(DnsmasqTest, ADeviceMadeAnewTakesARestart)
{
   dnsmasq.Apply(texts);
   ++texts.link;
   EXPECT_FALSE(dnsmasq.Runs(texts));
   EXPECT_EQ(DnsmasqChange::Restarted, dnsmasq.Apply(texts));
   GetOnlyPid();
}

TEST_F(DnsmasqTest, FilesThatSomeoneChangedArePutRight)
{
   dnsmasq.Apply(texts);
   ReplaceFile(GetFiles().options, "");
   EXPECT_EQ(DnsmasqChange::Reloaded, dnsmasq.Apply(texts));
   ReplaceFile(GetFiles().configuration, "");
   EXPECT_EQ(DnsmasqChange::Restarted, dnsmasq.Apply(texts));
   EXPECT_EQ(texts.configuration, test::ReadFile(GetFiles().configuration));
   EXPECT_EQ(texts.options, test::ReadFile(GetFiles().options));
}

TEST_F(DnsmasqTest, AKilledOneIsNoticedAndReplaced)
{
   dnsmasq.Apply(texts);
   pid_t const killed = KillOnly();
   EXPECT_FALSE(dnsmasq.IsRunning());
   EXPECT_FALSE(dnsmasq.Runs(texts));
   EXPECT_EQ(DnsmasqChange::Started, dnsmasq.Apply(texts));
   EXPECT_NE(killed, GetOnlyPid());
   EXPECT_TRUE(Answers());
}

TEST_F(DnsmasqTest, AStoppedOneIsNotRunning)
{
   dnsmasq.Apply(texts);
   pid_t const pid = GetOnlyPid();
   kill(pid, SIGSTOP);
   ASSERT_TRUE(test::Eventually([this] { return !dnsmasq.IsRunning(); }));
   EXPECT_EQ(DnsmasqChange::Restarted, dnsmasq.Apply(texts));
   EXPECT_NE(pid, GetOnlyPid());
}

// As after a start whose process died before it could write who runs.
TEST_F(DnsmasqTest, OneThatNobodyWroteDownIsFoundAndReplaced)
{
   dnsmasq.Apply(texts);
   pid_t const pid = GetOnlyPid();
   fs::remove(std::string(folder) + "/dnsmasq.process");
   EXPECT_FALSE(dnsmasq.IsRunning());
   EXPECT_EQ(DnsmasqChange::Restarted, dnsmasq.Apply(texts));
   EXPECT_NE(pid, GetOnlyPid());
}

TEST_F(DnsmasqTest, AStrangerWithTheNumberIsLeftAlone)
{
   dnsmasq.Apply(texts);
   dnsmasq.Stop();
   auto const self = FindProcess(getpid());
   MakeFolder(folder);
   ReplaceFile(GetFiles().pid, std::to_string(getpid()) + "\n");
   PidFile(std::string(folder) + "/dnsmasq.process").Write({self->identity, texts.link});
   EXPECT_FALSE(dnsmasq.IsRunning());
   EXPECT_EQ(DnsmasqChange::Started, dnsmasq.Apply(texts));
   EXPECT_NE(getpid(), GetOnlyPid());
}

// With the same files in a network of its own, as containers have them.
TEST_F(DnsmasqTest, OneThatWeMayNotLookAtIsToldByItsNetwork)
{
   if (FindServiceUser().user == "root") {
      GTEST_SKIP() << "no other user is mapped here";
   }
   dnsmasq.Apply(texts);
   pid_t const other = fork();
   if (other == 0) {
      bool const alone = unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0;
      _exit(alone && !dnsmasq.IsRunning() ? 0 : 1);
   }
   int status = 0;
   ASSERT_EQ(other, waitpid(other, &status, 0));
   EXPECT_TRUE(test::ExitedWith(status, 0));
   EXPECT_TRUE(dnsmasq.IsRunning());
}

TEST_F(DnsmasqTest, OutlivesWhoStartedIt)
{
   pid_t const starter = fork();
   if (starter == 0) {
      _exit(dnsmasq.Apply(texts) == DnsmasqChange::Started ? 0 : 1);
   }
   int status = 0;
   ASSERT_EQ(starter, waitpid(starter, &status, 0));
   ASSERT_TRUE(test::ExitedWith(status, 0));
   EXPECT_TRUE(dnsmasq.Runs(texts));
   EXPECT_TRUE(Answers());
   EXPECT_NE(getsid(0), getsid(GetOnlyPid()));
   EXPECT_EQ(DnsmasqChange::None, dnsmasq.Apply(texts));
}

TEST_F(DnsmasqTest, AStarterKilledAtAnyMomentIsNoObstacleToTheNext)
{
   for (int round = 0; round < 60; ++round) {
      texts.configuration = MakeConfiguration() + "cache-size=" + std::to_string(round) + "\n";
      pid_t const starter = fork();
      if (starter == 0) {
         dnsmasq.Apply(texts);
         pause();
      }
      // The moment is what varies: a start takes a few milliseconds.
      usleep(static_cast<useconds_t>(round * 200));
      kill(starter, SIGKILL);
      waitpid(starter, nullptr, 0);

      ASSERT_NO_THROW(dnsmasq.Apply(texts)) << "round " << round;
      ASSERT_TRUE(dnsmasq.Runs(texts)) << "round " << round;
      ASSERT_TRUE(Answers()) << "round " << round;
      ASSERT_TRUE(test::Eventually([this] { return ListRunning().size() == 1; }));
   }
}

TEST_F(DnsmasqTest, RefusesWithDnsmasqsOwnWords)
{
   texts.configuration += "no-such-option\n";
   EXPECT_THAT(GetFailure(dnsmasq), StartsWith("start dnsmasq with " + GetFiles().configuration));
   EXPECT_THAT(GetFailure(dnsmasq), HasSubstr("bad option at line"));
   EXPECT_FALSE(dnsmasq.IsRunning());
   EXPECT_TRUE(ListRunning().empty());

   texts.configuration = MakeConfiguration();
   EXPECT_EQ(DnsmasqChange::Started, dnsmasq.Apply(texts));
}

TEST_F(DnsmasqTest, AnAddressThatAnotherHasIsToldAndLeftToIt)
{
   auto const taken = GetHost().Run([] {
      base::FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
      auto const address = netlab::MakeSocketAddress({"192.168.8.254", 53});
      EXPECT_EQ(0, bind(socket.Get(), address.Get(), address.length));
      EXPECT_EQ(0, listen(socket.Get(), 1));
      return socket;
   });
   EXPECT_THAT(GetFailure(dnsmasq), HasSubstr("192.168.8.254: Address already in use"));
   EXPECT_TRUE(ListRunning().empty());
}

TEST_F(DnsmasqTest, AMissingProgramIsTold)
{
   EXPECT_EQ("start /nowhere/dnsmasq: No such file or directory",
             GetFailure(Dnsmasq(GetFiles(), "/nowhere/dnsmasq")));
}

TEST_F(DnsmasqTest, StoppingLeavesTheLeasesAlone)
{
   dnsmasq.Apply(texts);
   ASSERT_TRUE(LeaseMtu());
   dnsmasq.Stop();
   EXPECT_TRUE(ListRunning().empty());
   EXPECT_FALSE(fs::exists(folder));
   EXPECT_TRUE(fs::exists(leases));
   EXPECT_FALSE(Answers());
   dnsmasq.Stop();
}

TEST_F(DnsmasqTest, StoppingEndsOneThatNobodyWroteDown)
{
   dnsmasq.Apply(texts);
   fs::remove(std::string(folder) + "/dnsmasq.process");
   dnsmasq.Stop();
   EXPECT_TRUE(ListRunning().empty());
   EXPECT_FALSE(fs::exists(folder));
}

// As a first process is, when it has made the one that stays.
TEST_F(DnsmasqTest, OneThatIsGoneWhenItIsToBeEndedMayHaveLeftAnother)
{
   if (!test::GetTraceProblem().empty()) {
      GTEST_SKIP() << test::GetTraceProblem();
   }
   auto const end = [&](std::optional<test::Fault> const& fault) {
      dnsmasq.Apply(texts);
      fs::remove(std::string(folder) + "/dnsmasq.process");
      return test::RunTraced({.work = [&] { dnsmasq.Stop(); }}, fault).calls;
   };
   auto const calls = end({});
   auto const hold = std::ranges::find(calls, SYS_pidfd_open, &test::SystemCall::number);
   ASSERT_NE(calls.end(), hold);
   end(test::Fault{hold->process, hold->index, hold->number, test::Fault::Kind::Fail, ESRCH});
   EXPECT_TRUE(ListRunning().empty());
}

// A look at another container's, with the same files in its own place, that fails.
TEST_F(DnsmasqTest, OneWhoseNetworkCannotBeToldIsLeftAlone)
{
   if (!test::GetTraceProblem().empty()) {
      GTEST_SKIP() << test::GetTraceProblem();
   }
   netlab::Namespace const container;
   container.Command("ip link add tvnet8 type bridge");
   container.AddAddress("tvnet8", "192.168.8.254/24");
   pid_t const theirs = container.Run([&] {
      dnsmasq.Apply(texts);
      return GetOnlyPid();
   });
   auto const innocent = FindProcess(theirs);
   ASSERT_TRUE(innocent);
   // What is left looks like a start of ours that was cut short.
   fs::remove(std::string(folder) + "/dnsmasq.process");
   auto const end = [&] { dnsmasq.Stop(); };
   auto const look = [&](std::optional<test::Fault> const& fault) {
      MakeFolder(folder);
      ReplaceFile(GetFiles().configuration, texts.configuration);
      return test::RunTraced({.work = end}, fault).calls;
   };
   int failures = 0;
   for (auto const& call : look({})) {
      if (call.object.find("thread-self") != std::string::npos) {
         look(test::Fault{call.process, call.index, call.number, test::Fault::Kind::Fail, EACCES});
         ++failures;
         ASSERT_TRUE(FindProcess(theirs)) << call.ToString();
      }
   }
   EXPECT_GT(failures, 0);
   ASSERT_TRUE(ProcessHandle::Open(innocent->identity));
   ProcessHandle::Open(innocent->identity)->Terminate(test::patience);
}

// A stop that fails in the middle has to leave what the next one knows the process by.
TEST_F(DnsmasqTest, AfterAStopThatFailedTheNextOneEndsIt)
{
   if (!test::GetTraceProblem().empty()) {
      GTEST_SKIP() << test::GetTraceProblem();
   }
   auto const stop = [&](std::optional<test::Fault> const& fault) {
      dnsmasq.Apply(texts);
      return test::RunTraced({.work = [&] { dnsmasq.Stop(); }}, fault).calls;
   };
   for (auto const& call : stop({})) {
      auto const* const kind = test::FindCallKind(call.number);
      for (int const error : kind ? kind->errors : std::vector<int>()) {
         stop(test::Fault{call.process, call.index, call.number, test::Fault::Kind::Fail, error});
         dnsmasq.Stop();
         ASSERT_TRUE(ListRunning().empty()) << call.ToString() << " " << std::strerror(error);
         ASSERT_FALSE(fs::exists(folder)) << call.ToString() << " " << std::strerror(error);
      }
   }
}

TEST_F(DnsmasqTest, StoppingLeavesOthersFilesInTheFolder)
{
   dnsmasq.Apply(texts);
   ReplaceFile(std::string(folder) + "/other", "text");
   dnsmasq.Stop();
   EXPECT_EQ("text", test::ReadFile(std::string(folder) + "/other"));
   fs::remove_all(folder);
}

TEST_F(DnsmasqTest, HasNoMoreRightsThanItNeeds)
{
   dnsmasq.Apply(texts);
   auto const status = test::ReadFile("/proc/" + std::to_string(GetOnlyPid()) + "/status");
   EXPECT_THAT(status, HasSubstr("NoNewPrivs:\t1"));
   if (FindServiceUser().user == "root") {
      GTEST_SKIP() << "no other user is mapped here";
   }
   EXPECT_THAT(status, testing::Not(HasSubstr("Uid:\t0")));
   // Network administration (CAP_NET_ADMIN, 12): it writes ARP entries of its clients.
   EXPECT_THAT(status, HasSubstr("CapPrm:\t0000000000001000"));
}

} // namespace

} // namespace vnet::process
