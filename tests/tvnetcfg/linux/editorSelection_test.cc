// SPDX-License-Identifier: GPL-2.0-or-later
// List, frame and model follow each other.
#include "cui/features.hh"
#include "editorTest.hh"
#include "tvnetcfg/common/bridge.hh"

#include <gdk/gdkkeysyms.h>
#include <gmock/gmock.h>

namespace {

using netcfg::common::Network;
using test::bar;
using test::gtk::FindWindow;
using test::gtk::GetSelectedRow;
using testing::ElementsAre;

class EditorSelectionTest : public test::EditorTest {
protected:
   // The cells of a row, without its name.
   std::vector<std::string> Row(int row)
   {
      std::vector<std::string> cells = test::gtk::ReadRow(List(), row);
      cells.erase(cells.begin());
      return cells;
   }

   std::vector<std::string> Names()
   {
      std::vector<std::string> names;
      for (int row = 0; row < test::gtk::CountRows(List()); ++row) {
         names.push_back(ReadCell(row, "Name"));
      }
      return names;
   }

   bool IsSensitive(std::string const& button)
   {
      return test::gtk::Get<Gtk::Button>(*editor, button).get_sensitive();
   }

   void OpenAutoBridgeDlg()
   {
      Click("Automatic Settings...");
      ASSERT_TRUE(test::gtk::WaitUntil([] { return FindWindow("Automatic Bridging Settings"); }));
      ReturnToWindow();
   }

