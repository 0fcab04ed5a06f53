// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/posix.h"

#include "base/fileDescriptor.hh"
#include "forkedTest.hh"
#include "support/testProcess.hh"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>

namespace base {

namespace {

std::string PathOf(pid_t pid, int fd)
{
   return "/proc/" + std::to_string(pid) + "/fd/" + std::to_string(fd);
}

FileDescriptor Open(std::string const& path, int flags)
{
   errno = 0;
   return FileDescriptor(Posix_Open(path.c_str(), flags));
}

void ExpectRefused(int error, std::string const& path, int flags = O_RDONLY)
{
   EXPECT_FALSE(Open(path, flags).IsOpen()) << path;
   EXPECT_EQ(error, errno) << path;
}

void Check(bool good, char const* what)
{
   if (!good) {
      throw std::system_error(errno, std::generic_category(), what);
   }
}

// A user who isn't in any test's own story, and where his process has a pipe.
constexpr uid_t STRANGER = 1234;
constexpr int STRANGERS_PIPE = 200;

void BecomeStrangerWithPipe()
{
   Check(setresuid(STRANGER, STRANGER, STRANGER) == 0, "setresuid");
   Check(prctl(PR_SET_DUMPABLE, 1) == 0, "prctl");
   int ends[2];
   Check(pipe(ends) == 0 && dup2(ends[0], STRANGERS_PIPE) == STRANGERS_PIPE, "pipe");
}

TEST(PosixOpenTest, AnOrdinaryFileIsOpenedCloseOnExec)
{
   test::TempDir folder;
   FileDescriptor file = Open(folder.Write("file", "text"), O_RDONLY);

   ASSERT_TRUE(file.IsOpen());
   EXPECT_EQ(FD_CLOEXEC, fcntl(file.Get(), F_GETFD));
}

TEST(PosixOpenTest, AFileThatItMakesIsItsUsersAlone)
{
   test::TempDir folder;
   std::string path = folder.GetPath() / "file";
   FileDescriptor file = Open(path, O_WRONLY | O_CREAT);

   struct stat status = {};
   ASSERT_EQ(0, stat(path.c_str(), &status));
   EXPECT_EQ(0u, status.st_mode & 0177);
}

TEST(PosixOpenTest, FailuresTellTheirCause)
{
   ExpectRefused(ENOENT, "/nonexistent/file");
   errno = 0;
   EXPECT_EQ(-1, Posix_Open(nullptr, O_RDONLY));
   EXPECT_EQ(EINVAL, errno);
}

TEST(PosixOpenTest, OddPathsToDescriptorsAreRefused)
{
   test::Pipe pipe;
   std::string fd = std::to_string(pipe.GetReadEnd());
   std::string pid = std::to_string(getpid());
   for (std::string const& path :
        {"/proc/self/fd/" + fd, "/proc/thread-self/fd/" + fd, "/proc/0/fd/" + fd,
         "/proc/-1/fd/" + fd, "/proc//fd/" + fd, "/proc/" + pid + "/fd/", "/proc/" + pid + "/fd",
         "/proc/" + pid + "/fd/-1", "/proc/" + pid + "/fd/0" + fd, "//proc/" + pid + "/fd/" + fd,
         "/proc/" + pid + "/task/" + pid + "/fd/" + fd, "/proc/0" + pid + "/fd/" + fd,
         "/proc/" + std::string(5000, '1') + "/fd/" + fd,
         "/proc/" + pid + "/fd/" + std::string(5000, '1')}) {
      ExpectRefused(EINVAL, path);
   }
}

// What a server, a child of this process, does with a descriptor of this process, its client.
class ParentsPipeTest : public testing::Test {
protected:
   std::string ReadEnd() const { return PathOf(getpid(), pipe.GetReadEnd()); }
   std::string WriteEnd() const { return PathOf(getpid(), pipe.GetWriteEnd()); }

