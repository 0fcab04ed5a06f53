// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/warningDialog.hh"

#include "support/gtk/find.hh"
#include "support/gtk/input.hh"
#include "support/gtk/loop.hh"
#include "support/testProcess.hh"

#include <gdk/gdkkeysyms.h>
#include <glibmm/main.h>
#include <gmock/gmock.h>
#include <gtkmm/button.h>
#include <gtkmm/label.h>
#include <gtkmm/messagedialog.h>

using lui::Utils::RaiseWarningDialog;
using test::gtk::FindAll;
using test::gtk::PressKey;
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

class WarningDialogTest : public test::gtk::Test {};

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
