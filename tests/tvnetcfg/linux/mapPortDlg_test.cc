// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/linux/mapPortDlg.hh"

#include "dialogTest.hh"

#include <gmock/gmock.h>

namespace netcfg {
namespace {

using test::gtk::ReadAccessibleDescription;
using test::gtk::ReadAccessibleName;
using test::gtk::TypeInto;
using testing::ElementsAre;
using Entry = common::NAT::PortForwardEntry;

Entry const WEB{8080, 80, true, "192.168.20.128", "Web server"};
Entry const DNS{53535, 53, false, "192.168.20.129", "DNS"};

// Over a list of two entries.
class MapPortDlgTest : public DialogTest {
protected:
   MapPortDlg& OpenNew() { return Open(new MapPortDlg(&entries, -1)); }
   MapPortDlg& OpenEntry(int index) { return Open(new MapPortDlg(&entries, index)); }

   Gtk::SpinButton& GetHostPort() { return Get<Gtk::SpinButton>("Host port:"); }
   Gtk::SpinButton& GetGuestPort() { return Get<Gtk::SpinButton>("Virtual machine port:"); }
   lui::IPEntry& GetIP() { return Get<lui::IPEntry>("Virtual machine IP address:"); }
   Gtk::Entry& GetDescription() { return Get<Gtk::Entry>("Description:"); }
   bool IsTCP()
   {
      EXPECT_NE(Get<Gtk::RadioButton>("TCP").get_active(),
                Get<Gtk::RadioButton>("UDP").get_active());
      return Get<Gtk::RadioButton>("TCP").get_active();
   }

   void Fill(Entry const& entry)
   {
      TypeInto(GetHostPort(), std::to_string(entry.hostPort));
      Click(entry.tcp ? "TCP" : "UDP");
      TypeInto(GetIP(), entry.ip.c_str());
      TypeInto(GetGuestPort(), std::to_string(entry.vmPort));
      TypeInto(GetDescription(), entry.description.c_str());
   }

