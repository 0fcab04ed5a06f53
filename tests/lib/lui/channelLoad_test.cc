// SPDX-License-Identifier: GPL-2.0-or-later
// The channel with long messages, interruptions, descriptors that don't block and too little
// memory.
#include "deniedCall.hh"
#include "forkedProcess.hh"
#include "lui/channel.hh"
#include "rawBytes.hh"
#include "support/rawChannel.hh"
#include "testThread.hh"

#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/syscall.h>

using lui::Utils::ReceiveData;
using lui::Utils::SendData;
using test::ForkedProcess;
using test::IntervalTimer;
using test::Pipe;
using test::ReadBytes;
using test::WriteBytes;

namespace {

constexpr std::size_t MEBIBYTE = 1024 * 1024;

// With characters of one to four bytes, and no period that divides a buffer.
std::string MakeText(std::size_t bytes)
{
   constexpr std::string_view PIECE = "{\"B\u00fcro\" \u20ac \U0001F600 tvnet}";
   std::string text;
   while (text.size() + PIECE.size() <= bytes) {
      text += PIECE;
   }
   return text.append(bytes - text.size(), '.');
}

// Processor time to receive one message of that many bytes, the shortest of some.
double MeasureReceiving(std::size_t bytes)
{
   double best = 1e9;
   for (int run = 0; run < 5; ++run) {
      Pipe pipe;
      ForkedProcess const writer(
         [&] { return test::WriteMessage(pipe.GetWriteEnd(), std::string(bytes, 'x')) ? 0 : 1; });
      utf::string text;
      auto const start = test::GetProcessorTime();
      EXPECT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
      best =
         std::min(best, std::chrono::duration<double>(test::GetProcessorTime() - start).count());
      EXPECT_EQ(bytes, text.bytes());
   }
   return best;
}

} // namespace

TEST(ChannelLoadTest, ManySmallMessagesComeInOrder)
{
   constexpr int COUNT = 100000;
   Pipe pipe;
   ForkedProcess const writer([&] {
      std::string all;
      for (int number = 0; number < COUNT; ++number) {
         all += std::to_string(number) + '\0';
      }
      return WriteBytes(pipe.GetWriteEnd(), all) ? 0 : 1;
   });
   utf::string text;
   int number = 0;
   while (number < COUNT && ReceiveData(pipe.GetReadEnd(), text) && text == utf::IntToStr(number)) {
      ++number;
   }
   EXPECT_EQ(COUNT, number);
}

TEST(ChannelLoadTest, EightMebibytesGoThroughWhole)
{
   Pipe pipe;
   std::string const sent = MakeText(8 * MEBIBYTE);
   ForkedProcess const sender([&] { return SendData(pipe.GetWriteEnd(), sent.c_str()) ? 0 : 1; });
   utf::string text;
   ASSERT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
   EXPECT_TRUE(text == sent.c_str());
   EXPECT_TRUE(test::ExitedWith(sender.Reap(), 0));
}

TEST(ChannelLoadTest, ReceivingTakesTimeInProportionToTheLength)
{
   double const small = MeasureReceiving(1 * MEBIBYTE);
   double const large = MeasureReceiving(16 * MEBIBYTE);
   // 16 times as long; with anything quadratic, 256 times.
   EXPECT_LT(large, 80 * small);
}

TEST(ChannelLoadTest, ReceivingGoesOnAfterInterruptions)
{
   Pipe pipe;
   std::string const sent = MakeText(8 * MEBIBYTE);
   ForkedProcess const writer([&] {
      for (std::size_t at = 0; at < sent.size(); at += 65536) {
         usleep(500);
         WriteBytes(pipe.GetWriteEnd(), std::string_view(sent).substr(at, 65536));
      }
      return test::WriteMessage(pipe.GetWriteEnd(), "") ? 0 : 1;
   });
   IntervalTimer const timer;
   utf::string text;
   ASSERT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
   EXPECT_TRUE(text == sent.c_str());
   EXPECT_GT(timer.GetCount(), 5);
}

