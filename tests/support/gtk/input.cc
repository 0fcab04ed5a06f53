// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/gtk/input.hh"

#include "support/gtk/loop.hh"

#include <X11/XKBlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <algorithm>
#include <gdk/gdkx.h>
#include <map>
#include <vector>

namespace test::gtk {

namespace {

Display* GetDisplay()
{
   return gdk_x11_display_get_xdisplay(gdk_display_get_default());
}

// Waits for an event that was sent through the display: until GTK has handled it, or the window
// that it was meant for is gone. Nobody gets the release of a key whose press closed the window.
class Delivery {
public:
   // To be made before the event is sent.
   Delivery(GtkWidget* window, GdkEventType type)
      : target(GTK_WIDGET(g_object_ref(window))), awaited(type)
   {
      static bool const isCounting = StartCounting();
      EXPECT_TRUE(isCounting);
      before = handled[awaited];
   }
   Delivery(Delivery const&) = delete;
   Delivery& operator=(Delivery const&) = delete;
   ~Delivery() { g_object_unref(target); }

   void Wait() const
   {
      EXPECT_TRUE(WaitUntil([this] {
         return handled[awaited] != before || !gtk_widget_get_mapped(target);
      })) << "the event didn't arrive";
      Settle();
   }

private:
   static bool StartCounting()
   {
      gdk_event_handler_set(Handle, nullptr, nullptr);
      // A handler that takes its time is no key held down.
      XAutoRepeatOff(GetDisplay());
      return true;
   }

   static void Handle(GdkEvent* event, void*)
   {
      GdkEventType const type = event->type;
      gtk_main_do_event(event);
      ++handled[type];
   }

