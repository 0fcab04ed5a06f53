// SPDX-License-Identifier: GPL-2.0-or-later
#include "windowStates.hh"

#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/nat.hh"

#include <gtkmm/combobox.h>
#include <gtkmm/entry.h>
#include <gtkmm/label.h>
#include <gtkmm/treeview.h>

namespace test {

namespace {

using netcfg::common::Network;

Gtk::Widget* FindCombo(Gtk::Widget* widget)
{
   GtkWidget* const combo = gtk_widget_get_ancestor(widget->gobj(), GTK_TYPE_COMBO_BOX);
   return combo ? Glib::wrap(combo) : nullptr;
}

// A text that can be copied.
bool IsSelectable(Gtk::Widget& widget)
{
   auto* const label = dynamic_cast<Gtk::Label*>(&widget);
   return label && label->get_selectable();
}

bool IsColumnTitle(Gtk::Widget& widget)
{
   return dynamic_cast<Gtk::Button*>(&widget) &&
          gtk_widget_get_ancestor(widget.gobj(), GTK_TYPE_TREE_VIEW);
}

} // namespace

// The state's network comes first, and is thus the one that is selected.
void WindowStatesTest::FillModel()
{
   WindowState const state = GetParam().state;
   AddAdapters({"eth0", "eth1", "eth2"});
   if (state == WindowState::NO_NETWORK) {
      return;
   }
   if (state == WindowState::AUTOMATIC || state == WindowState::AUTO_BRIDGE ||
       state == WindowState::ALL_BRIDGED) {
      Add(Network::Bridged, 0).GetBridge()->SetAuto(false, {});
      At(0).GetBridge()->AddAutoAdapter("eth0", {});
   } else if (state == WindowState::FIXED) {
      Add(Network::Bridged, 0).GetBridge()->SetAdapter("eth0", {});
   } else if (state == WindowState::HOST_ONLY) {
      Add(Network::HostOnly, 1, "172.16.1.0");
   }
   if (state != WindowState::ALL_BRIDGED) {
      Network& network = Add(Network::NAT, 8, "192.168.8.0");
      network.GetNAT()->SetPortForwardList({{8080, 80, true, "192.168.8.128", "Web server"}});
      network.GetNAT()->SetIPv6Prefix("fd00:1::/64");
      network.GetNAT()->SetEnableIPv6(state == WindowState::NAT_SETTINGS_IPV6);
   }
}

Gtk::Window& WindowStatesTest::OpenDialog(char const* button, char const* title)
{
   gtk::Click(gtk::Get<Gtk::Button>(*window, button));
   EXPECT_TRUE(gtk::WaitUntil([title] { return gtk::FindWindow(title); })) << title;
   Gtk::Window* const dialog = gtk::FindWindow(title);
   if (!dialog) {
      throw std::runtime_error("no such window");
   }
   EXPECT_TRUE(gtk::WaitUntilActive(*dialog));
   gtk::WaitForLayout(*dialog);
   return *(window = dialog);
}

Gtk::Window& WindowStatesTest::OpenState()
{
   FillModel();
   if (GetParam().state == WindowState::FAILURE) {
      At(8).SetMTU("1");
   }
   Open();
   window = editor.get();
   switch (GetParam().state) {
   case WindowState::ADD_NETWORK:
      return OpenDialog("Add Network...", "Add Virtual Network");
   case WindowState::AUTO_BRIDGE:
      return OpenDialog("Automatic Settings...", "Automatic Bridging Settings");
   case WindowState::NAT_SETTINGS:
   case WindowState::NAT_SETTINGS_IPV6:
      return OpenDialog("NAT Settings...", "NAT Settings");
   case WindowState::MAP_PORT:
      OpenDialog("NAT Settings...", "NAT Settings");
      return OpenDialog("Add", "Map Incoming Port");
   case WindowState::FAILURE:
      return OpenDialog("Save", "Error");
   default:
      return *window;
   }
}

std::string WindowStatesTest::Describe(Gtk::Widget& widget)
{
   std::string const name = gtk::ReadAccessibleName(widget);
   if (!name.empty() && !dynamic_cast<Gtk::RadioButton*>(&widget)) {
      return name;
   }
   std::string const label = gtk::ReadLabel(widget);
   if (!label.empty()) {
      return label;
   }
   std::string const description = gtk::ReadAccessibleDescription(widget);
   if (!description.empty()) {
      return description;
   }
   return "(nameless)";
}

Gtk::Widget* WindowStatesTest::GetFocus()
{
   Gtk::Widget* const focus = window->get_focus();
   Gtk::Widget* const combo = focus ? FindCombo(focus) : nullptr;
   return combo ? combo : focus;
}

std::vector<Gtk::Widget*> WindowStatesTest::GetControls()
{
   std::vector<Gtk::Widget*> controls;
   for (Gtk::Widget* const widget : gtk::FindAll<Gtk::Widget>(*window)) {
      bool const isControl = dynamic_cast<Gtk::Button*>(widget) ||
                             dynamic_cast<Gtk::Entry*>(widget) ||
                             dynamic_cast<Gtk::TreeView*>(widget) ||
                             dynamic_cast<Gtk::ComboBox*>(widget) || IsSelectable(*widget);
      Gtk::Widget* const combo = FindCombo(widget);
      if (isControl && widget->is_sensitive() && !IsColumnTitle(*widget) &&
          (!combo || combo == widget)) {
         controls.push_back(widget);
      }
   }
   return controls;
}

} // namespace test
