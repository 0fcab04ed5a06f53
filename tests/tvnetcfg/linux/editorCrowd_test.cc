// SPDX-License-Identifier: GPL-2.0-or-later
// How long the user waits where there is much to be shown: 256 networks, 64 host adapters and 5,000
// port forwards on one network. Prints each time until the window is drawn anew, and until the
// toolkit is at rest, which measures rows out of sight in between. The bound is far above what a
// slow machine needs, and far below what anything that isn't linear would.
#include "editorTest.hh"

#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/nat.hh"
#include "tvnetcfg/linux/mapPortDlg.hh"
#include "tvnetcfg/linux/natSettingsDlg.hh"

#include <chrono>
#include <cstdio>
#include <functional>
#include <gtkmm/scrolledwindow.h>
#include <gtkmm/spinbutton.h>

namespace test {

namespace {

using netcfg::common::NAT;
using netcfg::common::Network;
using Clock = std::chrono::steady_clock;

constexpr unsigned int NETWORKS = 256;
constexpr unsigned int ADAPTERS = 64;
constexpr unsigned int FORWARDS = 5000;
// The row and the index of the network that has them.
constexpr int BUSY = 200;

#ifdef __SANITIZE_ADDRESS__
constexpr double BOUND_IN_MILLISECONDS = 20000;
#else
constexpr double BOUND_IN_MILLISECONDS = 2000;
#endif

NAT::PortForwardList MakeForwards()
{
   NAT::PortForwardList list;
   for (unsigned int i = 0; i < FORWARDS; ++i) {
      std::string const address = "10.20.200." + std::to_string(2 + i % 250);
      std::string const description = "Forward " + std::to_string(i);
      list.push_back({static_cast<std::uint16_t>(10000 + i), 80, i % 2 == 0, address.c_str(),
                      description.c_str()});
   }
   return list;
}

double GetMilliseconds(Clock::time_point begin)
{
   return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

void WaitUntilDrawn(Gtk::Window& window)
{
   bool isDrawn = false;
   GdkFrameClock* const clock = gtk_widget_get_frame_clock(GTK_WIDGET(window.gobj()));
   gulong const handler = g_signal_connect(
      clock, "after-paint",
      G_CALLBACK(+[](GdkFrameClock*, void* data) { *static_cast<bool*>(data) = true; }), &isDrawn);
   window.queue_draw();
   EXPECT_TRUE(gtk::WaitUntil([&isDrawn] { return isDrawn; }));
   g_signal_handler_disconnect(clock, handler);
}

// From row to row, so that nothing is drawn that was drawn before.
void Scroll(Gtk::TreeView& view)
{
   Glib::RefPtr<Gtk::Adjustment> const place =
      dynamic_cast<Gtk::ScrolledWindow&>(*view.get_parent()).get_vadjustment();
   place->set_value(place->get_value() + place->get_page_size());
}

class EditorCrowdTest : public EditorTest {
protected:
   void SetUp() override
   {
      for (unsigned int i = 0; i < NETWORKS; ++i) {
         std::string const subnet = "10.20." + std::to_string(i) + ".0";
         if (i < ADAPTERS) {
            std::string const adapter = "enp" + std::to_string(i) + "s0";
            AddFixed(i, adapter.c_str());
         } else {
            Add(i % 2 ? Network::HostOnly : Network::NAT, i, subnet.c_str());
         }
      }
      At(BUSY).GetNAT()->SetPortForwardList(MakeForwards());
   }

   void Measure(char const* what, Gtk::Window& window, std::function<void()> const& action)
   {
      auto const begin = Clock::now();
      action();
      Judge(what, window, begin);
   }

   void Judge(char const* what, Gtk::Window& window, Clock::time_point begin)
   {
      WaitUntilDrawn(window);
      double const drawn = GetMilliseconds(begin);
      gtk::Settle();
      std::printf("%-30s drawn after %6.1f ms, at rest after %6.1f ms\n", what, drawn,
                  GetMilliseconds(begin));
      EXPECT_LT(drawn, BOUND_IN_MILLISECONDS) << what;
   }

   void MeasureOpening()
   {
      auto const begin = Clock::now();
      editor = std::make_unique<netcfg::Editor>(&model, reply.GetReadEnd(), request.GetWriteEnd());
      editor->present();
      Judge("open the main window", *editor, begin);
      ASSERT_TRUE(gtk::WaitUntilActive(*editor));
   }

   void SelectAndDraw(int row) { List().set_cursor(Gtk::TreePath(std::to_string(row))); }

   Gtk::Window& OpenNatSettings()
   {
      Gtk::Button& button = gtk::Get<Gtk::Button>(*editor, "NAT Settings...");
      auto const begin = Clock::now();
      button.clicked();
      Gtk::Window& dlg = *gtk::FindWindow("NAT Settings");
      Judge("open NAT settings", dlg, begin);
      return dlg;
   }

   // Lets the dialog of one port forward do it, up to the table being whole again.
   void MeasurePort(char const* what, Gtk::Window& dlg, char const* button)
   {
      gtk::Get<Gtk::Button>(dlg, button).clicked();
      Gtk::Window& port = *gtk::FindWindow("Map Incoming Port");
      gtk::WaitForLayout(port);
      gtk::Get<Gtk::SpinButton>(port, "Virtual machine port:").set_value(443);
      Measure(what, dlg, [&port] { gtk::Get<Gtk::Button>(port, "Save").clicked(); });
   }

   std::size_t CountForwards() { return At(BUSY).GetNAT()->GetPortForwardList().size(); }
};

} // namespace

TEST_F(EditorCrowdTest, TheMainWindowAnswersWithoutAVisibleWait)
{
   MeasureOpening();
   Measure("select a bridged network", *editor, [this] { SelectAndDraw(30); });
   Measure("select a host-only network", *editor, [this] { SelectAndDraw(201); });
   Measure("select a NAT network", *editor, [this] { SelectAndDraw(BUSY); });
   Measure("walk past 50 networks", *editor, [this] {
      for (int row = 10; row < 60; ++row) {
         SelectAndDraw(row);
      }
   });
   SelectAndDraw(BUSY);
   Measure("toggle a check", *editor, [this] { Toggle(dhcpText).set_active(false); });
   Measure("scroll the list by a page", *editor, [this] { Scroll(List()); });
   Measure("change the type to host-only", *editor,
           [this] { Toggle(hostOnlyText).set_active(true); });
   Measure("remove a network", *editor,
           [this] { gtk::Get<Gtk::Button>(*editor, "Remove Network").clicked(); });
   EXPECT_EQ(static_cast<int>(NETWORKS) - 1, gtk::CountRows(List()));
   EXPECT_FALSE(model.GetNetwork(BUSY));
}

TEST_F(EditorCrowdTest, FiveThousandPortForwardsAreEditedWithoutAVisibleWait)
{
   MeasureOpening();
   SelectAndDraw(BUSY);
   Gtk::Window& dlg = OpenNatSettings();
   Gtk::TreeView& table = *gtk::FindAll<Gtk::TreeView>(dlg).at(0);
   ASSERT_EQ(static_cast<int>(FORWARDS), gtk::CountRows(table));
   Measure("scroll the forwards by a page", dlg, [&table] { Scroll(table); });
   Measure("go to the last forward", dlg,
           [&table] { table.set_cursor(Gtk::TreePath(std::to_string(FORWARDS - 1))); });
   Measure("remove a forward", dlg, [&dlg] { gtk::Get<Gtk::Button>(dlg, "Remove").clicked(); });
   MeasurePort("add a forward", dlg, "Add");
   table.set_cursor(Gtk::TreePath("2500"));
   MeasurePort("edit a forward", dlg, "Edit");
   Gtk::TreePath first;
   Gtk::TreePath last;
   EXPECT_TRUE(table.get_visible_range(first, last));
   EXPECT_LE(first, Gtk::TreePath("2500"));
   EXPECT_GE(last, Gtk::TreePath("2500"));
   EXPECT_EQ(static_cast<int>(FORWARDS), gtk::CountRows(table));
   Measure("save NAT settings", *editor, [&dlg] { gtk::Get<Gtk::Button>(dlg, "Save").clicked(); });
   EXPECT_EQ(FORWARDS, CountForwards());
}

} // namespace test