   test::Pipe pipe;
};

TEST_F(ParentsPipeTest, BothEndsOpenAndCarryText)
{
   std::string readPath = ReadEnd();
   std::string writePath = WriteEnd();
   EXPECT_TRUE(PassesInChild([&] {
      FileDescriptor reading = Open(readPath, O_RDONLY);
      FileDescriptor writing = Open(writePath, O_WRONLY);
      ASSERT_TRUE(reading.IsOpen());
      ASSERT_TRUE(writing.IsOpen());

      char byte = 0;
      EXPECT_EQ(1, write(writing.Get(), "x", 1));
      EXPECT_EQ(1, read(reading.Get(), &byte, 1));
      EXPECT_EQ('x', byte);
      EXPECT_EQ(-1, write(reading.Get(), "x", 1));
      EXPECT_EQ(-1, read(writing.Get(), &byte, 1));
   }));
}

TEST_F(ParentsPipeTest, TheResultBlocksAndIsClosedOnExecWhileTheClientsOwnEndStaysAsItWas)
{
   std::string path = ReadEnd();
   EXPECT_TRUE(PassesInChild([&] {
      FileDescriptor file = Open(path, O_RDONLY);
      ASSERT_TRUE(file.IsOpen());
      EXPECT_EQ(FD_CLOEXEC, fcntl(file.Get(), F_GETFD));
      EXPECT_EQ(0, fcntl(file.Get(), F_GETFL) & O_NONBLOCK);
      EXPECT_NE(pipe.GetReadEnd(), file.Get());
   }));
   EXPECT_EQ(0, fcntl(pipe.GetReadEnd(), F_GETFD));
   EXPECT_EQ(0, fcntl(pipe.GetReadEnd(), F_GETFL) & O_NONBLOCK);
}

TEST_F(ParentsPipeTest, OfTheFlagsOnlyAccessModeAndNonblockingCount)
{
   std::string path = WriteEnd();
   EXPECT_TRUE(PassesInChild([&] {
      FileDescriptor file = Open(path, O_WRONLY | O_NONBLOCK | O_APPEND | O_TRUNC | O_CREAT);
      ASSERT_TRUE(file.IsOpen());
      EXPECT_EQ(O_WRONLY | O_NONBLOCK,
                fcntl(file.Get(), F_GETFL) & (O_ACCMODE | O_NONBLOCK | O_APPEND));
   }));
}

TEST_F(ParentsPipeTest, OpeningNeverWaitsForTheOtherEnd)
{
   pid_t client = getpid();
   int readEnd = pipe.GetReadEnd();
   pipe.CloseWriteEnd();
   EXPECT_TRUE(PassesInChild([&] {
      pipe.CloseReadEnd();
      EXPECT_TRUE(Open(PathOf(client, readEnd), O_RDONLY).IsOpen());
   }));

   test::Pipe other;
   other.CloseReadEnd();
   int writeEnd = other.GetWriteEnd();
   EXPECT_TRUE(PassesInChild([&] {
      std::signal(SIGPIPE, SIG_IGN);
      FileDescriptor file = Open(PathOf(client, writeEnd), O_WRONLY);
      ASSERT_TRUE(file.IsOpen());
      EXPECT_EQ(-1, write(file.Get(), "x", 1));
      EXPECT_EQ(EPIPE, errno);
   }));
}

TEST_F(ParentsPipeTest, ADescriptorThatIsNotThereFails)
{
   std::string path = PathOf(getpid(), 987);
   EXPECT_TRUE(PassesInChild([&] { ExpectRefused(ENOENT, path); }));
}

TEST_F(ParentsPipeTest, WhatIsNotAnUnnamedPipeIsRefused)
{
   test::TempDir folder;
   std::string fifo = folder.GetPath() / "fifo";
   ASSERT_EQ(0, mkfifo(fifo.c_str(), 0600));
   int sockets[2];
   ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, sockets));
   FileDescriptor socket(sockets[0]);
   FileDescriptor otherSocket(sockets[1]);
   FileDescriptor file(open(folder.Write("file", "text").c_str(), O_RDWR));
   FileDescriptor directory(open(folder.GetPath().c_str(), O_RDONLY));
   FileDescriptor named(open(fifo.c_str(), O_RDWR));
   FileDescriptor lookedUp(open(fifo.c_str(), O_PATH));
   FileDescriptor device(open("/dev/null", O_RDWR));
   FileDescriptor event(eventfd(0, 0));
   pid_t client = getpid();

