// SPDX-License-Identifier: GPL-2.0-or-later
#include "cui/dlg.hh"

#include "cui/weakPtr.hh"
#include "dlgDouble.hh"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace cui {
namespace {

class DlgTest : public testing::Test {
protected:
   // A dialog of the manager's, itself the manager's window if it is given one.
   DlgDouble* MakeDlg(std::string const& name, DlgMgr* over = nullptr)
   {
      auto* const dlg = new DlgDouble(name, story, over);
      mgr.Own(dlg);
      return dlg;
   }

   Story story;
   DlgMgrDouble mgr{story};
};

TEST_F(DlgTest, KeepOpenLeavesItOnTheScreen)
{
   DlgDouble* const dlg = MakeDlg("dialog");
   dlg->replied.connect([] { return Dlg::KEEP_OPEN; });
   dlg->Reply();

   EXPECT_THAT(story, ElementsAre());
   EXPECT_TRUE(mgr.Owns(dlg));
}

TEST_F(DlgTest, CloseHidesAndEndsIt)
{
   DlgDouble* const dlg = MakeDlg("dialog");
   dlg->replied.connect([] { return Dlg::CLOSE; });
   dlg->Reply();

   EXPECT_THAT(story, ElementsAre("dialog hides", "dialog dies"));
   EXPECT_THAT(mgr.GetDlgs(), ElementsAre());
}

TEST_F(DlgTest, HideKeepsItForLater)
{
   DlgDouble* const dlg = MakeDlg("dialog");
   dlg->replied.connect([] { return Dlg::HIDE; });
   dlg->Reply();

   EXPECT_THAT(story, ElementsAre("dialog hides"));
   EXPECT_TRUE(mgr.Owns(dlg));
}

TEST_F(DlgTest, WithoutAHandlerItStays)
{
   MakeDlg("dialog")->Reply();

   EXPECT_THAT(story, ElementsAre());
}

TEST_F(DlgTest, TheLastHandlerDecides)
{
   DlgDouble* const dlg = MakeDlg("dialog");
   dlg->replied.connect([] { return Dlg::CLOSE; });
   dlg->replied.connect([] { return Dlg::KEEP_OPEN; });
   dlg->Reply();

   EXPECT_THAT(story, ElementsAre());
}

TEST_F(DlgTest, ItsHandlerMayEndItAndStillSayClose)
{
   DlgDouble* const dlg = MakeDlg("dialog");
   dlg->replied.connect([dlg] {
      dlg->DeleteDlg();
      return Dlg::CLOSE;
   });
   dlg->Reply();

   EXPECT_THAT(story, ElementsAre("dialog hides", "dialog dies"));
}

TEST_F(DlgTest, AHeldWeakPointerIsNullBeforeTheOpenerHearsOfTheEnd)
{
   DlgDouble* const dlg = MakeDlg("dialog");
   WeakPtr<DlgDouble> const held(dlg);
   bool wasSet = true;
   dlg->destroyed.connect([&] { wasSet = static_cast<bool>(held); });
   dlg->DeleteDlg();

   EXPECT_FALSE(wasSet);
   EXPECT_FALSE(held);
}

TEST_F(DlgTest, OneThatNobodyOwnsIsOnlyHidden)
{
   {
      DlgDouble dlg("main", story, nullptr);
      dlg.DeleteDlg();
      dlg.DeleteDlg();
      EXPECT_THAT(story, ElementsAre("main hides", "main hides"));
   }
   EXPECT_THAT(story, ElementsAre("main hides", "main hides", "main dies"));
}

TEST_F(DlgTest, TheDialogsOverItDieFirstTheYoungestBeforeTheOthers)
{
   DlgMgrDouble over(story);
   DlgDouble* const parent = MakeDlg("parent", &over);
   over.Own(new DlgDouble("first", story, nullptr));
   over.Own(new DlgDouble("second", story, nullptr));
   parent->DeleteDlg();

   EXPECT_THAT(story, ElementsAre("second hides", "second dies", "first hides", "first dies",
                                  "parent hides", "parent dies"));
}

TEST_F(DlgTest, AReplyMayEndTheDialogBelow)
{
   auto over = std::make_unique<DlgMgrDouble>(story);
   DlgDouble* const parent = MakeDlg("parent", over.get());
   auto* const child = new DlgDouble("child", story, nullptr);
   over->Own(child);
   child->replied.connect([parent] {
      parent->DeleteDlg();
      return Dlg::CLOSE;
   });
   child->Reply();

   EXPECT_THAT(story, ElementsAre("child hides", "child dies", "parent hides", "parent dies"));
}

TEST_F(DlgTest, AHandlerOfItsHidingMayEndIt)
{
   DlgDouble* const dlg = MakeDlg("dialog");
   dlg->hidden.connect([dlg] { dlg->DeleteDlg(); });
   dlg->DeleteDlg();

   EXPECT_THAT(story, ElementsAre("dialog hides", "dialog dies"));
}

TEST_F(DlgTest, AHandlerOfItsHidingMayEndTheDialogBelow)
{
   auto over = std::make_unique<DlgMgrDouble>(story);
   DlgDouble* const parent = MakeDlg("parent", over.get());
   auto* const child = new DlgDouble("child", story, nullptr);
   over->Own(child);
   child->hidden.connect([parent] { parent->DeleteDlg(); });
   child->DeleteDlg();

   EXPECT_THAT(story, ElementsAre("child hides", "child dies", "parent hides", "parent dies"));
}

TEST_F(DlgTest, AListenerToItsEndMayEndTheDialogBelow)
{
   auto over = std::make_unique<DlgMgrDouble>(story);
   DlgDouble* const parent = MakeDlg("parent", over.get());
   auto* const child = new DlgDouble("child", story, nullptr);
   over->Own(child);
   child->destroyed.connect([parent] { parent->DeleteDlg(); });
   child->DeleteDlg();

   EXPECT_THAT(story, ElementsAre("child hides", "child dies", "parent hides", "parent dies"));
}

TEST_F(DlgTest, DeletingItDirectlyTakesItFromItsManager)
{
   delete MakeDlg("dialog");

   EXPECT_THAT(mgr.GetDlgs(), ElementsAre());
   EXPECT_THAT(mgr.counts, ElementsAre(1, 0));
}

} // namespace
} // namespace cui
