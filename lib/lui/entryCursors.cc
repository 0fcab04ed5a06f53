// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/entryCursors.hh"

#include <gtkmm/container.h>
#include <gtkmm/entry.h>

namespace lui::Utils {

namespace {

// A window that isn't active any more remembers which of its widgets has the focus.
void MoveToEnd(Gtk::Entry& entry)
{
   if (!entry.is_focus()) {
      entry.set_position(-1);
   }
}

} // namespace

void KeepCursorsAtEnd(Gtk::Widget& content)
{
   if (auto* const entry = dynamic_cast<Gtk::Entry*>(&content)) {
      auto const move = sigc::bind(sigc::ptr_fun(MoveToEnd), sigc::ref(*entry));
      entry->signal_changed().connect(move);
      entry->property_is_focus().signal_changed().connect(move);
      MoveToEnd(*entry);
   } else if (auto* const container = dynamic_cast<Gtk::Container*>(&content)) {
      for (Gtk::Widget* const child : container->get_children()) {
         KeepCursorsAtEnd(*child);
      }
   }
}

} // namespace lui::Utils
