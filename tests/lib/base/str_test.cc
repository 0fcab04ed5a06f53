// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/str.h"

#include "capturedLog.hh"

#include <csignal>
#include <gtest/gtest.h>

namespace {

TEST(StrTest, ATextThatFitsIsWrittenAndCounted)
{
   char buffer[6];
   EXPECT_EQ(5, Str_Sprintf(buffer, sizeof buffer, "%u", 12345u));
   EXPECT_STREQ("12345", buffer);
}

TEST(StrDeathTest, ATextThatLacksRoomForItsNulEndsTheProcess)
{
   base::CapturedLog log;
   char buffer[5];
   EXPECT_EXIT(Str_Sprintf(buffer, sizeof buffer, "%u", 12345u), testing::KilledBySignal(SIGABRT),
               "Str_Sprintf: \"%u\" doesn't fit 5 bytes");
}

} // namespace
