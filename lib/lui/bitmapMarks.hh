// SPDX-License-Identifier: GPL-2.0-or-later
// What a window's boxes are checked with.
#pragma once

#include <gtkmm.h>

namespace lui {

// As long as this lives, check marks and bullets of this process's windows are bitmaps instead of
// GTK's vector drawings, wherever these look alike: in GTK's own theme, on screens that aren't
// scaled. It spares the process the library that renders vectors, which is 7 MiB and a tenth
// of the time to a window. Goes with changes of theme and screens. GTK runs.
class BitmapMarks : public sigc::trackable {
public:
   BitmapMarks();
   ~BitmapMarks();
   BitmapMarks(BitmapMarks const&) = delete;
   BitmapMarks& operator=(BitmapMarks const&) = delete;

   bool IsUsed() const { return isUsed; }

private:
   Glib::RefPtr<Gdk::Screen> screen;
   Glib::RefPtr<Gtk::Settings> settings;
   Glib::RefPtr<Gtk::CssProvider> provider;
   bool isUsed = false;

   void Follow();
   void Use(bool use);
   bool LooksTheSame() const;
};

} // namespace lui
