// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/ipEntry.hh"

#include "support/gtk/find.hh"
#include "support/gtk/input.hh"
#include "support/gtk/loop.hh"

#include <algorithm>
#include <gdk/gdkkeysyms.h>
#include <gmock/gmock.h>
#include <gtkmm/box.h>
#include <gtkmm/clipboard.h>
#include <gtkmm/cssprovider.h>
#include <random>

using test::gtk::PressKey;
using test::gtk::TypeText;
using testing::ElementsAre;

namespace lui {
namespace {

class IPEntryTest : public test::gtk::Test {
protected:
   IPEntryTest()
   {
      box.pack_start(entry);
      box.pack_start(other);
      window.add(box);
      window.show_all();
      EXPECT_TRUE(test::gtk::ShowActive(window));
      entry.grab_focus();
   }

   void TearDown() override
   {
      window.hide();
      Test::TearDown();
   }

   // The shown text with the cursor in it.
   std::string See() const
   {
      std::string text = entry.get_text();
      return text.insert(static_cast<unsigned int>(entry.get_position()), "|");
   }

   void Type(char const* text) { TypeText(window, text); }
   void Press(unsigned int symbol, unsigned int modifiers = 0)
   {
      PressKey(window, symbol, modifiers);
   }

   void Paste(Glib::ustring const& text)
   {
      Gtk::Clipboard::get()->set_text(text);
      entry.paste_clipboard();
      test::gtk::Settle();
   }

   std::string GetClipboard()
   {
      std::string text;
      bool hasCome = false;
      Gtk::Clipboard::get()->request_text([&](Glib::ustring const& content) {
         text = content;
         hasCome = true;
      });
      EXPECT_TRUE(test::gtk::WaitUntil([&] { return hasCome; }));
      return text;
   }

