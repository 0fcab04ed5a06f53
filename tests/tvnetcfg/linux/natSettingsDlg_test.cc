// SPDX-License-Identifier: GPL-2.0-or-later
// The form of the NAT settings and its way into the model.
#include "tvnetcfg/linux/natSettingsDlg.hh"

#include "natDialogTest.hh"

#include <gmock/gmock.h>
#include <gtkmm/image.h>

namespace netcfg {
namespace {

using test::gtk::FindLabel;
using test::gtk::ReadAccessibleName;
using test::gtk::ReadRow;
using test::gtk::TypeInto;
using testing::ElementsAre;

class NatSettingsDlgTest : public NatDialogTest {};

TEST_F(NatSettingsDlgTest, ShowsTheSettings)
{
   nat.SetAllowActiveFTP(false);
   OpenDlg();

   EXPECT_EQ("NAT Settings", GetWindow().get_title());
   for (char const* const text : {"Network:", "tvnet8", "Subnet IP:", "192.168.20.0",
                                  "Subnet mask:", "255.255.255.0", "Port Forwarding", "Advanced"}) {
      EXPECT_TRUE(FindLabel(GetWindow(), text)) << text;
   }
   EXPECT_FALSE(FindLabel(GetWindow(), "XXX"));
   EXPECT_EQ("192.168.20.2", GetGateway().GetIP());
   EXPECT_FALSE(Get<Gtk::CheckButton>("Allow active FTP").get_active());
   EXPECT_TRUE(Get<Gtk::CheckButton>("Allow any Organizationally Unique Identifier").get_active());
   EXPECT_EQ(60, GetTimeout().get_value_as_int());
   EXPECT_EQ(33445, GetConfigPort().get_value_as_int());
   EXPECT_FALSE(GetIPv6().get_active());
   EXPECT_EQ("fd15:4ba5:5a2b:1002::/64", GetPrefix().get_text());
   EXPECT_FALSE(GetPrefix().is_sensitive());
   EXPECT_EQ("", ReadWarning());
   EXPECT_THAT(GetReplyButtons(), ElementsAre("Save", "Cancel", "Help"));
   int width = 0;
   int height = 0;
   GetWindow().get_default_size(width, height);
   EXPECT_EQ(520, width);
   EXPECT_EQ(600, height);
}

TEST_F(NatSettingsDlgTest, TabsDownTheFormFromTheGateway)
{
   nat.SetEnableIPv6(true);
   OpenDlg();
   EXPECT_EQ(GetWindow().get_focus(), &GetGateway());

   EXPECT_THAT(GetTabOrder(),
               ElementsAre("Gateway IP:", "Port Forwarding", "Edit", "Add", "Remove",
                           "Allow active FTP", "Allow any Organizationally Unique Identifier",
                           "UDP timeout (in seconds):", "Config Port:", "Enable IPv6 NAT",
                           "IPv6 Prefix:", "Save", "Cancel", "Help"));
}

TEST_F(NatSettingsDlgTest, MnemonicsReachTheirControls)
{
   OpenDlg();
   Press(GDK_KEY_f, GDK_MOD1_MASK);
   EXPECT_EQ(GetWindow().get_focus(), &GetTable());
   Press(GDK_KEY_u, GDK_MOD1_MASK);
   EXPECT_EQ(GetWindow().get_focus(), &GetTimeout());
   Press(GDK_KEY_c, GDK_MOD1_MASK);
   EXPECT_EQ(GetWindow().get_focus(), &GetConfigPort());
   Press(GDK_KEY_t, GDK_MOD1_MASK);
   EXPECT_FALSE(Get<Gtk::CheckButton>("Allow active FTP").get_active());
   Press(GDK_KEY_o, GDK_MOD1_MASK);
   EXPECT_FALSE(Get<Gtk::CheckButton>("Allow any Organizationally Unique Identifier").get_active());
   GetIPv6().set_active(true);
   Press(GDK_KEY_6, GDK_MOD1_MASK);
   EXPECT_EQ(GetWindow().get_focus(), &GetPrefix());
}

// Both texts ask for the same key.
TEST_F(NatSettingsDlgTest, TheKeyOfEditAndIPv6MovesBetweenThem)
{
   OpenDlg();
   Press(GDK_KEY_e, GDK_MOD1_MASK);
   Gtk::Widget* const first = GetWindow().get_focus();
   Press(GDK_KEY_e, GDK_MOD1_MASK);
   Gtk::Widget* const second = GetWindow().get_focus();

   EXPECT_THAT((std::vector<Gtk::Widget*>{first, second}),
               testing::UnorderedElementsAre(&Get<Gtk::Button>("Edit"), &GetIPv6()));
   EXPECT_FALSE(GetIPv6().get_active());
   EXPECT_FALSE(FindPortDlg());
}

TEST_F(NatSettingsDlgTest, AScreenReaderFindsTheControlsByTheirLabels)
{
   OpenDlg();
   EXPECT_EQ("Gateway IP:", ReadAccessibleName(GetGateway()));
   EXPECT_EQ("Port Forwarding", ReadAccessibleName(GetTable()));
   EXPECT_EQ("IPv6 Prefix:", ReadAccessibleName(GetPrefix()));
   EXPECT_EQ("Config Port:", ReadAccessibleName(GetConfigPort()));
}

TEST_F(NatSettingsDlgTest, SavingWithoutAChangeIsSilent)
{
   OpenDlg();
   Click("Save");

   EXPECT_FALSE(IsOpen());
   EXPECT_EQ(0, heard);
}

TEST_F(NatSettingsDlgTest, SaveStoresEveryValue)
{
   OpenDlg();
   TypeInto(GetGateway(), "192.168.20.254");
   Click("Allow active FTP");
   Click("Allow any Organizationally Unique Identifier");
   TypeInto(GetTimeout(), "90");
   TypeInto(GetConfigPort(), "4711");
   Click("Enable IPv6 NAT");
   TypeInto(GetPrefix(), "fd00::/48");
   Click("Save");

   EXPECT_FALSE(IsOpen());
   EXPECT_EQ("192.168.20.254", nat.GetGatewayIP());
   EXPECT_FALSE(nat.GetAllowActiveFTP());
   EXPECT_FALSE(nat.GetAllowOUI());
   EXPECT_EQ(90u, nat.GetUDPTimeout());
   EXPECT_EQ(4711u, nat.GetConfigPort());
   EXPECT_TRUE(nat.GetEnableIPv6());
   EXPECT_EQ("fd00::/48", nat.GetIPv6Prefix());
   EXPECT_EQ(2u, nat.GetPortForwardList().size());
   EXPECT_EQ(7, heard);
}

TEST_F(NatSettingsDlgTest, EnterSavesTheValueTypedLast)
{
   OpenDlg();
   TypeInto(GetTimeout(), "77");
   Press(GDK_KEY_Return);

   EXPECT_TRUE(WaitUntilClosed());
   EXPECT_EQ(77u, nat.GetUDPTimeout());
}

// As a screen reader's user does it, who edits a text without going there.
TEST_F(NatSettingsDlgTest, NumbersThatWereSetWithoutTheFocusCount)
{
   OpenDlg();
   GetTimeout().set_text("12");
   GetConfigPort().set_text("34");
   Click("Save");

   EXPECT_EQ(12u, nat.GetUDPTimeout());
   EXPECT_EQ(34u, nat.GetConfigPort());
}

TEST_F(NatSettingsDlgTest, CancelEscapeAndTheCloseControlDropTheForm)
{
   OpenDlg();
   TypeInto(GetTimeout(), "77");
   GetTable().get_selection()->select(Gtk::TreePath("0"));
   Click("Remove");
   Click("Cancel");
   EXPECT_FALSE(IsOpen());

   OpenDlg();
   TypeInto(GetTimeout(), "77");
   Press(GDK_KEY_Escape);
   EXPECT_FALSE(IsOpen());

   OpenDlg();
   TypeInto(GetTimeout(), "77");
   gtk_window_close(GetWindow().gobj());
   EXPECT_TRUE(WaitUntilClosed());

   EXPECT_EQ(0, heard);
   EXPECT_EQ(60u, nat.GetUDPTimeout());
   EXPECT_EQ(2u, nat.GetPortForwardList().size());
}

TEST_F(NatSettingsDlgTest, ATimeoutAboveTheFieldsRangeIsClampedAndSaved)
{
   nat.SetUDPTimeout(100000);
   heard = 0;
   OpenDlg();
   EXPECT_EQ(32767, GetTimeout().get_value_as_int());
   EXPECT_EQ(100000u, nat.GetUDPTimeout());
   Click("Save");

   EXPECT_EQ(32767u, nat.GetUDPTimeout());
   EXPECT_EQ(1, heard);
}

TEST_F(NatSettingsDlgTest, NumbersStayWithinTheirRange)
{
   OpenDlg();
   TypeInto(GetTimeout(), "99999");
   TypeInto(GetConfigPort(), "99999");
   Press(GDK_KEY_Tab);
   EXPECT_EQ(32767, GetTimeout().get_value_as_int());
   EXPECT_EQ(65535, GetConfigPort().get_value_as_int());
   TypeInto(GetTimeout(), "0");
   Click("Save");
   EXPECT_EQ(0u, nat.GetUDPTimeout());
}

TEST_F(NatSettingsDlgTest, AChangeOfTheNATReloadsTheForm)
{
   OpenDlg();
   TypeInto(GetTimeout(), "77");
   GetTable().get_selection()->select(Gtk::TreePath("0"));
   Click("Remove");
   nat.SetConfigPort(1);

   EXPECT_EQ(1, GetConfigPort().get_value_as_int());
   EXPECT_EQ(60, GetTimeout().get_value_as_int());
   EXPECT_EQ(2, test::gtk::CountRows(GetTable()));
}

class NatSettingsDlgOfTwoTest : public NatSettingsDlgTest {
protected:
   NatSettingsDlgOfTwoTest()
      : other(*editable->AddNetwork(common::Network::NAT, 9, true, {})->GetNAT())
   {
      other.SetUDPTimeout(99);
      other.SetPortForwardList({{7, 7, true, "", ""}});
   }

