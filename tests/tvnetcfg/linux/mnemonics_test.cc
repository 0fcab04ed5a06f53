// SPDX-License-Identifier: GPL-2.0-or-later
// Alt and a letter, in every window. What the keys are is asked of the windows themselves.
#include "mnemonics.hh"
#include "windowStates.hh"

#include <gdk/gdkkeysyms.h>
#include <gmock/gmock.h>
#include <gtkmm/label.h>
#include <gtkmm/radiobutton.h>
#include <gtkmm/togglebutton.h>
#include <map>
#include <set>

namespace {

using test::FindMnemonics;
using test::WindowState;
using testing::UnorderedElementsAreArray;
using Names = std::vector<std::string>;

constexpr char letters[] = "abcdefghijklmnopqrstuvwxyz0123456789";

// Counts the clicks that keys make; the buttons of dialogs do nothing meanwhile.
class Clicks {
public:
   explicit Clicks(Gtk::Window& window)
   {
      for (Gtk::Button* const button : test::gtk::FindAll<Gtk::Button>(window)) {
         handlers.emplace_back(button->gobj(),
                               g_signal_connect(button->gobj(), "clicked", G_CALLBACK(Take), this));
      }
   }
   Clicks(Clicks const&) = delete;
   Clicks& operator=(Clicks const&) = delete;
   ~Clicks()
   {
      for (auto const& [button, handler] : handlers) {
         g_signal_handler_disconnect(button, handler);
      }
   }

   std::set<Gtk::Widget*> clicked;

private:
   static void Take(GtkButton* button, void* self)
   {
      static_cast<Clicks*>(self)->clicked.insert(Glib::wrap(GTK_WIDGET(button)));
      if (!GTK_IS_TOGGLE_BUTTON(button)) {
         g_signal_stop_emission_by_name(button, "clicked");
      }
   }

   std::vector<std::pair<GtkButton*, gulong>> handlers;
};

class MnemonicsTest : public test::WindowStatesTest {
protected:
   // Presses the key as often as it has sensitive owners, and names the controls that it reached:
   // those that had the focus, or the buttons that were pressed.
   Names PressAll(unsigned int key, std::vector<Gtk::Widget*> const& targets)
   {
      Names reached;
      for (std::size_t press = 0; press < targets.size(); ++press) {
         reached.push_back(targets.size() == 1 && dynamic_cast<Gtk::Button*>(targets.front())
                              ? PressButton(key, *targets.front())
                              : PressFocus(key));
      }
      return reached;
   }

   std::string PressFocus(unsigned int key)
   {
      Clicks const clicks(*window);
      PressIn(key, GDK_MOD1_MASK);
      EXPECT_TRUE(clicks.clicked.empty()) << "a button was pressed";
      return GetFocus() ? Describe(*GetFocus()) : "(nothing)";
   }

   // A button that a key presses acts a moment later. One with a state has the focus, too.
   std::string PressButton(unsigned int key, Gtk::Widget& target)
   {
      Clicks const clicks(*window);
      PressIn(key, GDK_MOD1_MASK);
      EXPECT_TRUE(test::gtk::WaitUntil([&] { return clicks.clicked.count(&target) != 0; }))
         << Describe(target) << " wasn't pressed";
      test::gtk::Settle();
      if (dynamic_cast<Gtk::ToggleButton*>(&target)) {
         return GetFocus() ? Describe(*GetFocus()) : "(nothing)";
      }
      EXPECT_EQ(1u, clicks.clicked.size());
      return Describe(target);
   }

   // What is on among the buttons with a state.
   std::map<Gtk::ToggleButton*, bool> GetSwitches()
   {
      std::map<Gtk::ToggleButton*, bool> switches;
      for (auto* const one : test::gtk::FindAll<Gtk::ToggleButton>(*window)) {
         switches[one] = one->get_active();
      }
      return switches;
   }

   void Restore(std::map<Gtk::ToggleButton*, bool> const& switches)
   {
      for (auto const& [one, isOn] : switches) {
         if (isOn || !dynamic_cast<Gtk::RadioButton*>(one)) {
            one->set_active(isOn);
         }
      }
      test::gtk::Settle();
   }

   // The sensitive owners of a key.
   std::vector<Gtk::Widget*> GetTargets(unsigned int key)
   {
      std::vector<Gtk::Widget*> targets;
      auto const mnemonics = FindMnemonics(*window);
      auto const [begin, end] = mnemonics.equal_range(key);
      for (auto one = begin; one != end; ++one) {
         if (one->second.target && one->second.target->is_sensitive()) {
            targets.push_back(one->second.target);
         }
      }
      return targets;
   }