   static inline std::map<GdkEventType, unsigned int> handled;
   GtkWidget* const target;
   GdkEventType const awaited;
   unsigned int before = 0;
};

void FakeKey(GtkWidget* window, KeySym symbol, bool isPress)
{
   KeyCode const key = XKeysymToKeycode(GetDisplay(), symbol);
   EXPECT_NE(0, key) << "no key gives " << symbol;
   Delivery const delivery(window, isPress ? GDK_KEY_PRESS : GDK_KEY_RELEASE);
   XTestFakeKeyEvent(GetDisplay(), key, isPress ? True : False, CurrentTime);
   delivery.Wait();
}

// The keys that are held down with another one.
std::vector<KeySym> GetModifierKeys(unsigned int symbol, unsigned int modifiers)
{
   std::vector<KeySym> keys;
   KeyCode const key = XKeysymToKeycode(GetDisplay(), symbol);
   bool const isShifted = !IsKeypadKey(symbol) &&
                          XkbKeycodeToKeysym(GetDisplay(), key, 0, 0) != symbol &&
                          XkbKeycodeToKeysym(GetDisplay(), key, 0, 1) == symbol;
   if (isShifted || modifiers & GDK_SHIFT_MASK) {
      keys.push_back(XK_Shift_L);
   }
   if (modifiers & GDK_CONTROL_MASK) {
      keys.push_back(XK_Control_L);
   }
   if (modifiers & GDK_MOD1_MASK) {
      keys.push_back(XK_Alt_L);
   }
   return keys;
}

// Two clicks that tests make are never a double click, however fast the machine is.
void KeepApartFromLastClick()
{
   static gint64 last = 0;
   constexpr gint64 PAUSE_IN_MICROSECONDS = 5000;
   WaitUntil([] { return g_get_monotonic_time() - last > PAUSE_IN_MICROSECONDS; });
   last = g_get_monotonic_time();
}

// A place of the window that holds it. A window that covers it would be moved aside first, and a
// click gives the keyboard.
void ClickAt(Glib::RefPtr<Gdk::Window> const& window, int x, int y)
{
   Glib::RefPtr<Gdk::Window> const top = window->get_toplevel();
   top->raise();
   top->focus(GDK_CURRENT_TIME);
   KeepApartFromLastClick();
   Settle();
   int rootX = 0;
   int rootY = 0;
   window->get_root_coords(x, y, rootX, rootY);
   XTestFakeMotionEvent(GetDisplay(), -1, rootX, rootY, CurrentTime);
   Settle();
   void* widget = nullptr;
   gdk_window_get_user_data(top->gobj(), &widget);
   GtkWidget* const target = GTK_WIDGET(g_object_ref(widget));
   for (Bool const isPress : {True, False}) {
      Delivery const delivery(target, isPress ? GDK_BUTTON_PRESS : GDK_BUTTON_RELEASE);
      XTestFakeButtonEvent(GetDisplay(), Button1, isPress, CurrentTime);
      delivery.Wait();
   }
   g_object_unref(target);
}

// A widget is there for the mouse once it has its place.
void WaitForPlace(Gtk::Widget& widget)
{
   EXPECT_TRUE(WaitUntil([&widget] { return widget.get_mapped(); }))
      << "the widget isn't on the screen";
   WaitForLayout(dynamic_cast<Gtk::Window&>(*widget.get_toplevel()));
}

Gdk::Rectangle GetCell(Gtk::TreeView& view, int row, Gtk::TreeViewColumn& column)
{
   WaitForPlace(view);
   Gtk::TreePath const path(std::to_string(row));
   view.scroll_to_row(path);
   WaitForPlace(view);
   Gdk::Rectangle cell;
   view.get_cell_area(path, column, cell);
   return cell;
}

} // namespace

bool WaitUntilActive(Gtk::Window& window)
{
   return WaitUntil(
      [&window] { return window.get_mapped() && window.property_is_active().get_value(); });
}

bool ShowActive(Gtk::Window& window)
{
   window.present();
   return WaitUntilActive(window);
}

void PressKey(Gtk::Window& window, unsigned int symbol, unsigned int modifiers)
{
   EXPECT_TRUE(WaitUntilActive(window)) << window.get_title();
   std::vector<KeySym> keys = GetModifierKeys(symbol, modifiers);
   keys.push_back(symbol);
   // Any of them may delete the window.
   GtkWidget* const target = GTK_WIDGET(g_object_ref(window.gobj()));
   std::for_each(keys.begin(), keys.end(), [&](KeySym key) { FakeKey(target, key, true); });
   std::for_each(keys.rbegin(), keys.rend(), [&](KeySym key) { FakeKey(target, key, false); });
   g_object_unref(target);
}

void SetNumLock(bool on)
{
   unsigned int const mask = XkbKeysymToModifiers(GetDisplay(), XK_Num_Lock);
   EXPECT_NE(0u, mask) << "no key is Num Lock";
   XkbLockModifiers(GetDisplay(), XkbUseCoreKbd, mask, on ? mask : 0);
   Settle();
}

void TypeText(Gtk::Window& window, std::string const& text)
{
   for (char const character : text) {
      PressKey(window, gdk_unicode_to_keyval(static_cast<unsigned char>(character)));
   }
}

void TypeInto(Gtk::Widget& entry, std::string const& text)
{
   auto& window = dynamic_cast<Gtk::Window&>(*entry.get_toplevel());
   EXPECT_TRUE(WaitUntilActive(window)) << window.get_title();
   entry.grab_focus();
   PressKey(window, GDK_KEY_a, GDK_CONTROL_MASK);
   if (text.empty()) {
      PressKey(window, GDK_KEY_Delete);
   }
   TypeText(window, text);
}

void Click(Gtk::Widget& widget)
{
   WaitForPlace(widget);
   Gtk::Allocation const place = widget.get_allocation();
   Gtk::Widget& top = *widget.get_toplevel();
   int x = 0;
   int y = 0;
   widget.translate_coordinates(top, place.get_width() / 2, place.get_height() / 2, x, y);
   ClickAt(top.get_window(), x, y);
}

void ClickCell(Gtk::TreeView& view, int row, int column)
{
   Gdk::Rectangle const cell = GetCell(view, row, *view.get_column(column));
   ClickAt(view.get_bin_window(), cell.get_x() + cell.get_width() / 2,
           cell.get_y() + cell.get_height() / 2);
}

void ClickToggle(Gtk::TreeView& view, int row)
{
   Gtk::TreeViewColumn& column = *view.get_column(0);
   Gdk::Rectangle const cell = GetCell(view, row, column);
   int start = 0;
   int width = 0;
   column.get_cell_position(*column.get_first_cell(), start, width);
   ClickAt(view.get_bin_window(), cell.get_x() + start + width / 2,
           cell.get_y() + cell.get_height() / 2);
}

void ClickText(Gtk::TextView& view, std::string const& text)
{
   WaitForPlace(view);
   Gtk::TextIter place;
   Gtk::TextIter end;
   bool const isThere =
      view.get_buffer()->begin().forward_search(text, Gtk::TextSearchFlags(), place, end);
   ASSERT_TRUE(isThere) << text;
   view.scroll_to(place);
   WaitForPlace(view);
   place.forward_chars(static_cast<int>(text.size() / 2));
   Gdk::Rectangle area;
   view.get_iter_location(place, area);
   int x = 0;
   int y = 0;
   view.buffer_to_window_coords(Gtk::TEXT_WINDOW_TEXT, area.get_x() + area.get_width() / 2,
                                area.get_y() + area.get_height() / 2, x, y);
   ClickAt(view.get_window(Gtk::TEXT_WINDOW_TEXT), x, y);
}

} // namespace test::gtk
