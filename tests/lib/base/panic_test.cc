// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/panic.h"

#include "base/processLog.hh"
#include "capturedLog.hh"
#include "forkedTest.hh"
#include "support/testProcess.hh"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

using testing::AllOf;
using testing::HasSubstr;
using testing::KilledBySignal;
using testing::Not;

namespace base {

namespace {

// Every death is that of a child, and its lines come back through the log's file.
class PanicDeathTest : public testing::Test {
protected:
   CapturedLog log;
};

size_t CountOf(std::string const& part, std::string const& text)
{
   size_t count = 0;
   for (size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1)) {
      ++count;
   }
   return count;
}

TEST_F(PanicDeathTest, TheTextIsOnStandardErrorAndInTheLog)
{
   EXPECT_EXIT(Panic("%s: Could not initialize logging\n", "netcfg"), KilledBySignal(SIGABRT),
               " panic netcfg: Could not initialize logging\n");
   EXPECT_THAT(log.GetText(), HasSubstr(" panic netcfg: Could not initialize logging\n"));
}

TEST_F(PanicDeathTest, PlacesThatCannotBeReachedNameThemselves)
{
   EXPECT_EXIT(NOT_REACHED_AT("tvnetcfg/linux/main", 358), KilledBySignal(SIGABRT),
               " panic NOT_REACHED tvnetcfg/linux/main:358\n");
   EXPECT_EXIT(NOT_IMPLEMENTED_AT("tvnetcfg/linux/editor", 7), KilledBySignal(SIGABRT),
               " panic NOT_IMPLEMENTED tvnetcfg/linux/editor:7\n");
}

TEST_F(PanicDeathTest, NoHandlerIsAsked)
{
   EXPECT_EXIT(
      {
         std::signal(SIGABRT, [](int) { _exit(0); });
         Panic("text\n");
      },
      KilledBySignal(SIGABRT), "text");
}

TEST_F(PanicDeathTest, NeitherIgnoringNorBlockingTheSignalHelps)
{
   EXPECT_EXIT(
      {
         std::signal(SIGABRT, SIG_IGN);
         sigset_t all;
         sigfillset(&all);
         sigprocmask(SIG_BLOCK, &all, nullptr);
         Panic("text\n");
      },
      KilledBySignal(SIGABRT), "text");
}

TEST_F(PanicDeathTest, NobodyHasToReadStandardError)
{
   EXPECT_EXIT(
      {
         test::Pipe pipe;
         pipe.CloseReadEnd();
         dup2(pipe.GetWriteEnd(), STDERR_FILENO);
         std::signal(SIGPIPE, SIG_DFL);
         Panic("text\n");
      },
      KilledBySignal(SIGABRT), "");
   EXPECT_THAT(log.GetText(), HasSubstr(" panic text\n"));
}

TEST_F(PanicDeathTest, AClosedStandardErrorStillLeavesTheLog)
{
   EXPECT_EXIT(
      {
         close(STDERR_FILENO);
         Panic("text\n");
      },
      KilledBySignal(SIGABRT), "");
   EXPECT_THAT(log.GetText(), HasSubstr(" panic text\n"));
}

// Panics while the log's file may not grow. The kernel tells that by a signal, whose handler
// panics.
[[noreturn]] void PanicTwice()
{
   test::TempDir folder;
   FileDescriptor file(open(folder.Write("log", "").c_str(), O_WRONLY | O_APPEND));
   std::filesystem::remove_all(folder.GetPath());
   ProcessLog().SetFile(file.Get());
   std::signal(SIGXFSZ, [](int) { Panic("inner\n"); });
   rlimit none = {0, 0};
   setrlimit(RLIMIT_FSIZE, &none);
   Panic("outer\n");
}

TEST_F(PanicDeathTest, APanicWithinAPanicEndsTheProcessAtOnce)
{
   // Standard error must be no file here: that couldn't grow either.
   test::Pipe pipe;
   auto panicTwice = [&pipe] {
      dup2(pipe.GetWriteEnd(), STDERR_FILENO);
      PanicTwice();
   };
   EXPECT_EXIT(panicTwice(), KilledBySignal(SIGABRT), "");
   pipe.CloseWriteEnd();
   char buffer[4096];
   ssize_t count = read(pipe.GetReadEnd(), buffer, sizeof buffer);
   EXPECT_THAT(std::string(buffer, static_cast<size_t>(std::max<ssize_t>(count, 0))),
               AllOf(HasSubstr("outer"), Not(HasSubstr("inner"))));
}

TEST_F(PanicDeathTest, TheTextIsWrittenOnce)
{
   EXPECT_EXIT(Panic("text\n"), KilledBySignal(SIGABRT), "");
   EXPECT_EQ(1u, CountOf("text", log.GetText()));
}

TEST_F(PanicDeathTest, ALongHostileTextIsOneLine)
{
   std::string text = "one\ntwo" + std::string(100000, 'x');
   EXPECT_EXIT(Panic("%s\n", text.c_str()), KilledBySignal(SIGABRT), "one\\\\ntwo");
   EXPECT_EQ(1u, CountOf("\n", log.GetText()));
   EXPECT_LT(log.GetText().size(), 9000u);
}

} // namespace

} // namespace base