   EXPECT_TRUE(PassesInChild([&] {
      for (FileDescriptor const* one :
           {&socket, &file, &directory, &named, &lookedUp, &device, &event}) {
         ASSERT_TRUE(one->IsOpen());
         ExpectRefused(EACCES, PathOf(client, one->Get()), O_RDONLY);
         ExpectRefused(EACCES, PathOf(client, one->Get()), O_WRONLY);
      }
   }));
}

TEST_F(ParentsPipeTest, AZombiesPipeIsRefused)
{
   pid_t zombie = MakeZombie();
   EXPECT_TRUE(PassesInChild([&] { ExpectRefused(ESRCH, PathOf(zombie, pipe.GetReadEnd())); }));
   waitpid(zombie, nullptr, 0);
}

TEST_F(ParentsPipeTest, ADeadProcessesPipeIsRefused)
{
   pid_t dead = MakeZombie();
   waitpid(dead, nullptr, 0);
   ExpectRefused(ENOENT, PathOf(dead, pipe.GetReadEnd()));
}

TEST_F(ParentsPipeTest, WithoutRootsRightsOurOwnUsersOtherProcessesLendTheirs)
{
   EXPECT_TRUE(PassesInChild([] {
      if (geteuid() == 0) {
         BecomeNobody();
      }
      test::Pipe pipe;
      HeldChild sibling([] {});
      EXPECT_TRUE(Open(PathOf(sibling.GetPid(), pipe.GetReadEnd()), O_RDONLY).IsOpen());
   }));
}

TEST_F(ParentsPipeTest, WithoutRootsRightsAnotherUsersPipeIsRefused)
{
   if (geteuid() != 0) {
      GTEST_SKIP() << "needs a process of another user's";
   }
   // This process, root's, is the parent of the one that asks; so a stranger's is asked for.
   HeldChild stranger(BecomeStrangerWithPipe);
   EXPECT_TRUE(PassesInChild([&] {
      BecomeNobody();
      ExpectRefused(EACCES, PathOf(stranger.GetPid(), STRANGERS_PIPE));
   }));
}

TEST_F(ParentsPipeTest, APipeThatAnotherUserMadeIsRefused)
{
   if (geteuid() != 0) {
      GTEST_SKIP() << "needs a pipe of another user's";
   }
   // The client inherited root's pipe and must not get root's server to open it anew.
   EXPECT_TRUE(PassesInChild([this] {
      pid_t client = getpid();
      pid_t root = fork();
      if (root == 0) {
         // Root's child waits until its parent is an ordinary user's process.
         bool changed = test::Eventually([client] {
            struct stat status = {};
            std::string path = "/proc/" + std::to_string(client);
            return stat(path.c_str(), &status) == 0 && status.st_uid == NOBODY;
         });
         EXPECT_TRUE(changed);
         ExpectRefused(EACCES, PathOf(client, pipe.GetReadEnd()));
         _exit(testing::Test::HasFailure() ? 1 : 0);
      }
      BecomeNobody();
      int status = 0;
      ASSERT_EQ(root, waitpid(root, &status, 0));
      EXPECT_EQ(0, status);
   }));
}

// A user's client, the tools between it and the server, and the server, which runs as root.
class ElevationTest : public testing::Test {
protected:
   void SetUp() override
   {
      if (geteuid() != 0) {
         GTEST_SKIP() << "only root can play a server with root's rights";
      }
   }

