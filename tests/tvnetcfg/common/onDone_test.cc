// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/onDone.hh"

#include "tvnetcfg/common/refusals.hh"

#include <gtest/gtest.h>

namespace netcfg::common {

TEST(OnDoneTest, ARefusalCallsTheSlotOnceWithFalseAndTheMessage)
{
   Refusals refusals;

   Refuse(refusals.Slot(), "No.");

   EXPECT_EQ(0, refusals.successes);
   EXPECT_EQ(std::vector<std::string>{"No."}, refusals.messages);
}

TEST(OnDoneTest, AnEmptySlotMakesTheRefusalSilent)
{
   EXPECT_NO_THROW(Refuse(OnDone(), "No."));
}

TEST(OnDoneTest, ABlockedSlotMakesTheRefusalSilent)
{
   Refusals refusals;
   OnDone slot = refusals.Slot();
   slot.block();

   Refuse(slot, "No.");

   EXPECT_TRUE(refusals.messages.empty());
}

} // namespace netcfg::common
