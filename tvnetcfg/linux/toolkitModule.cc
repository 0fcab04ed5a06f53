// SPDX-License-Identifier: GPL-2.0-or-later
// Of the toolkit only what is in C: its C++ layer takes the dynamic linker as long again.
#include "tvnetcfg/linux/modules.hh"

#include <gtk/gtk.h>
#include <type_traits>

extern "C" [[gnu::visibility("default")]] void netcfg_toolkit(int argc, char** argv)
{
   static_assert(std::is_same_v<decltype(netcfg_toolkit), netcfg::ToolkitEntry>);
   gtk_disable_setlocale();
   if (gtk_init_check(&argc, &argv)) {
      g_object_unref(gdk_pango_context_get()); // reads the fonts in a thread of its own
   }
}
