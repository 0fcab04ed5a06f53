// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/toolkit.hh"

#include <gtkmm.h>

namespace lui::Utils {

void PrepareToolkit()
{
   // Begins with the fonts in a thread of its own.
   auto const fonts = Glib::wrap(gdk_pango_context_get());
   Gtk::Settings::get_default();
   Gtk::IconTheme::get_default()->has_icon("list-add");
   fonts->get_metrics(fonts->get_font_description());
}

} // namespace lui::Utils
