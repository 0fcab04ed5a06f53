// SPDX-License-Identifier: GPL-2.0-or-later
#include "gallery.hh"

#include "lui/localization.hh"

#include <gtkmm/main.h>

// Takes GTK's options alone.
int main(int argc, char** argv)
{
   lui::Utils::InitLocalization();
   Gtk::Main const toolkit(argc, argv);
   gallery::Gallery window;
   Gtk::Main::run(window);
   return 0;
}
