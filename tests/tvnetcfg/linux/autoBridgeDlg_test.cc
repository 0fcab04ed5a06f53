// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/linux/autoBridgeDlg.hh"

#include "dialogTest.hh"
#include "tvnetcfg/common/bridge.hh"

#include <gmock/gmock.h>

namespace netcfg {
namespace {

using common::Network;
using test::gtk::ClickToggle;
using test::gtk::CountRows;
using test::gtk::FindWindow;
using test::gtk::GetSelectedRow;
using test::gtk::ReadRow;
using testing::ElementsAre;

char const SELECT_ONE[] =
   "You must select at least one host network adapter to automatically bridge to.";

// The automatic network tvnet0 has eth0 and eth2; tvnet2 has eth1; wlan0 is free.
class AutoBridgeDlgTest : public DialogTest {
protected:
   AutoBridgeDlgTest()
   {
      AddAdapters({"eth0", "eth1", "eth2", "wlan0"});
      editable->AddNetwork(Network::Bridged, 2, false, {})->GetBridge()->SetAdapter("eth1", {});
      editable->AddNetwork(Network::Bridged, 0, false, {})->GetBridge()->SetAuto(false, {});
      GetBridge().AddAutoAdapter("eth0", {});
      GetBridge().AddAutoAdapter("eth2", {});
   }

   void AddAdapters(std::vector<char const*> const& names)
   {
      for (char const* const name : names) {
         editable->AddHostAdapter(name, "");
      }
   }

