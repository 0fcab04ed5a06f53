// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/watch/pace.hh"

#include <gtest/gtest.h>
#include <vector>

namespace vnet::watch {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class PaceTest : public testing::Test {
protected:
   Clock::time_point const begin{seconds(1000)};
   Clock::time_point now = begin;
   Pace pace{seconds(30)};

   // Waits until an answer is due, gives it, and returns how long it took.
   milliseconds Answer()
   {
      auto const due = pace.GetDue().value();
      auto const waited = std::chrono::duration_cast<milliseconds>(due - now);
      now = due;
      pace.Answer(now);
      return waited;
   }
};

TEST_F(PaceTest, NothingIsDueBeforeAnythingHappens)
{
   EXPECT_FALSE(pace.GetDue());
   EXPECT_FALSE(pace.IsDue(now + seconds(3600)));
}

TEST_F(PaceTest, TheFirstEventIsAnsweredWhenItsRowHadTimeToCome)
{
   pace.Note(now);
   EXPECT_FALSE(pace.IsDue(now));
   EXPECT_TRUE(pace.IsDue(now + Pace::settling));
}

TEST_F(PaceTest, EventsThatGoOnDoNotPutTheAnswerOff)
{
   pace.Note(now);
   auto const due = pace.GetDue();
   pace.Note(now + milliseconds(4));
   EXPECT_EQ(due, pace.GetDue());
}

TEST_F(PaceTest, AnAnswerLeavesNothingDue)
{
   pace.Note(now);
   Answer();
   EXPECT_FALSE(pace.GetDue());
}

TEST_F(PaceTest, AnswersOfARowKeepADistanceThatDoubles)
{
   std::vector<milliseconds> waited;
   for (int i = 0; i < 6; ++i) {
      pace.Note(now);
      waited.push_back(Answer());
   }
   std::vector<milliseconds> const expected{milliseconds(5),   milliseconds(50),
                                            milliseconds(100), milliseconds(200),
                                            milliseconds(400), milliseconds(800)};
   EXPECT_EQ(expected, waited);
}

TEST_F(PaceTest, TheDistanceHasALimit)
{
   Pace brisk(milliseconds(500));
   std::size_t answers = 0;
   for (; now < begin + seconds(10); now += milliseconds(1)) {
      brisk.Note(now);
      if (brisk.IsDue(now)) {
         brisk.Answer(now);
         ++answers;
      }
   }
   EXPECT_EQ(milliseconds(500), brisk.GetGap());
   EXPECT_GE(answers, 20u);
   EXPECT_LE(answers, 26u);
}

TEST_F(PaceTest, AStormOfMinutesIsAnsweredAFewTimes)
{
   std::size_t answers = 0;
   for (; now < begin + seconds(120); now += milliseconds(1)) {
      pace.Note(now);
      if (pace.IsDue(now)) {
         pace.Answer(now);
         ++answers;
      }
   }
   EXPECT_LE(answers, 14u);
   EXPECT_EQ(seconds(30), pace.GetGap());
}

TEST_F(PaceTest, AnEventAfterTheGapHasPassedIsAnsweredAtOnce)
{
   pace.Note(now);
   Answer();
   now += milliseconds(60);
   pace.Note(now);
   EXPECT_EQ(Pace::settling, Answer());
}

TEST_F(PaceTest, ARestEndsARow)
{
   for (int i = 0; i < 5; ++i) {
      pace.Note(now);
      Answer();
   }
   auto const gap = pace.GetGap();
   ASSERT_EQ(milliseconds(800), gap);
   now += Pace::rest + 2 * gap + milliseconds(1);
   pace.Note(now);
   EXPECT_EQ(Pace::settling, Answer());
   EXPECT_EQ(Pace::shortestGap, pace.GetGap());
}

TEST_F(PaceTest, AShorterRestEndsNone)
{
   for (int i = 0; i < 5; ++i) {
      pace.Note(now);
      Answer();
   }
   now += Pace::rest;
   pace.Note(now);
   Answer();
   EXPECT_EQ(milliseconds(1600), pace.GetGap());
}

TEST_F(PaceTest, StartingOverForgetsRowAndEvent)
{
   for (int i = 0; i < 5; ++i) {
      pace.Note(now);
      Answer();
   }
   pace.Note(now);
   pace.StartOver();
   EXPECT_FALSE(pace.GetDue());
   pace.Note(now);
   EXPECT_EQ(Pace::settling, Answer());
}

} // namespace

} // namespace vnet::watch
