// SPDX-License-Identifier: GPL-2.0-or-later
// The check of the IPv6 prefix while it's typed and when the focus leaves it.
#include "natDialogTest.hh"

#include <gmock/gmock.h>

namespace netcfg {
namespace {

using test::gtk::ReadAccessibleDescription;
using test::gtk::TypeInto;
using test::gtk::TypeText;

char const NO_ADDRESS[] = "The IPv6 prefix is not a valid IPv6 address.  "
                          "See help for more information about this field.";
char const IPV4[] = "The IPv6 prefix must not be an IPv4 address.  "
                    "See help for more information about this field.";
char const NO_LENGTH[] = "The IPv6 prefix does not have a valid subnet.  "
                         "See help for more information about this field.";
char const STORED[] = "fd15:4ba5:5a2b:1002::/64";

class NatSettingsDlgPrefixTest : public NatDialogTest {
protected:
   void TurnOn()
   {
      nat.SetEnableIPv6(true);
      heard = 0;
   }
   void LeavePrefix() { GetTimeout().grab_focus(); }
};

TEST_F(NatSettingsDlgPrefixTest, WithIPv6OffAnyPrefixIsSaved)
{
   nat.SetIPv6Prefix("no prefix at all");
   OpenDlg();
   EXPECT_TRUE(IsSensitive("Save"));
   EXPECT_EQ("", ReadWarning());
   Click("Save");

   EXPECT_FALSE(IsOpen());
   EXPECT_EQ("no prefix at all", nat.GetIPv6Prefix());
}

// The entry can't be typed into then, but an assistive tool may write it.
TEST_F(NatSettingsDlgPrefixTest, WithIPv6OffWhatTheEntryHoldsIsSaved)
{
   OpenDlg();
   GetPrefix().set_text("still nothing");
   EXPECT_TRUE(IsSensitive("Save"));
   Click("Save");

   EXPECT_EQ("still nothing", nat.GetIPv6Prefix());
}

TEST_F(NatSettingsDlgPrefixTest, TurningIPv6OffPutsTheStoredPrefixBack)
{
   TurnOn();
   OpenDlg();
   TypeInto(GetPrefix(), "fd00:bad");
   EXPECT_FALSE(IsSensitive("Save"));
   Click("Enable IPv6 NAT");

   EXPECT_EQ(STORED, GetPrefix().get_text());
   EXPECT_FALSE(GetPrefix().is_sensitive());
   EXPECT_EQ("", ReadWarning());
   EXPECT_EQ("", ReadAccessibleDescription(GetPrefix()));
   EXPECT_TRUE(IsSensitive("Save"));
}

TEST_F(NatSettingsDlgPrefixTest, TurningIPv6OnOpensTheEntry)
{
   OpenDlg();
   Click("Enable IPv6 NAT");
   EXPECT_TRUE(GetPrefix().is_sensitive());
   EXPECT_TRUE(IsSensitive("Save"));
   EXPECT_EQ("", ReadWarning());
}

TEST_F(NatSettingsDlgPrefixTest, TurningIPv6OnTellsOfAnEmptyPrefixAtOnce)
{
   nat.SetIPv6Prefix("");
   OpenDlg();
   Click("Enable IPv6 NAT");
   EXPECT_FALSE(IsSensitive("Save"));
   EXPECT_EQ(NO_ADDRESS, ReadWarning());
}

TEST_F(NatSettingsDlgPrefixTest, SaveIsOffAtEachKeyAndTheReasonShowsWhenTheFocusLeaves)
{
   TurnOn();
   OpenDlg();
   TypeInto(GetPrefix(), "f");
   EXPECT_FALSE(IsSensitive("Save"));
   for (char const* const key : {"d", "0", "0", ":", ":"}) {
      TypeText(GetWindow(), key);
      EXPECT_FALSE(IsSensitive("Save")) << key;
      EXPECT_EQ("", ReadWarning()) << key;
   }

   Press(GDK_KEY_Tab);

   EXPECT_EQ(NO_LENGTH, ReadWarning());
   EXPECT_EQ(NO_LENGTH, ReadAccessibleDescription(GetPrefix()));
   EXPECT_FALSE(IsSensitive("Save"));
}

TEST_F(NatSettingsDlgPrefixTest, BothClearAsSoonAsTheTextIsValid)
{
   TurnOn();
   OpenDlg();
   TypeInto(GetPrefix(), "fd00::/129");
   LeavePrefix();
   ASSERT_EQ(NO_LENGTH, ReadWarning());

   GetPrefix().grab_focus();
   Press(GDK_KEY_End);
   // The warning of a text that is still bad stays as it was.
   TypeText(GetWindow(), "0");
   EXPECT_EQ(NO_LENGTH, ReadWarning());
   EXPECT_FALSE(IsSensitive("Save"));
   Press(GDK_KEY_BackSpace);
   Press(GDK_KEY_BackSpace);

   EXPECT_EQ("fd00::/12", GetPrefix().get_text());
   EXPECT_EQ("", ReadWarning());
   EXPECT_TRUE(IsSensitive("Save"));
   // The accessible reason goes with the focus.
   LeavePrefix();
   EXPECT_EQ("", ReadAccessibleDescription(GetPrefix()));
}

TEST_F(NatSettingsDlgPrefixTest, EachReasonIsTold)
{
   TurnOn();
   OpenDlg();
   for (auto const& [prefix, reason] : std::vector<std::pair<char const*, char const*>>{
           {"192.168.1.0/24", IPV4}, {"what", NO_ADDRESS}, {"fd00::/x", NO_LENGTH}}) {
      TypeInto(GetPrefix(), prefix);
      LeavePrefix();
      EXPECT_EQ(reason, ReadWarning()) << prefix;
   }
}

TEST_F(NatSettingsDlgPrefixTest, EnterDoesNotSaveABadPrefix)
{
   TurnOn();
   OpenDlg();
   TypeInto(GetPrefix(), "fd00::");
   Press(GDK_KEY_Return);
   test::gtk::Settle();
   LeavePrefix();

   EXPECT_TRUE(IsOpen());
   EXPECT_EQ(NO_LENGTH, ReadWarning());
   EXPECT_EQ(STORED, nat.GetIPv6Prefix());
   EXPECT_EQ(0, heard);
}

TEST_F(NatSettingsDlgPrefixTest, WhiteSpaceIsStrippedFromAValidTextBehindTheCursor)
{
   TurnOn();
   OpenDlg();
   TypeInto(GetPrefix(), " fd00 ::/ 6");
   EXPECT_EQ("fd00::/6", GetPrefix().get_text());
   TypeText(GetWindow(), "4");
   EXPECT_EQ("fd00::/64", GetPrefix().get_text());
   Click("Save");
   EXPECT_EQ("fd00::/64", nat.GetIPv6Prefix());
}

TEST_F(NatSettingsDlgPrefixTest, DeletingWhiteSpaceLeavesTheCursorInItsPlace)
{
   TurnOn();
   OpenDlg();
   TypeInto(GetPrefix(), "fd00:: 1x/64");
   Press(GDK_KEY_Left);
   Press(GDK_KEY_Left);
   Press(GDK_KEY_Left);
   Press(GDK_KEY_BackSpace);
   EXPECT_EQ("fd00::1/64", GetPrefix().get_text());
   EXPECT_EQ(7, GetPrefix().get_position());
}

TEST_F(NatSettingsDlgPrefixTest, AStoredBadPrefixIsToldAtOnce)
{
   nat.SetIPv6Prefix("bad");
   TurnOn();
   OpenDlg();
   EXPECT_FALSE(IsSensitive("Save"));
   EXPECT_EQ(NO_ADDRESS, ReadWarning());
   Click("Cancel");
   EXPECT_FALSE(IsOpen());
}

// What the user is about to press stays where it is.
TEST_F(NatSettingsDlgPrefixTest, NothingMovesWhenTheWarningComesAndGoes)
{
   TurnOn();
   OpenDlg();
   Gtk::Allocation const check = GetIPv6().get_allocation();
   Gtk::Allocation const prefix = GetPrefix().get_allocation();
   Gtk::Allocation const save = Get<Gtk::Button>("Save").get_allocation();
   int const height = GetWindow().get_allocated_height();
   TypeInto(GetPrefix(), "bad");
   LeavePrefix();
   ASSERT_EQ(NO_ADDRESS, ReadWarning());
   test::gtk::WaitForLayout(GetWindow());

   EXPECT_EQ(check, GetIPv6().get_allocation());
   EXPECT_EQ(prefix, GetPrefix().get_allocation());
   EXPECT_EQ(save, Get<Gtk::Button>("Save").get_allocation());
   EXPECT_EQ(height, GetWindow().get_allocated_height());
}

// The reason may name no mark-up, and what was typed isn't part of it.
TEST_F(NatSettingsDlgPrefixTest, MarkUpInThePrefixIsPlainText)
{
   TurnOn();
   OpenDlg();
   TypeInto(GetPrefix(), "<b>&");
   LeavePrefix();
   EXPECT_EQ(NO_ADDRESS, ReadWarning());
   EXPECT_EQ("<b>&", GetPrefix().get_text());
}

} // namespace
} // namespace netcfg
