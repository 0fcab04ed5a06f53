// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/warningDialog.hh"

#include "support/testProcess.hh"

#include <gdk/gdkkeysyms.h>
#include <glibmm/main.h>
#include <gmock/gmock.h>
#include <gtkmm/button.h>
#include <gtkmm/label.h>
#include <gtkmm/main.h>
#include <gtkmm/messagedialog.h>

using lui::Utils::RaiseWarningDialog;
using testing::HasSubstr;

namespace {

constexpr char TEXT[] = "Fail\nThe database <b>can't</b> be read & \"used\": _B\u00fcro_ \u20ac";

// The dialog on the screen; null if there is none.
Gtk::MessageDialog* FindDialog()
{
   for (Gtk::Window* window : Gtk::Window::list_toplevels()) {
      auto* const dialog = dynamic_cast<Gtk::MessageDialog*>(window);
      if (dialog && dialog->get_mapped()) {
         return dialog;
      }
   }
   return nullptr;
}

template <typename Widget>
void Collect(Gtk::Widget& widget, std::vector<Widget*>& found)
{
   if (auto* const match = dynamic_cast<Widget*>(&widget); match && match->get_mapped()) {
      found.push_back(match);
   }
   if (auto* const container = dynamic_cast<Gtk::Container*>(&widget)) {
      for (Gtk::Widget* child : container->get_children()) {
         Collect(*child, found);
      }
   }
}

template <typename Widget>
std::vector<Widget*> FindAll(Gtk::Widget& top)
{
   std::vector<Widget*> found;
   Collect(top, found);
   return found;
}

// The key of the keyboard that gives the symbol.
guint16 FindKey(unsigned int symbol)
{
   GdkKeymapKey* keys = nullptr;
   int count = 0;
   gdk_keymap_get_entries_for_keyval(gdk_keymap_get_for_display(gdk_display_get_default()), symbol,
                                     &keys, &count);
   EXPECT_GT(count, 0);
   guint16 const key = count > 0 ? static_cast<guint16>(keys[0].keycode) : 0;
   g_free(keys);
   return key;
}

void PressKey(Gtk::Window& window, unsigned int symbol)
{
   for (GdkEventType type : {GDK_KEY_PRESS, GDK_KEY_RELEASE}) {
      GdkEvent* const event = gdk_event_new(type);
      event->key.window = GDK_WINDOW(g_object_ref(window.get_window()->gobj()));
      event->key.keyval = symbol;
      event->key.hardware_keycode = FindKey(symbol);
      event->key.time = GDK_CURRENT_TIME;
      gdk_event_set_device(
         event, gdk_seat_get_keyboard(gdk_display_get_default_seat(gdk_display_get_default())));
      gtk_main_do_event(event);
      gdk_event_free(event);
   }
}

// Raises the dialog and runs act on it, from the dialog's own loop, once it is on the screen.
template <typename Act>
void Raise(char const* text, Act act)
{
   bool hasActed = false;
   sigc::connection const look = Glib::signal_timeout().connect(
      [&] {
         Gtk::MessageDialog* const dialog = FindDialog();
         if (dialog && !hasActed) {
            hasActed = true;
            act(*dialog);
         }
         return !hasActed;
      },
      5);
   RaiseWarningDialog("tavrin-netcfg", text);
   EXPECT_TRUE(hasActed);
   EXPECT_EQ(nullptr, FindDialog());
}

void DismissIfShown()
{
   if (Gtk::MessageDialog* const dialog = FindDialog()) {
      dialog->response(Gtk::RESPONSE_CLOSE);
   }
}

class WarningDialogTest : public testing::Test {
protected:
   static void SetUpTestSuite()
   {
      static int argc = 1;
      static char name[] = "tavrin-netcfg";
      static char* arguments[] = {name, nullptr};
      static char** argv = arguments;
      static Gtk::Main const toolkit(argc, argv, true);
   }
};

} // namespace

TEST_F(WarningDialogTest, TheTextIsShownLiterally)
{
   Raise(TEXT, [](Gtk::MessageDialog& dialog) {
      std::vector<Glib::ustring> texts;
      for (Gtk::Label const* label : FindAll<Gtk::Label>(dialog)) {
         texts.push_back(label->get_text());
      }
      EXPECT_THAT(texts, testing::Contains(Glib::ustring(TEXT)));
      EXPECT_EQ("tavrin-netcfg", dialog.get_title());
      dialog.response(Gtk::RESPONSE_CLOSE);
   });
}

TEST_F(WarningDialogTest, EscapeDismissesIt)
{
   Raise(TEXT, [](Gtk::MessageDialog& dialog) { PressKey(dialog, GDK_KEY_Escape); });
}

TEST_F(WarningDialogTest, ReturnPressesItsOneButton)
{
   Raise(TEXT, [](Gtk::MessageDialog& dialog) {
      EXPECT_EQ(1u, FindAll<Gtk::Button>(dialog).size());
      PressKey(dialog, GDK_KEY_Return);
   });
}

TEST_F(WarningDialogTest, AClickOnTheButtonDismissesIt)
{
   Raise(TEXT, [](Gtk::MessageDialog& dialog) { FindAll<Gtk::Button>(dialog).at(0)->clicked(); });
}

TEST_F(WarningDialogTest, ALongTextWrapsAndStaysOnTheScreen)
{
   std::string text;
   for (int word = 0; word < 400; ++word) {
      text += "The networking database is in use. ";
   }
   for (std::string const& content : {text, std::string(3000, 'x')}) {
      Raise(content.c_str(), [](Gtk::MessageDialog& dialog) {
         EXPECT_LE(dialog.get_width(), 1024);
         EXPECT_LE(dialog.get_height(), 1024);
         dialog.response(Gtk::RESPONSE_CLOSE);
      });
   }
}

TEST_F(WarningDialogTest, MissingTextsAreEmptyOnes)
{
   bool hasActed = false;
   Glib::signal_timeout().connect(
      [&] {
         Gtk::MessageDialog* const dialog = FindDialog();
         hasActed = dialog != nullptr;
         if (dialog) {
            dialog->response(Gtk::RESPONSE_CLOSE);
         }
         return !dialog;
      },
      5);
   RaiseWarningDialog(nullptr, nullptr);
   EXPECT_TRUE(hasActed);
}

TEST_F(WarningDialogTest, AScreenReaderFindsTheTextAndPressesTheButton)
{
   test::TestProcess import({"/usr/bin/python3", "-c",
                             "import gi\n"
                             "gi.require_version('Atspi', '2.0')\n"});
   if (!test::ExitedWith(import.Wait(), 0)) {
      GTEST_SKIP() << "python3-gi or gir1.2-atspi-2.0 is missing";
   }
   test::TestProcess reader({"/usr/bin/python3", TEST_SOURCE_DIR "/readDialog.py", "tavrin-netcfg",
                             "tavrin-netcfg", "Close"});
   Glib::signal_timeout().connect_once(sigc::ptr_fun(DismissIfShown), 30000);
   RaiseWarningDialog("tavrin-netcfg", TEXT);
   EXPECT_TRUE(test::ExitedWith(reader.Wait(), 0)) << reader.GetOutput();
   EXPECT_THAT(reader.GetOutput(), HasSubstr(TEXT));
   EXPECT_THAT(reader.GetOutput(), HasSubstr("alert tavrin-netcfg"));
}
