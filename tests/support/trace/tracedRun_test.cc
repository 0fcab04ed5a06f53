// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/trace/tracedRun.hh"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

namespace {

class TracedRunTest : public testing::Test {
protected:
   void SetUp() override
   {
      if (!GetTraceProblem().empty()) {
         GTEST_SKIP() << GetTraceProblem();
      }
   }

   TempDir dir;
   std::string const file = dir.GetPath() / "file";
};

// The first call of that name, as a fault.
Fault MakeFault(TracedRun const& run, std::string const& name, Fault::Kind kind, int error = 0)
{
   auto const found = std::ranges::find(run.calls, name, &SystemCall::GetName);
   EXPECT_NE(run.calls.end(), found) << name;
   return {found->process, found->index, found->number, kind, error};
}

void Write(std::string const& path, std::string const& text)
{
   int const fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
   [[maybe_unused]] auto const written = write(fd, text.data(), text.size());
   close(fd);
}

} // namespace

TEST_F(TracedRunTest, TellsEachCallWithWhatItIsAbout)
{
   auto const run = RunTraced({.prepare = [] { getppid(); },
                               .work = [this] { Write(file, "text"); },
                               .finish = [] { return getppid() > 0 ? 7 : 8; }});

   std::vector<std::string> texts;
   std::ranges::transform(run.calls, std::back_inserter(texts), &SystemCall::ToString);
   EXPECT_EQ((std::vector<std::string>{"openat " + file, "write " + file, "close " + file}),
             std::vector(texts.begin(), texts.begin() + 3));
   EXPECT_TRUE(ExitedWith(run.status, 7));
}

TEST_F(TracedRunTest, AFailingCallIsntMade)
{
   int cause = 0;
   TracedWork const work{.work =
                            [&] {
                               Write(file, "text");
                               cause = errno;
                            },
                         .finish = [&] { return cause; }};
   auto const fault = MakeFault(RunTraced(work), "write", Fault::Kind::Fail, ENOSPC);
   unlink(file.c_str());
   auto const run = RunTraced(work, fault);

   EXPECT_TRUE(ExitedWith(run.status, ENOSPC));
   ASSERT_EQ(1u, run.calls.size());
   EXPECT_EQ("write " + file, run.calls[0].ToString());
   EXPECT_EQ("", ReadFile(file));
}

TEST_F(TracedRunTest, AShortenedWriteWritesAPart)
{
   TracedWork const work{.work = [&] { Write(file, "text"); }};
   auto const fault = MakeFault(RunTraced(work), "write", Fault::Kind::Shorten);
   unlink(file.c_str());
   RunTraced(work, fault);
   EXPECT_EQ("te", ReadFile(file));
}

TEST_F(TracedRunTest, AKilledOneNeverMakesItsCall)
{
   TracedWork const work{.work = [&] { Write(file, "text"); }};
   auto const fault = MakeFault(RunTraced(work), "write", Fault::Kind::Kill);
   unlink(file.c_str());
   EXPECT_TRUE(KilledBy(RunTraced(work, fault).status, SIGKILL));
   EXPECT_EQ("", ReadFile(file));
}

TEST_F(TracedRunTest, AFailedSbrkLeavesTheEndOfMemoryWhereItIs)
{
   bool failed = false;
   TracedWork const work{.work = [&] { failed = sbrk(4096) == reinterpret_cast<void*>(-1); },
                         .finish = [&] { return failed ? 1 : 0; }};
   auto const undisturbed = RunTraced(work);
   EXPECT_TRUE(ExitedWith(undisturbed.status, 0));
   auto fault = MakeFault(undisturbed, "brk", Fault::Kind::Fail, ENOMEM);
   // The first may only ask where it is.
   bool any = false;
   for (auto const& call : undisturbed.calls) {
      fault.index = call.index;
      any |= ExitedWith(RunTraced(work, fault).status, 1);
   }
   EXPECT_TRUE(any);
}

namespace {

// The child's exit status, 128 and the signal for a killed one.
int RunProgram()
{
   pid_t const child = fork();
   if (child == 0) {
      execl("/bin/true", "/bin/true", nullptr);
      _exit(3);
   }
   int status = 0;
   waitpid(child, &status, 0);
   return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace

TEST_F(TracedRunTest, AChildIsFollowedUpToItsProgram)
{
   int status = -1;
   TracedWork const work{.work = [&] { status = RunProgram(); }, .finish = [&] { return status; }};
   auto const undisturbed = RunTraced(work);
   EXPECT_TRUE(ExitedWith(undisturbed.status, 0));
   auto const fails = MakeFault(undisturbed, "execve", Fault::Kind::Fail, ENOENT);
   EXPECT_EQ(1, fails.process);
   EXPECT_TRUE(ExitedWith(RunTraced(work, fails).status, 3));
   auto const dies = MakeFault(undisturbed, "execve", Fault::Kind::KillProgram);
   EXPECT_TRUE(ExitedWith(RunTraced(work, dies).status, 128 + SIGKILL));
}

TEST_F(TracedRunTest, WorkThatHangsIsKilledAtTheDeadline)
{
   auto const run = RunTraced({.work = [] { pause(); }}, {}, Milliseconds(50));
   EXPECT_FALSE(run.status);
}

} // namespace test
