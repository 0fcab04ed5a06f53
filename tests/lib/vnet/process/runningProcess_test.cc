// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/runningProcess.hh"

#include "support/testProcess.hh"
#include "vnet/process/childProcess.hh"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vnet::process {

namespace {

namespace fs = std::filesystem;

Command const sleeper{.arguments = {"/bin/sleep", "600"}};

// A grandchild of this process whose parent has gone: nobody here reaps it.
pid_t StartOrphan()
{
   auto const started = RunToEnd(
      {.arguments = {"/bin/sh", "-c", "sleep 600 2>/dev/null & echo $! >&2"}}, test::patience);
   return std::stoi(started.errors);
}

TEST(RunningProcessTest, TellsWhatAProcessIs)
{
   auto const child = ChildProcess::Start(sleeper);
   // A start returns at the exec, which shows the arguments a moment later.
   ASSERT_TRUE(test::Eventually([&child] {
      auto const early = FindProcess(child.GetPid());
      return !early || !early->arguments.empty();
   }));
   auto const facts = FindProcess(child.GetPid());
   ASSERT_TRUE(facts);
   EXPECT_EQ(child.GetPid(), facts->identity.pid);
   EXPECT_EQ(sleeper.arguments, facts->arguments);
   EXPECT_EQ(fs::canonical("/bin/sleep"), facts->executable);
   EXPECT_EQ(true, facts->sameNetwork);
}

TEST(RunningProcessTest, TheStartTimeTellsProcessesApart)
{
   auto const first = ChildProcess::Start(sleeper);
   auto const one = FindProcess(first.GetPid());
   ASSERT_TRUE(one);
   // The clock of start times has 100 ticks a second.
   ASSERT_TRUE(test::Eventually([&one] {
      auto const later = ChildProcess::Start(sleeper);
      return FindProcess(later.GetPid())->identity.startTime > one->identity.startTime;
   }));
   EXPECT_EQ(one->identity, FindProcess(first.GetPid())->identity);
}

TEST(RunningProcessTest, ANameWithParenthesesAndSpacesHidesNothing)
{
   test::TempDir const folder;
   auto const odd = folder.GetPath() / "a) R 1 (b";
   fs::copy_file(fs::canonical("/bin/sleep"), odd);
   auto const child = ChildProcess::Start({.arguments = {odd, "600"}});
   auto const plain = ChildProcess::Start(sleeper);
   auto const facts = FindProcess(child.GetPid());
   auto const next = FindProcess(plain.GetPid());
   ASSERT_TRUE(facts && next);
   EXPECT_EQ(odd, facts->executable);
   EXPECT_LE(next->identity.startTime - facts->identity.startTime, 1000u);
}

TEST(RunningProcessTest, AReplacedProgramKeepsItsPath)
{
   test::TempDir const folder;
   auto const program = folder.GetPath() / "program";
   fs::copy_file(fs::canonical("/bin/sleep"), program);
   auto const child = ChildProcess::Start({.arguments = {program, "600"}});
   fs::remove(program);
   ASSERT_TRUE(FindProcess(child.GetPid()));
   EXPECT_EQ(program, FindProcess(child.GetPid())->executable);
}

TEST(RunningProcessTest, AZombieIsNoProcess)
{
   pid_t const pid = fork();
   if (pid == 0) {
      _exit(0);
   }
   siginfo_t info;
   ASSERT_EQ(0, waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT));
   EXPECT_FALSE(FindProcess(pid));
   waitpid(pid, nullptr, 0);
   EXPECT_FALSE(FindProcess(pid));
   EXPECT_FALSE(FindProcess(0));
   EXPECT_FALSE(FindProcess(-1));
}

TEST(RunningProcessTest, IsFoundByItsFirstArguments)
{
   std::string const mark = "mark-" + std::to_string(getpid());
   // Without a child of its own, which would have the same arguments for a moment.
   auto const child =
      ChildProcess::Start({.arguments = {"/bin/sh", "-c", "kill -STOP $$; :", mark, "more"}});
   auto const found = FindProcesses({"/bin/sh", "-c", "kill -STOP $$; :", mark});
   ASSERT_EQ(1u, found.size());
   EXPECT_EQ(child.GetPid(), found[0].identity.pid);
   EXPECT_TRUE(FindProcesses({"/bin/sh", "-c", "kill -STOP $$; :", mark + "x"}).empty());
   EXPECT_TRUE(
      FindProcesses({"/bin/sh", "-c", "kill -STOP $$; :", mark, "more", "than it has"}).empty());
}

TEST(ProcessHandleTest, AnotherProcessWithTheNumberIsNotHeld)
{
   auto const child = ChildProcess::Start(sleeper);
   auto identity = FindProcess(child.GetPid())->identity;
   EXPECT_TRUE(ProcessHandle::Open(identity));
   ++identity.startTime;
   EXPECT_FALSE(ProcessHandle::Open(identity));
   EXPECT_FALSE(ProcessHandle::Open({}));
}

TEST(ProcessHandleTest, AProcessThatEndedTakesNoSignal)
{
   auto child = ChildProcess::Start(sleeper);
   auto const handle = ProcessHandle::Open(FindProcess(child.GetPid())->identity);
   ASSERT_TRUE(handle);
   EXPECT_FALSE(handle->WaitForEnd(Milliseconds(10)));
   handle->Signal(SIGKILL);
   ASSERT_TRUE(child.Wait(test::patience));
   handle->Signal(SIGKILL);
   EXPECT_TRUE(handle->WaitForEnd(Milliseconds(0)));
}

TEST(ProcessHandleTest, TheEndOfAnOrphanIsSeenWhoeverReapsIt)
{
   auto const facts = FindProcess(StartOrphan());
   ASSERT_TRUE(facts);
   auto const handle = ProcessHandle::Open(facts->identity);
   ASSERT_TRUE(handle);
   handle->Terminate(test::patience);
   EXPECT_FALSE(FindProcess(facts->identity.pid));
}

TEST(ProcessHandleTest, TheEndOfAZombieNobodyReapsIsSeen)
{
   auto child = ChildProcess::Start(sleeper);
   auto const handle = ProcessHandle::Open(FindProcess(child.GetPid())->identity);
   handle->Terminate(test::patience);
   EXPECT_EQ(0, kill(child.GetPid(), 0)) << "not reaped yet";
   EXPECT_EQ("signal 15", child.Wait(test::patience)->ToString());
}

TEST(ProcessHandleTest, WhoIgnoresSigtermIsKilled)
{
   auto child = ChildProcess::Start({.arguments = {"/bin/sh", "-c",
                                                   "trap '' TERM; echo ready >&2; "
                                                   "while :; do sleep 600; done"}});
   ASSERT_TRUE(test::Eventually([&child] { return child.ReadErrors() == "ready\n"; }));
   ProcessHandle::Open(FindProcess(child.GetPid())->identity)->Terminate(Milliseconds(100));
   EXPECT_EQ("signal 9", child.Wait(test::patience)->ToString());
}

TEST(ProcessHandleTest, AStoppedProcessIsEndedToo)
{
   auto child = ChildProcess::Start(sleeper);
   kill(child.GetPid(), SIGSTOP);
   ASSERT_TRUE(test::Eventually([&child] { return FindProcess(child.GetPid())->state == 'T'; }));
   ProcessHandle::Open(FindProcess(child.GetPid())->identity)->Terminate(test::patience);
   EXPECT_EQ("signal 15", child.Wait(test::patience)->ToString());
}

} // namespace

} // namespace vnet::process
