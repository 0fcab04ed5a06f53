// SPDX-License-Identifier: GPL-2.0-or-later
// Finding widgets by what a user reads.
#pragma once

#include <gtkmm/button.h>
#include <gtkmm/container.h>
#include <gtkmm/label.h>
#include <gtkmm/treeview.h>
#include <gtkmm/window.h>
#include <stdexcept>
#include <string>
#include <vector>

namespace test::gtk {

template <typename Widget>
void Collect(Gtk::Widget& top, std::vector<Widget*>& found)
{
   if (auto* const match = dynamic_cast<Widget*>(&top); match && match->get_mapped()) {
      found.push_back(match);
   }
   if (auto* const container = dynamic_cast<Gtk::Container*>(&top)) {
      for (Gtk::Widget* const child : container->get_children()) {
         Collect(*child, found);
      }
   }
}

// The widgets of a class on the screen, in the order of their containers. A label that names
// something counts as well as a widget of a dialog's own.
template <typename Widget>
std::vector<Widget*> FindAll(Gtk::Widget& top)
{
   std::vector<Widget*> found;
   Collect(top, found);
   return found;
}

// The window on the screen with this title; null if there is none.
Gtk::Window* FindWindow(std::string const& title);

// The text of the widget's first label, without a mnemonic's underscore; empty if it has none.
std::string ReadLabel(Gtk::Widget& widget);

// The label on the screen that reads this; null if there is none.
Gtk::Label* FindLabel(Gtk::Widget& top, std::string const& text);

// The button, of any kind, that reads this; null if there is none on the screen.
Gtk::Button* FindButton(Gtk::Widget& top, std::string const& text);

// The widget that a label names; null if there is none.
Gtk::Widget* FindNamed(Gtk::Widget& top, std::string const& label);

// The widget that a label names, or the button that reads it, as one of a class. Throws if there is
// none, which fails the test.
template <typename Widget>
Widget& Get(Gtk::Widget& top, std::string const& label)
{
   Gtk::Widget* found = FindNamed(top, label);
   if (!dynamic_cast<Widget*>(found)) {
      found = FindButton(top, label);
   }
   auto* const widget = dynamic_cast<Widget*>(found);
   if (!widget) {
      throw std::runtime_error("nothing of that kind is called \"" + label + "\"");
   }
   return *widget;
}

// What a screen reader reads for the widget: its own name, or that of the label that names it.
std::string ReadAccessibleName(Gtk::Widget& widget);
std::string ReadAccessibleDescription(Gtk::Widget& widget);

// The titles of a list's columns, from the left.
std::vector<std::string> ReadTitles(Gtk::TreeView& view);
int CountRows(Gtk::TreeView& view);
// What a row's cells read, from the left: all renderers, toggles as "x" or "-".
std::vector<std::string> ReadRow(Gtk::TreeView& view, int row);
// The selected row, from 0; -1 if there is none.
int GetSelectedRow(Gtk::TreeView& view);

} // namespace test::gtk
