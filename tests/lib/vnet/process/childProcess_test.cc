// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/childProcess.hh"

#include "support/processState.hh"
#include "support/testProcess.hh"
#include "vnet/values/error.hh"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <set>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vnet::process {

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;

Command Shell(std::string const& script)
{
   return {.arguments = {"/bin/sh", "-c", script}};
}

Command const sleeper{.arguments = {"/bin/sleep", "600"}};

std::string GetFailure(Command const& command)
{
   try {
      ChildProcess::Start(command);
   } catch (Error const& error) {
      return error.what();
   }
   return "";
}

std::string ReadOf(ChildProcess const& child, std::string const& file)
{
   return test::ReadFile("/proc/" + std::to_string(child.GetPid()) + "/" + file);
}

bool Exists(pid_t pid)
{
   return kill(pid, 0) == 0;
}

TEST(ChildProcessTest, TellsHowTheProgramEnded)
{
   EXPECT_TRUE(RunToEnd(Shell("exit 0"), test::patience).ending.IsSuccess());

   auto const failed = RunToEnd(Shell("exit 3"), test::patience).ending;
   EXPECT_FALSE(failed.IsSuccess());
   EXPECT_EQ("status 3", failed.ToString());

   auto const killed = RunToEnd(Shell("kill -9 $$"), test::patience).ending;
   EXPECT_FALSE(killed.IsSuccess());
   EXPECT_EQ("signal 9", killed.ToString());
}

TEST(ChildProcessTest, AMissingProgramIsAFailureOfTheStart)
{
   EXPECT_EQ("start /nowhere/program: No such file or directory",
             GetFailure({.arguments = {"/nowhere/program"}}));
}

TEST(ChildProcessTest, AFileThatCannotBeExecutedIsAFailureOfTheStart)
{
   test::TempDir const folder;
   auto const plain = folder.Write("plain", "#!/bin/sh\n");
   EXPECT_EQ("start " + plain + ": Permission denied", GetFailure({.arguments = {plain}}));

   auto const garbage = folder.Write("garbage", "no program\n");
   chmod(garbage.c_str(), 0755);
   EXPECT_EQ("start " + garbage + ": Exec format error", GetFailure({.arguments = {garbage}}));
}

TEST(ChildProcessTest, AFailedStartLeavesNoChild)
{
   GetFailure({.arguments = {"/nowhere/program"}});
   EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG));
   EXPECT_EQ(ECHILD, errno);
}

TEST(ChildProcessTest, OnlyAnAbsolutePathIsAProgram)
{
   EXPECT_EQ("start sh: not an absolute path", GetFailure({.arguments = {"sh"}}));
   EXPECT_EQ("start nothing: not an absolute path", GetFailure({}));
}

TEST(ChildProcessTest, ArgumentsArriveAsTheyAre)
{
   Command command{
      .arguments = {"/bin/sh", "-c", "printf '%s|' \"$@\" >&2", "x", "a b", "$(id)", "", "'\";"}};
   EXPECT_EQ("a b|$(id)||'\";|", RunToEnd(command, test::patience).errors);
}

TEST(ChildProcessTest, ErrorsAreKeptAlsoWhenTheyAreMoreThanAPipeHolds)
{
   auto const completion = RunToEnd(
      Shell("i=0; while [ $i -lt 20000 ]; do echo 0123456789; i=$((i+1)); done >&2; exit 4"),
      test::patience);
   EXPECT_EQ("status 4", completion.ending.ToString());
   EXPECT_EQ(65536u, completion.errors.size());
   EXPECT_EQ("0123456789\n", completion.errors.substr(0, 11));
}

TEST(ChildProcessTest, AGrandchildThatKeepsTheErrorsOpenIsNotWaitedFor)
{
   auto const completion =
      RunToEnd(Shell("echo before >&2; sleep 600 & echo $! >&2"), test::patience);
   EXPECT_TRUE(completion.ending.IsSuccess());
   ASSERT_THAT(completion.errors, testing::StartsWith("before\n"));
   EXPECT_EQ(0, kill(std::stoi(completion.errors.substr(7)), SIGKILL));
}