   AutoBridgeDlg& OpenDlg() { return Open(new AutoBridgeDlg(editable.get())); }
   Gtk::TreeView& GetView() { return *test::gtk::FindAll<Gtk::TreeView>(GetWindow()).at(0); }
   common::Bridge& GetBridge() { return *editable->GetNetwork(0)->GetBridge(); }
   Network* GetUser(char const* adapter) { return editable->GetNetworkForAdapter(adapter); }
   Network* GetAuto() { return editable->GetNetwork(0); }
};

class AutoBridgeDlgWithoutAdaptersTest : public DialogTest {
protected:
   AutoBridgeDlgWithoutAdaptersTest()
   {
      editable->AddNetwork(Network::Bridged, 0, false, {})->GetBridge()->SetAuto(false, {});
   }
};

class AutoBridgeDlgWithoutAutoNetworkTest : public DialogTest {
protected:
   AutoBridgeDlgWithoutAutoNetworkTest() { editable->AddHostAdapter("eth0", ""); }
};

TEST_F(AutoBridgeDlgTest, ListsTheAdaptersWithTheirNetworks)
{
   OpenDlg();

   EXPECT_EQ("Automatic Bridging Settings", GetWindow().get_title());
   ASSERT_EQ(4, CountRows(GetView()));
   EXPECT_THAT(ReadRow(GetView(), 0), ElementsAre("x", "eth0", ""));
   EXPECT_THAT(ReadRow(GetView(), 1), ElementsAre("-", "eth1", "(Bridged to tvnet2)"));
   EXPECT_THAT(ReadRow(GetView(), 2), ElementsAre("x", "eth2", ""));
   EXPECT_THAT(ReadRow(GetView(), 3), ElementsAre("-", "wlan0", ""));
   EXPECT_FALSE(GetView().get_headers_visible());
}

TEST_F(AutoBridgeDlgTest, StartsInTheListOnTheFirstRow)
{
   OpenDlg();

   EXPECT_EQ(GetWindow().get_focus(), &GetView());
   EXPECT_EQ(0, GetSelectedRow(GetView()));
   EXPECT_EQ("Automatically bridge to one of these host network adapters:",
             test::gtk::ReadAccessibleName(GetView()));
   int width = 0;
   int height = 0;
   GetWindow().get_default_size(width, height);
   EXPECT_EQ(290, width);
   EXPECT_EQ(250, height);
}

TEST_F(AutoBridgeDlgTest, AnAdapterOfAnotherNetworkIsGreyAndCannotBeTicked)
{
   OpenDlg();
   Gtk::TreeViewColumn& column = *GetView().get_column(0);
   column.cell_set_cell_data(GetView().get_model(), GetView().get_model()->get_iter("1"), false,
                             false);
   for (Gtk::CellRenderer* const cell : column.get_cells()) {
      if (auto const* const text = dynamic_cast<Gtk::CellRendererText*>(cell)) {
         EXPECT_FALSE(text->property_sensitive());
      }
   }

   ClickToggle(GetView(), 1);

   EXPECT_EQ(editable->GetNetwork(2), GetUser("eth1"));
   EXPECT_EQ("-", ReadRow(GetView(), 1).front());
   EXPECT_FALSE(SeesError());
}

TEST_F(AutoBridgeDlgTest, ATickMovesAFreeAdapterAtOnce)
{
   OpenDlg();
   int heard = 0;
   GetAuto()->changed.connect([&heard] { ++heard; });

   ClickToggle(GetView(), 3);

   EXPECT_EQ(GetAuto(), GetUser("wlan0"));
   EXPECT_EQ(1, heard);
   EXPECT_THAT(ReadRow(GetView(), 3), ElementsAre("x", "wlan0", ""));
   EXPECT_TRUE(IsOpen());
}

TEST_F(AutoBridgeDlgTest, NothingTakesATickBackButUnticking)
{
   OpenDlg();
   ClickToggle(GetView(), 3);
   Press(GDK_KEY_Escape);

   EXPECT_FALSE(IsOpen());
   EXPECT_EQ(GetAuto(), GetUser("wlan0"));

   OpenDlg();
   ClickToggle(GetView(), 3);
   EXPECT_FALSE(GetUser("wlan0"));
   EXPECT_EQ("-", ReadRow(GetView(), 3).front());
}

TEST_F(AutoBridgeDlgTest, TheKeyboardTicksTheRowThatItIsOn)
{
   OpenDlg();
   Press(GDK_KEY_Down);
   Press(GDK_KEY_Down);
   Press(GDK_KEY_space);
   EXPECT_FALSE(GetUser("eth2"));

   // The cursor stayed where it was.
   Press(GDK_KEY_space);
   EXPECT_EQ(GetAuto(), GetUser("eth2"));
   Press(GDK_KEY_Down);
   Press(GDK_KEY_space);
   EXPECT_EQ(GetAuto(), GetUser("wlan0"));
}

TEST_F(AutoBridgeDlgTest, TheSelectionSurvivesARebuildByName)
{
   OpenDlg();
   Press(GDK_KEY_End);
   ASSERT_EQ(3, GetSelectedRow(GetView()));

   editable->AddHostAdapter("aaa0", "");

   ASSERT_EQ(5, CountRows(GetView()));
   EXPECT_EQ(4, GetSelectedRow(GetView()));
   EXPECT_EQ("wlan0", ReadRow(GetView(), 4).at(1));
}

TEST_F(AutoBridgeDlgTest, ARebuildWithoutASelectionSelectsNothing)
{
   OpenDlg();
   GetView().get_selection()->unselect_all();

   editable->AddHostAdapter("zzz0", "");

   EXPECT_EQ(5, CountRows(GetView()));
   EXPECT_EQ(-1, GetSelectedRow(GetView()));
}

TEST_F(AutoBridgeDlgTest, FollowsTheModel)
{
   OpenDlg();
   editable->RemoveNetwork(2);
   EXPECT_THAT(ReadRow(GetView(), 1), ElementsAre("-", "eth1", ""));
   ClickToggle(GetView(), 1);
   EXPECT_EQ(GetAuto(), GetUser("eth1"));
}

TEST_F(AutoBridgeDlgTest, ClosesWithATick)
{
   OpenDlg();
   Click("Close");
   EXPECT_FALSE(IsOpen());
}

TEST_F(AutoBridgeDlgTest, TheFirstTickMayStandAnywhere)
{
   AutoBridgeDlg& window = OpenDlg();
   GetBridge().RemoveAutoAdapter("eth0");
   GetBridge().RemoveAutoAdapter("eth2");
   GetBridge().AddAutoAdapter("wlan0", {});
   EXPECT_EQ(cui::Dlg::CLOSE, window.ValidateSelection());
   EXPECT_FALSE(SeesError());
}

TEST_F(AutoBridgeDlgTest, WithoutATickNoWayLeadsOut)
{
   OpenDlg();
   ClickToggle(GetView(), 0);
   ClickToggle(GetView(), 2);
   EXPECT_FALSE(GetUser("eth0"));
   EXPECT_FALSE(SeesError());

   Click("Close");
   EXPECT_EQ(SELECT_ONE, DismissError());
   ASSERT_TRUE(IsOpen());
   Press(GDK_KEY_Escape);
   EXPECT_EQ(SELECT_ONE, DismissError());
   ASSERT_TRUE(IsOpen());
   gtk_window_close(GetWindow().gobj());
   EXPECT_EQ(SELECT_ONE, DismissError());
   ASSERT_TRUE(IsOpen());

   ClickToggle(GetView(), 3);
   Click("Close");
   EXPECT_FALSE(IsOpen());
}

TEST_F(AutoBridgeDlgTest, ValidatesForItsOpenerTooOverItself)
{
   AutoBridgeDlg& window = OpenDlg();
   GetBridge().Cleanup();

   EXPECT_EQ(cui::Dlg::KEEP_OPEN, window.ValidateSelection());

   ASSERT_TRUE(test::gtk::WaitUntil([this] { return SeesError(); }));
   EXPECT_EQ(&window, FindWindow("Error")->get_transient_for());
   EXPECT_EQ(SELECT_ONE, DismissError());
}

// The list can't show what the model refuses, unless somebody else took the adapter meanwhile.
TEST_F(AutoBridgeDlgTest, ARefusedTickTellsWhyAndLeavesTheRow)
{
   OpenDlg();
   Network& third = *editable->AddNetwork(Network::Bridged, 3, false, {});
   third.GetBridge()->SetAdapter("wlan0", {});
   // As if the list hadn't heard of it.
   Gtk::TreeRow const row = GetView().get_model()->children()[3];
   row.set_value(0, true);
   row.set_value(3, Glib::ustring());

   ClickToggle(GetView(), 3);

   EXPECT_EQ("Cannot automatically bridge to host adapter wlan0. tvnet3 is already bridged to it.",
             DismissError());
   EXPECT_EQ("-", ReadRow(GetView(), 3).front());
   EXPECT_EQ(&third, GetUser("wlan0"));
}

TEST_F(AutoBridgeDlgTest, EnterOnAReplyButtonAndTabOrder)
{
   OpenDlg();
   EXPECT_THAT(
      GetTabOrder(),
      ElementsAre("Automatically bridge to one of these host network adapters:", "Close", "Help"));
   Press(GDK_KEY_Tab);
   Press(GDK_KEY_Return);
   EXPECT_TRUE(WaitUntilClosed());
}

TEST_F(AutoBridgeDlgWithoutAdaptersTest, TheListIsEmptyAndTheDialogCannotBeClosed)
{
   AutoBridgeDlg& window = Open(new AutoBridgeDlg(editable.get()));
   Gtk::TreeView& view = *test::gtk::FindAll<Gtk::TreeView>(window).at(0);
   EXPECT_EQ(0, CountRows(view));
   EXPECT_EQ(-1, GetSelectedRow(view));

   Click("Close");
   EXPECT_EQ(SELECT_ONE, DismissError());
   EXPECT_TRUE(IsOpen());
}

// The button that opens it may be pressed before any network was selected.
TEST_F(AutoBridgeDlgWithoutAutoNetworkTest, OnlyListsAndCanBeClosed)
{
   AutoBridgeDlg& window = Open(new AutoBridgeDlg(editable.get()));
   Gtk::TreeView& view = *test::gtk::FindAll<Gtk::TreeView>(window).at(0);
   EXPECT_THAT(ReadRow(view, 0), ElementsAre("-", "eth0", ""));
   ClickToggle(view, 0);
   EXPECT_EQ("-", ReadRow(view, 0).front());
   Click("Close");
   EXPECT_FALSE(IsOpen());
}

TEST_F(AutoBridgeDlgTest, EndsWithTheBridge)
{
   OpenDlg();
   editable->RemoveNetwork(0);
   EXPECT_FALSE(IsOpen());

   editable->AddNetwork(Network::Bridged, 0, true, {});
   OpenDlg();
   GetAuto()->SetType(Network::NAT, {});
   EXPECT_FALSE(IsOpen());
}

TEST_F(AutoBridgeDlgTest, HearsNothingOnceItIsGone)
{
   OpenDlg();
   delete dlg.get();
   EXPECT_FALSE(IsOpen());
   editable->AddHostAdapter("zzz0", "");
   editable->RemoveNetwork(0);
   EXPECT_FALSE(GetUser("eth0"));
}

TEST_F(AutoBridgeDlgTest, AnUnknownReplyEndsTheProcess)
{
   AutoBridgeDlg& window = OpenDlg();
   EXPECT_EXIT(window.OnClicked(2), testing::KilledBySignal(SIGABRT),
               "NOT_IMPLEMENTED tvnetcfg/linux/autoBridgeDlg:330");
}

} // namespace
} // namespace netcfg
