// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/gtk/screenshot.hh"

#include "support/gtk/loop.hh"

#include <gdkmm/pixbuf.h>

namespace test::gtk {

namespace {

bool Save(Glib::RefPtr<Gdk::Window> const& from, Gdk::Rectangle const& part,
          std::string const& path)
{
   Glib::RefPtr<Gdk::Pixbuf> const picture =
      Gdk::Pixbuf::create(from, part.get_x(), part.get_y(), part.get_width(), part.get_height());
   if (!picture) {
      return false;
   }
   try {
      picture->save(path, "png");
   } catch (Glib::Error const&) {
      return false;
   }
   return true;
}

} // namespace

bool SaveScreenshot(Gtk::Window& window, std::string const& path)
{
   if (!WaitUntil([&window] { return window.get_mapped(); })) {
      return false;
   }
   window.get_window()->raise();
   Settle();
   WaitForLayout(window);
   return Save(window.get_window(),
               {0, 0, window.get_allocated_width(), window.get_allocated_height()}, path);
}

bool SaveScreen(std::string const& path)
{
   Gdk::Rectangle part;
   for (Gtk::Window* const window : Gtk::Window::list_toplevels()) {
      if (window->get_mapped()) {
         WaitForLayout(*window);
         Gdk::Rectangle extents;
         window->get_window()->get_frame_extents(extents);
         part.join(extents);
      }
   }
   return !part.has_zero_area() && Save(Gdk::Window::get_default_root_window(), part, path);
}

} // namespace test::gtk