TEST(ChildProcessTest, ErrorsThatNobodyWantsGoNowhere)
{
   auto command = Shell("readlink /proc/self/fd/2; echo text >&2");
   command.captureErrors = false;
   auto const completion = RunToEnd(command, test::patience);
   EXPECT_TRUE(completion.ending.IsSuccess());
   EXPECT_EQ("", completion.errors);
}

TEST(ChildProcessTest, TheChildHasThreeDescriptors)
{
   int const inherited = dup(0);
   ASSERT_EQ(0, fcntl(inherited, F_GETFD)) << "must be one that exec keeps";
   auto const child = ChildProcess::Start(sleeper);
   close(inherited);

   std::set<std::string> names;
   for (auto const& entry :
        fs::directory_iterator("/proc/" + std::to_string(child.GetPid()) + "/fd")) {
      names.insert(entry.path().filename());
   }
   EXPECT_EQ((std::set<std::string>{"0", "1", "2"}), names);
   auto const folder = fs::path("/proc") / std::to_string(child.GetPid());
   EXPECT_EQ("/dev/null", fs::read_symlink(folder / "fd/0"));
   EXPECT_EQ("/dev/null", fs::read_symlink(folder / "fd/1"));
   EXPECT_EQ("/", fs::read_symlink(folder / "cwd"));
}

// Descriptors of ours that are among the first three must not be overwritten before use.
TEST(ChildProcessTest, StartsAlsoWithoutStandardDescriptorsOfOurs)
{
   pid_t const pid = fork();
   if (pid == 0) {
      close(0);
      close(1);
      close(2);
      auto const completion = RunToEnd(Shell("echo said >&2; exit 5"), test::patience);
      _exit(completion.errors == "said\n" && completion.ending.code == 5 ? 0 : 1);
   }
   int status = 0;
   ASSERT_EQ(pid, waitpid(pid, &status, 0));
   EXPECT_TRUE(test::ExitedWith(status, 0));
}

TEST(ChildProcessTest, TheEnvironmentIsWhatWasGivenAndNothingElse)
{
   setenv("LD_PRELOAD_OF_TEST", "x", 1);
   auto command = sleeper;
   auto const standard = ChildProcess::Start(command);
   EXPECT_EQ(std::string("PATH=/usr/sbin:/usr/bin:/sbin:/bin\0LC_ALL=C\0", 44),
             ReadOf(standard, "environ"));

   command.environment = {"A=b"};
   EXPECT_EQ(std::string("A=b\0", 4), ReadOf(ChildProcess::Start(command), "environ"));
   unsetenv("LD_PRELOAD_OF_TEST");
}

TEST(ChildProcessTest, TheChildHasTheMaskAndTheRightsThatWereAsked)
{
   EXPECT_THAT(ReadOf(ChildProcess::Start(sleeper), "status"),
               AllOf(HasSubstr("Umask:\t0022"), HasSubstr("NoNewPrivs:\t1")));
   auto command = sleeper;
   command.umask = 077;
   EXPECT_THAT(ReadOf(ChildProcess::Start(command), "status"), HasSubstr("Umask:\t0077"));
}

TEST(ChildProcessTest, TheChildHasNoMoreRightsThanWereAsked)
{
   auto const ours = test::ProcessState(getpid()).GetCapabilities("CapPrm");
   auto const bounds = test::ProcessState(getpid()).GetCapabilities("CapBnd");
   bool const mayBound = (ours & base::MakeCapabilitySet(CAP_SETPCAP)) != 0;
   auto command = sleeper;
   for (auto const asked :
        {base::SERVICE_CAPABILITIES, base::MakeCapabilitySet(CAP_KILL), base::CapabilitySet{0}}) {
      command.capabilities = asked;
      auto const child = ChildProcess::Start(command);
      test::ProcessState const state(child.GetPid());
      auto const expected = geteuid() == 0 ? ours & asked : 0;
      EXPECT_EQ(expected, state.GetCapabilities("CapPrm"));
      EXPECT_EQ(expected, state.GetCapabilities("CapEff"));
      EXPECT_EQ(mayBound ? bounds & asked : bounds, state.GetCapabilities("CapBnd"));
      EXPECT_EQ(0u, state.GetCapabilities("CapInh"));
      EXPECT_EQ(0u, state.GetCapabilities("CapAmb"));
   }
   EXPECT_EQ(ours, test::ProcessState(getpid()).GetCapabilities("CapPrm"));
}

