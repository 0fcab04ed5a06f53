// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/logTargets.hh"

#include "base/fileDescriptor.hh"
#include "base/log.h"
#include "forkedTest.hh"
#include "support/testProcess.hh"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

using testing::ContainsRegex;
using testing::IsEmpty;

namespace base {

namespace {

// The system log's end of /dev/log, in a /dev of this process's own.
class SystemLogDouble {
public:
   // Gives this process a /dev in which there is folder's content alone; says whether it could.
   static bool Replace(std::string const& folder)
   {
      int namespaces = CLONE_NEWNS | (geteuid() == 0 ? 0 : CLONE_NEWUSER);
      return unshare(namespaces) == 0 &&
             mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
             mount(folder.c_str(), "/dev", nullptr, MS_BIND, nullptr) == 0;
   }

   SystemLogDouble() : socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0))
   {
      sockaddr_un address = {};
      address.sun_family = AF_UNIX;
      std::strcpy(address.sun_path, "/dev/log");
      EXPECT_EQ(0, bind(socket.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address));
   }

   // The next message; empty at the deadline.
   std::string Receive(int milliseconds = 20000) const
   {
      pollfd event = {socket.Get(), POLLIN, 0};
      char buffer[16384];
      if (poll(&event, 1, milliseconds) != 1) {
         return {};
      }
      ssize_t count = recv(socket.Get(), buffer, sizeof buffer, 0);
      return std::string(buffer, count > 0 ? static_cast<size_t>(count) : 0);
   }

private:
   FileDescriptor socket;
};

class LogTargetsTest : public testing::Test {
protected:
   void SetUp() override
   {
      std::string path = folder.GetPath();
      if (!PassesInChild([&path] { _exit(SystemLogDouble::Replace(path) ? 0 : 1); })) {
         GTEST_SKIP() << "a private /dev can't be had here";
      }
   }

   // Runs body in a process with a system log of its own.
   bool PassesWithSystemLog(std::function<void(SystemLogDouble&)> const& body) const
   {
      std::string path = folder.GetPath();
      return PassesInChild([&] {
         ASSERT_TRUE(SystemLogDouble::Replace(path));
         SystemLogDouble log;
         body(log);
      });
   }

   test::TempDir folder;
};

TEST_F(LogTargetsTest, AProcessWithoutAFileWritesToTheSystemLog)
{
   // A facility, times 8, and a severity: the daemons' for root, the users' for others.
   std::string number = geteuid() == 0 ? "<28>" : "<12>";
   std::string pid;
   EXPECT_TRUE(PassesWithSystemLog([&](SystemLogDouble& log) {
      pid = std::to_string(getpid());
      LogV(LOG_SEVERITY_FAILURE, "%s: Unable to set NAT param 0x%x.\n", "SetNATParam", 0x3421);
      EXPECT_THAT(log.Receive(),
                  ContainsRegex("^" + number + ".* tavrin-netcfg\\[" + pid +
                                "\\]: SetNATParam: Unable to set NAT param 0x3421\\.$"));
   }));
}

TEST_F(LogTargetsTest, ATextIsNoFormatToTheSystemLog)
{
   EXPECT_TRUE(PassesWithSystemLog([](SystemLogDouble& log) {
      Warning("%s\n", "100%s %n done");
      EXPECT_THAT(log.Receive(), testing::EndsWith(": 100%s %n done"));
   }));
}

TEST_F(LogTargetsTest, AFilteredLineIsNotInTheSystemLog)
{
   EXPECT_TRUE(PassesWithSystemLog([](SystemLogDouble& log) {
      LogV(LOG_SEVERITY_TRACE, "one\n");
      Warning("two\n");
      EXPECT_THAT(log.Receive(), testing::EndsWith(": two"));
      EXPECT_THAT(log.Receive(0), IsEmpty());
   }));
}

TEST_F(LogTargetsTest, WithAFileTheSystemLogStaysSilent)
{
   test::TempDir state;
   EXPECT_TRUE(PassesWithSystemLog([&state](SystemLogDouble& log) {
      setenv("XDG_STATE_HOME", state.GetPath().c_str(), 1);
      ASSERT_NE(nullptr, Log_InitWithFileInt("netcfg", nullptr, nullptr, 1));
      Warning("text\n");
      EXPECT_THAT(log.Receive(0), IsEmpty());
   }));
}

TEST_F(LogTargetsTest, WithoutASystemLogNobodyHangsAndErrnoIsLeftAlone)
{
   std::string path = folder.GetPath();
   EXPECT_TRUE(PassesInChild([&path] {
      ASSERT_TRUE(SystemLogDouble::Replace(path));
      errno = ENOTEMPTY;
      Warning("text\n");
      EXPECT_EQ(ENOTEMPTY, errno);
   }));
}

// Standard error as a terminal, and what is shown there.
class StandardErrorTest : public LogTargetsTest {
protected:
   // What body writes to standard error when that is the slave of a terminal.
   std::string ShownBy(std::function<void()> const& body) const
   {
      FileDescriptor master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
      EXPECT_EQ(0, grantpt(master.Get()));
      EXPECT_EQ(0, unlockpt(master.Get()));
      FileDescriptor slave(open(ptsname(master.Get()), O_RDWR | O_NOCTTY | O_CLOEXEC));
      EXPECT_TRUE(slave.IsOpen());
      EXPECT_TRUE(PassesWithSystemLog([&](SystemLogDouble&) {
         dup2(slave.Get(), STDERR_FILENO);
         body();
      }));
      pollfd event = {master.Get(), POLLIN, 0};
      char buffer[4096];
      ssize_t count = poll(&event, 1, 0) == 1 ? read(master.Get(), buffer, sizeof buffer) : 0;
      return std::string(buffer, count > 0 ? static_cast<size_t>(count) : 0);
   }
};

TEST_F(StandardErrorTest, ATerminalSeesTheLinesOfAProcessWithoutAFile)
{
   EXPECT_THAT(ShownBy([] { Warning("text\n"); }),
               ContainsRegex("^[^ ]+ [0-9]+ warning text\r\n$"));
}

TEST_F(StandardErrorTest, ATerminalSeesNothingOfAProcessWithAFile)
{
   test::TempDir state;
   EXPECT_THAT(ShownBy([&state] {
                  setenv("XDG_STATE_HOME", state.GetPath().c_str(), 1);
                  ASSERT_NE(nullptr, Log_InitWithFileInt("netcfg", nullptr, nullptr, 1));
                  Warning("text\n");
               }),
               IsEmpty());
}

TEST_F(StandardErrorTest, WhatIsNoTerminalSeesNothing)
{
   test::Pipe pipe;
   EXPECT_TRUE(PassesWithSystemLog([&pipe](SystemLogDouble&) {
      dup2(pipe.GetWriteEnd(), STDERR_FILENO);
      Warning("text\n");
   }));
   pipe.CloseWriteEnd();
   char byte;
   EXPECT_EQ(0, read(pipe.GetReadEnd(), &byte, 1));
}

TEST(WriteWholeLineTest, ABrokenDescriptorIsAFailure)
{
   FileDescriptor full(open("/dev/full", O_WRONLY));
   EXPECT_FALSE(WriteWholeLine(full.Get(), "text\n"));
   EXPECT_FALSE(WriteWholeLine(-1, "text\n"));
}

} // namespace

} // namespace base
