// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/bitmapMarks.hh"

#include <string>

namespace lui {

namespace {

// GTK's own theme draws such marks by vectors.
constexpr char STYLE[] = R"(
check:checked {
   -gtk-icon-source: -gtk-recolor(url("resource:///org/tavrin/marks/check.symbolic.png"));
}
radio:checked {
   -gtk-icon-source: -gtk-recolor(url("resource:///org/tavrin/marks/bullet.symbolic.png"));
}
)";

// Above the theme, and below what an application or a user says of these.
constexpr unsigned int PRIORITY = GTK_STYLE_PROVIDER_PRIORITY_SETTINGS + 1;

std::string FindThemeName(Glib::RefPtr<Gtk::Settings> const& settings)
{
   std::string const wanted = Glib::getenv("GTK_THEME");
   return wanted.empty() ? settings->property_gtk_theme_name().get_value().raw()
                         : wanted.substr(0, wanted.find(':'));
}

bool IsAnyScaled(Glib::RefPtr<Gdk::Display> const& display)
{
   for (int i = 0; i < display->get_n_monitors(); ++i) {
      if (display->get_monitor(i)->get_scale_factor() > 1) {
         return true;
      }
   }
   return false;
}

} // namespace

BitmapMarks::BitmapMarks()
   : screen(Gdk::Screen::get_default()), settings(Gtk::Settings::get_default()),
     provider(Gtk::CssProvider::create())
{
   provider->load_from_data(STYLE);
   auto const follow = sigc::mem_fun(*this, &BitmapMarks::Follow);
   settings->property_gtk_theme_name().signal_changed().connect(follow);
   screen->signal_monitors_changed().connect(follow);
   Follow();
}

BitmapMarks::~BitmapMarks()
{
   Use(false);
}

void BitmapMarks::Follow()
{
   Use(LooksTheSame());
}

bool BitmapMarks::LooksTheSame() const
{
   return FindThemeName(settings) == "Adwaita" && !IsAnyScaled(screen->get_display());
}

void BitmapMarks::Use(bool use)
{
   if (use == isUsed) {
      return;
   }
   isUsed = use;
   if (use) {
      Gtk::StyleContext::add_provider_for_screen(screen, provider, PRIORITY);
   } else {
      Gtk::StyleContext::remove_provider_for_screen(screen, provider);
   }
}

} // namespace lui