TEST(ChildProcessTest, SignalsAreAsAtTheStartOfAnyProgram)
{
   sigset_t blocked;
   sigset_t before;
   sigemptyset(&blocked);
   sigaddset(&blocked, SIGTERM);
   sigprocmask(SIG_BLOCK, &blocked, &before);
   auto const handler = signal(SIGPIPE, SIG_IGN);
   auto const child = ChildProcess::Start(sleeper);
   signal(SIGPIPE, handler);
   sigset_t ours;
   sigprocmask(SIG_SETMASK, &before, &ours);

   EXPECT_THAT(ReadOf(child, "status"), AllOf(HasSubstr("SigBlk:\t0000000000000000"),
                                              HasSubstr("SigIgn:\t0000000000000000")));
   EXPECT_TRUE(sigismember(&ours, SIGTERM)) << "our own mask is as it was";
}

TEST(ChildProcessTest, ASessionOfItsOwnOnlyIfAsked)
{
   auto const child = ChildProcess::Start(sleeper);
   EXPECT_EQ(getsid(0), getsid(child.GetPid()));

   auto command = sleeper;
   command.newSession = true;
   auto const alone = ChildProcess::Start(command);
   EXPECT_EQ(alone.GetPid(), getsid(alone.GetPid()));
}

TEST(ChildProcessTest, WaitingGivesUpAtTheDeadline)
{
   auto child = ChildProcess::Start(sleeper);
   EXPECT_FALSE(child.Wait(Milliseconds(20)));
   EXPECT_TRUE(Exists(child.GetPid()));
}

TEST(ChildProcessTest, AProgramThatTakesTooLongIsKilled)
{
   test::TempDir const folder;
   auto const pidPath = (folder.GetPath() / "pid").string();
   try {
      RunToEnd(Shell("echo $$ > " + pidPath + "; exec sleep 600"), Milliseconds(500));
      FAIL();
   } catch (Error const& error) {
      EXPECT_STREQ("run /bin/sh: it didn't end within 500 ms", error.what());
   }
   EXPECT_FALSE(Exists(std::stoi(test::ReadFile(pidPath))));
}

TEST(ChildProcessTest, TheOwnersEndIsTheChildsEnd)
{
   pid_t pid = 0;
   {
      auto const first = ChildProcess::Start(sleeper);
      pid = first.GetPid();
   }
   EXPECT_FALSE(Exists(pid)) << "killed and reaped";
}

TEST(ChildProcessTest, MovingMovesTheOwnership)
{
   auto first = ChildProcess::Start(sleeper);
   pid_t const pid = first.GetPid();
   {
      auto const second = std::move(first);
      EXPECT_EQ(pid, second.GetPid());
   }
   EXPECT_FALSE(Exists(pid));
}

TEST(ChildProcessTest, ADetachedChildGoesOn)
{
   pid_t pid = 0;
   {
      auto child = ChildProcess::Start(sleeper);
      pid = child.GetPid();
      child.Detach();
   }
   EXPECT_TRUE(Exists(pid));
   kill(pid, SIGKILL);
   EXPECT_EQ(pid, waitpid(pid, nullptr, 0));
}

TEST(ChildProcessTest, OtherChildrenAreLeftToTheirOwners)
{
   pid_t const other = fork();
   if (other == 0) {
      _exit(7);
   }
   EXPECT_TRUE(RunToEnd(Shell("exit 0"), test::patience).ending.IsSuccess());
   int status = 0;
   EXPECT_EQ(other, waitpid(other, &status, 0));
   EXPECT_TRUE(test::ExitedWith(status, 7));
}

} // namespace

} // namespace vnet::process