   common::NAT& other;
};

TEST_F(NatSettingsDlgOfTwoTest, SetNATDiscardsTheUnsavedForm)
{
   OpenNatSettingsDlg& window = OpenDlg();
   TypeInto(GetConfigPort(), "1");
   window.SetNAT(&other);

   EXPECT_EQ(0, GetConfigPort().get_value_as_int());
   EXPECT_EQ(99, GetTimeout().get_value_as_int());
   EXPECT_TRUE(FindLabel(window, "tvnet9"));
   EXPECT_EQ(1, test::gtk::CountRows(GetTable()));
   EXPECT_EQ(33445u, nat.GetConfigPort());
   window.SetNAT(&nat);
   EXPECT_EQ(33445, GetConfigPort().get_value_as_int());
}

TEST_F(NatSettingsDlgOfTwoTest, SaveGoesToTheNATThatWasSet)
{
   OpenNatSettingsDlg& window = OpenDlg();
   window.SetNAT(&other);
   TypeInto(GetTimeout(), "5");
   Click("Save");

   EXPECT_EQ(5u, other.GetUDPTimeout());
   EXPECT_EQ(60u, nat.GetUDPTimeout());
}

TEST_F(NatSettingsDlgOfTwoTest, TheFormGoesOnFollowingTheFirstNATAlone)
{
   OpenNatSettingsDlg& window = OpenDlg();
   window.SetNAT(&other);
   TypeInto(GetConfigPort(), "1");
   Press(GDK_KEY_Tab);

   other.SetUDPTimeout(100);
   EXPECT_EQ(1, GetConfigPort().get_value_as_int());
   EXPECT_EQ(99, GetTimeout().get_value_as_int());

   // What it then shows are the settings of the NAT that was set.
   nat.SetUDPTimeout(61);
   EXPECT_EQ(0, GetConfigPort().get_value_as_int());
   EXPECT_EQ(100, GetTimeout().get_value_as_int());
}

TEST_F(NatSettingsDlgOfTwoTest, EndsWithTheNATThatItShows)
{
   OpenNatSettingsDlg& window = OpenDlg();
   window.SetNAT(&other);
   editable->RemoveNetwork(8);
   ASSERT_TRUE(IsOpen());
   TypeInto(GetTimeout(), "5");
   editable->RemoveNetwork(9);
   EXPECT_FALSE(IsOpen());
}

TEST_F(NatSettingsDlgTest, EndsWithItsNetworkAndSoDoesItsPortDialog)
{
   OpenDlg();
   Click("Add");
   GetPortDlg();
   editable->RemoveNetwork(8);

   EXPECT_FALSE(IsOpen());
   EXPECT_EQ(0, CountPortDlgs());
}

TEST_F(NatSettingsDlgTest, KeepsItsNATThroughAChangeOfType)
{
   OpenDlg();
   network.SetType(common::Network::HostOnly, {});
   TypeInto(GetTimeout(), "5");
   Click("Save");
   EXPECT_EQ(5u, nat.GetUDPTimeout());
}

TEST_F(NatSettingsDlgTest, AnUnknownReplyEndsTheProcess)
{
   OpenNatSettingsDlg& window = OpenDlg();
   EXPECT_EXIT(window.OnClicked(3), testing::KilledBySignal(SIGABRT),
               "NOT_IMPLEMENTED tvnetcfg/linux/natSettingsDlg:844");
}

} // namespace
} // namespace netcfg
