// SPDX-License-Identifier: GPL-2.0-or-later
// A main window over a model that the test makes, with real pipes in the server's place.
#pragma once

#include "lib/utf/print.hh"
#include "lui/frame.hh"
#include "lui/ipEntry.hh"
#include "support/gtk/find.hh"
#include "support/gtk/input.hh"
#include "support/gtk/loop.hh"
#include "support/testProcess.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/linux/editor.hh"

#include <gtest/gtest.h>
#include <gtkmm/combobox.h>
#include <memory>
#include <optional>
#include <string>

namespace test {

class EditorTest : public gtk::Test {
protected:
   // Ends the window and what is left of the channel.
   void TearDown() override;

   // Shows the window, with the keyboard in it. The model has what it's to have by now.
   void Open();

   // Adds a network as the server's snapshot brings it: hosted ones with this subnet and the mask
   // of 24 bits, bridged ones without an adapter.
   netcfg::common::Network& Add(netcfg::common::Network::Type type, unsigned int index,
                                char const* subnet = "");
   // tvnet0, automatic with eth0 and eth1; tvnet1, host-only; tvnet8, NAT.
   void AddUsualNetworks();
   void AddAdapters(std::initializer_list<char const*> names);
   // A network on one adapter, which is added to the host.
   netcfg::common::Network& AddFixed(unsigned int index, char const* adapter);
   netcfg::common::Network& At(unsigned int index);

   // What the window has.
   Gtk::TreeView& List();
   lui::Frame& Details();
   // The title of the frame.
   std::string Title();
   Gtk::ComboBox& Combo();
   lui::IPEntry& Subnet();
   lui::IPEntry& Mask();
   Gtk::Entry& Mtu();
   Gtk::ToggleButton& Toggle(std::string const& text);
   // A row of the adapters: "name note", with a minus before one that can't be chosen.
   std::vector<std::string> Adapters();

   // The text of a row's cell, by the title of its column.
   std::string ReadCell(int row, std::string const& title);

   // What the user does.
   void Select(int row)
   {
      gtk::ClickCell(List(), row, 0);
      EXPECT_EQ(row, gtk::GetSelectedRow(List())) << "the click went elsewhere";
   }
   void Click(std::string const& button) { gtk::Click(gtk::Get<Gtk::Button>(*editor, button)); }
   void ClickInto(Gtk::Entry& entry) { gtk::Click(entry); }
   void Type(char const* text) { gtk::TypeText(*editor, text); }
   void Press(unsigned int symbol, unsigned int modifiers = 0)
   {
      gtk::PressKey(*editor, symbol, modifiers);
   }
   // Clicks into the entry and types over what is there.
   void TypeInto(Gtk::Entry& entry, char const* text);
   // Waits for the error, reads it and closes it.
   std::string DismissError();
   // Gives the window the keyboard while a dialog stays over it, as a click on its frame would.
   void ReturnToWindow();
   bool IsOpen() { return editor->get_mapped(); }

   // What the server does.
   void Answer(std::string const& text);
   // The next message that was sent; empty if there is none.
   std::optional<std::string> TakeRequest();

   netcfg::common::Editable model{20};
   test::Pipe request;
   test::Pipe reply;
   std::unique_ptr<netcfg::Editor> editor;
};

// The texts of the window that tests look for more than once.
inline constexpr char bridgedText[] = "Bridged (connect VMs directly to the external network)";
inline constexpr char natText[] = "NAT (share host's IP address with VMs)";
inline constexpr char hostOnlyText[] = "Host-only (connect VMs internally in a private network)";
inline constexpr char dhcpText[] = "Use local DHCP service to distribute IP addresses to VMs";
// A cell that doesn't apply.
inline constexpr char bar[] = "\xE2\x80\x95";

} // namespace test
