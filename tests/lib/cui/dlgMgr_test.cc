// SPDX-License-Identifier: GPL-2.0-or-later
#include "cui/dlgMgr.hh"

#include "dlgDouble.hh"

#include <gmock/gmock.h>

#include <memory>

using testing::ElementsAre;

namespace cui {
namespace {

TEST(DlgMgrTest, EndsItsDialogsWithItself)
{
   Story story;
   {
      DlgMgrDouble mgr(story);
      mgr.Own(new DlgDouble("dialog", story, nullptr));
   }

   EXPECT_THAT(story, ElementsAre("dialog hides", "dialog dies"));
}

TEST(DlgMgrTest, OwnsADialogOnceAndNoOtherManagerDoes)
{
   Story story;
   DlgMgrDouble mgr(story);
   DlgMgrDouble other(story);
   auto* const dlg = new DlgDouble("dialog", story, nullptr);

   EXPECT_TRUE(mgr.Own(dlg));
   EXPECT_FALSE(mgr.Own(dlg));
   EXPECT_FALSE(other.Own(dlg));
   EXPECT_FALSE(mgr.Own(nullptr));
   EXPECT_TRUE(mgr.Owns(dlg));
   EXPECT_FALSE(other.Owns(dlg));
   EXPECT_FALSE(mgr.Owns(nullptr));
   EXPECT_THAT(mgr.counts, ElementsAre(1));
}

TEST(DlgMgrTest, TheAbortSlotShowsAModalErrorWithTheErrorsText)
{
   Story story;
   DlgMgrDouble mgr(story);
   mgr.MakeAbortSlot("%s")(false, Error("100 % <b>used</b>"));

   EXPECT_THAT(story, ElementsAre("error [100 % <b>used</b>] shows"));
   EXPECT_TRUE(mgr.wasModal);
}

TEST(DlgMgrTest, TheAbortSlotAppliesItsFormat)
{
   Story story;
   DlgMgrDouble mgr(story);
   mgr.MakeAbortSlot("Not saved: %s.")(false, Error("full"));

   EXPECT_THAT(story, ElementsAre("error [Not saved: full.] shows"));
}

TEST(DlgMgrTest, TheAbortSlotIsSilentAboutSuccess)
{
   Story story;
   DlgMgrDouble mgr(story);
   mgr.MakeAbortSlot("%s")(true, Error("no"));

   EXPECT_THAT(story, ElementsAre());
}

TEST(DlgMgrTest, TheAbortSlotIsEmptyOnceTheManagerIsGone)
{
   Story story;
   auto mgr = std::make_unique<DlgMgrDouble>(story);
   sigc::slot<void, bool, Error const&> const slot = mgr->MakeAbortSlot("%s");
   sigc::slot<void, bool, Error const&> const copy = slot;
   EXPECT_FALSE(copy.empty());
   mgr.reset();

   EXPECT_TRUE(slot.empty());
   EXPECT_TRUE(copy.empty());
   copy(false, Error("too late"));
   EXPECT_THAT(story, ElementsAre());
}

TEST(DlgMgrTest, SaysThatItHasNoSpecialDialogs)
{
   Story story;
   DlgMgrDouble mgr(story);

   EXPECT_EQ(nullptr, mgr.NewPassword("text"));
   EXPECT_EQ(nullptr, mgr.NewChangePassword("text"));
   EXPECT_EQ(nullptr, mgr.NewProgress("text"));
   EXPECT_EQ(nullptr, mgr.NewProgressFromProgress(nullptr));
   EXPECT_EQ(nullptr, mgr.NewFileBrowser("title"));
}

} // namespace
} // namespace cui
