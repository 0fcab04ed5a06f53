// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/channelPeer.hh"

#include "deniedCall.hh"
#include "forkedProcess.hh"
#include "lui/channel.hh"
#include "support/rawChannel.hh"
#include "testThread.hh"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/syscall.h>

using lui::Utils::ReceiveData;
using lui::Utils::SendData;
using lui::Utils::UnwatchPeer;
using lui::Utils::WatchPeer;
using test::ForkedProcess;
using test::Milliseconds;
using test::OnceAsleep;
using test::Pipe;

namespace {

constexpr Milliseconds A_SECOND{1000};

int Idle()
{
   for (;;) {
      pause();
   }
}

// A pipe whose other end a process holds. We hold both ends too, so none ever tells of an end.
class ChannelPeerTest : public testing::Test {
protected:
   ~ChannelPeerTest() override
   {
      UnwatchPeer(pipe.GetReadEnd());
      UnwatchPeer(pipe.GetWriteEnd());
   }

   Pipe pipe;
   utf::string text = "before";
};

// Makes a process that isn't our child, as a client isn't its server's, and that nobody who cares
// reaps. It lives as long as the child between us.
struct Stranger {
   Stranger()
      : parent([this] {
           ForkedProcess const child(Idle);
           int const pid = child.GetPid();
           return write(tell.GetWriteEnd(), &pid, sizeof pid) == sizeof pid ? Idle() : 1;
        })
   {
      EXPECT_EQ(static_cast<ssize_t>(sizeof pid), read(tell.GetReadEnd(), &pid, sizeof pid));
   }
   ~Stranger() { kill(pid, SIGKILL); }

   Pipe tell;
   ForkedProcess parent;
   int pid = 0;
};

} // namespace

TEST_F(ChannelPeerTest, AReaderThatWaitsLearnsOfTheEndWithinASecond)
{
   ForkedProcess const peer(Idle);
   WatchPeer(pipe.GetReadEnd(), peer.GetPid(), "");
   OnceAsleep killer([&] { peer.Kill(); });
   EXPECT_FALSE(ReceiveData(pipe.GetReadEnd(), text));
   EXPECT_LT(killer.GetAge(), A_SECOND);
   EXPECT_EQ("before", text);
}

TEST_F(ChannelPeerTest, AProcessThatIsNoChildIsWatchedToo)
{
   Stranger const peer;
   WatchPeer(pipe.GetReadEnd(), peer.pid, "Quit");
   OnceAsleep killer([&] { kill(peer.pid, SIGKILL); });
   EXPECT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
   EXPECT_LT(killer.GetAge(), A_SECOND);
   EXPECT_EQ("Quit", text);
}

TEST_F(ChannelPeerTest, AnEndIsNoticedOnAKernelWithoutADescriptorForIt)
{
   ForkedProcess const reader([this] {
      if (!test::DenyCall(SYS_pidfd_open, ENOSYS)) {
         return 77;
      }
      ForkedProcess const peer(Idle);
      WatchPeer(pipe.GetReadEnd(), peer.GetPid(), "Quit");
      WatchPeer(pipe.GetWriteEnd(), peer.GetPid(), "");
      {
         OnceAsleep killer([&] { peer.Kill(); });
         if (!ReceiveData(pipe.GetReadEnd(), text) || killer.GetAge() >= A_SECOND) {
            return 1;
         }
      }
      return text == "Quit" && !SendData(pipe.GetWriteEnd(), "Load") ? 0 : 2;
   });
   std::optional<int> const status = reader.Reap();
   if (test::ExitedWith(status, 77)) {
      GTEST_SKIP() << "the kernel filters no system calls";
   }
   EXPECT_TRUE(test::ExitedWith(status, 0));
}

TEST_F(ChannelPeerTest, ASenderBeforeAFullPipeLearnsOfTheEndWithinASecond)
{
   ForkedProcess const peer(Idle);
   WatchPeer(pipe.GetWriteEnd(), peer.GetPid(), "");
   OnceAsleep killer([&] { peer.Kill(); });
   EXPECT_FALSE(SendData(pipe.GetWriteEnd(), std::string(1 << 20, 'x').c_str()));
   EXPECT_LT(killer.GetAge(), A_SECOND);
}