   // Runs body in root's process, as many of root's tools below the client. The client, whose pid
   // body gets with the end of its pipe to read from, is an ordinary user's by then.
   static bool PassesBelowClient(int tools, std::function<void(pid_t, int)> const& body)
   {
      return PassesInChild([&] {
         test::Pipe number;
         pid_t client = getpid();
         pid_t below = fork();
         if (below == 0) {
            int readEnd = -1;
            Check(read(number.GetReadEnd(), &readEnd, sizeof readEnd) == sizeof readEnd, "read");
            _exit(PassesBelowTools(tools, [&] { body(client, readEnd); }) ? 0 : 1);
         }
         BecomeNobody();
         test::Pipe pipe;
         int readEnd = pipe.GetReadEnd();
         Check(write(number.GetWriteEnd(), &readEnd, sizeof readEnd) == sizeof readEnd, "write");
         int status = -1;
         ASSERT_EQ(below, waitpid(below, &status, 0));
         EXPECT_EQ(0, status);
      });
   }

private:
   static bool PassesBelowTools(int tools, std::function<void()> const& body)
   {
      if (tools == 0) {
         body();
         std::fflush(nullptr);
         return !testing::Test::HasFailure();
      }
      return PassesInChild([&] { EXPECT_TRUE(PassesBelowTools(tools - 1, body)); });
   }
};

TEST_F(ElevationTest, TheClientsPipeOpensHoweverManyToolsStandBetween)
{
   for (int tools : {0, 1, 2}) {
      EXPECT_TRUE(PassesBelowClient(tools, [](pid_t client, int readEnd) {
         EXPECT_TRUE(Open(PathOf(client, readEnd), O_RDONLY).IsOpen());
      })) << tools;
   }
}

TEST_F(ElevationTest, AnotherUsersPipeIsRefused)
{
   HeldChild stranger(BecomeStrangerWithPipe);
   for (int tools : {0, 1}) {
      EXPECT_TRUE(PassesBelowClient(tools, [&](pid_t, int) {
         ExpectRefused(EACCES, PathOf(stranger.GetPid(), STRANGERS_PIPE));
      })) << tools;
   }
}

TEST_F(ElevationTest, RootsPipeIsRefusedToAUsersServer)
{
   test::Pipe pipe;
   HeldChild roots([] {});
   for (int tools : {0, 1}) {
      EXPECT_TRUE(PassesBelowClient(tools, [&](pid_t, int) {
         ExpectRefused(EACCES, PathOf(roots.GetPid(), pipe.GetReadEnd()));
      })) << tools;
   }
}

TEST(PosixTest, ExecutingReturnsOnlyOnFailure)
{
   char program[] = "/nonexistent/program";
   char* vector[] = {program, nullptr};
   errno = 0;
   EXPECT_EQ(-1, Posix_Execv(program, vector));
   EXPECT_EQ(ENOENT, errno);
}

TEST(PosixTest, ExecutingReplacesTheProcessAndHandsTheVectorOver)
{
   auto execute = [] {
      char shell[] = "/bin/sh";
      char option[] = "-c";
      char script[] = "exit $1";
      char name[] = "name";
      char status[] = "37";
      char* vector[] = {shell, option, script, name, status, nullptr};
      Posix_Execv("/bin/sh", vector);
      _exit(1);
   };
   EXPECT_EXIT(execute(), testing::ExitedWithCode(37), "");
}

TEST(PosixTest, AnEmptyVariableIsSetAndAMissingOneIsNull)
{
   EXPECT_TRUE(PassesInChild([] {
      setenv("TVDEVEL", "", 1);
      EXPECT_STREQ("", Posix_Getenv("TVDEVEL"));
      unsetenv("TVDEVEL");
      EXPECT_EQ(nullptr, Posix_Getenv("TVDEVEL"));
   }));
}

} // namespace

} // namespace base
