// SPDX-License-Identifier: GPL-2.0-or-later
#include "editorTest.hh"

#include "lui/channel.hh"
#include "support/rawChannel.hh"
#include "tvnetcfg/common/bridge.hh"

#include <algorithm>
#include <atkmm/object.h>
#include <poll.h>

namespace test {

using netcfg::common::Network;

void EditorTest::TearDown()
{
   editor.reset();
   lui::Utils::UnwatchPeer(reply.GetReadEnd());
   lui::Utils::UnwatchPeer(request.GetWriteEnd());
   Test::TearDown();
}

void EditorTest::Open()
{
   editor = std::make_unique<netcfg::Editor>(&model, reply.GetReadEnd(), request.GetWriteEnd());
   ASSERT_TRUE(gtk::ShowActive(*editor));
   gtk::Settle();
}

Network& EditorTest::Add(Network::Type type, unsigned int index, char const* subnet)
{
   Network* const network = model.AddNetwork(type, index, false, {});
   if (type != Network::Bridged) {
      network->SetSubnetAddr(subnet);
      network->SetSubnetMask("255.255.255.0");
      network->SetHasDHCP(true);
      network->SetHasVirtualAdapter(true);
   }
   return *network;
}

void EditorTest::AddAdapters(std::initializer_list<char const*> names)
{
   for (char const* const name : names) {
      model.AddHostAdapter(name, name);
   }
}

void EditorTest::AddUsualNetworks()
{
   AddAdapters({"eth0", "eth1"});
   Add(Network::Bridged, 0).GetBridge()->SetAuto(true, {});
   Add(Network::HostOnly, 1, "172.16.1.0");
   Add(Network::NAT, 8, "192.168.8.0");
}

Network& EditorTest::AddFixed(unsigned int index, char const* adapter)
{
   AddAdapters({adapter});
   Network& network = Add(Network::Bridged, index);
   network.GetBridge()->SetAdapter(adapter, {});
   return network;
}

Network& EditorTest::At(unsigned int index)
{
   Network* const network = model.GetNetwork(index);
   if (!network) {
      throw std::runtime_error("no network " + std::to_string(index));
   }
   return *network;
}

Gtk::TreeView& EditorTest::List()
{
   return *gtk::FindAll<Gtk::TreeView>(*editor).at(0);
}

lui::Frame& EditorTest::Details()
{
   return *gtk::FindAll<lui::Frame>(*editor).at(0);
}

std::string EditorTest::Title()
{
   return Details().get_accessible()->get_name();
}

Gtk::ComboBox& EditorTest::Combo()
{
   return *gtk::FindAll<Gtk::ComboBox>(*editor).at(0);
}

lui::IPEntry& EditorTest::Subnet()
{
   return *gtk::FindAll<lui::IPEntry>(*editor).at(0);
}

lui::IPEntry& EditorTest::Mask()
{
   return *gtk::FindAll<lui::IPEntry>(*editor).at(1);
}

Gtk::Entry& EditorTest::Mtu()
{
   return *gtk::FindAll<Gtk::Entry>(*editor).at(2);
}

Gtk::ToggleButton& EditorTest::Toggle(std::string const& text)
{
   return gtk::Get<Gtk::ToggleButton>(*editor, text);
}

std::string EditorTest::ReadCell(int row, std::string const& title)
{
   std::vector<std::string> const titles = gtk::ReadTitles(List());
   auto const column = std::find(titles.begin(), titles.end(), title) - titles.begin();
   return gtk::ReadRow(List(), row).at(static_cast<std::size_t>(column));
}

std::vector<std::string> EditorTest::Adapters()
{
   std::vector<std::string> rows;
   for (Gtk::TreeModel::Row const& row : Combo().get_model()->children()) {
      Glib::ustring name;
      Glib::ustring note;
      bool isEnabled = false;
      row.get_value(0, name);
      row.get_value(1, note);
      row.get_value(2, isEnabled);
      rows.push_back((isEnabled ? "" : "-") + name + (note.empty() ? "" : " " + note));
   }
   return rows;
}

void EditorTest::TypeInto(Gtk::Entry& entry, char const* text)
{
   ClickInto(entry);
   gtk::TypeInto(entry, text);
}

std::string EditorTest::DismissError()
{
   if (!gtk::WaitUntil([] { return gtk::FindWindow("Error"); })) {
      return "(no error)";
   }
   Gtk::Window& error = *gtk::FindWindow("Error");
   std::string const text = gtk::ReadLabel(error);
   gtk::Click(gtk::Get<Gtk::Button>(error, "Close"));
   EXPECT_TRUE(gtk::WaitUntil([] { return !gtk::FindWindow("Error"); }));
   EXPECT_TRUE(gtk::WaitUntilActive(*editor)) << "the window didn't get the keyboard back";
   return text;
}

void EditorTest::ReturnToWindow()
{
   gdk_window_focus(editor->get_window()->gobj(), GDK_CURRENT_TIME);
   EXPECT_TRUE(gtk::WaitUntilActive(*editor));
   gtk::Settle();
}

void EditorTest::Answer(std::string const& text)
{
   ASSERT_TRUE(WriteMessage(reply.GetWriteEnd(), text));
}

std::optional<std::string> EditorTest::TakeRequest()
{
   pollfd input{request.GetReadEnd(), POLLIN, 0};
   if (poll(&input, 1, 0) != 1 || !(input.revents & POLLIN)) {
      return std::nullopt;
   }
   return ReadMessage(request.GetReadEnd());
}

} // namespace test