TEST_F(ChannelPeerTest, NothingIsSentToAProcessThatHasEnded)
{
   ForkedProcess const peer([] { return 0; });
   peer.WaitForEnd();
   WatchPeer(pipe.GetWriteEnd(), peer.GetPid(), "Quit");
   EXPECT_FALSE(SendData(pipe.GetWriteEnd(), "Load"));
   pollfd entry{pipe.GetReadEnd(), POLLIN, 0};
   EXPECT_EQ(0, poll(&entry, 1, 0));
}

TEST_F(ChannelPeerTest, WhatWasSentBeforeTheEndIsStillReceived)
{
   ForkedProcess const peer([this] {
      return SendData(pipe.GetWriteEnd(), "one") && SendData(pipe.GetWriteEnd(), "two") ? 0 : 1;
   });
   WatchPeer(pipe.GetReadEnd(), peer.GetPid(), "");
   peer.WaitForEnd();
   EXPECT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
   EXPECT_EQ("one", text);
   EXPECT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
   EXPECT_EQ("two", text);
   EXPECT_FALSE(ReceiveData(pipe.GetReadEnd(), text));
}

TEST_F(ChannelPeerTest, WhatIsSentWhileSomebodyWaitsAndRightBeforeTheEndIsReceived)
{
   for (int round = 0; round < 200; ++round) {
      ForkedProcess const peer(
         [this] { return SendData(pipe.GetWriteEnd(), "last words") ? 0 : 1; });
      WatchPeer(pipe.GetReadEnd(), peer.GetPid(), "Quit");
      ASSERT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
      ASSERT_EQ("last words", text);
      ASSERT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
      ASSERT_EQ("Quit", text);
   }
}

TEST_F(ChannelPeerTest, AMessageThatTheEndCutOffIsDropped)
{
   ForkedProcess const peer(
      [this] { return write(pipe.GetWriteEnd(), "Load\0Save\n{\"net", 15) == 15 ? Idle() : 1; });
   WatchPeer(pipe.GetReadEnd(), peer.GetPid(), "");
   ASSERT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
   OnceAsleep killer([&] { peer.Kill(); });
   EXPECT_FALSE(ReceiveData(pipe.GetReadEnd(), text));
   EXPECT_LT(killer.GetAge(), A_SECOND);
   EXPECT_EQ("Load", text);

   // The next peer's messages are its own.
   WatchPeer(pipe.GetReadEnd(), getpid(), "");
   ASSERT_TRUE(SendData(pipe.GetWriteEnd(), "Quit"));
   ASSERT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
   EXPECT_EQ("Quit", text);
}

TEST_F(ChannelPeerTest, TheLastMessageComesWhateverHasBecomeOfTheDescriptor)
{
   ForkedProcess const peer([] { return 0; });
   peer.WaitForEnd();
   int const fd = dup(pipe.GetReadEnd());
   WatchPeer(fd, peer.GetPid(), "Quit");
   close(fd);
   for (int time = 0; time < 3; ++time) {
      text = "before";
      EXPECT_TRUE(ReceiveData(fd, text));
      EXPECT_EQ("Quit", text);
   }
   UnwatchPeer(fd);
}

TEST_F(ChannelPeerTest, TheLastMessageStandsInForWhatTheEndCutOff)
{
   ForkedProcess const peer(
      [this] { return write(pipe.GetWriteEnd(), "Load\0Save\n{\"net", 15) == 15 ? 0 : 1; });
   WatchPeer(pipe.GetReadEnd(), peer.GetPid(), "Quit");
   peer.WaitForEnd();
   ASSERT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
   EXPECT_EQ("Load", text);
   for (int time = 0; time < 3; ++time) {
      text = "before";
      EXPECT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
      EXPECT_EQ("Quit", text);
   }
}

TEST_F(ChannelPeerTest, TheLastMessageComesAtTheEndOfTheFileToo)
{
   ForkedProcess const peer(Idle);
   WatchPeer(pipe.GetReadEnd(), peer.GetPid(), "Quit");
   Pipe other;
   WatchPeer(other.GetReadEnd(), peer.GetPid(), "Quit");
   other.CloseWriteEnd();
   // The peer was forked before this pipe was made, so it doesn't hold it open.
   EXPECT_TRUE(ReceiveData(other.GetReadEnd(), text));
   EXPECT_EQ("Quit", text);
   UnwatchPeer(other.GetReadEnd());
}

