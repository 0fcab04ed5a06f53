// SPDX-License-Identifier: GPL-2.0-or-later
// The table of port forwards and the port dialog over it.
#include "natDialogTest.hh"
#include "tvnetcfg/linux/mapPortDlg.hh"

#include <gmock/gmock.h>

namespace netcfg {
namespace {

using test::gtk::ClickCell;
using test::gtk::CountRows;
using test::gtk::FindWindow;
using test::gtk::GetSelectedRow;
using test::gtk::ReadRow;
using test::gtk::TypeInto;
using testing::ElementsAre;

Forward const WEB{8080, 80, true, "192.168.20.128", "Web server"};
Forward const DNS{53535, 53, false, "192.168.20.129", "DNS"};

// In milliseconds. A machine under load takes longer than somebody's own, which needs a fraction of
// a second, and the sanitizers much longer.
#ifdef __SANITIZE_ADDRESS__
constexpr int LONGEST_WAIT = 90000;
#else
constexpr int LONGEST_WAIT = 5000;
#endif

class NatSettingsDlgTableTest : public NatDialogTest {
protected:
   Forwards const& GetStored() { return nat.GetPortForwardList(); }
};

TEST_F(NatSettingsDlgTableTest, ShowsTheListInItsOrder)
{
   OpenDlg();

   EXPECT_THAT(test::gtk::ReadTitles(GetTable()),
               ElementsAre("Host Port", "Guest Port", "Port Type", "Virtual Machine IP Address",
                           "Description"));
   ASSERT_EQ(2, CountRows(GetTable()));
   EXPECT_THAT(ReadRow(GetTable(), 0),
               ElementsAre("8080", "80", "TCP", "192.168.20.128", "Web server"));
   EXPECT_THAT(ReadRow(GetTable(), 1), ElementsAre("53535", "53", "UDP", "192.168.20.129", "DNS"));
   EXPECT_EQ(-1, GetSelectedRow(GetTable()));
}

TEST_F(NatSettingsDlgTableTest, AnEmptyTableHasSensitiveButtonsThatDoNoHarm)
{
   nat.SetPortForwardList({});
   OpenDlg();
   EXPECT_EQ(0, CountRows(GetTable()));
   EXPECT_TRUE(IsSensitive("Edit"));
   EXPECT_TRUE(IsSensitive("Remove"));

   Click("Remove");
   EXPECT_EQ(0, CountRows(GetTable()));
   Click("Edit");
   EnterPort("443", "Save");
   EXPECT_EQ(1, CountRows(GetTable()));
   Click("Save");
   EXPECT_THAT(GetStored(), ElementsAre(Forward{443, 1, true, "", ""}));
}

TEST_F(NatSettingsDlgTableTest, TheSelectionDecidesAboutTheButtons)
{
   OpenDlg();
   EXPECT_TRUE(IsSensitive("Edit"));
   EXPECT_TRUE(IsSensitive("Remove"));
   ClickCell(GetTable(), 1, 0);
   EXPECT_EQ(1, GetSelectedRow(GetTable()));
   EXPECT_TRUE(IsSensitive("Edit"));
   EXPECT_TRUE(IsSensitive("Remove"));
   GetTable().get_selection()->unselect_all();
   EXPECT_FALSE(IsSensitive("Edit"));
   EXPECT_FALSE(IsSensitive("Remove"));
   EXPECT_TRUE(IsSensitive("Add"));
}

TEST_F(NatSettingsDlgTableTest, RemoveTakesTheSelectedEntryAndSelectsNothing)
{
   nat.SetPortForwardList({WEB, DNS, {1, 2, true, "", "last"}});
   OpenDlg();
   ClickCell(GetTable(), 1, 4);
   Click("Remove");

   EXPECT_EQ(2, CountRows(GetTable()));
   EXPECT_EQ("last", ReadRow(GetTable(), 1).back());
   EXPECT_EQ(-1, GetSelectedRow(GetTable()));
   EXPECT_FALSE(IsSensitive("Remove"));

   // The indices were renumbered.
   ClickCell(GetTable(), 1, 4);
   EXPECT_EQ(1, GetSelectedRow(GetTable()));
   Click("Remove");
   EXPECT_EQ(3u, GetStored().size());
   heard = 0;
   Click("Save");
   EXPECT_THAT(GetStored(), ElementsAre(WEB));
   EXPECT_EQ(1, heard);
}

TEST_F(NatSettingsDlgTableTest, AddShowsThePortDialogOverThisOneAndThisOneStaysUsable)
{
   OpenDlg();
   Click("Add");
   Gtk::Window& port = GetPortDlg();
   EXPECT_EQ(&GetWindow(), port.get_transient_for());
   EXPECT_FALSE(port.get_modal());

   test::gtk::Click(Get<Gtk::Button>("Allow active FTP"));
   EXPECT_FALSE(Get<Gtk::CheckButton>("Allow active FTP").get_active());
   EXPECT_TRUE(FindPortDlg());
}

TEST_F(NatSettingsDlgTableTest, AnAddedEntryShowsWhenThePortDialogGoes)
{
   OpenDlg();
   Click("Add");
   EnterPort("2222", "Save");

   EXPECT_FALSE(FindPortDlg());
   ASSERT_EQ(3, CountRows(GetTable()));
   EXPECT_THAT(ReadRow(GetTable(), 2), ElementsAre("2222", "1", "TCP", "", ""));
   EXPECT_EQ(2u, GetStored().size());
   Click("Save");
   EXPECT_THAT(GetStored(), ElementsAre(WEB, DNS, Forward{2222, 1, true, "", ""}));
}

TEST_F(NatSettingsDlgTableTest, AnEditedEntryShowsInItsPlace)
{
   OpenDlg();
   ClickCell(GetTable(), 0, 0);
   Click("Edit");
   EXPECT_EQ(8080, test::gtk::Get<Gtk::SpinButton>(GetPortDlg(), "Host port:").get_value_as_int());
   EnterPort("8081", "Save");

   EXPECT_THAT(ReadRow(GetTable(), 0),
               ElementsAre("8081", "80", "TCP", "192.168.20.128", "Web server"));
   EXPECT_EQ(-1, GetSelectedRow(GetTable()));
   Click("Save");
   EXPECT_EQ(8081, GetStored()[0].hostPort);
}

TEST_F(NatSettingsDlgTableTest, ACancelledPortDialogChangesNothing)
{
   OpenDlg();
   Click("Add");
   EnterPort("2222", "Cancel");
   EXPECT_EQ(2, CountRows(GetTable()));
   Click("Save");
   EXPECT_EQ(0, heard);
}

TEST_F(NatSettingsDlgTableTest, ASecondAddReplacesThePortDialogAndReloadsTheTableOnce)
{
   OpenDlg();
   Click("Add");
   TypeInto(test::gtk::Get<Gtk::SpinButton>(GetPortDlg(), "Host port:"), "2222");
   cui::WeakPtr<Gtk::Window> const first(FindPortDlg());
   WatchTable();
   Click("Add");

   EXPECT_FALSE(first);
   EXPECT_EQ(1, CountPortDlgs());
   EXPECT_EQ(2, rowsDeleted) << "one reload takes both rows away";
   EXPECT_EQ(1, test::gtk::Get<Gtk::SpinButton>(GetPortDlg(), "Host port:").get_value_as_int());
   EnterPort("3333", "Save");
   EXPECT_EQ("3333", ReadRow(GetTable(), 2).front());
   EXPECT_EQ(3, CountRows(GetTable()));
   EXPECT_EQ(0, CountPortDlgs());
}

// The reload that the first dialog's end brings drops the selection.
TEST_F(NatSettingsDlgTableTest, AnEditOverAnOpenPortDialogReplacesIt)
{
   OpenDlg();
   Click("Add");
   GetPortDlg();
   ClickCell(GetTable(), 1, 0);
   Click("Edit");

   EXPECT_EQ(1, CountPortDlgs());
   EXPECT_EQ(53535, test::gtk::Get<Gtk::SpinButton>(GetPortDlg(), "Host port:").get_value_as_int());
   EnterPort("53536", "Save");
   EXPECT_EQ("53536", ReadRow(GetTable(), 1).front());
   EXPECT_EQ(2, CountRows(GetTable()));
}

TEST_F(NatSettingsDlgTableTest, AnEditOfAnEntryThatIsRemovedMeanwhileLosesNothing)
{
   OpenDlg();
   ClickCell(GetTable(), 1, 0);
   Click("Edit");
   GetPortDlg();
   ClickCell(GetTable(), 1, 0);
   Click("Remove");
   ASSERT_EQ(1, CountRows(GetTable()));
   EnterPort("53536", "Save");

   ASSERT_EQ(2, CountRows(GetTable()));
   EXPECT_THAT(ReadRow(GetTable(), 1), ElementsAre("53536", "53", "UDP", "192.168.20.129", "DNS"));
}

TEST_F(NatSettingsDlgTableTest, ThePortDialogGoesWithThisOneBeforeTheList)
{
   OpenDlg();
   Click("Add");
   GetPortDlg();
   test::gtk::Click(Get<Gtk::Button>("Cancel"));
   EXPECT_FALSE(IsOpen());
   EXPECT_EQ(0, CountPortDlgs());

   OpenDlg();
   ClickCell(GetTable(), 0, 0);
   Click("Edit");
   bool wasListThere = false;
   dynamic_cast<MapPortDlg&>(GetPortDlg()).destroyed.connect([this, &wasListThere] {
      wasListThere = IsOpen();
   });
   delete dlg.get();
   EXPECT_EQ(0, CountPortDlgs());
   EXPECT_TRUE(wasListThere);
}

TEST_F(NatSettingsDlgTableTest, OneEntryMovedToTheEndIsAChangeOfTheList)
{
   OpenDlg();
   ClickCell(GetTable(), 0, 0);
   Click("Remove");
   Click("Add");
   Gtk::Window& port = GetPortDlg();
   TypeInto(test::gtk::Get<lui::IPEntry>(port, "Virtual machine IP address:"), "192.168.20.128");
   TypeInto(test::gtk::Get<Gtk::SpinButton>(port, "Virtual machine port:"), "80");
   TypeInto(test::gtk::Get<Gtk::Entry>(port, "Description:"), "Web server");
   EnterPort("8080", "Save");
   Click("Save");

   EXPECT_THAT(GetStored(), ElementsAre(DNS, WEB));
   EXPECT_EQ(1, heard);
}

TEST_F(NatSettingsDlgTableTest, ARowsRemovalMovesTheSelectionOnwards)
{
   nat.SetPortForwardList({WEB, DNS, {1, 2, true, "", "last"}});
   OpenNatSettingsDlg& window = OpenDlg();
   ClickCell(GetTable(), 1, 0);
   window.RemovePortForwardEntry(1);
   ASSERT_EQ(2, CountRows(GetTable()));
   EXPECT_EQ(1, GetSelectedRow(GetTable()));
   EXPECT_EQ("last", ReadRow(GetTable(), 1).back());

   window.RemovePortForwardEntry(2);
   EXPECT_EQ(1, CountRows(GetTable()));
   EXPECT_EQ(0, GetSelectedRow(GetTable()));

   window.RemovePortForwardEntry(0);
   EXPECT_EQ(0, CountRows(GetTable()));
   EXPECT_EQ(-1, GetSelectedRow(GetTable()));
}

TEST_F(NatSettingsDlgTableTest, ARowsRemovalIgnoresWhatIsNotThere)
{
   OpenNatSettingsDlg& window = OpenDlg();
   ClickCell(GetTable(), 0, 0);
   window.RemovePortForwardEntry(-1);
   window.RemovePortForwardEntry(2);
   EXPECT_EQ(2, CountRows(GetTable()));
   // A row that isn't selected leaves the selection where it is, and the list keeps its entries.
   window.RemovePortForwardEntry(1);
   EXPECT_EQ(0, GetSelectedRow(GetTable()));
   Click("Save");
   EXPECT_EQ(0, heard);
}

TEST_F(NatSettingsDlgTableTest, FiveThousandEntriesShowWithoutAWait)
{
   Forwards many;
   for (int number = 0; number < 5000; ++number) {
      many.push_back(
         {static_cast<std::uint16_t>(number + 1), 80, number % 2 == 0, "10.0.0.1", "Entry"});
   }
   nat.SetPortForwardList(many);
   gint64 const start = g_get_monotonic_time();
   OpenDlg();
   gint64 const milliseconds = (g_get_monotonic_time() - start) / 1000;
   RecordProperty("milliseconds", static_cast<int>(milliseconds));
   EXPECT_EQ(5000, CountRows(GetTable()));
   ClickCell(GetTable(), 4999, 0);
   Click("Remove");
   EXPECT_EQ(4999, CountRows(GetTable()));
   EXPECT_LT(milliseconds, LONGEST_WAIT);
}

} // namespace
} // namespace netcfg
