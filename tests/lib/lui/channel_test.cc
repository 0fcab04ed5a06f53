// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/channel.hh"

#include "deniedCall.hh"
#include "forkedProcess.hh"
#include "support/rawChannel.hh"
#include "testThread.hh"

#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/syscall.h>

using lui::Utils::ReceiveData;
using lui::Utils::SendData;
using lui::Utils::WaitForMessageFromServer;
using test::ForkedProcess;
using test::IntervalTimer;
using test::Pipe;

namespace {

constexpr std::size_t MEBIBYTE = 1024 * 1024;

std::string ReadBytes(int fd, std::size_t count)
{
   std::string bytes(count, '?');
   ssize_t const got = read(fd, bytes.data(), count);
   return bytes.substr(0, static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
}

bool WriteBytes(int fd, std::string_view bytes)
{
   while (!bytes.empty()) {
      ssize_t const sent = write(fd, bytes.data(), bytes.size());
      if (sent < 0) {
         return false;
      }
      bytes.remove_prefix(static_cast<std::size_t>(sent));
   }
   return true;
}

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

TEST(ChannelTest, AMessageOnTheWireIsItsBytesAndOneNul)
{
   Pipe pipe;
   ASSERT_TRUE(SendData(pipe.GetWriteEnd(), "Fail\nB\u00fcro"));
   EXPECT_EQ(std::string("Fail\nB\xc3\xbcro\0", 11), ReadBytes(pipe.GetReadEnd(), 100));
}

TEST(ChannelTest, AnEmptyMessageIsOneNul)
{
   Pipe pipe;
   ASSERT_TRUE(SendData(pipe.GetWriteEnd(), ""));
   EXPECT_EQ(std::string("\0", 1), ReadBytes(pipe.GetReadEnd(), 100));
}

TEST(ChannelTest, AnEmptyMessageIsReceivedAsSuch)
{
   Pipe pipe;
   ASSERT_TRUE(SendData(pipe.GetWriteEnd(), ""));
   utf::string text = "before";
   EXPECT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
   EXPECT_EQ("", text);
}

TEST(ChannelTest, ATextWithANulInsideIsNotSentAsTwoMessages)
{
   Pipe pipe;
   EXPECT_FALSE(SendData(pipe.GetWriteEnd(), utf::string("Load\0Quit", 9)));
   EXPECT_EQ(0, fcntl(pipe.GetReadEnd(), F_SETFL, O_NONBLOCK));
   EXPECT_EQ("", ReadBytes(pipe.GetReadEnd(), 100));
}

TEST(ChannelTest, APlainWriteOfTextAndNulIsReceived)
{
   Pipe pipe;
   utf::string const sent = "Save\n{\"networks\":\"\"}\n";
   ASSERT_EQ(static_cast<ssize_t>(sent.size() + 1),
             write(pipe.GetWriteEnd(), sent.c_str(), sent.size() + 1));
   utf::string text;
   ASSERT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
   EXPECT_EQ(sent, text);
}

TEST(ChannelTest, TwoMessagesInOneWriteAreReceivedOneByOne)
{
   Pipe pipe;
   ASSERT_TRUE(WriteBytes(pipe.GetWriteEnd(), std::string_view("Fail\nAre you root?\0{}\n\0", 23)));
   utf::string first;
   utf::string second;
   ASSERT_TRUE(ReceiveData(pipe.GetReadEnd(), first));
   ASSERT_TRUE(ReceiveData(pipe.GetReadEnd(), second));
   EXPECT_EQ("Fail\nAre you root?", first);
   EXPECT_EQ("{}\n", second);
}

TEST(ChannelTest, AMessageThatComesByteForByteIsReceivedWhole)
{
   Pipe pipe;
   std::string const sent = "Save\nB\u00fcro \u20ac";
   ForkedProcess const writer([&] {
      for (std::size_t at = 0; at <= sent.size(); ++at) {
         usleep(1000);
         WriteBytes(pipe.GetWriteEnd(), std::string_view(sent.c_str() + at, 1));
      }
      return 0;
   });
   utf::string text;
   ASSERT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
   EXPECT_EQ(sent.c_str(), text);
}

TEST(ChannelTest, ManySmallMessagesComeInOrder)
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

TEST(ChannelTest, WhatANewFileOfTheSameNumberYieldsIsNotMixedWithTheOldOnes)
{
   utf::string text;
   int number = 0;
   {
      Pipe old;
      number = old.GetReadEnd();
      ASSERT_TRUE(WriteBytes(old.GetWriteEnd(), std::string_view("one\0two\0", 8)));
      ASSERT_TRUE(ReceiveData(number, text));
   }
   Pipe pipe;
   ASSERT_EQ(number, pipe.GetReadEnd());
   ASSERT_TRUE(test::WriteMessage(pipe.GetWriteEnd(), "new"));
   ASSERT_TRUE(ReceiveData(number, text));
   EXPECT_EQ("new", text);
}

TEST(ChannelTest, TheEndOfTheWatchForgetsWhatWasReadAhead)
{
   Pipe pipe;
   ASSERT_TRUE(WriteBytes(pipe.GetWriteEnd(), std::string_view("one\0two\0", 8)));
   utf::string text;
   ASSERT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
   lui::Utils::UnwatchPeer(pipe.GetReadEnd());
   ASSERT_TRUE(test::WriteMessage(pipe.GetWriteEnd(), "three"));
   ASSERT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
   EXPECT_EQ("three", text);
}

TEST(ChannelTest, EightMebibytesGoThroughWhole)
{
   Pipe pipe;
   std::string const sent = MakeText(8 * MEBIBYTE);
   ForkedProcess const sender([&] { return SendData(pipe.GetWriteEnd(), sent.c_str()) ? 0 : 1; });
   utf::string text;
   ASSERT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
   EXPECT_TRUE(text == sent.c_str());
   EXPECT_TRUE(test::ExitedWith(sender.Reap(), 0));
}

TEST(ChannelTest, ReceivingTakesTimeInProportionToTheLength)
{
   double const small = MeasureReceiving(1 * MEBIBYTE);
   double const large = MeasureReceiving(16 * MEBIBYTE);
   // 16 times as long; with anything quadratic, 256 times.
   EXPECT_LT(large, 80 * small);
}

TEST(ChannelTest, ReceivingGoesOnAfterInterruptions)
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

TEST(ChannelTest, SendingGoesOnAfterInterruptions)
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

TEST(ChannelTest, SendingLeavesTheModeOfTheDescriptor)
{
   Pipe pipe;
   int const before = fcntl(pipe.GetWriteEnd(), F_GETFL);
   ASSERT_TRUE(SendData(pipe.GetWriteEnd(), "Load"));
   EXPECT_EQ(before, fcntl(pipe.GetWriteEnd(), F_GETFL));

   ASSERT_EQ(0, fcntl(pipe.GetWriteEnd(), F_SETFL, before | O_NONBLOCK));
   ASSERT_TRUE(SendData(pipe.GetWriteEnd(), "Load"));
   EXPECT_EQ(before | O_NONBLOCK, fcntl(pipe.GetWriteEnd(), F_GETFL));
}

TEST(ChannelTest, DescriptorsThatDontBlockAreWaitedForAllTheSame)
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

TEST(ChannelTest, SendingDoesNotBlockWhereTheModeCannotBeChanged)
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

TEST(ChannelTest, APipeWithoutAReaderFailsTheSendAndRaisesNothing)
{
   ForkedProcess const sender([] {
      signal(SIGPIPE, SIG_DFL);
      Pipe pipe;
      pipe.CloseReadEnd();
      return SendData(pipe.GetWriteEnd(), "Load") ? 1 : 0;
   });
   EXPECT_TRUE(test::ExitedWith(sender.Reap(), 0));
}

TEST(ChannelTest, ASignalThatWasPendingBeforeTheSendStaysPending)
{
   sigset_t pipeSignal;
   sigset_t oldMask;
   sigemptyset(&pipeSignal);
   sigaddset(&pipeSignal, SIGPIPE);
   ASSERT_EQ(0, pthread_sigmask(SIG_BLOCK, &pipeSignal, &oldMask));
   raise(SIGPIPE);
   Pipe pipe;
   EXPECT_TRUE(SendData(pipe.GetWriteEnd(), "Load"));

   timespec const noTime{};
   EXPECT_EQ(SIGPIPE, sigtimedwait(&pipeSignal, nullptr, &noTime));
   pthread_sigmask(SIG_SETMASK, &oldMask, nullptr);
}

TEST(ChannelTest, BadDescriptorsFail)
{
   Pipe pipe;
   utf::string text = "before";
   for (int fd : {-1, 1000000, pipe.GetWriteEnd()}) {
      EXPECT_FALSE(ReceiveData(fd, text)) << fd;
   }
   for (int fd : {-1, 1000000, pipe.GetReadEnd()}) {
      EXPECT_FALSE(SendData(fd, "Load")) << fd;
   }
   EXPECT_EQ("before", text);
}

TEST(ChannelTest, TheEndOfTheFileFailsAndDropsTheIncompleteMessage)
{
   Pipe pipe;
   ASSERT_TRUE(WriteBytes(pipe.GetWriteEnd(), std::string_view("Load\0Sav", 8)));
   pipe.CloseWriteEnd();
   utf::string text;
   EXPECT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
   EXPECT_FALSE(ReceiveData(pipe.GetReadEnd(), text));
   EXPECT_EQ("Load", text);
}

TEST(ChannelTest, AskingInSpiteOfFailuresBurnsNoProcessor)
{
   Pipe ended;
   ended.CloseWriteEnd();
   for (int fd : {ended.GetReadEnd(), 1000000, -1}) {
      auto const end = std::chrono::steady_clock::now() + test::Milliseconds(500);
      auto const start = test::GetProcessorTime();
      int calls = 0;
      for (utf::string text; std::chrono::steady_clock::now() < end; ++calls) {
         EXPECT_FALSE(ReceiveData(fd, text));
      }
      EXPECT_LT(test::GetProcessorTime() - start, test::Milliseconds(50)) << fd;
      EXPECT_LT(calls, 10) << fd;
   }
}

TEST(ChannelTest, AMessageAfterFailuresIsReceivedAtOnce)
{
   test::TempDir const dir;
   int const fd = open(dir.Write("messages", "").c_str(), O_RDONLY | O_CLOEXEC);
   utf::string text;
   for (int failure = 0; failure < 3; ++failure) {
      EXPECT_FALSE(ReceiveData(fd, text));
   }
   dir.Write("messages", std::string("Load\0Quit\0", 10));
   EXPECT_TRUE(ReceiveData(fd, text));
   EXPECT_EQ("Load", text);
   EXPECT_TRUE(ReceiveData(fd, text));
   EXPECT_EQ("Quit", text);
   lui::Utils::UnwatchPeer(fd);
   close(fd);
}

TEST(ChannelTest, AMessageWithoutMemoryForItIsReadToItsEndAndDropped)
{
#ifdef __SANITIZE_ADDRESS__
   GTEST_SKIP() << "the address sanitizer needs more address space than this test allows";
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

TEST(ChannelTest, TheGreetingIsTheOneThatIsExpected)
{
   Pipe pipe;
   ASSERT_TRUE(SendData(pipe.GetWriteEnd(), "Hello World!"));
   EXPECT_TRUE(WaitForMessageFromServer(pipe.GetReadEnd(), "Hello World!"));
   ASSERT_TRUE(SendData(pipe.GetWriteEnd(), "Hello World"));
   EXPECT_FALSE(WaitForMessageFromServer(pipe.GetReadEnd(), "Hello World!"));
   pipe.CloseWriteEnd();
   EXPECT_FALSE(WaitForMessageFromServer(pipe.GetReadEnd(), ""));
}