TEST_F(ChannelPeerTest, AProcessThatNeverWasHasEnded)
{
   int reaped = 0;
   {
      ForkedProcess const peer([] { return 0; });
      reaped = peer.GetPid();
      peer.Reap();
   }
   for (int pid : {reaped, 0, -1}) {
      WatchPeer(pipe.GetReadEnd(), pid, "Quit");
      EXPECT_TRUE(ReceiveData(pipe.GetReadEnd(), text)) << pid;
      EXPECT_EQ("Quit", text);
      WatchPeer(pipe.GetWriteEnd(), pid, "");
      EXPECT_FALSE(SendData(pipe.GetWriteEnd(), "Load")) << pid;
   }
}

TEST_F(ChannelPeerTest, WithoutALastMessageAskingOnBurnsNoProcessor)
{
   ForkedProcess const peer([] { return 0; });
   WatchPeer(pipe.GetReadEnd(), peer.GetPid(), "");
   auto const end = std::chrono::steady_clock::now() + Milliseconds(500);
   auto const start = test::GetProcessorTime();
   while (std::chrono::steady_clock::now() < end) {
      EXPECT_FALSE(ReceiveData(pipe.GetReadEnd(), text));
   }
   EXPECT_LT(test::GetProcessorTime() - start, Milliseconds(50));
}

TEST_F(ChannelPeerTest, AnEndDuringThePauseAfterAFailureIsNoticed)
{
   ForkedProcess const peer(Idle);
   // Reading from a write end fails whatever the peer does.
   WatchPeer(pipe.GetWriteEnd(), peer.GetPid(), "Quit");
   EXPECT_FALSE(ReceiveData(pipe.GetWriteEnd(), text));
   OnceAsleep killer([&] { peer.Kill(); });
   EXPECT_TRUE(test::Eventually([&] { return ReceiveData(pipe.GetWriteEnd(), text); }, A_SECOND));
   EXPECT_EQ("Quit", text);
}

TEST_F(ChannelPeerTest, OnceUnwatchedTheEndOfAProcessMeansNothing)
{
   ForkedProcess const peer([] { return 0; });
   peer.WaitForEnd();
   WatchPeer(pipe.GetReadEnd(), peer.GetPid(), "Quit");
   WatchPeer(pipe.GetWriteEnd(), peer.GetPid(), "Quit");
   UnwatchPeer(pipe.GetReadEnd());
   UnwatchPeer(pipe.GetWriteEnd());
   ASSERT_TRUE(SendData(pipe.GetWriteEnd(), "Load"));
   ASSERT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
   EXPECT_EQ("Load", text);
}

TEST_F(ChannelPeerTest, AMovedWatchFollowsTheOtherProcess)
{
   ForkedProcess const first(Idle);
   ForkedProcess const second(Idle);
   WatchPeer(pipe.GetReadEnd(), first.GetPid(), "Quit");
   lui::ChannelEnds::Get().MovePeer(first.GetPid(), second.GetPid());
   EXPECT_EQ(std::set<int>{second.GetPid()}, lui::ChannelEnds::Get().Peers());

   first.Kill();
   first.WaitForEnd();
   ASSERT_TRUE(SendData(pipe.GetWriteEnd(), "Load"));
   ASSERT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
   EXPECT_EQ("Load", text);

   OnceAsleep killer([&] { second.Kill(); });
   EXPECT_TRUE(ReceiveData(pipe.GetReadEnd(), text));
   EXPECT_EQ("Quit", text);
}

TEST_F(ChannelPeerTest, OnlyDescriptorsToReadFromAreInputs)
{
   ForkedProcess const peer(Idle);
   WatchPeer(pipe.GetReadEnd(), peer.GetPid(), "");
   WatchPeer(pipe.GetWriteEnd(), peer.GetPid(), "");
   EXPECT_EQ(std::vector<int>{pipe.GetReadEnd()},
             lui::ChannelEnds::Get().InputsFrom(peer.GetPid()));
   EXPECT_TRUE(lui::ChannelEnds::Get().InputsFrom(getpid()).empty());
}
