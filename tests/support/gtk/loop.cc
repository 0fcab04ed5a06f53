// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/gtk/loop.hh"

#include <chrono>
#include <glibmm/main.h>
#include <gtkmm/main.h>
#include <gtkmm/window.h>

namespace test::gtk {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds DEADLINE(15);
constexpr unsigned int TICK_IN_MILLISECONDS = 10;

// The widget of a signal, if it is a window but no menu; otherwise null.
GtkWidget* GetTopWindow(GValue const* arguments)
{
   auto* const widget = static_cast<GtkWidget*>(g_value_get_object(arguments));
   bool const isTop = GTK_IS_WINDOW(widget) &&
                      gtk_window_get_window_type(GTK_WINDOW(widget)) == GTK_WINDOW_TOPLEVEL;
   return isTop ? widget : nullptr;
}

gboolean FocusNewWindow(GSignalInvocationHint*, guint, GValue const* arguments, void*)
{
   if (GtkWidget* const window = GetTopWindow(arguments)) {
      gdk_window_focus(gtk_widget_get_window(window), GDK_CURRENT_TIME);
   }
   return TRUE;
}

gboolean FocusParent(GSignalInvocationHint*, guint, GValue const* arguments, void*)
{
   GtkWidget* const window = GetTopWindow(arguments);
   GtkWindow* const parent = window ? gtk_window_get_transient_for(GTK_WINDOW(window)) : nullptr;
   if (parent && gtk_window_is_active(GTK_WINDOW(window)) &&
       gtk_widget_get_mapped(GTK_WIDGET(parent))) {
      gdk_window_focus(gtk_widget_get_window(GTK_WIDGET(parent)), GDK_CURRENT_TIME);
   }
   return TRUE;
}

// What a window manager is for: a window that comes up gets the keyboard, and the one below gets it
// back.
void ManageWindows()
{
   static void* const widgets = g_type_class_ref(GTK_TYPE_WIDGET);
   static auto const hook = [](char const* signal, GSignalEmissionHook handle) {
      return g_signal_add_emission_hook(g_signal_lookup(signal, G_TYPE_FROM_CLASS(widgets)), 0,
                                        handle, nullptr, nullptr);
   };
   static gulong const hooks[] = {hook("map-event", FocusNewWindow), hook("unmap", FocusParent)};
   ASSERT_NE(0u, hooks[0]);
   ASSERT_NE(0u, hooks[1]);
}

} // namespace

void Start()
{
   static int argc = 1;
   static char name[] = "tavrin-netcfg";
   static char* arguments[] = {name, nullptr};
   static char** argv = arguments;
   static Gtk::Main const main(argc, argv, true);
   // A blinking cursor would tell two pictures of the same window apart.
   g_object_set(gtk_settings_get_default(), "gtk-cursor-blink", FALSE, "gtk-enable-animations",
                FALSE, "gtk-double-click-time", 1, nullptr);
   ManageWindows();
}

bool WaitUntil(std::function<bool()> const& condition)
{
   // Wakes the loop for conditions that no event tells of.
   sigc::connection tick =
      Glib::signal_timeout().connect([] { return true; }, TICK_IN_MILLISECONDS);
   auto const end = Clock::now() + DEADLINE;
   bool holds = condition();
   while (!holds && Clock::now() < end) {
      Gtk::Main::iteration(true);
      holds = condition();
   }
   tick.disconnect();
   return holds;
}

void Settle()
{
   do {
      while (Gtk::Main::events_pending()) {
         Gtk::Main::iteration(false);
      }
      gdk_display_sync(gdk_display_get_default());
   } while (Gtk::Main::events_pending());
}

// The window draws itself with the frame clock, which asks for a frame after everything else.
void WaitForLayout(Gtk::Window& window)
{
   bool isDrawn = false;
   unsigned int const tick = gtk_widget_add_tick_callback(
      GTK_WIDGET(window.gobj()),
      [](GtkWidget*, GdkFrameClock*, void* data) -> gboolean {
         *static_cast<bool*>(data) = true;
         return G_SOURCE_REMOVE;
      },
      &isDrawn, nullptr);
   if (!WaitUntil([&isDrawn] { return isDrawn; })) {
      gtk_widget_remove_tick_callback(GTK_WIDGET(window.gobj()), tick);
   }
   Settle();
}

void Test::TearDown()
{
   Settle();
   for (Gtk::Window const* window : Gtk::Window::list_toplevels()) {
      EXPECT_FALSE(window->get_mapped()) << window->get_title();
   }
}

} // namespace test::gtk