   std::vector<Entry> entries{WEB, DNS};
};

TEST_F(MapPortDlgTest, ANewEntryStartsWithPortsOneTCPAndBlanks)
{
   OpenNew();

   EXPECT_EQ("Map Incoming Port", GetWindow().get_title());
   EXPECT_EQ(1, GetHostPort().get_value_as_int());
   EXPECT_EQ(1, GetGuestPort().get_value_as_int());
   EXPECT_TRUE(IsTCP());
   EXPECT_EQ("", GetIP().GetIP());
   EXPECT_EQ("", GetDescription().get_text());
   EXPECT_THAT(GetReplyButtons(), ElementsAre("Save", "Cancel", "Help"));
}

TEST_F(MapPortDlgTest, AnEditedEntryIsShown)
{
   OpenEntry(1);

   EXPECT_EQ(53535, GetHostPort().get_value_as_int());
   EXPECT_EQ(53, GetGuestPort().get_value_as_int());
   EXPECT_FALSE(IsTCP());
   EXPECT_EQ("192.168.20.129", GetIP().GetIP());
   EXPECT_EQ("DNS", GetDescription().get_text());
}

TEST_F(MapPortDlgTest, StartsInTheHostPortAndTabsDownTheForm)
{
   OpenNew();

   EXPECT_EQ(GetWindow().get_focus(), &GetHostPort());
   EXPECT_THAT(GetTabOrder(),
               ElementsAre("Host port:", "TCP", "Virtual machine IP address:",
                           "Virtual machine port:", "Description:", "Save", "Cancel", "Help"));
}

TEST_F(MapPortDlgTest, TypingReplacesTheHostPortOfAnEditedEntry)
{
   OpenEntry(0);
   test::gtk::TypeText(GetWindow(), "99");
   Press(GDK_KEY_Tab);
   EXPECT_EQ(99, GetHostPort().get_value_as_int());
}

TEST_F(MapPortDlgTest, MnemonicsReachTheirControls)
{
   OpenNew();

   Press(GDK_KEY_a, GDK_MOD1_MASK);
   EXPECT_EQ(GetWindow().get_focus(), &GetIP());
   Press(GDK_KEY_p, GDK_MOD1_MASK);
   EXPECT_EQ(GetWindow().get_focus(), &GetGuestPort());
   Press(GDK_KEY_d, GDK_MOD1_MASK);
   EXPECT_EQ(GetWindow().get_focus(), &GetDescription());
   Press(GDK_KEY_h, GDK_MOD1_MASK);
   EXPECT_EQ(GetWindow().get_focus(), &GetHostPort());
   Press(GDK_KEY_u, GDK_MOD1_MASK);
   EXPECT_FALSE(IsTCP());
   Press(GDK_KEY_t, GDK_MOD1_MASK);
   EXPECT_TRUE(IsTCP());
}

TEST_F(MapPortDlgTest, AScreenReaderReadsTheProtocolsAsTypes)
{
   OpenNew();

   EXPECT_EQ("Type:", ReadAccessibleName(Get<Gtk::RadioButton>("TCP")));
   EXPECT_EQ("TCP", ReadAccessibleDescription(Get<Gtk::RadioButton>("TCP")));
   EXPECT_EQ("Type:", ReadAccessibleName(Get<Gtk::RadioButton>("UDP")));
   EXPECT_EQ("UDP", ReadAccessibleDescription(Get<Gtk::RadioButton>("UDP")));
   EXPECT_EQ("Virtual machine IP address:", ReadAccessibleName(GetIP()));
}

TEST_F(MapPortDlgTest, SaveAppendsANewEntryAndCloses)
{
   OpenNew();
   Entry const entry{2222, 22, false, "192.168.20.7", "Shell"};
   Fill(entry);
   Click("Save");

   EXPECT_FALSE(IsOpen());
   EXPECT_THAT(entries, ElementsAre(WEB, DNS, entry));
}

TEST_F(MapPortDlgTest, EnterSavesWhatWasTypedLast)
{
   OpenNew();
   TypeInto(GetDescription(), "by Enter");
   TypeInto(GetHostPort(), "443");
   Press(GDK_KEY_Return);

   EXPECT_TRUE(WaitUntilClosed());
   ASSERT_EQ(3u, entries.size());
   EXPECT_EQ((Entry{443, 1, true, "", "by Enter"}), entries[2]);
}

// As a screen reader's user does it, who edits a text without going there.
TEST_F(MapPortDlgTest, PortsThatWereSetWithoutTheFocusCount)
{
   OpenNew();
   GetHostPort().set_text("500");
   GetGuestPort().set_text("600");
   Click("Save");

   ASSERT_EQ(3u, entries.size());
   EXPECT_EQ(500, entries[2].hostPort);
   EXPECT_EQ(600, entries[2].vmPort);
}

TEST_F(MapPortDlgTest, AnExactDoubleIsRefusedWithoutAWord)
{
   OpenNew();
   Fill(DNS);
   Click("Save");

   EXPECT_TRUE(IsOpen());
   EXPECT_FALSE(SeesError());
   EXPECT_THAT(entries, ElementsAre(WEB, DNS));
   EXPECT_EQ(53535, GetHostPort().get_value_as_int());

   TypeInto(GetDescription(), "another");
   Click("Save");
   EXPECT_FALSE(IsOpen());
   EXPECT_EQ(3u, entries.size());
}

TEST_F(MapPortDlgTest, TheSamePortWithAnotherAddressIsAccepted)
{
   OpenNew();
   Entry entry = WEB;
   entry.ip = "192.168.20.200";
   Fill(entry);
   Click("Save");

   EXPECT_FALSE(IsOpen());
   EXPECT_THAT(entries, ElementsAre(WEB, DNS, entry));
}

TEST_F(MapPortDlgTest, EditingTheDescriptionAloneStaysInItsPlace)
{
   OpenEntry(0);
   TypeInto(GetDescription(), "Changed");
   Click("Save");

   EXPECT_FALSE(IsOpen());
   Entry expected = WEB;
   expected.description = "Changed";
   EXPECT_THAT(entries, ElementsAre(expected, DNS));
}

TEST_F(MapPortDlgTest, AnEditStoresEveryField)
{
   OpenEntry(0);
   Entry const entry{1, 65535, false, "10.0.0.1", "All of it"};
   Fill(entry);
   Click("Save");

   EXPECT_THAT(entries, ElementsAre(entry, DNS));
}

TEST_F(MapPortDlgTest, SavingAnUnchangedEntryStaysOpenWithoutAWord)
{
   OpenEntry(0);
   Click("Save");

   EXPECT_TRUE(IsOpen());
   EXPECT_FALSE(SeesError());
   EXPECT_THAT(entries, ElementsAre(WEB, DNS));
}

TEST_F(MapPortDlgTest, CancelEscapeAndTheCloseControlLeaveTheList)
{
   OpenEntry(0);
   Fill({7, 7, false, "1.2.3.4", "never"});
   Click("Cancel");
   EXPECT_FALSE(IsOpen());

   OpenNew();
   Fill({7, 7, false, "1.2.3.4", "never"});
   Press(GDK_KEY_Escape);
   EXPECT_FALSE(IsOpen());

   OpenNew();
   TypeInto(GetHostPort(), "7");
   gtk_window_close(GetWindow().gobj());
   EXPECT_TRUE(WaitUntilClosed());
   EXPECT_THAT(entries, ElementsAre(WEB, DNS));
}

TEST_F(MapPortDlgTest, AnEmptyAddressIsStoredEmpty)
{
   OpenNew();
   Click("Save");

   ASSERT_EQ(3u, entries.size());
   EXPECT_EQ((Entry{1, 1, true, "", ""}), entries[2]);
}

TEST_F(MapPortDlgTest, AnAddressWithABlankFieldIsStoredAsItReads)
{
   OpenNew();
   TypeInto(GetIP(), "10..0.1");
   Click("Save");

   ASSERT_EQ(3u, entries.size());
   EXPECT_EQ("10..0.1", entries[2].ip);
}

TEST_F(MapPortDlgTest, PortsStayWithinTheirRange)
{
   OpenNew();
   TypeInto(GetHostPort(), "70000");
   TypeInto(GetGuestPort(), "0");
   Click("Save");

   ASSERT_EQ(3u, entries.size());
   EXPECT_EQ(65535, entries[2].hostPort);
   EXPECT_EQ(1, entries[2].vmPort);
}

TEST_F(MapPortDlgTest, ADescriptionMayBeOfAnyLengthAndScript)
{
   OpenNew();
   std::string longText = "\u00e9\u4e16<b>&amp;_";
   longText.append(5000, 'x');
   GetDescription().set_text(longText);
   Click("Save");

   ASSERT_EQ(3u, entries.size());
   EXPECT_EQ(longText, entries[2].description.c_str());
}

// The table below can still be used while the dialog is open.
TEST_F(MapPortDlgTest, AnEditOfAnEntryThatWasRemovedIsAppended)
{
   OpenEntry(1);
   entries.pop_back();
   TypeInto(GetDescription(), "Still here");
   Click("Save");

   EXPECT_FALSE(IsOpen());
   Entry expected = DNS;
   expected.description = "Still here";
   EXPECT_THAT(entries, ElementsAre(WEB, expected));
}

TEST_F(MapPortDlgTest, AnEditFollowsTheIndexNotTheEntry)
{
   OpenEntry(0);
   entries.erase(entries.begin());
   TypeInto(GetDescription(), "In its place");
   Click("Save");

   Entry expected = WEB;
   expected.description = "In its place";
   EXPECT_THAT(entries, ElementsAre(expected));
}

TEST_F(MapPortDlgTest, AnUnknownReplyEndsTheProcess)
{
   MapPortDlg& window = OpenNew();
   EXPECT_EXIT(window.OnClicked(3), testing::KilledBySignal(SIGABRT),
               "NOT_IMPLEMENTED tvnetcfg/linux/mapPortDlg:302");
}

} // namespace
} // namespace netcfg