   bool IsAutoBridgeDlgOpen() { return FindWindow("Automatic Bridging Settings"); }
};

// --- the picture

TEST_F(EditorSelectionTest, WhatTheEntriesMakeOfEachNetworksTextsIsTakenAtTheStart)
{
   for (unsigned int const index : {1u, 2u, 3u, 4u}) {
      Add(Network::NAT, index, "010.1.1.0").SetMTU("15000");
      At(index).SetSubnetMask("255.255.255.0/24 ");
   }
   Add(Network::Bridged, 5);
   Add(Network::HostOnly, 6, "010.1.1.0");
   Open();
   for (unsigned int const index : {1u, 2u, 3u, 4u, 6u}) {
      EXPECT_EQ("10.1.1.0", At(index).GetSubnetAddr()) << index;
   }
   for (unsigned int const index : {1u, 2u, 3u, 4u}) {
      EXPECT_EQ("255.255.255.0", At(index).GetSubnetMask()) << index;
      EXPECT_EQ("1500", At(index).GetMTU()) << index;
      auto const row = static_cast<int>(index) - 1;
      EXPECT_EQ("10.1.1.0", ReadCell(row, "Subnet IP Address")) << index;
      EXPECT_EQ("1500", ReadCell(row, "MTU")) << index;
   }
}

TEST_F(EditorSelectionTest, MtusStayAsTheyAreAtTheStartOfAWindowThatShowsNone)
{
   for (unsigned int const index : {1u, 2u, 3u, 4u}) {
      Add(Network::NAT, index).SetMTU("1400");
   }
   cui::GetFeatures().mtu = cui::Capability(false);
   Open();
   cui::GetFeatures().mtu = cui::Capability(true);
   for (unsigned int const index : {1u, 2u, 3u, 4u}) {
      EXPECT_EQ("1400", At(index).GetMTU()) << index;
   }
}

TEST_F(EditorSelectionTest, OneNetworkAloneKeepsItsTextsAtTheStart)
{
   AddAdapters({"eth0"});
   Add(Network::HostOnly, 3, "10.1.1.0").SetMTU("1400");
   At(3).SetType(Network::Bridged, {});
   ASSERT_EQ(Network::Bridged, At(3).GetType());
   Open();
   EXPECT_EQ("10.1.1.0", At(3).GetSubnetAddr());
   EXPECT_EQ("1400", At(3).GetMTU());
   EXPECT_EQ(0, test::gtk::GetSelectedRow(List()));
}

TEST_F(EditorSelectionTest, EveryRowIsFilledAtTheStart)
{
   AddUsualNetworks();
   At(8).SetMTU("1500");
   AddFixed(3, "eth9");
   Add(Network::HostOnly, 5);
   At(5).SetHasDHCP(false);
   At(5).SetHasVirtualAdapter(false);
   Open();
   EXPECT_THAT(Names(), ElementsAre("tvnet0", "tvnet1", "tvnet3", "tvnet5", "tvnet8"));
   EXPECT_THAT(Row(0), ElementsAre("bridged", "auto-bridging", bar, bar, bar, bar));
   EXPECT_THAT(Row(1), ElementsAre("host-only", "none", "tvnet1", "yes", "172.16.1.0", bar));
   EXPECT_THAT(Row(2), ElementsAre("bridged", "eth9", bar, bar, bar, bar));
   EXPECT_THAT(Row(3), ElementsAre("host-only", "none", "none", "no", "auto-detect", bar));
   EXPECT_THAT(Row(4), ElementsAre("NAT", "NAT", "tvnet8", "yes", "192.168.8.0", "1500"));
}

TEST_F(EditorSelectionTest, HostConnectionIsTheSystemNameAndNeverADisplayName)
{
   Add(Network::NAT, 8, "192.168.8.0").SetDisplayName("Laboratory");
   Open();
   EXPECT_EQ("tvnet8", ReadCell(0, "Host Connection"));
   EXPECT_EQ("tvnet8", Title());
}

TEST_F(EditorSelectionTest, FrameShowsTheSelectedNetwork)
{
   AddUsualNetworks();
   At(8).SetHasDHCP(false);
   Open();
   Select(2);
   EXPECT_TRUE(Toggle(test::natText).get_active());
   EXPECT_FALSE(Toggle(test::dhcpText).get_active());
   EXPECT_TRUE(Toggle("Connect a host virtual adapter (tvnet8) to this network").get_active());
   EXPECT_EQ("192.168.8.0", Subnet().GetIP());
   EXPECT_EQ("255.255.255.0", Mask().GetIP());

   Select(0);
   EXPECT_TRUE(Toggle(test::bridgedText).get_active());
   EXPECT_FALSE(Toggle("Connect a host virtual adapter (tvnet0) to this network").get_active());
   EXPECT_EQ("", Subnet().GetIP());
   EXPECT_EQ("", Mask().GetIP());
   EXPECT_EQ("", Mtu().get_text());
   EXPECT_FALSE(Subnet().is_sensitive());
   EXPECT_FALSE(Mtu().is_sensitive());
}

TEST_F(EditorSelectionTest, ChangeFromElsewhereIsDrawnAtOnce)
{
   AddUsualNetworks();
   Open();
   Select(1);
   At(1).SetSubnetAddr("10.1.2.0");
   EXPECT_EQ("10.1.2.0", Subnet().GetIP());
   EXPECT_EQ("10.1.2.0", ReadCell(1, "Subnet IP Address"));
}

// --- removing

TEST_F(EditorSelectionTest, RemovingTheOnlyRowLeavesNothingSelectedAndTheFrameInsensitive)
{
   Add(Network::NAT, 8, "192.168.8.0");
   Open();
   Click("Remove Network");
   EXPECT_EQ(0, test::gtk::CountRows(List()));
   EXPECT_EQ("", Title());
   EXPECT_FALSE(Details().get_sensitive());
   EXPECT_FALSE(IsSensitive("Remove Network"));
   EXPECT_EQ(nullptr, model.GetNetwork(8));

   // And it works again with the next one.
   model.AddNetwork(Network::HostOnly, 2, true, {});
   EXPECT_EQ("tvnet2", Title());
   EXPECT_TRUE(Details().get_sensitive());
   Click(test::dhcpText);
   EXPECT_FALSE(At(2).GetHasDHCP());
}

TEST_F(EditorSelectionTest, RemovingTheLastRowSelectsTheOneBefore)
{
   AddUsualNetworks();
   Open();
   Select(2);
   Click("Remove Network");
   EXPECT_THAT(Names(), ElementsAre("tvnet0", "tvnet1"));
   EXPECT_EQ("tvnet1", Title());
   EXPECT_EQ(1, GetSelectedRow(List()));
}

TEST_F(EditorSelectionTest, RemovingAnyOtherRowSelectsTheOneAfter)
{
   AddUsualNetworks();
   Open();
   Click("Remove Network");
   EXPECT_THAT(Names(), ElementsAre("tvnet1", "tvnet8"));
   EXPECT_EQ("tvnet1", Title());
   EXPECT_EQ(0, GetSelectedRow(List()));

   // What the frame shows is what it writes.
   TypeInto(Subnet(), "10.0.0.0");
   Select(1);
   EXPECT_EQ("10.0.0.0", At(1).GetSubnetAddr());
   EXPECT_EQ("192.168.8.0", At(8).GetSubnetAddr());
}

TEST_F(EditorSelectionTest, RemovingANetworkInTheMiddleOfTypingWritesItsTextNowhere)
{
   AddUsualNetworks();
   Open();
   Select(1);
   TypeInto(Subnet(), "10.0.0.0");
   model.RemoveNetwork(1);
   EXPECT_EQ("tvnet8", Title());
   EXPECT_EQ("192.168.8.0", At(8).GetSubnetAddr());
}

TEST_F(EditorSelectionTest, RemovingANetworkThatIsNotSelectedLeavesTheSelection)
{
   AddUsualNetworks();
   Open();
   Select(2);
   model.RemoveNetwork(1);
   EXPECT_THAT(Names(), ElementsAre("tvnet0", "tvnet8"));
   EXPECT_EQ("tvnet8", Title());
}

TEST_F(EditorSelectionTest, RemovingTvnet0ClosesTheAutomaticBridgingDialog)
{
   AddUsualNetworks();
   Open();
   OpenAutoBridgeDlg();
   Click("Remove Network");
   EXPECT_FALSE(IsAutoBridgeDlgOpen());
   EXPECT_EQ("tvnet1", Title());
}

// --- types

TEST_F(EditorSelectionTest, TypeWithoutAFreeAdapterIsRefusedAndTheButtonJumpsBackBeforeTheError)
{
   AddUsualNetworks();
   Open();
   Select(1);
   Click(test::bridgedText);
   ASSERT_TRUE(test::gtk::WaitUntil([] { return FindWindow("Error"); }));
   EXPECT_TRUE(Toggle(test::hostOnlyText).get_active());
   EXPECT_TRUE(Subnet().is_sensitive());
   EXPECT_EQ("Cannot change network to bridged: There are no un-bridged host network adapters.",
             DismissError());
   EXPECT_FALSE(FindWindow("Error")) << "there was more than one";
   EXPECT_EQ(Network::HostOnly, At(1).GetType());
   EXPECT_EQ("host-only", ReadCell(1, "Type"));
}

TEST_F(EditorSelectionTest, TypesChangeForthAndBack)
{
   AddUsualNetworks();
   Open();
   Select(1);
   Click(test::natText);
   EXPECT_EQ(Network::NAT, At(1).GetType());
   EXPECT_THAT(Row(1), ElementsAre("NAT", "NAT", "tvnet1", "yes", "172.16.1.0", bar));
   EXPECT_TRUE(IsSensitive("NAT Settings..."));

   Select(0);
   Click(test::hostOnlyText);
   EXPECT_EQ(Network::HostOnly, At(0).GetType());
   EXPECT_EQ("255.255.255.0", Mask().GetIP());
   Click(test::bridgedText);
   EXPECT_EQ(Network::Bridged, At(0).GetType());
   EXPECT_TRUE(At(0).GetBridge()->IsAuto());
   EXPECT_THAT(Row(0), ElementsAre("bridged", "auto-bridging", bar, bar, bar, bar));
}

// --- adapters

TEST_F(EditorSelectionTest, AutomaticIsGreyForAllButTvnet0AndSoAreTakenAdapters)
{
   AddFixed(2, "eth0");
   AddFixed(3, "eth1");
   AddAdapters({"eth2"});
   Open();
   Select(1);
   EXPECT_THAT(Adapters(), ElementsAre("-Automatic (tvnet0 only)", "-eth0 (Bridged to tvnet2)",
                                       "eth1", "eth2"));
   EXPECT_EQ(2, Combo().get_active_row_number());
}

TEST_F(EditorSelectionTest, Tvnet0MayBridgeAutomatically)
{
   AddUsualNetworks();
   Open();
   EXPECT_THAT(Adapters(), ElementsAre("Automatic", "eth0", "eth1"));
   EXPECT_EQ(0, Combo().get_active_row_number());
   EXPECT_TRUE(IsSensitive("Automatic Settings..."));
}

TEST_F(EditorSelectionTest, ChoosingAnAdapterEndsAutomaticBridgingAndBack)
{
   AddUsualNetworks();
   Open();
   Press(GDK_KEY_t, GDK_MOD1_MASK);
   Press(GDK_KEY_Down);
   Press(GDK_KEY_Down);
   EXPECT_FALSE(At(0).GetBridge()->IsAuto());
   EXPECT_EQ("eth1", At(0).GetBridge()->GetAdapter());
   EXPECT_EQ("eth1", ReadCell(0, "External Connection"));
   EXPECT_FALSE(IsSensitive("Automatic Settings..."));
   EXPECT_EQ(nullptr, model.GetNetworkForAdapter("eth0"));

   Press(GDK_KEY_Home);
   EXPECT_TRUE(At(0).GetBridge()->IsAuto());
   EXPECT_EQ(&At(0), model.GetNetworkForAdapter("eth0"));
   EXPECT_TRUE(IsSensitive("Automatic Settings..."));
}

TEST_F(EditorSelectionTest, TakenAdapterIsSteppedOver)
{
   AddFixed(2, "eth0");
   AddFixed(3, "eth1");
   AddAdapters({"eth2"});
   Open();
   Select(1);
   Press(GDK_KEY_t, GDK_MOD1_MASK);
   Press(GDK_KEY_Up);
   EXPECT_EQ("eth1", At(3).GetBridge()->GetAdapter());
   Press(GDK_KEY_Down);
   EXPECT_EQ("eth2", At(3).GetBridge()->GetAdapter());
   EXPECT_EQ(&At(2), model.GetNetworkForAdapter("eth0"));
}

TEST_F(EditorSelectionTest, AutomaticBridgingDialogStaysWhileAnotherNetworkIsShown)
{
   AddUsualNetworks();
   Open();
   OpenAutoBridgeDlg();
   Select(2);
   EXPECT_TRUE(IsAutoBridgeDlgOpen());
   Select(0);
   EXPECT_TRUE(IsAutoBridgeDlgOpen());
}

TEST_F(EditorSelectionTest, AutomaticBridgingDialogGoesWhenTvnet0IsShownInAnyOtherState)
{
   AddUsualNetworks();
   Open();
   OpenAutoBridgeDlg();
   Press(GDK_KEY_t, GDK_MOD1_MASK);
   Press(GDK_KEY_Down);
   EXPECT_FALSE(IsAutoBridgeDlgOpen());

   Press(GDK_KEY_Home);
   OpenAutoBridgeDlg();
   Click(test::natText);
   EXPECT_FALSE(IsAutoBridgeDlgOpen());
}

// --- typing

TEST_F(EditorSelectionTest, SelectingAnotherRowCommitsAllThreeEntriesThoughTheFocusNeverLeft)
{
   AddUsualNetworks();
   Open();
   Select(2);
   TypeInto(Mask(), "255.255.0.0");
   TypeInto(Mtu(), "1400");
   TypeInto(Subnet(), "10.8.0.0");
   // By the model's own hand, without the focus.
   List().get_selection()->select(Gtk::TreePath("1"));
   EXPECT_EQ(&Subnet(), editor->get_focus());
   EXPECT_EQ("10.8.0.0", At(8).GetSubnetAddr());
   EXPECT_EQ("255.255.0.0", At(8).GetSubnetMask());
   EXPECT_EQ("1400", At(8).GetMTU());
   EXPECT_EQ("172.16.1.0", At(1).GetSubnetAddr());
   EXPECT_EQ("172.16.1.0", Subnet().GetIP());
   EXPECT_EQ("10.8.0.0", ReadCell(2, "Subnet IP Address"));
}

TEST_F(EditorSelectionTest, EachEntryCommitsWhenTheFocusLeavesIt)
{
   AddUsualNetworks();
   Open();
   Select(2);
   TypeInto(Subnet(), "10.8.0.0");
   EXPECT_EQ("192.168.8.0", At(8).GetSubnetAddr()) << "it is still being typed";
   Press(GDK_KEY_Tab);
   EXPECT_EQ("10.8.0.0", At(8).GetSubnetAddr());
   TypeInto(Mask(), "255.0.0.0");
   Press(GDK_KEY_Tab);
   EXPECT_EQ("255.0.0.0", At(8).GetSubnetMask());
   TypeInto(Mtu(), "9000");
   Press(GDK_KEY_Tab);
   EXPECT_EQ("9000", At(8).GetMTU());
   EXPECT_THAT(Row(2), ElementsAre("NAT", "NAT", "tvnet8", "yes", "10.8.0.0", "9000"));
}

TEST_F(EditorSelectionTest, BlankSubnetReadsAutoDetectAndAPartlyBlankOneKeepsItsDots)
{
   AddUsualNetworks();
   Open();
   Select(2);
   TypeInto(Subnet(), "");
   Press(GDK_KEY_Tab);
   EXPECT_EQ("", At(8).GetSubnetAddr());
   EXPECT_EQ("auto-detect", ReadCell(2, "Subnet IP Address"));
   TypeInto(Subnet(), "192.168..0");
   Press(GDK_KEY_Tab);
   EXPECT_EQ("192.168..0", At(8).GetSubnetAddr());
}

TEST_F(EditorSelectionTest, NoMtuIsADashInTheEntryAndABarInTheList)
{
   AddUsualNetworks();
   Open();
   Select(2);
   EXPECT_EQ("-", Mtu().get_text());
   EXPECT_EQ(bar, ReadCell(2, "MTU"));
   ClickInto(Mtu());
   Press(GDK_KEY_End);
   Press(GDK_KEY_BackSpace);
   Press(GDK_KEY_Tab);
   EXPECT_EQ("", At(8).GetMTU());
   EXPECT_EQ("", ReadCell(2, "MTU"));
}

// --- the MTU after a bridged network

class EditorMtuTest : public EditorSelectionTest {
protected:
   void ExpectMtuCanBeTyped(unsigned int index, char const* text)
   {
      ASSERT_TRUE(Mtu().is_sensitive());
      TypeInto(Mtu(), text);
      EXPECT_EQ(&Mtu(), editor->get_focus());
      EXPECT_EQ(text, Mtu().get_text());
      Press(GDK_KEY_Tab);
      EXPECT_EQ(text, At(index).GetMTU());
   }
};

TEST_F(EditorMtuTest, CanBeTypedAfterABridgedNetworkWasShown)
{
   AddUsualNetworks();
   Open();
   EXPECT_FALSE(Mtu().is_sensitive());
   Select(2);
   ExpectMtuCanBeTyped(8, "1400");
   Select(0);
   EXPECT_FALSE(Mtu().is_sensitive());
   Select(1);
   ExpectMtuCanBeTyped(1, "1300");
}

TEST_F(EditorMtuTest, CanBeTypedAfterItHadTheFocusWhenABridgedNetworkCame)
{
   AddUsualNetworks();
   Open();
   Select(2);
   ClickInto(Mtu());
   List().get_selection()->select(Gtk::TreePath("0"));
   EXPECT_NE(&Mtu(), editor->get_focus());
   Select(2);
   ExpectMtuCanBeTyped(8, "1400");
}

TEST_F(EditorMtuTest, CanBeTypedAfterTheOnlyNetworkABridgedOneWasRemoved)
{
   AddFixed(0, "eth0");
   Open();
   Click("Remove Network");
   model.AddNetwork(Network::NAT, 8, true, {});
   ExpectMtuCanBeTyped(8, "1400");
}

TEST_F(EditorMtuTest, CanBeTypedAfterTheTypeChangedFromBridged)
{
   AddUsualNetworks();
   Open();
   Click(test::natText);
   ExpectMtuCanBeTyped(0, "1400");
   Click(test::bridgedText);
   EXPECT_FALSE(Mtu().is_sensitive());
   Click(test::hostOnlyText);
   ExpectMtuCanBeTyped(0, "1300");
}

} // namespace
