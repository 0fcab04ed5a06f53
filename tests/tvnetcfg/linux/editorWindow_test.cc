// SPDX-License-Identifier: GPL-2.0-or-later
// What the main window consists of, and how it begins and ends.
#include "cui/features.hh"
#include "editorTest.hh"

#include <atkmm/object.h>
#include <gdk/gdkkeysyms.h>
#include <gmock/gmock.h>
#include <gtkmm/label.h>

namespace {

using netcfg::common::Network;
using test::gtk::FindWindow;
using test::gtk::GetSelectedRow;
using testing::ElementsAre;

class EditorWindowTest : public test::EditorTest {
protected:
   void SendDelete()
   {
      GdkEvent* const event = gdk_event_new(GDK_DELETE);
      event->any.window = GDK_WINDOW(g_object_ref(editor->get_window()->gobj()));
      gtk_main_do_event(event);
      gdk_event_free(event);
      test::gtk::Settle();
   }

   Gtk::Widget* Focus() { return editor->get_focus(); }
};

TEST_F(EditorWindowTest, ListHasSevenColumns)
{
   AddUsualNetworks();
   Open();
   EXPECT_THAT(test::gtk::ReadTitles(List()),
               ElementsAre("Name", "Type", "External Connection", "Host Connection", "DHCP",
                           "Subnet IP Address", "MTU"));
   EXPECT_EQ("Tavrin Network Editor", editor->get_title());
}

TEST_F(EditorWindowTest, WithoutTheMtuCapabilityThereAreSixColumnsAndNoMtuRow)
{
   AddUsualNetworks();
   cui::GetFeatures().mtu = cui::Capability(false);
   Open();
   cui::GetFeatures().mtu = cui::Capability(true);

   EXPECT_THAT(test::gtk::ReadTitles(List()),
               ElementsAre("Name", "Type", "External Connection", "Host Connection", "DHCP",
                           "Subnet IP Address"));
   EXPECT_FALSE(test::gtk::FindLabel(*editor, "MTU *:"));
   EXPECT_EQ(2u, test::gtk::FindAll<Gtk::Entry>(*editor).size());

   // The rest works as ever.
   Select(2);
   EXPECT_EQ("tvnet8", Title());
   EXPECT_EQ("192.168.8.0", Subnet().GetIP());
   EXPECT_EQ("-", At(8).GetMTU());
}

TEST_F(EditorWindowTest, BeginsWithTheFirstNetworkAndTheKeyboardInTheList)
{
   Add(Network::NAT, 8, "192.168.8.0");
   Add(Network::HostOnly, 1, "172.16.1.0");
   Open();
   EXPECT_EQ("tvnet1", ReadCell(0, "Name"));
   EXPECT_EQ(0, GetSelectedRow(List()));
   EXPECT_EQ(&List(), Focus());
   EXPECT_EQ("tvnet1", Title());
   EXPECT_FALSE(test::gtk::FindLabel(*editor, "XXX"));
}

TEST_F(EditorWindowTest, AColumnHasRoomForALongNameAndForALargerFont)
{
   constexpr auto name = "wwwwwwwwwwwwwww"; // no adapter's is longer
   AddUsualNetworks();
   AddFixed(3, name);
   Open();
   auto const hasRoom = [&] {
      int width = 0;
      int height = 0;
      List().create_pango_layout(name)->get_pixel_size(width, height);
      return List().get_column(2)->get_width() > width;
   };
   EXPECT_TRUE(hasRoom());
   auto const settings = Gtk::Settings::get_default();
   Glib::ustring const before = settings->property_gtk_font_name();
   int const narrow = List().get_column(2)->get_width();
   settings->property_gtk_font_name() = "Sans 24";
   EXPECT_TRUE(
      test::gtk::WaitUntil([&] { return List().get_column(2)->get_width() > 3 * narrow / 2; }));
   EXPECT_TRUE(hasRoom());
   settings->property_gtk_font_name() = before;
   test::gtk::Settle();
}

TEST_F(EditorWindowTest, KeyboardWalksTheListFromTheFirstRow)
{
   AddUsualNetworks();
   Open();
   Press(GDK_KEY_Down);
   EXPECT_EQ("tvnet1", Title());
   Press(GDK_KEY_End);
   EXPECT_EQ("tvnet8", Title());
}

TEST_F(EditorWindowTest, WithoutAnyNetworkThePlaceholderStaysAndAllIsSensitive)
{
   Open();
   EXPECT_EQ("XXX", Title());
   EXPECT_TRUE(Details().get_sensitive());
   EXPECT_TRUE(test::gtk::Get<Gtk::Button>(*editor, "Remove Network").get_sensitive());
   EXPECT_EQ(-1, GetSelectedRow(List()));
}

TEST_F(EditorWindowTest, WithoutAnyNetworkNoControlDoesHarm)
{
   Open();
   Click("Automatic Settings...");
   Click(test::natText);
   Click("NAT Settings...");
   Click(test::dhcpText);
   Click("Connect a host virtual adapter to this network");
   TypeInto(Subnet(), "10.0.0.0");
   TypeInto(Mtu(), "1500");
   Click(test::hostOnlyText);
   Click(test::bridgedText);
   Click("Remove Network");
   EXPECT_TRUE(model.GetNetworks().empty());
   EXPECT_TRUE(IsOpen());
   EXPECT_FALSE(FindWindow("NAT Settings"));
   EXPECT_FALSE(FindWindow("Automatic Bridging Settings"));

   Add(Network::HostOnly, 1, "172.16.1.0");
   EXPECT_EQ("tvnet1", Title());
}

TEST_F(EditorWindowTest, AllRowsBridgedLeavesTheNatButtonSensitive)
{
   AddFixed(0, "eth0");
   AddFixed(3, "eth1");
   Open();
   EXPECT_TRUE(test::gtk::Get<Gtk::Button>(*editor, "NAT Settings...").get_sensitive());
}

TEST_F(EditorWindowTest, NatButtonFollowsTheTypeThatIsShown)
{
   AddUsualNetworks();
   Open();
   EXPECT_FALSE(test::gtk::Get<Gtk::Button>(*editor, "NAT Settings...").get_sensitive());
   Select(2);
   EXPECT_TRUE(test::gtk::Get<Gtk::Button>(*editor, "NAT Settings...").get_sensitive());
   Select(1);
   EXPECT_FALSE(test::gtk::Get<Gtk::Button>(*editor, "NAT Settings...").get_sensitive());
}

TEST_F(EditorWindowTest, DismissingTheWindowIsCancel)
{
   AddUsualNetworks();
   Open();
   SendDelete();
   EXPECT_FALSE(IsOpen());
   EXPECT_EQ("Quit", TakeRequest());
   EXPECT_EQ(std::nullopt, TakeRequest());
}

TEST_F(EditorWindowTest, EscapeIsCancel)
{
   AddUsualNetworks();
   Open();
   Press(GDK_KEY_Escape);
   EXPECT_FALSE(IsOpen());
   EXPECT_EQ("Quit", TakeRequest());
}

TEST_F(EditorWindowTest, IsLaidOutFor620By575AndGrowsNoFurtherThanItsContent)
{
   AddUsualNetworks();
   Open();
   int width = 0;
   int height = 0;
   editor->get_default_size(width, height);
   EXPECT_EQ(620, width);
   EXPECT_EQ(575, height);

   // Everything is on the screen whole, whatever is selected.
   int const firstHeight = editor->get_allocated_height();
   for (int row = 0; row < 3; ++row) {
      Select(row);
      for (Gtk::Label* const label : test::gtk::FindAll<Gtk::Label>(*editor)) {
         Gtk::Requisition minimum;
         Gtk::Requisition natural;
         label->get_preferred_size(minimum, natural);
         EXPECT_TRUE(test::gtk::WaitUntil([&] {
            return label->get_allocated_width() >= natural.width;
         })) << label->get_text()
             << " is cut off";
      }
      EXPECT_EQ(firstHeight, editor->get_allocated_height()) << "the layout jumps";
   }
}

TEST_F(EditorWindowTest, EntriesAreNamedForScreenReaders)
{
   AddUsualNetworks();
   Open();
   EXPECT_EQ("Subnet IP:", test::gtk::ReadAccessibleDescription(Subnet()));
   EXPECT_EQ("Subnet IP:", test::gtk::ReadAccessibleName(Subnet()));
   EXPECT_EQ("Subnet mask:", test::gtk::ReadAccessibleName(Mask()));
   EXPECT_EQ(&Combo(), test::gtk::FindNamed(*editor, "Bridged to:"));
   EXPECT_EQ("MTU *:", test::gtk::ReadAccessibleName(Mtu()));
   EXPECT_EQ("MTU value must be between 68 and 9194", test::gtk::ReadAccessibleDescription(Mtu()));
   EXPECT_EQ(4, Mtu().get_max_length());
}

TEST_F(EditorWindowTest, PresentSelfBringsAHiddenWindowBack)
{
   AddUsualNetworks();
   Open();
   editor->hide();
   editor->PresentSelf();
   EXPECT_TRUE(test::gtk::WaitUntilActive(*editor));
}

TEST_F(EditorWindowTest, SurvivesItsModel)
{
   auto dying = std::make_unique<netcfg::common::Editable>(8);
   dying->AddHostAdapter("eth0", "eth0");
   dying->AddNetwork(Network::Bridged, 0, true, {});
   dying->AddNetwork(Network::NAT, 8, true, {});
   editor =
      std::make_unique<netcfg::Editor>(dying.get(), reply.GetReadEnd(), request.GetWriteEnd());
   ASSERT_TRUE(test::gtk::ShowActive(*editor));
   editor->hide();
   dying.reset();
   test::gtk::Settle();
   EXPECT_FALSE(IsOpen());
}

TEST(EditorWithoutModelDeathTest, Panics)
{
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   EXPECT_EXIT(
      {
         test::gtk::Start();
         netcfg::Editor editor(nullptr, -1, -1);
      },
      testing::KilledBySignal(SIGABRT), "NOT_REACHED tvnetcfg/linux/editor:[0-9]+");
}

// --- mnemonics

TEST_F(EditorWindowTest, MnemonicsReachTheirControls)
{
   Add(Network::NAT, 8, "192.168.8.0");
   Open();
   Press(GDK_KEY_i, GDK_MOD1_MASK);
   EXPECT_EQ(&Subnet(), Focus());
   Press(GDK_KEY_d, GDK_MOD1_MASK);
   EXPECT_FALSE(At(8).GetHasDHCP());
   Press(GDK_KEY_v, GDK_MOD1_MASK);
   EXPECT_FALSE(At(8).GetHasVirtualAdapter());
   Press(GDK_KEY_o, GDK_MOD1_MASK);
   EXPECT_EQ(Network::HostOnly, At(8).GetType());
   Press(GDK_KEY_n, GDK_MOD1_MASK);
   EXPECT_EQ(Network::NAT, At(8).GetType());
   AddAdapters({"eth0"});
   Press(GDK_KEY_b, GDK_MOD1_MASK);
   EXPECT_EQ(Network::Bridged, At(8).GetType());
   Press(GDK_KEY_r, GDK_MOD1_MASK);
   EXPECT_EQ(nullptr, model.GetNetwork(8));
}

TEST_F(EditorWindowTest, DialogsOpenByTheirMnemonics)
{
   AddUsualNetworks();
   Open();
   Press(GDK_KEY_a, GDK_MOD1_MASK);
   ASSERT_TRUE(test::gtk::WaitUntil([] { return FindWindow("Add Virtual Network"); }));
   ReturnToWindow();
   Press(GDK_KEY_u, GDK_MOD1_MASK);
   ASSERT_TRUE(test::gtk::WaitUntil([] { return FindWindow("Automatic Bridging Settings"); }));
   ReturnToWindow();
   Select(2);
   Press(GDK_KEY_t, GDK_MOD1_MASK);
   EXPECT_TRUE(test::gtk::WaitUntil([] { return FindWindow("NAT Settings"); }));
}

TEST_F(EditorWindowTest, TheOneMnemonicThatStandsTwiceMovesBetweenItsControls)
{
   // Both are sensitive only if nothing has been toggled yet.
   AddFixed(0, "eth0");
   Open();
   auto const isIn = [this](Gtk::Widget& widget) {
      return Focus() && (Focus() == &widget || Focus()->is_ancestor(widget));
   };
   Press(GDK_KEY_t, GDK_MOD1_MASK);
   EXPECT_TRUE(isIn(Combo()));
   Press(GDK_KEY_t, GDK_MOD1_MASK);
   EXPECT_TRUE(isIn(test::gtk::Get<Gtk::Button>(*editor, "NAT Settings...")));
   Press(GDK_KEY_t, GDK_MOD1_MASK);
   EXPECT_TRUE(isIn(Combo()));
   EXPECT_FALSE(FindWindow("NAT Settings"));
}

} // namespace
