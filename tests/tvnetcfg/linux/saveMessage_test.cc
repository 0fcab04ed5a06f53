// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/linux/saveMessage.hh"

#include "lui/channel.hh"
#include "support/testProcess.hh"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/time.h>
#include <thread>
#include <unistd.h>

namespace {

using netcfg::WriteSaveMessage;

std::string ReadAll(int fd)
{
   std::string text;
   char buffer[65536];
   ssize_t count;
   while ((count = read(fd, buffer, sizeof buffer)) > 0) {
      text.append(buffer, static_cast<std::size_t>(count));
   }
   return text;
}

TEST(SaveMessageTest, IsTheVerbANewlineTheSnapshotAndANul)
{
   test::Pipe pipe;
   EXPECT_TRUE(WriteSaveMessage(pipe.GetWriteEnd(), "{}\n"));
   pipe.CloseWriteEnd();
   EXPECT_EQ(std::string("Save\n{}\n\0", 9), ReadAll(pipe.GetReadEnd()));
}

TEST(SaveMessageTest, LengthCountsCharactersSoMultiByteTextLosesItsEnd)
{
   test::Pipe pipe;
   // Two characters of two bytes: the closing NUL and one more byte fall off.
   EXPECT_TRUE(WriteSaveMessage(pipe.GetWriteEnd(), "\xc3\xbc\xc3\xbc!"));
   pipe.CloseWriteEnd();
   EXPECT_EQ("Save\n\xc3\xbc\xc3\xbc", ReadAll(pipe.GetReadEnd()));
}

TEST(SaveMessageTest, EightMebibytesArriveWholeWhileSignalsFire)
{
   struct sigaction interrupting {};
   struct sigaction old;
   interrupting.sa_handler = [](int) {}; // and no SA_RESTART
   sigaction(SIGALRM, &interrupting, &old);
   itimerval const often{{0, 1000}, {0, 1000}};
   setitimer(ITIMER_REAL, &often, nullptr);

   test::Pipe pipe;
   std::string const snapshot(8 << 20, 'x');
   std::string received;
   sigset_t alarm;
   sigemptyset(&alarm);
   sigaddset(&alarm, SIGALRM);
   std::thread reader([&] {
      pthread_sigmask(SIG_BLOCK, &alarm, nullptr);
      received = ReadAll(pipe.GetReadEnd());
   });
   EXPECT_TRUE(WriteSaveMessage(pipe.GetWriteEnd(), snapshot.c_str()));
   pipe.CloseWriteEnd();
   reader.join();

   itimerval const never{};
   setitimer(ITIMER_REAL, &never, nullptr);
   sigaction(SIGALRM, &old, nullptr);
   EXPECT_EQ(snapshot.size() + 6, received.size());
   EXPECT_EQ('\0', received.back());
}

TEST(SaveMessageTest, PartialWriteCountsAsSentAndIsNotRetried)
{
   test::Pipe pipe;
   fcntl(pipe.GetWriteEnd(), F_SETFL, O_NONBLOCK);
   int const capacity = fcntl(pipe.GetWriteEnd(), F_GETPIPE_SZ);
   EXPECT_TRUE(WriteSaveMessage(pipe.GetWriteEnd(), std::string(1 << 20, 'x').c_str()));
   pipe.CloseWriteEnd();
   EXPECT_EQ(static_cast<std::size_t>(capacity), ReadAll(pipe.GetReadEnd()).size());
}

TEST(SaveMessageTest, BrokenPipeIsAFailureWithoutASignal)
{
   test::Pipe pipe;
   pipe.CloseReadEnd();
   EXPECT_FALSE(WriteSaveMessage(pipe.GetWriteEnd(), "{}"));
}

TEST(SaveMessageTest, DeadServerDoesNotHoldTheWriterEvenIfItIsAskedAgain)
{
   test::Pipe pipe;
   test::TestProcess server = test::TestProcess::MakeIdle();
   lui::Utils::WatchPeer(pipe.GetWriteEnd(), server.GetPid(), "");
   std::thread killer([&] {
      // A full pipe can't be written, so by then the writer waits.
      pollfd room{pipe.GetWriteEnd(), POLLOUT, 0};
      while (poll(&room, 1, 0) == 1) {
         test::Pause();
      }
      server.Signal(SIGKILL);
   });
   std::string const snapshot(8 << 20, 'x');
   auto const start = std::chrono::steady_clock::now();
   WriteSaveMessage(pipe.GetWriteEnd(), snapshot.c_str());
   killer.join();
   WriteSaveMessage(pipe.GetWriteEnd(), snapshot.c_str());
   EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
   lui::Utils::UnwatchPeer(pipe.GetWriteEnd());
}

} // namespace
