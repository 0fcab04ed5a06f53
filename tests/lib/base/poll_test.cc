// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/poll.h"

#include "support/testProcess.hh"

#include <functional>
#include <glib.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vector>

namespace {

gboolean OnDeadline(gpointer passed)
{
   *static_cast<bool*>(passed) = true;
   return G_SOURCE_CONTINUE;
}

// Runs the main loop until the condition holds. False at the deadline.
bool RunUntil(std::function<bool()> const& condition)
{
   bool passed = false;
   guint timer = g_timeout_add(20000, OnDeadline, &passed);
   while (!condition() && !passed) {
      g_main_context_iteration(nullptr, TRUE);
   }
   g_source_remove(timer);
   return condition();
}

// Serves everything that is ready by now.
void RunWhatIsReady()
{
   while (g_main_context_iteration(nullptr, FALSE)) {
   }
}

class PollTest : public testing::Test {
protected:
   ~PollTest() override { Poll_Exit(); }

   static void Count(int fd, void* data) { static_cast<std::vector<int>*>(data)->push_back(fd); }

   int fd() const { return pipe.GetReadEnd(); }
   void MakeReadable() { ASSERT_EQ(1, write(pipe.GetWriteEnd(), "x", 1)); }

   test::Pipe pipe;
   std::vector<int> calls;
};

TEST_F(PollTest, ACallbackComesOnceWhenItsDescriptorIsReadable)
{
   Poll_InitGtk();
   EXPECT_TRUE(Poll_CallbackOnce(fd(), Count, &calls));
   RunWhatIsReady();
   EXPECT_TRUE(calls.empty());

   MakeReadable();
   EXPECT_TRUE(RunUntil([this] { return !calls.empty(); }));
   RunWhatIsReady();
   EXPECT_EQ(std::vector<int>{fd()}, calls);
}

TEST_F(PollTest, TheCloseOfTheOtherEndCounts)
{
   Poll_InitGtk();
   Poll_CallbackOnce(fd(), Count, &calls);
   pipe.CloseWriteEnd();

   EXPECT_TRUE(RunUntil([this] { return !calls.empty(); }));
}

TEST_F(PollTest, ADescriptorThatWasClosedIsCalledOnceAndSpinsNobody)
{
   Poll_InitGtk();
   Poll_CallbackOnce(fd(), Count, &calls);
   pipe.CloseReadEnd();

   EXPECT_TRUE(RunUntil([this] { return !calls.empty(); }));
   RunWhatIsReady();
   EXPECT_EQ(1u, calls.size());
}

TEST_F(PollTest, ACallbackFromBeforeTheJoiningIsServedAfterIt)
{
   EXPECT_TRUE(Poll_CallbackOnce(fd(), Count, &calls));
   MakeReadable();
   RunWhatIsReady();
   EXPECT_TRUE(calls.empty());

   Poll_InitGtk();
   EXPECT_TRUE(RunUntil([this] { return !calls.empty(); }));
}

TEST_F(PollTest, JoiningTwiceIsJoiningOnce)
{
   Poll_CallbackOnce(fd(), Count, &calls);
   Poll_InitGtk();
   Poll_InitGtk();
   MakeReadable();

   EXPECT_TRUE(RunUntil([this] { return !calls.empty(); }));
   RunWhatIsReady();
   EXPECT_EQ(1u, calls.size());
}

TEST_F(PollTest, ASecondCallbackReplacesTheFirst)
{
   std::vector<int> others;
   Poll_InitGtk();
   Poll_CallbackOnce(fd(), Count, &calls);
   Poll_CallbackOnce(fd(), Count, &others);
   MakeReadable();

   EXPECT_TRUE(RunUntil([&others] { return !others.empty(); }));
   RunWhatIsReady();
   EXPECT_TRUE(calls.empty());
   EXPECT_EQ(1u, others.size());
}

TEST_F(PollTest, ACallbackThatWasTakenBackDoesNotCome)
{
   Poll_InitGtk();
   Poll_CallbackOnce(fd(), Count, &calls);
   Poll_CallbackRemove(fd());
   Poll_CallbackRemove(fd());
   MakeReadable();
   RunWhatIsReady();

   EXPECT_TRUE(calls.empty());
}

TEST_F(PollTest, TheEndForgetsAllCallbacks)
{
   Poll_InitGtk();
   Poll_CallbackOnce(fd(), Count, &calls);
   Poll_Exit();
   MakeReadable();
   RunWhatIsReady();
   Poll_InitGtk();
   RunWhatIsReady();

   EXPECT_TRUE(calls.empty());
}

TEST_F(PollTest, ACallbackMayAskForTheNextOne)
{
   struct Reader {
      static void OnReady(int fd, void* data)
      {
         auto* reader = static_cast<Reader*>(data);
         char byte = 0;
         if (read(fd, &byte, 1) == 1) {
            reader->text += byte;
            Poll_CallbackOnce(fd, OnReady, data);
         } else {
            reader->ended = true;
         }
      }
      std::string text;
      bool ended = false;
   } reader;
   Poll_InitGtk();
   Poll_CallbackOnce(fd(), Reader::OnReady, &reader);
   ASSERT_EQ(3, write(pipe.GetWriteEnd(), "abc", 3));
   pipe.CloseWriteEnd();

   EXPECT_TRUE(RunUntil([&reader] { return reader.ended; }));
   EXPECT_EQ("abc", reader.text);
}

TEST_F(PollTest, ACallbackMayEndAllPolling)
{
   Poll_InitGtk();
   bool ended = false;
   Poll_CallbackOnce(
      fd(),
      [](int, void* data) {
         Poll_Exit();
         *static_cast<bool*>(data) = true;
      },
      &ended);
   MakeReadable();

   EXPECT_TRUE(RunUntil([&ended] { return ended; }));
}

TEST_F(PollTest, NothingToWatchOrToCallIsRefused)
{
   EXPECT_FALSE(Poll_CallbackOnce(-1, Count, &calls));
   EXPECT_FALSE(Poll_CallbackOnce(fd(), nullptr, &calls));
}

} // namespace
