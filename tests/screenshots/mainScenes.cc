// SPDX-License-Identifier: GPL-2.0-or-later
#include "screenshots/models.hh"
#include "screenshots/scenes.hh"
#include "support/gtk/find.hh"
#include "tvnetcfg/linux/editor.hh"

#include <gtkmm/combobox.h>

namespace screenshots {

using netcfg::Editor;
using netcfg::common::Editable;
using test::gtk::FindAll;

namespace {

constexpr unsigned int MAX_NETWORKS = 100;
constexpr int NO_CHANNEL = -1;

void SelectRow(Editor& editor, int row)
{
   Gtk::TreeView& list = *FindAll<Gtk::TreeView>(editor).front();
   Gtk::TreePath const path(std::to_string(row));
   list.scroll_to_row(path);
   list.set_cursor(path);
   test::gtk::Settle();
}

void ShootTypes(Editor& editor, Camera& camera)
{
   char const* const names[] = {"main-automatic", "main-hostonly", "main-bridged", "main-nat",
                                "main-nat-blank"};
   int row = 0;
   for (char const* const name : names) {
      SelectRow(editor, row++);
      camera.Shoot(editor, name);
   }
}

// The list of adapters stands over a window of its own.
void ShootAdapters(Editor& editor, Camera& camera)
{
   for (auto const& [row, name] : {std::pair{0, "main-adapters"}, {2, "main-adapters-taken"}}) {
      SelectRow(editor, row);
      Gtk::ComboBox& adapters = *FindAll<Gtk::ComboBox>(editor).front();
      adapters.grab_focus();
      test::gtk::PressKey(editor, GDK_KEY_Down, GDK_MOD1_MASK);
      camera.ShootScreen(name);
      adapters.popdown();
      test::gtk::Settle();
   }
}

// Where the keyboard is must be plain to see, whatever has it.
void ShootFocus(Editor& editor, Camera& camera)
{
   SelectRow(editor, 3);
   FindAll<Gtk::RadioButton>(editor).at(1)->grab_focus();
   camera.Shoot(editor, "main-focus-radio");
   FindAll<Gtk::Entry>(editor).front()->grab_focus();
   camera.Shoot(editor, "main-focus-entry");
   FindAll<Gtk::Button>(editor).front()->grab_focus();
   camera.Shoot(editor, "main-focus-button");
}

void ShootUsualNetworks(Camera& camera)
{
   Editable model(MAX_NETWORKS);
   AddUsualNetworks(model);
   Editor editor(&model, NO_CHANNEL, NO_CHANNEL);
   test::gtk::ShowActive(editor);
   ShootTypes(editor, camera);
   ShootAdapters(editor, camera);
   ShootFocus(editor, camera);
   editor.hide();
}

void ShootManyNetworks(Camera& camera)
{
   Editable model(MAX_NETWORKS);
   AddManyNetworks(model);
   Editor editor(&model, NO_CHANNEL, NO_CHANNEL);
   test::gtk::ShowActive(editor);
   SelectRow(editor, 20);
   camera.Shoot(editor, "main-many");
   editor.hide();
}

void ShootNoNetworks(Camera& camera)
{
   Editable model(MAX_NETWORKS);
   Editor editor(&model, NO_CHANNEL, NO_CHANNEL);
   test::gtk::ShowActive(editor);
   camera.Shoot(editor, "main-empty");
   model.AddNetwork(netcfg::common::Network::NAT, 8, true, {});
   model.RemoveNetwork(8);
   camera.Shoot(editor, "main-removed");
   editor.hide();
}

} // namespace

void ShootMainWindow(Camera& camera)
{
   ShootUsualNetworks(camera);
   ShootManyNetworks(camera);
   ShootNoNetworks(camera);
}

} // namespace screenshots
