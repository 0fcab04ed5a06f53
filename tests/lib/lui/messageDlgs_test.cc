// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/messageDlgs.hh"

#include "lib/lui/mainDlgTest.hh"
#include "support/gtk/find.hh"

#include <atkmm/object.h>
#include <gdk/gdkkeysyms.h>
#include <gmock/gmock.h>
#include <gtkmm/label.h>

using test::gtk::FindAll;
using test::gtk::FindButton;
using test::gtk::FindWindow;
using test::gtk::PressKey;
using test::gtk::WaitUntil;
using testing::Contains;

namespace lui {
namespace {

std::vector<std::string> GetTexts(Gtk::Widget& top)
{
   std::vector<std::string> texts;
   for (Gtk::Label const* label : FindAll<Gtk::Label>(top)) {
      texts.push_back(label->get_text());
   }
   return texts;
}

class MessageDlgsTest : public MainDlgTest {
protected:
   // The window of a dialog that was just shown.
   Gtk::Window& See(char const* title)
   {
      EXPECT_TRUE(WaitUntil([title] { return FindWindow(title) != nullptr; })) << title;
      Gtk::Window& window = *FindWindow(title);
      EXPECT_TRUE(test::gtk::WaitUntilActive(window));
      return window;
   }
};

TEST_F(MessageDlgsTest, AnErrorIsntShownBeforeItsShow)
{
   cui::DlgError* const error = main.NewError("text", "", true);
   test::gtk::Settle();
   EXPECT_EQ(nullptr, FindWindow("Error"));
   error->Show();

   See("Error");
}

TEST_F(MessageDlgsTest, AnErrorIsModalOverItsWindowAndAnAlert)
{
   main.NewError("text", "", true)->Show();
   Gtk::Window& window = See("Error");

   EXPECT_TRUE(window.get_modal());
   EXPECT_EQ(&main, window.get_transient_for());
   EXPECT_EQ(Atk::ROLE_ALERT, window.get_accessible()->get_role());
}

TEST_F(MessageDlgsTest, TheTextIsShownAsItIs)
{
   constexpr char TEXT[] = "<b>_not</b> & \"saved\": 100 % \u20ac\n\nB\u00fcro";
   main.NewError(TEXT, "<i>second_</i>", false)->Show();
   Gtk::Window& window = See("Error");

   EXPECT_FALSE(window.get_modal());
   EXPECT_THAT(GetTexts(window), Contains(TEXT));
   EXPECT_THAT(GetTexts(window), Contains("<i>second_</i>"));
}

TEST_F(MessageDlgsTest, EnterEscapeAndTheButtonEndAnError)
{
   for (unsigned int const key : {GDK_KEY_Return, GDK_KEY_Escape}) {
      main.NewError("text", "", true)->Show();
      PressKey(See("Error"), key);
      EXPECT_TRUE(WaitUntil([] { return FindWindow("Error") == nullptr; }));
   }
   main.NewError("text", "", true)->Show();
   FindButton(See("Error"), "Close")->clicked();
   EXPECT_EQ(nullptr, FindWindow("Error"));
   EXPECT_TRUE(main.GetDlgs().empty());
   EXPECT_TRUE(test::gtk::WaitUntilActive(main));
}

TEST_F(MessageDlgsTest, TheAbortSlotShowsTheErrorOverTheWindow)
{
   main.MakeAbortSlot("%s")(false, cui::Error("<refused>"));
   Gtk::Window& window = See("Error");

   EXPECT_EQ(&main, window.get_transient_for());
   EXPECT_TRUE(window.get_modal());
   EXPECT_THAT(GetTexts(window), Contains("<refused>"));
}

TEST_F(MessageDlgsTest, LongTextsWrapAndStayOnTheScreen)
{
   std::string words;
   for (int word = 0; word < 400; ++word) {
      words += "The networking database is in use. ";
   }
   for (std::string const& text : {words, std::string(1000, 'x'), std::string(3000, 'x'),
                                   std::string(200, '\n'), words.substr(0, 1190)}) {
      main.NewError(text.c_str(), "", true)->Show();
      Gtk::Window& window = See("Error");
      EXPECT_LE(window.get_width(), 800) << text.size();
      EXPECT_LE(window.get_height(), 600) << text.size();
      EXPECT_TRUE(FindButton(window, "Close")->get_mapped());
      PressKey(window, GDK_KEY_Escape);
   }
}

TEST_F(MessageDlgsTest, AShortTextMakesASmallWindow)
{
   main.NewError("The network is in use.", "", true)->Show();
   Gtk::Window& window = See("Error");

   EXPECT_LE(window.get_height(), 200);
}

TEST_F(MessageDlgsTest, InformationAndWarningDontBlockTheWindow)
{
   main.NewInfo("saved", "")->Show();
   main.NewWarning("gone", "")->Show();

   EXPECT_FALSE(See("Information").get_modal());
   EXPECT_FALSE(See("Warning").get_modal());
}

TEST_F(MessageDlgsTest, AHintTellsWhetherToBeSilent)
{
   cui::DlgHint* const hint = main.NewHint("text", "", false);
   hint->Show();
   Gtk::Window& window = See("Information");
   EXPECT_FALSE(hint->IsSilenced());
   FindAll<Gtk::CheckButton>(window).at(0)->set_active(true);

   EXPECT_TRUE(hint->IsSilenced());
}

TEST_F(MessageDlgsTest, AQuestionGivesTheAnswerAndCloses)
{
   std::vector<unsigned int> answers;
   for (char const* const label : {"Remove", "Keep"}) {
      cui::DlgQuestion* const question =
         main.NewQuestion("Remove?", {"_Remove", "_Keep"}, 1, 1, "", cui::severity::WARNING, true);
      question->replied.connect([&answers, question] {
         answers.push_back(question->GetAnswer());
         return cui::Dlg::CLOSE;
      });
      question->Show();
      FindButton(See("Question"), label)->clicked();
   }

   EXPECT_THAT(answers, testing::ElementsAre(0u, 1u));
   EXPECT_EQ(nullptr, FindWindow("Question"));
}

TEST_F(MessageDlgsTest, AQuestionsHandlerMayKeepItOpen)
{
   cui::DlgSQuestion* const question =
      main.NewSQuestion("Save?", {"_Save", "_Later"}, 1, 0, "", true);
   question->replied.connect([] { return cui::Dlg::KEEP_OPEN; });
   question->Show();
   FindButton(See("Question"), "Save")->clicked();

   EXPECT_NE(nullptr, FindWindow("Question"));
   EXPECT_EQ(0u, question->GetAnswer());
   EXPECT_FALSE(question->IsSilenced());
}

TEST_F(MessageDlgsTest, AManagerWithoutAWindowShowsItsDialogsAlone)
{
   DlgMgr mgr;
   mgr.NewError("text", "", true)->Show();

   EXPECT_EQ(nullptr, See("Error").get_transient_for());
}

} // namespace
} // namespace lui
