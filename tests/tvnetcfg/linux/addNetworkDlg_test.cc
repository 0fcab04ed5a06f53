// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/linux/addNetworkDlg.hh"

#include "dialogTest.hh"
#include "tvnetcfg/common/bridge.hh"

#include <gmock/gmock.h>
#include <gtkmm/table.h>

namespace netcfg {
namespace {

using common::Network;
using test::gtk::FindLabel;
using test::gtk::TypeInto;
using testing::ElementsAre;

class AddNetworkDlgTest : public DialogTest {
protected:
   explicit AddNetworkDlgTest(unsigned int maxNetworks = MAX_NETWORKS) : DialogTest(maxNetworks) {}

   void OpenDlg() { Open(new AddNetworkDlg(editable.get())); }
   Gtk::SpinButton& GetSpin() { return Get<Gtk::SpinButton>("Network name:"); }
   void Choose(std::string const& type) { Click(type); }
   void Use(unsigned int index) { editable->AddNetwork(Network::NAT, index, false, {}); }
   std::size_t CountNetworks() { return editable->GetNetworks().size(); }
};

class AddNetworkDlgWithoutSlotsTest : public AddNetworkDlgTest {
protected:
   AddNetworkDlgWithoutSlotsTest() : AddNetworkDlgTest(0) {}
};

class AddNetworkDlgWithTwoSlotsTest : public AddNetworkDlgTest {
protected:
   AddNetworkDlgWithTwoSlotsTest() : AddNetworkDlgTest(2) {}
};

TEST_F(AddNetworkDlgTest, OffersTheLowestFreeNumberAndTheBridgedType)
{
   Use(0);
   Use(1);
   Use(3);
   OpenDlg();

   EXPECT_EQ("Add Virtual Network", GetWindow().get_title());
   EXPECT_EQ(2, GetSpin().get_value_as_int());
   EXPECT_TRUE(Get<Gtk::RadioButton>("Bridged").get_active());
   EXPECT_FALSE(Get<Gtk::RadioButton>("NAT").get_active());
   EXPECT_FALSE(Get<Gtk::RadioButton>("Host-only").get_active());
}

TEST_F(AddNetworkDlgTest, ReadsAsDesigned)
{
   OpenDlg();

   for (char const* const text :
        {"tvnet", "Type:", "Virtual machines connect directly to your external network",
         "Virtual machines share your computer's IP address",
         "Virtual machines are in a private network with your computer"}) {
      EXPECT_TRUE(FindLabel(GetWindow(), text)) << text;
   }
   EXPECT_THAT(GetReplyButtons(), ElementsAre("Add", "Cancel"));
   int width = 0;
   int height = 0;
   GetWindow().get_default_size(width, height);
   EXPECT_EQ(550, width);
   EXPECT_EQ(250, height);
}

TEST_F(AddNetworkDlgTest, EachTypeIsDescribedToAScreenReader)
{
   OpenDlg();

   EXPECT_EQ("Virtual machines connect directly to your external network",
             test::gtk::ReadAccessibleDescription(Get<Gtk::RadioButton>("Bridged")));
   EXPECT_EQ("NAT", test::gtk::ReadAccessibleName(Get<Gtk::RadioButton>("NAT")));
   EXPECT_EQ("Network name:", test::gtk::ReadAccessibleName(GetSpin()));
}

TEST_F(AddNetworkDlgTest, StartsInTheNumberAndTabsDownTheForm)
{
   OpenDlg();

   EXPECT_EQ(GetWindow().get_focus(), &GetSpin());
   EXPECT_THAT(GetTabOrder(), ElementsAre("Network name:", "Bridged", "Add", "Cancel"));
}

TEST_F(AddNetworkDlgTest, MnemonicsReachTheirControls)
{
   OpenDlg();

   Press(GDK_KEY_n, GDK_MOD1_MASK);
   EXPECT_TRUE(Get<Gtk::RadioButton>("NAT").get_active());
   Press(GDK_KEY_o, GDK_MOD1_MASK);
   EXPECT_TRUE(Get<Gtk::RadioButton>("Host-only").get_active());
   Press(GDK_KEY_b, GDK_MOD1_MASK);
   EXPECT_TRUE(Get<Gtk::RadioButton>("Bridged").get_active());
   Press(GDK_KEY_m, GDK_MOD1_MASK);
   EXPECT_EQ(GetWindow().get_focus(), &GetSpin());
}

TEST_F(AddNetworkDlgTest, AddMakesANewNetworkOfTheTypeAndCloses)
{
   OpenDlg();
   TypeInto(GetSpin(), "8");
   Choose("NAT");
   Click("Add");

   EXPECT_FALSE(IsOpen());
   ASSERT_TRUE(editable->GetNetwork(8));
   EXPECT_EQ(Network::NAT, editable->GetNetwork(8)->GetType());
   // A new network's defaults.
   EXPECT_EQ("255.255.255.0", editable->GetNetwork(8)->GetSubnetMask());
   EXPECT_TRUE(editable->GetNetwork(8)->GetHasDHCP());
   EXPECT_EQ(1u, CountNetworks());
}

TEST_F(AddNetworkDlgTest, AddMakesABridgedNetworkOnTheFirstFreeAdapter)
{
   editable->AddHostAdapter("eth0", "");
   Use(0);
   OpenDlg();
   Click("Add");

   EXPECT_FALSE(IsOpen());
   ASSERT_TRUE(editable->GetNetwork(1));
   ASSERT_TRUE(editable->GetNetwork(1)->GetBridge());
   EXPECT_EQ("eth0", editable->GetNetwork(1)->GetBridge()->GetAdapter());
}

TEST_F(AddNetworkDlgTest, EnterAddsWithTheNumberTypedLast)
{
   OpenDlg();
   Choose("Host-only");
   TypeInto(GetSpin(), "7");
   Press(GDK_KEY_Return);

   EXPECT_TRUE(WaitUntilClosed());
   ASSERT_TRUE(editable->GetNetwork(7));
   EXPECT_EQ(Network::HostOnly, editable->GetNetwork(7)->GetType());
}

// As a screen reader's user does it, who edits a text without going there.
TEST_F(AddNetworkDlgTest, ANumberThatWasSetWithoutTheFocusCounts)
{
   OpenDlg();
   Choose("NAT");
   GetSpin().set_text("11");
   Click("Add");

   EXPECT_TRUE(editable->GetNetwork(11));
}

TEST_F(AddNetworkDlgTest, CancelLeavesTheModelUntouchedWhateverTheFormShows)
{
   OpenDlg();
   TypeInto(GetSpin(), "5");
   Choose("NAT");
   Click("Cancel");

   EXPECT_FALSE(IsOpen());
   EXPECT_EQ(0u, CountNetworks());
}

TEST_F(AddNetworkDlgTest, EscapeAndTheCloseControlCancel)
{
   OpenDlg();
   Press(GDK_KEY_Escape);
   EXPECT_FALSE(IsOpen());

   OpenDlg();
   gtk_window_close(GetWindow().gobj());
   EXPECT_TRUE(test::gtk::WaitUntil([this] { return !IsOpen(); }));
   EXPECT_EQ(0u, CountNetworks());
}

TEST_F(AddNetworkDlgTest, ANumberInUseIsRefusedAndStaysInTheForm)
{
   Use(8);
   OpenDlg();
   TypeInto(GetSpin(), "8");
   Choose("NAT");
   Click("Add");

   EXPECT_EQ("Network tvnet8 already exists. Choose an unused network.", DismissError());
   ASSERT_TRUE(IsOpen());
   EXPECT_EQ(8, GetSpin().get_value_as_int());
   EXPECT_TRUE(Get<Gtk::RadioButton>("NAT").get_active());
   EXPECT_EQ(1u, CountNetworks());

   TypeInto(GetSpin(), "9");
   Click("Add");
   EXPECT_FALSE(IsOpen());
   EXPECT_TRUE(editable->GetNetwork(9));
}

TEST_F(AddNetworkDlgTest, ABridgedNetworkIsRefusedWithoutAFreeAdapter)
{
   OpenDlg();
   Click("Add");

   EXPECT_EQ("Cannot add bridged network: There are no un-bridged host network adapters.",
             DismissError());
   EXPECT_TRUE(IsOpen());
   EXPECT_EQ(0u, CountNetworks());
}

TEST_F(AddNetworkDlgWithTwoSlotsTest, WithAllNumbersInUseOffersZeroWhichTheModelRefuses)
{
   Use(0);
   Use(1);
   OpenDlg();
   EXPECT_EQ(0, GetSpin().get_value_as_int());
   Choose("NAT");
   Click("Add");

   EXPECT_EQ("Network tvnet0 already exists. Choose an unused network.", DismissError());
   EXPECT_TRUE(IsOpen());
}

TEST_F(AddNetworkDlgWithTwoSlotsTest, TheNumberStaysBelowTheNumberOfSlots)
{
   OpenDlg();
   TypeInto(GetSpin(), "99");
   Press(GDK_KEY_Tab);
   EXPECT_EQ(1, GetSpin().get_value_as_int());
   GetSpin().grab_focus();
   Press(GDK_KEY_Up);
   EXPECT_EQ(1, GetSpin().get_value_as_int());
   Press(GDK_KEY_Down);
   Press(GDK_KEY_Down);
   EXPECT_EQ(0, GetSpin().get_value_as_int());
}

TEST_F(AddNetworkDlgWithoutSlotsTest, OffersZeroAlone)
{
   OpenDlg();
   EXPECT_EQ(0, GetSpin().get_value_as_int());
   Press(GDK_KEY_Up);
   EXPECT_EQ(0, GetSpin().get_value_as_int());
}

TEST_F(AddNetworkDlgTest, DoesNotFollowLaterChangesOfTheModel)
{
   OpenDlg();
   Use(0);
   EXPECT_EQ(0, GetSpin().get_value_as_int());
}

TEST_F(AddNetworkDlgTest, BroughtForwardItKeepsItsForm)
{
   OpenDlg();
   TypeInto(GetSpin(), "6");
   Choose("Host-only");
   base->present();
   ASSERT_TRUE(test::gtk::WaitUntilActive(*base));
   base->Present(dlg.get());

   EXPECT_TRUE(test::gtk::WaitUntilActive(GetWindow()));
   EXPECT_EQ(6, GetSpin().get_value_as_int());
   EXPECT_TRUE(Get<Gtk::RadioButton>("Host-only").get_active());
}

TEST_F(AddNetworkDlgTest, AnUnknownReplyEndsTheProcess)
{
   AddNetworkDlg& window = Open(new AddNetworkDlg(editable.get()));
   EXPECT_EXIT(window.OnClicked(2), testing::KilledBySignal(SIGABRT),
               "NOT_IMPLEMENTED tvnetcfg/linux/addNetworkDlg:191");
}

} // namespace
} // namespace netcfg
