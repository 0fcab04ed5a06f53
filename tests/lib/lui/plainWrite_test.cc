// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/plainWrite.hh"

#include "forkedProcess.hh"
#include "lui/channel.hh"
#include "support/rawChannel.hh"
#include "testThread.hh"

#include <gtest/gtest.h>

using lui::PlainWrite;
using test::ForkedProcess;
using test::Milliseconds;
using test::Pipe;

namespace {

constexpr std::size_t LENGTH = 8 * 1024 * 1024;

// One write(2), as the guard is there for.
ssize_t WriteGuarded(int fd, std::string const& bytes)
{
   PlainWrite const guard(fd);
   return write(fd, bytes.data(), bytes.size());
}

// Reads count bytes and tells whether all of them are the same character.
bool ReadSlowly(int fd, std::size_t count, char expected)
{
   std::string chunk(65536, '?');
   while (count > 0) {
      usleep(500);
      ssize_t const got = read(fd, chunk.data(), std::min(count, chunk.size()));
      if (got <= 0 || chunk.substr(0, static_cast<std::size_t>(got)) !=
                         std::string(static_cast<std::size_t>(got), expected)) {
         return false;
      }
      count -= static_cast<std::size_t>(got);
   }
   return true;
}

sigset_t GetMask()
{
   sigset_t mask;
   pthread_sigmask(SIG_BLOCK, nullptr, &mask);
   return mask;
}

} // namespace

TEST(PlainWriteTest, OneWriteOfEightMebibytesIsWholeInSpiteOfATimer)
{
   for (bool isWatched : {false, true}) {
      Pipe pipe;
      ForkedProcess const reader(
         [&] { return ReadSlowly(pipe.GetReadEnd(), LENGTH, 'x') ? pause() : 1; });
      if (isWatched) {
         lui::Utils::WatchPeer(pipe.GetWriteEnd(), reader.GetPid(), "");
      }
      test::IntervalTimer const timer;
      EXPECT_EQ(static_cast<ssize_t>(LENGTH),
                WriteGuarded(pipe.GetWriteEnd(), std::string(LENGTH, 'x')));
      EXPECT_TRUE(test::Eventually([&] { return timer.GetCount() > 0; }));
      lui::Utils::UnwatchPeer(pipe.GetWriteEnd());
   }
}

TEST(PlainWriteTest, SignalsAreHandledOnceTheGuardIsGone)
{
   Pipe pipe;
   test::IntervalTimer const timer;
   int during = 0;
   {
      PlainWrite const guard(pipe.GetWriteEnd());
      during = timer.GetCount();
      usleep(20000);
      EXPECT_EQ(during, timer.GetCount());
   }
   EXPECT_GT(timer.GetCount(), during);
}

TEST(PlainWriteTest, TheSignalMaskComesBack)
{
   Pipe pipe;
   ForkedProcess const peer([] { return pause(); });
   lui::Utils::WatchPeer(pipe.GetWriteEnd(), peer.GetPid(), "");
   sigset_t const before = GetMask();
   WriteGuarded(pipe.GetWriteEnd(), "Save");
   sigset_t const after = GetMask();
   for (int number = 1; number < SIGRTMAX; ++number) {
      EXPECT_EQ(sigismember(&before, number), sigismember(&after, number)) << number;
   }
   lui::Utils::UnwatchPeer(pipe.GetWriteEnd());
}

TEST(PlainWriteTest, AWriteToAReaderThatIsKilledReturnsWithinASecond)
{
   // This process holds the read end too, so that end alone would never break the pipe.
   Pipe pipe;
   ForkedProcess const reader(
      [&] { return ReadSlowly(pipe.GetReadEnd(), LENGTH / 2, 'x') ? pause() : 1; });
   lui::Utils::WatchPeer(pipe.GetWriteEnd(), reader.GetPid(), "");
   std::string const bytes(LENGTH, 'x');
   test::OnceAsleep killer([&] { reader.Kill(); });
   WriteGuarded(pipe.GetWriteEnd(), bytes);
   EXPECT_LT(killer.GetAge(), Milliseconds(1000));
   lui::Utils::UnwatchPeer(pipe.GetWriteEnd());
}

TEST(PlainWriteTest, AWriteToAReaderThatWasDeadBeforeReturns)
{
   Pipe pipe;
   ForkedProcess const reader([] { return 0; });
   reader.WaitForEnd();
   lui::Utils::WatchPeer(pipe.GetWriteEnd(), reader.GetPid(), "");
   auto const start = std::chrono::steady_clock::now();
   WriteGuarded(pipe.GetWriteEnd(), std::string(LENGTH, 'x'));
   EXPECT_LT(std::chrono::steady_clock::now() - start, Milliseconds(1000));
   lui::Utils::UnwatchPeer(pipe.GetWriteEnd());
}

TEST(PlainWriteTest, WhatALivingReaderHasNotReadYetStaysForIt)
{
   Pipe pipe;
   ForkedProcess const peer([] { return pause(); });
   lui::Utils::WatchPeer(pipe.GetWriteEnd(), peer.GetPid(), "");
   EXPECT_EQ(5, WriteGuarded(pipe.GetWriteEnd(), std::string("Quit\0", 5)));
   EXPECT_EQ("Quit", test::ReadMessage(pipe.GetReadEnd()));
   lui::Utils::UnwatchPeer(pipe.GetWriteEnd());
}

TEST(PlainWriteTest, APipeWithoutAReaderGivesAnErrorAndRaisesNothing)
{
   ForkedProcess const writer([] {
      signal(SIGPIPE, SIG_DFL);
      Pipe pipe;
      pipe.CloseReadEnd();
      bool const isBroken = WriteGuarded(pipe.GetWriteEnd(), "Save") == -1 && errno == EPIPE;
      return isBroken ? 0 : 1;
   });
   EXPECT_TRUE(test::ExitedWith(writer.Reap(), 0));
}