TEST(ChannelLoadTest, SendingGoesOnAfterInterruptions)
{
   Pipe pipe;
   std::string const sent = MakeText(8 * MEBIBYTE);
   ForkedProcess const reader([&] {
      std::string got;
      while (got.size() <= sent.size()) {
         usleep(500);
         got += ReadBytes(pipe.GetReadEnd(), 65536);
      }
      return got == sent + '\0' ? 0 : 1;
   });
   IntervalTimer const timer;
   ASSERT_TRUE(SendData(pipe.GetWriteEnd(), sent.c_str()));
   EXPECT_GT(timer.GetCount(), 5);
   EXPECT_TRUE(test::ExitedWith(reader.Reap(), 0));
}

TEST(ChannelLoadTest, DescriptorsThatDontBlockAreWaitedForAllTheSame)
{
   Pipe pipe;
   fcntl(pipe.GetReadEnd(), F_SETFL, O_NONBLOCK);
   fcntl(pipe.GetWriteEnd(), F_SETFL, O_NONBLOCK);
   std::string const sent = MakeText(MEBIBYTE);
   ForkedProcess const sender([&] {
      usleep(20000);
      return SendData(pipe.GetWriteEnd(), sent.c_str()) ? 0 : 1;
   });
   utf::string text;
   ASSERT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
   EXPECT_TRUE(text == sent.c_str());
   EXPECT_TRUE(test::ExitedWith(sender.Reap(), 0));
}

TEST(ChannelLoadTest, SendingDoesNotBlockWhereTheModeCannotBeChanged)
{
   Pipe pipe;
   // A write of more than PIPE_BUF bytes would block here, and the peer's end go unnoticed.
   ForkedProcess const sender([&] {
      ForkedProcess const peer([] { return pause(); });
      lui::Utils::WatchPeer(pipe.GetWriteEnd(), peer.GetPid(), "");
      if (!test::DenyCall(SYS_fcntl, EPERM, F_SETFL)) {
         return 77;
      }
      test::OnceAsleep killer([&] { peer.Kill(); });
      bool const isSent = SendData(pipe.GetWriteEnd(), MakeText(MEBIBYTE).c_str());
      return !isSent && killer.GetAge() < test::Milliseconds(1000) ? 0 : 1;
   });
   std::optional<int> const status = sender.Reap();
   if (test::ExitedWith(status, 77)) {
      GTEST_SKIP() << "the kernel filters no system calls";
   }
   EXPECT_TRUE(test::ExitedWith(status, 0));
}

TEST(ChannelLoadTest, AMessageWithoutMemoryForItIsReadToItsEndAndDropped)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
   GTEST_SKIP() << "the sanitizer needs more address space than this test allows";
#endif
   Pipe pipe;
   ForkedProcess const writer([&] {
      return test::WriteMessage(pipe.GetWriteEnd(), std::string(64 * MEBIBYTE, 'x')) &&
                   test::WriteMessage(pipe.GetWriteEnd(), "Quit")
                ? 0
                : 1;
   });
   ForkedProcess const receiver([&] {
      utf::string text = "before";
      rlim_t pages = 0;
      std::ifstream("/proc/self/statm") >> pages;
      rlimit const limit{pages * 4096 + 16 * MEBIBYTE, RLIM_INFINITY};
      if (setrlimit(RLIMIT_AS, &limit) != 0) {
         return 1;
      }
      if (ReceiveData(pipe.GetReadEnd(), text) || text != "before") {
         return 2;
      }
      return ReceiveData(pipe.GetReadEnd(), text) && text == "Quit" ? 0 : 3;
   });
   EXPECT_EQ(0, WEXITSTATUS(receiver.Reap().value_or(-1)));
   EXPECT_TRUE(test::ExitedWith(writer.Reap(), 0));
}
