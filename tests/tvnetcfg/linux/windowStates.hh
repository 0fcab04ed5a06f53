// SPDX-License-Identifier: GPL-2.0-or-later
// Every window of the program, in every state that decides what the keyboard reaches.
#pragma once

#include "editorTest.hh"

#include <gtkmm/button.h>
#include <ostream>
#include <string>
#include <vector>

namespace test {

enum class WindowState {
   AUTOMATIC,
   FIXED,
   NAT,
   HOST_ONLY,
   ALL_BRIDGED, // no type was ever changed, so that the NAT button is still on
   NO_NETWORK,
   ADD_NETWORK,
   AUTO_BRIDGE,
   NAT_SETTINGS,
   NAT_SETTINGS_IPV6,
   MAP_PORT,
   FAILURE, // an error
};

struct StateName {
   WindowState state;
   char const* name;
   // What has the keyboard when the window comes up.
   char const* start;
};

inline constexpr StateName windowStates[] = {
   {WindowState::AUTOMATIC, "AutomaticNetwork", "Virtual networks"},
   {WindowState::FIXED, "FixedNetwork", "Virtual networks"},
   {WindowState::NAT, "NatNetwork", "Virtual networks"},
   {WindowState::HOST_ONLY, "HostOnlyNetwork", "Virtual networks"},
   {WindowState::ALL_BRIDGED, "AllBridged", "Virtual networks"},
   {WindowState::NO_NETWORK, "NoNetwork", "Virtual networks"},
   {WindowState::ADD_NETWORK, "AddNetwork", "Network name:"},
   {WindowState::AUTO_BRIDGE, "AutomaticBridging",
    "Automatically bridge to one of these host network adapters:"},
   {WindowState::NAT_SETTINGS, "NatSettings", "Gateway IP:"},
   {WindowState::NAT_SETTINGS_IPV6, "NatSettingsWithIPv6", "Gateway IP:"},
   {WindowState::MAP_PORT, "MapPort", "Host port:"},
   {WindowState::FAILURE, "Error", "Close"},
};

inline std::string NameState(testing::TestParamInfo<StateName> const& info)
{
   return info.param.name;
}

inline void PrintTo(StateName const& state, std::ostream* out)
{
   *out << state.name;
}

class WindowStatesTest : public EditorTest, public testing::WithParamInterface<StateName> {
protected:
   // The window under test, opened as a user would, with the keyboard.
   Gtk::Window& OpenState();

   void PressIn(unsigned int symbol, unsigned int modifiers = 0)
   {
      gtk::PressKey(*window, symbol, modifiers);
   }
   // What a user calls the widget: its label, or the list.
   static std::string Describe(Gtk::Widget& widget);
   // The control that has the focus, with parts of it taken for the whole.
   Gtk::Widget* GetFocus();
   // The controls that the keyboard could reach: on the screen, sensitive and willing.
   std::vector<Gtk::Widget*> GetControls();

   Gtk::Window* window = nullptr;

private:
   void FillModel();
   void SelectFirst();
   Gtk::Window& OpenDialog(char const* button, char const* title);
};

} // namespace test