   Gtk::Window window;
   Gtk::VBox box;
   IPEntry entry{IPEntry::ADDRESS};
   Gtk::Entry other;
};

TEST_F(IPEntryTest, IsBlankAtFirst)
{
   EXPECT_EQ("", entry.GetIP());
   EXPECT_EQ("", entry.GetText());
   EXPECT_EQ("", entry.get_text());
}

TEST_F(IPEntryTest, AnAddressIsTypedWithItsDots)
{
   Type("192.168.1.10");

   EXPECT_EQ("192.168.1.10|", See());
   EXPECT_EQ("192.168.1.10", entry.GetIP());
   EXPECT_EQ("192.168.1.10", entry.GetText());
}

TEST_F(IPEntryTest, AFieldEndsByItselfAtThreeDigits)
{
   Type("192168100254");

   EXPECT_EQ("192.168.100.254|", See());
}

TEST_F(IPEntryTest, TheKeypadsKeysWorkToo)
{
   test::gtk::SetNumLock(true);
   for (unsigned int const key : {GDK_KEY_KP_1, GDK_KEY_KP_0, GDK_KEY_KP_Decimal, GDK_KEY_KP_7}) {
      Press(key);
   }
   test::gtk::SetNumLock(false);

   EXPECT_EQ("10.7|..", See());
}

TEST_F(IPEntryTest, LettersAndFieldsAbove255AreRefused)
{
   int refused = 0;
   entry.inputRefused.connect([&refused] { ++refused; });
   Type("1x .256");

   EXPECT_EQ("1.25|..", See());
   EXPECT_EQ(3, refused);
}

TEST_F(IPEntryTest, ArrowsHomeAndEndMoveAsInAPlainEntry)
{
   entry.SetIP("10.20.30.40");
   Press(GDK_KEY_Home);
   EXPECT_EQ("|10.20.30.40", See());
   for (int step = 0; step < 3; ++step) {
      Press(GDK_KEY_Right);
   }
   EXPECT_EQ("10.|20.30.40", See());
   Press(GDK_KEY_Left);
   EXPECT_EQ("10|.20.30.40", See());
   Press(GDK_KEY_End);
   EXPECT_EQ("10.20.30.40|", See());
}

TEST_F(IPEntryTest, BackspaceAndDeleteStepOverDots)
{
   entry.SetIP("10.20.30.40");
   entry.set_position(3);
   Press(GDK_KEY_BackSpace);
   EXPECT_EQ("10|.20.30.40", See());
   Press(GDK_KEY_BackSpace);
   EXPECT_EQ("1|.20.30.40", See());
   Press(GDK_KEY_Delete);
   EXPECT_EQ("1.|20.30.40", See());
   Press(GDK_KEY_Delete);
   EXPECT_EQ("1.|0.30.40", See());
}

TEST_F(IPEntryTest, CtrlBackspaceKeepsTheDots)
{
   entry.SetIP("10.20.30.40");
   Press(GDK_KEY_End);
   Press(GDK_KEY_BackSpace, GDK_CONTROL_MASK);

   std::string const left = entry.GetIP();
   EXPECT_LT(left.size(), std::string("10.20.30.40").size());
   EXPECT_TRUE(left.empty() || std::count(left.begin(), left.end(), '.') == 3) << left;
}

TEST_F(IPEntryTest, TabLeavesTheEntry)
{
   Type("10");
   Press(GDK_KEY_Tab);

   EXPECT_TRUE(other.has_focus());
   EXPECT_EQ("10...", entry.GetIP());
}

TEST_F(IPEntryTest, TypingReplacesWhatIsSelected)
{
   entry.SetIP("10.20.30.40");
   entry.select_region(0, -1);
   Type("172.16.0.1");
   EXPECT_EQ("172.16.0.1|", See());

   entry.select_region(4, 6);
   Type("3");
   EXPECT_EQ("172.3|.0.1", See());
}

TEST_F(IPEntryTest, TypingOverASelectedDotStaysInTheFieldBefore)
{
   entry.SetIP("1.2.3.4");
   entry.select_region(1, 2);
   Type("9");

   EXPECT_EQ("19|.2.3.4", See());
}

TEST_F(IPEntryTest, OverwritingStaysInTheField)
{
   entry.SetIP("12.34.5.6");
   entry.set_overwrite_mode(true);
   entry.set_position(0);
   Type("98");
   EXPECT_EQ("98|.34.5.6", See());
   Type("7");
   EXPECT_NE("98.74.5.6", entry.GetIP());
}

TEST_F(IPEntryTest, AWholeAddressCanBePasted)
{
   for (char const* const text : {"192.168.1.0", " 192.168.1.0 ", "192.168.1.0\n", "192.168.1.0/24",
                                  " 192.168.1.0/24 ", "192 . 168 . 1 . 0", "192.168.001.000",
                                  "\xE2\x80\x8E"
                                  "192.168.1.0"}) {
      entry.SetIP("10.2.3.4");
      entry.set_position(4);
      Paste(text);
      EXPECT_EQ("192.168.1.0", entry.GetIP()) << text;
      EXPECT_EQ("192.168.1.0|", See()) << text;
   }
}

TEST_F(IPEntryTest, WhatIsNoAddressIsntPasted)
{
   entry.SetIP("10.2.3.4");
   for (char const* const text : {"192.168.1.256", "1.2.3.4.5", "host", "192.168.1.0/33",
                                  "192.168.1.0/x", "/24", "fd00::1", "-1", " "}) {
      Paste(text);
      EXPECT_EQ("10.2.3.4", entry.GetIP()) << text;
   }
}

TEST_F(IPEntryTest, CopyingGivesTheDottedText)
{
   entry.SetIP("192.168.1.10");
   entry.select_region(0, -1);
   entry.copy_clipboard();
   EXPECT_EQ("192.168.1.10", GetClipboard());

   entry.select_region(4, 9);
   entry.copy_clipboard();
   EXPECT_EQ("168.1", GetClipboard());
}

TEST_F(IPEntryTest, CuttingKeepsTheDots)
{
   entry.SetIP("192.168.1.10");
   entry.select_region(4, 9);
   entry.cut_clipboard();

   EXPECT_EQ("168.1", GetClipboard());
   EXPECT_EQ("192...10", entry.GetIP());
}

TEST_F(IPEntryTest, SetTextAndSetIPShowTheAddress)
{
   entry.set_text("10.1.2.3");
   EXPECT_EQ("10.1.2.3", entry.GetIP());
   entry.SetIP("10.1.2.4");
   EXPECT_EQ("10.1.2.4", entry.get_text());
   entry.set_text("192.168..0");
   EXPECT_EQ("192.168..0", entry.GetIP());
   entry.SetIP("192.168");
   EXPECT_EQ("192.168..", entry.GetIP());
   entry.SetIP("");
   EXPECT_EQ("", entry.GetIP());
   EXPECT_EQ("", entry.get_text());
}

TEST_F(IPEntryTest, WhatIsNoAddressBlanksIt)
{
   for (char const* const text : {"host", "1.2.3.4.5", "300.1.1.1"}) {
      entry.set_text("10.1.2.3");
      entry.set_text(text);
      EXPECT_EQ("", entry.GetIP()) << text;
   }
}

TEST_F(IPEntryTest, ABlankFieldInTheMiddleReadsAsTwoDotsInARow)
{
   Type("10.");
   Type(".3.4");

   EXPECT_EQ("10..3.4", entry.GetIP());
}

TEST_F(IPEntryTest, ADotCountsAgainOnceTheCursorHasMoved)
{
   Type("192");
   Press(GDK_KEY_Left);
   Press(GDK_KEY_Right);
   Type(".");

   EXPECT_EQ("192..|.", See());
}

TEST_F(IPEntryTest, LeavingItTakesLeadingZerosAndLonelyDotsAway)
{
   Type("..");
   EXPECT_EQ("..|.", See());
   Press(GDK_KEY_Tab);
   EXPECT_EQ("", entry.get_text());

   entry.grab_focus();
   Type("1.02");
   Press(GDK_KEY_Tab);
   EXPECT_EQ("1.2..", entry.get_text());
}

TEST_F(IPEntryTest, TellsWhichFieldsChanged)
{
   std::vector<unsigned int> fields;
   entry.fieldChanged.connect([&fields](unsigned int field) { fields.push_back(field); });
   Type("10.2");
   entry.SetIP("10.2.0.1");

   EXPECT_THAT(fields, ElementsAre(0, 0, 1, 0, 1, 0, 1, 2, 3));
}

TEST_F(IPEntryTest, DigitsAndDotsOfOtherScriptsAreUnderstood)
{
   Paste("\u0661\u0669\u0662\u066B\u0661\u0666\u0668\u066B\u0661\u066B\u0660");
   EXPECT_EQ("192.168.1.0", entry.GetIP());
   Paste("10,0,0,1");
   EXPECT_EQ("10.0.0.1", entry.GetIP());
}

TEST_F(IPEntryTest, ReadsFromLeftToRightInARightToLeftLocale)
{
   Gtk::Widget::set_default_direction(Gtk::TEXT_DIR_RTL);
   entry.SetIP("192..1.");
   test::gtk::Settle();
   Glib::RefPtr<Pango::Layout> const layout = entry.get_layout();
   Pango::Rectangle const first = layout->index_to_pos(0);
   Pango::Rectangle const last = layout->index_to_pos(5);
   EXPECT_LT(first.get_x(), last.get_x());
   Press(GDK_KEY_Home);
   Press(GDK_KEY_Right);
   EXPECT_EQ("1|92..1.", See());
   Gtk::Widget::set_default_direction(Gtk::TEXT_DIR_LTR);
}

// GTK takes the direction of a text without letters from the keyboard's language.
TEST_F(IPEntryTest, AKeyboardOfARightToLeftLanguageDoesntTurnTheFieldsAround)
{
   entry.SetIP("192..1.");
   entry.set_position(0);
   entry.get_pango_context()->set_base_dir(Pango::DIRECTION_RTL);
   Press(GDK_KEY_Right);

   EXPECT_EQ("1|92..1.", See());
   entry.get_pango_context()->set_base_dir(Pango::DIRECTION_RTL);
   entry.queue_draw();
   EXPECT_TRUE(test::gtk::WaitUntil(
      [this] { return entry.get_pango_context()->get_base_dir() == Pango::DIRECTION_LTR; }));
}

TEST_F(IPEntryTest, TheLongestAddressIsWholeInAnyFontSize)
{
   auto const style = Gtk::CssProvider::create();
   entry.get_style_context()->add_provider(style, GTK_STYLE_PROVIDER_PRIORITY_USER);
   entry.SetIP("200.200.200.200");
   for (char const* const rule : {"entry { font-size: 6pt; }", "entry { font-size: 30pt; }"}) {
      style->load_from_data(rule);
      window.resize(1, 1);
      test::gtk::Settle();
      int width = 0;
      int height = 0;
      entry.get_layout()->get_pixel_size(width, height);
      EXPECT_LE(width, entry.get_allocated_width()) << rule;
      EXPECT_LE(height, entry.get_allocated_height()) << rule;
   }
}

TEST_F(IPEntryTest, AScreenReaderFindsOneEditableTextWithTheDottedAddress)
{
   entry.SetIP("10.0.0.1");
   AtkObject* const accessible = gtk_widget_get_accessible(GTK_WIDGET(entry.gobj()));
   EXPECT_EQ(ATK_ROLE_TEXT, atk_object_get_role(accessible));
   char* const text = atk_text_get_text(ATK_TEXT(accessible), 0, -1);
   EXPECT_STREQ("10.0.0.1", text);
   g_free(text);
   atk_editable_text_set_text_contents(ATK_EDITABLE_TEXT(accessible), "172.16.0.254");
   EXPECT_EQ("172.16.0.254", entry.GetIP());
   atk_editable_text_delete_text(ATK_EDITABLE_TEXT(accessible), 0, 3);
   EXPECT_EQ(".16.0.254", entry.GetIP());
   int position = 0;
   atk_editable_text_insert_text(ATK_EDITABLE_TEXT(accessible), "10", 2, &position);
   EXPECT_EQ("10.16.0.254", entry.GetIP());
}

} // namespace

TEST_F(IPEntryTest, WhatAnEntryMakesOfATextIsToldWithoutOne)
{
   std::vector<std::string> texts = {"",
                                     "192.168.8.0",
                                     " 10.0.0.1 ",
                                     "10.0.0.1/24",
                                     "10.0.0.1/33",
                                     "010.1.2.003",
                                     "256.1.1.1",
                                     "10.1",
                                     "192.168..1",
                                     "...",
                                     "1..2..3",
                                     "10,1,2,3",
                                     "\u0661\u0662.1.1.1",
                                     "ten",
                                     "1.2.3.4.5",
                                     "/24",
                                     "1234",
                                     "192168008001",
                                     "0.0.0.0",
                                     "-",
                                     "1.2.3.x",
                                     "00.0.0.00"};
   std::mt19937 random(1);
   for (int i = 0; i < 2000; ++i) {
      std::string text;
      for (auto length = random() % 17; length > 0; --length) {
         text += "0123456789....1225/ ,x"[random() % 22];
      }
      texts.push_back(text);
   }
   for (auto const& text : texts) {
      entry.SetIP(text);
      EXPECT_EQ(entry.GetIP(), IPEntry::GetAsShown(text)) << '"' << text << '"';
   }
}

} // namespace lui