   Names DescribeAll(std::vector<Gtk::Widget*> const& widgets)
   {
      Names names;
      for (Gtk::Widget* const widget : widgets) {
         names.push_back(Describe(*widget));
      }
      return names;
   }

   bool IsEditor() const { return window == editor.get(); }
};

TEST_P(MnemonicsTest, EachReachesItsControlAndOtherLettersNone)
{
   OpenState();
   for (char const* letter = letters; *letter; ++letter) {
      unsigned int const key = gdk_unicode_to_keyval(static_cast<unsigned char>(*letter));
      std::vector<Gtk::Widget*> const targets = GetTargets(key);
      if (targets.empty()) {
         Gtk::Widget* const before = GetFocus();
         Clicks const clicks(*window);
         PressIn(key, GDK_MOD1_MASK);
         EXPECT_EQ(before, GetFocus()) << *letter;
         EXPECT_TRUE(clicks.clicked.empty()) << *letter;
      } else {
         Names const expected = DescribeAll(targets);
         auto const switches = GetSwitches();
         EXPECT_THAT(PressAll(key, targets), UnorderedElementsAreArray(expected)) << *letter;
         Restore(switches);
      }
   }
}

TEST_P(MnemonicsTest, EachHasAControl)
{
   OpenState();
   for (auto const& [key, mnemonic] : FindMnemonics(*window)) {
      EXPECT_TRUE(mnemonic.target) << mnemonic.text;
      EXPECT_TRUE(mnemonic.target && mnemonic.target->get_mapped()) << mnemonic.text;
   }
}

TEST_P(MnemonicsTest, OnlyTheKeysThatShareOneByDesignStandTwice)
{
   OpenState();
   std::map<unsigned int, std::set<std::string>> texts;
   for (auto const& [key, mnemonic] : FindMnemonics(*window)) {
      EXPECT_TRUE(texts[key].insert(mnemonic.text).second) << mnemonic.text;
   }
   std::set<std::set<std::string>> shared;
   for (auto const& [key, owners] : texts) {
      if (owners.size() > 1) {
         shared.insert(owners);
      }
   }
   std::set<std::set<std::string>> expected;
   if (IsEditor()) {
      expected.insert({"Bridged _to:", "NA_T Settings..."});
   } else if (GetParam().state == WindowState::NAT_SETTINGS ||
              GetParam().state == WindowState::NAT_SETTINGS_IPV6) {
      expected.insert({"_Edit", "_Enable IPv6 NAT"});
   }
   EXPECT_EQ(expected, shared);
}

TEST_P(MnemonicsTest, OnlyTheControlsWithoutAKeyByDesignHaveNone)
{
   OpenState();
   std::set<Gtk::Widget*> targets;
   for (auto const& [key, mnemonic] : FindMnemonics(*window)) {
      targets.insert(mnemonic.target);
   }
   std::vector<Gtk::Widget*> without;
   for (Gtk::Widget* const control : GetControls()) {
      if (!targets.count(control)) {
         without.push_back(control);
      }
   }
   std::map<WindowState, Names> const expected = {
      {WindowState::ADD_NETWORK, {"Add", "Cancel"}},
      {WindowState::AUTO_BRIDGE,
       {"Automatically bridge to one of these host network adapters:", "Close", "Help"}},
      {WindowState::NAT_SETTINGS, {"Gateway IP:", "Save", "Cancel", "Help"}},
      {WindowState::NAT_SETTINGS_IPV6, {"Gateway IP:", "Save", "Cancel", "Help"}},
      {WindowState::MAP_PORT, {"Save", "Cancel", "Help"}},
      {WindowState::FAILURE, {"tvnet8: Invalid MTU value. Must be between 68 and 9194.", "Close"}}};
   Names names = {"Virtual networks", "Save", "Cancel", "Help"};
   if (auto const found = expected.find(GetParam().state); found != expected.end()) {
      names = found->second;
   } else if (Subnet().is_sensitive()) {
      names.insert(names.end(), {"Subnet mask:", "MTU *:"});
   }
   EXPECT_THAT(DescribeAll(without), UnorderedElementsAreArray(names));
}

INSTANTIATE_TEST_SUITE_P(In, MnemonicsTest, testing::ValuesIn(test::windowStates), test::NameState);

} // namespace
