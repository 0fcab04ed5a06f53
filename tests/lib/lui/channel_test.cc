// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/channel.hh"

#include "forkedProcess.hh"
#include "rawBytes.hh"
#include "support/rawChannel.hh"
#include "testThread.hh"

#include <fcntl.h>
#include <gtest/gtest.h>

using lui::Utils::ReceiveData;
using lui::Utils::SendData;
using lui::Utils::WaitForMessageFromServer;
using test::ForkedProcess;
using test::Pipe;
using test::ReadBytes;
using test::WriteBytes;

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
