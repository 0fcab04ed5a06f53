// SPDX-License-Identifier: GPL-2.0-or-later
#include "mnemonics.hh"

#include "support/gtk/find.hh"

#include <gdk/gdkkeysyms.h>
#include <gtkmm/label.h>

namespace test {

namespace {

Gtk::Widget* FindTarget(Gtk::Label& label)
{
   if (Gtk::Widget* const widget = label.get_mnemonic_widget()) {
      return widget;
   }
   GtkWidget* const button = gtk_widget_get_ancestor(GTK_WIDGET(label.gobj()), GTK_TYPE_BUTTON);
   return button ? Glib::wrap(button) : nullptr;
}

} // namespace

std::multimap<unsigned int, Mnemonic> FindMnemonics(Gtk::Window& window)
{
   std::multimap<unsigned int, Mnemonic> mnemonics;
   for (Gtk::Label* const label : gtk::FindAll<Gtk::Label>(window)) {
      unsigned int const key = gdk_keyval_to_lower(label->get_mnemonic_keyval());
      if (key != GDK_KEY_VoidSymbol) {
         mnemonics.insert({key, {label->get_label(), FindTarget(*label)}});
      }
   }
   return mnemonics;
}

} // namespace test
