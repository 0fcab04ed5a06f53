// SPDX-License-Identifier: GPL-2.0-or-later
#include "natDialogTest.hh"

#include "tvnetcfg/linux/mapPortDlg.hh"

#include <algorithm>

namespace netcfg {

NatDialogTest::NatDialogTest()
   : network(*editable->AddNetwork(common::Network::NAT, 8, true, {})), nat(*network.GetNAT())
{
   network.SetSubnetAddr("192.168.20.0");
   nat.SetGatewayIP("192.168.20.2");
   nat.SetConfigPort(33445);
   nat.SetUDPTimeout(60);
   nat.SetIPv6Prefix("fd15:4ba5:5a2b:1002::/64");
   nat.SetPortForwardList({{8080, 80, true, "192.168.20.128", "Web server"},
                           {53535, 53, false, "192.168.20.129", "DNS"}});
   nat.changed.connect([this] { ++heard; });
}

Gtk::TreeView& NatDialogTest::GetTable()
{
   return *test::gtk::FindAll<Gtk::TreeView>(GetWindow()).at(0);
}

std::string NatDialogTest::ReadWarning()
{
   auto const boxes = test::gtk::FindAll<lui::IconLabelBox>(GetWindow());
   return boxes.empty() ? std::string() : test::gtk::ReadLabel(*boxes.front());
}

Gtk::Window* NatDialogTest::FindPortDlg()
{
   return test::gtk::FindWindow("Map Incoming Port");
}

Gtk::Window& NatDialogTest::GetPortDlg()
{
   EXPECT_TRUE(test::gtk::WaitUntil([this] { return FindPortDlg() != nullptr; }));
   Gtk::Window* const window = FindPortDlg();
   if (!window) {
      throw std::runtime_error("no port dialog");
   }
   EXPECT_TRUE(test::gtk::ShowActive(*window));
   return *window;
}

void NatDialogTest::EnterPort(std::string const& hostPort, std::string const& button)
{
   Gtk::Window& window = GetPortDlg();
   test::gtk::TypeInto(test::gtk::Get<Gtk::SpinButton>(window, "Host port:"), hostPort);
   test::gtk::Click(test::gtk::Get<Gtk::Button>(window, button));
}

int NatDialogTest::CountPortDlgs()
{
   auto const windows = Gtk::Window::list_toplevels();
   return static_cast<int>(std::count_if(windows.begin(), windows.end(), [](Gtk::Window* window) {
      return dynamic_cast<MapPortDlg*>(window);
   }));
}

void NatDialogTest::WatchTable()
{
   GetTable().get_model()->signal_row_deleted().connect(
      [this](Gtk::TreePath const&) { ++rowsDeleted; });
}

} // namespace netcfg
