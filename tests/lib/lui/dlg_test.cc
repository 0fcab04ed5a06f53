// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/dlg.hh"

#include "cui/messageDlgs.hh"
#include "lui/dlgChoice.hh"
#include "lui/ipEntry.hh"
#include "support/gtk/find.hh"
#include "support/gtk/input.hh"
#include "support/gtk/loop.hh"

#include <atkmm/object.h>
#include <gdk/gdkkeysyms.h>
#include <glibmm/main.h>
#include <gmock/gmock.h>
#include <gtkmm/checkbutton.h>
#include <gtkmm/main.h>
#include <gtkmm/messagedialog.h>
#include <gtkmm/spinbutton.h>
#include <memory>

using test::gtk::FindButton;
using test::gtk::PressKey;
using test::gtk::WaitUntil;
using test::gtk::WaitUntilActive;
using testing::ElementsAre;

namespace lui {
namespace {

// A window with two entries, which writes down what it hears.
class Form : public virtual DlgChoice {
public:
   explicit Form(Glib::ustring const& title, std::vector<std::string>* teller = nullptr)
      : story(teller)
   {
      set_title(title);
      rows.pack_start(address);
      rows.pack_start(note);
      rows.show_all();
      SetContent(rows, 12);
      SetButtons({"_Save", "Cancel", "Help"}, 1, 0);
      note.signal_focus_out_event().connect(sigc::mem_fun(*this, &Form::OnNoteLeft));
      replied.connect(sigc::mem_fun(*this, &Form::OnReplied));
   }
   ~Form() override
   {
      noteLeft.clear();
      Tell(std::string(get_title()) + " dies");
   }

   void SetDefaultSize() override { set_default_size(400, 200); }

   bool OnNoteLeft(GdkEventFocus*)
   {
      Tell("note left");
      noteLeft.emit();
      return false;
   }

   cui::Dlg::RepliedAction OnReplied()
   {
      Tell("choice " + std::to_string(GetChoice()));
      return action;
   }

   void Tell(std::string const& line)
   {
      if (story) {
         story->push_back(line);
      }
   }

   Gtk::Button& GetButton(char const* label) { return *FindButton(*this, label); }

   cui::Dlg::RepliedAction action = KEEP_OPEN;
   sigc::signal<void> noteLeft;
   Gtk::VBox rows;
   IPEntry address{IPEntry::ADDRESS};
   Gtk::Entry note;

private:
   std::vector<std::string>* story;
};

class DlgTest : public test::gtk::Test {
protected:
   DlgTest() { EXPECT_TRUE(test::gtk::ShowActive(main)); }

   void TearDown() override
   {
      main.DeleteDlg();
      Test::TearDown();
   }

   Form* Open(char const* title = "dialog")
   {
      auto* const form = new Form(title, &story);
      main.AddManagedDlg(form);
      EXPECT_TRUE(WaitUntilActive(*form));
      return form;
   }

   std::vector<std::string> story;
   Form main{"main"};
};

TEST_F(DlgTest, AButtonAnswersWithItsPosition)
{
   Form* const form = Open();
   form->GetButton("Save").clicked();
   form->GetButton("Cancel").clicked();
   form->GetButton("Help").clicked();

   EXPECT_THAT(story, ElementsAre("choice 0", "choice 1", "choice 2"));
}

TEST_F(DlgTest, TheChoiceIs0BeforeAnyReply)
{
   EXPECT_EQ(0u, main.GetChoice());
}

TEST_F(DlgTest, EscapeGivesTheDismissChoice)
{
   Form* const form = Open();
   PressKey(*form, GDK_KEY_Escape);

   EXPECT_THAT(story, ElementsAre("choice 1"));
}

TEST_F(DlgTest, EscapeWithAModifierIsNotADismissal)
{
   Form* const form = Open();
   PressKey(*form, GDK_KEY_Escape, GDK_SHIFT_MASK);

   EXPECT_THAT(story, ElementsAre());
}

TEST_F(DlgTest, TheWindowsCloseControlGivesTheDismissChoice)
{
   Form* const form = Open();
   form->close();
   ASSERT_TRUE(WaitUntil([this] { return !story.empty(); }));

   EXPECT_THAT(story, ElementsAre("choice 1"));
   EXPECT_TRUE(form->get_visible());
}

TEST_F(DlgTest, ADismissalThatClosesEndsTheDialog)
{
   Form* const form = Open();
   form->action = cui::Dlg::CLOSE;
   PressKey(*form, GDK_KEY_Escape);

   EXPECT_THAT(story, ElementsAre("choice 1", "dialog dies"));
}

TEST_F(DlgTest, AWindowThatCantBeDismissedStays)
{
   Form* const form = Open();
   form->SetButtons({"Only"}, -1, 0);
   PressKey(*form, GDK_KEY_Escape);

   EXPECT_THAT(story, ElementsAre());
}

TEST_F(DlgTest, EnterInAnyEntryGivesTheDefaultChoice)
{
   Form* const form = Open();
   form->note.grab_focus();
   PressKey(*form, GDK_KEY_Return);
   ASSERT_TRUE(WaitUntil([this] { return story.size() == 2; }));
   form->address.grab_focus();
   PressKey(*form, GDK_KEY_KP_Enter);
   ASSERT_TRUE(WaitUntil([this] { return story.size() == 3; }));

   EXPECT_THAT(story, ElementsAre("note left", "choice 0", "choice 0"));
}

TEST_F(DlgTest, EnterInASpinButtonTakesItsTextAndGivesTheDefaultChoice)
{
   Form* const form = Open();
   Gtk::SpinButton spin;
   spin.set_range(1, 100);
   spin.set_increments(1, 1);
   form->rows.pack_start(spin);
   spin.show();
   spin.grab_focus();
   test::gtk::TypeText(*form, "42");
   PressKey(*form, GDK_KEY_Return);
   ASSERT_TRUE(WaitUntil([this] { return !story.empty(); }));

   EXPECT_THAT(story, ElementsAre("choice 0"));
   EXPECT_EQ(42, spin.get_value_as_int());
}

TEST_F(DlgTest, EnterOnAFocusedButtonPressesThatButton)
{
   Form* const form = Open();
   form->GetButton("Help").grab_focus();
   PressKey(*form, GDK_KEY_Return);
   ASSERT_TRUE(WaitUntil([this] { return !story.empty(); }));

   EXPECT_THAT(story, ElementsAre("choice 2"));
}

TEST_F(DlgTest, TheEntryIsLeftBeforeTheDefaultButtonAnswers)
{
   Form* const form = Open();
   form->note.grab_focus();
   PressKey(*form, GDK_KEY_Return);
   ASSERT_TRUE(WaitUntil([this] { return story.size() == 2; }));

   EXPECT_THAT(story, ElementsAre("note left", "choice 0"));
   EXPECT_TRUE(form->GetButton("Save").has_focus());
}

TEST_F(DlgTest, TheEntryIsLeftBeforeAButtonAnswersToItsMnemonicOrToAScreenReader)
{
   Form* const form = Open();
   form->note.grab_focus();
   PressKey(*form, GDK_KEY_s, GDK_MOD1_MASK);
   ASSERT_TRUE(WaitUntil([this] { return story.size() == 2; }));
   EXPECT_THAT(story, ElementsAre("note left", "choice 0"));

   story.clear();
   form->note.grab_focus();
   AtkObject* const accessible =
      gtk_widget_get_accessible(GTK_WIDGET(form->GetButton("Help").gobj()));
   atk_action_do_action(ATK_ACTION(accessible), 0);
   ASSERT_TRUE(WaitUntil([this] { return story.size() == 2; }));
   EXPECT_THAT(story, ElementsAre("note left", "choice 2"));
}

TEST_F(DlgTest, TheEntryIsLeftBeforeAButtonAnswersAlsoInAWindowWithoutTheKeyboard)
{
   Form* const form = Open();
   Open("other");
   ASSERT_TRUE(WaitUntil([form] { return !form->property_is_active().get_value(); }));
   form->note.grab_focus();
   story.clear();
   form->GetButton("Save").clicked();

   EXPECT_THAT(story, ElementsAre("note left", "choice 0"));
}

TEST_F(DlgTest, ADisabledButtonGivesNoReply)
{
   Form* const form = Open();
   form->SetResponseSensitive(0, false);

   EXPECT_FALSE(form->GetButton("Save").get_sensitive());
   EXPECT_TRUE(form->GetButton("Cancel").get_sensitive());
   EXPECT_TRUE(form->GetButton("Help").get_sensitive());
   form->GetButton("Save").clicked();
   form->note.grab_focus();
   PressKey(*form, GDK_KEY_Return);
   form->GetButton("Help").clicked();
   EXPECT_THAT(story, testing::Not(testing::Contains("choice 0")));
   EXPECT_THAT(story, testing::Contains("choice 2"));
   form->SetResponseSensitive(0, true);
   form->GetButton("Save").clicked();
   EXPECT_THAT(story, testing::Contains("choice 0"));
}

TEST_F(DlgTest, ABadEntryThatTurnsTheDefaultButtonOffWhileItsLeftGivesNoReply)
{
   Form* const form = Open();
   form->noteLeft.connect([form] { form->SetResponseSensitive(0, false); });
   form->note.grab_focus();
   PressKey(*form, GDK_KEY_Return);
   ASSERT_TRUE(WaitUntil([form] { return !form->GetButton("Save").get_sensitive(); }));
   test::gtk::Settle();

   EXPECT_THAT(story, ElementsAre("note left"));
}

TEST_F(DlgTest, LeavingTheEntryMayEndTheDialog)
{
   Form* const form = Open();
   form->noteLeft.connect([form] { form->DeleteDlg(); });
   form->note.grab_focus();
   form->GetButton("Save").clicked();

   EXPECT_THAT(story, ElementsAre("note left", "dialog dies"));
}

TEST_F(DlgTest, AChoiceOutOfRangeIsIgnored)
{
   main.SetResponseSensitive(-1, false);
   main.SetResponseSensitive(3, false);

   EXPECT_TRUE(main.GetButton("Save").get_sensitive());
   EXPECT_TRUE(main.GetButton("Help").get_sensitive());
}

TEST_F(DlgTest, NewButtonsReplaceTheEarlierOnes)
{
   Form* const form = Open();
   form->SetButtons({"Left", "Right"}, 0, 1);
   EXPECT_EQ(nullptr, FindButton(*form, "Save"));
   Gtk::Button& left = form->GetButton("Left");
   Gtk::Button& right = form->GetButton("Right");
   ASSERT_TRUE(WaitUntil([&right] { return right.get_allocation().get_x() >= 0; }));
   EXPECT_LT(left.get_allocation().get_x(), right.get_allocation().get_x());
   right.clicked();

   EXPECT_THAT(story, ElementsAre("choice 1"));
}

TEST_F(DlgTest, ButtonsStandAtTheBottomRightInTheirOrder)
{
   Form* const form = Open();
   std::vector<int> rights;
   for (char const* const label : {"Save", "Cancel", "Help"}) {
      Gtk::Allocation const place = form->GetButton(label).get_allocation();
      rights.push_back(place.get_x() + place.get_width());
      EXPECT_EQ(form->GetButton("Save").get_allocation().get_width(), place.get_width());
      EXPECT_EQ(12, form->get_allocated_height() - place.get_y() - place.get_height());
   }

   EXPECT_TRUE(std::is_sorted(rights.begin(), rights.end()));
   EXPECT_EQ(12, form->get_allocated_width() - rights.back());
}

TEST_F(DlgTest, NewContentReplacesTheEarlierOne)
{
   Form* const form = Open();
   Gtk::CheckButton check("new");
   form->SetContent(check, 20);

   EXPECT_EQ(nullptr, form->rows.get_parent());
   EXPECT_TRUE(check.get_visible());
   EXPECT_EQ(20, check.get_margin_top());
}

TEST_F(DlgTest, ADialogOpensOverItsParentAndDoesntBlockIt)
{
   Form* const form = Open();

   EXPECT_EQ(&main, form->get_transient_for());
   EXPECT_FALSE(form->get_modal());
   EXPECT_EQ(400, form->get_allocated_width());
   EXPECT_EQ(Atk::ROLE_DIALOG, form->get_accessible()->get_role());
   test::gtk::Click(main.note);
   PressKey(main, GDK_KEY_a);
   EXPECT_EQ("a", main.note.get_text());
}

TEST_F(DlgTest, TheFocusGoesBackToWhereItCameFrom)
{
   main.note.grab_focus();
   Form* const form = Open();
   form->action = cui::Dlg::CLOSE;
   form->GetButton("Cancel").clicked();

   EXPECT_TRUE(WaitUntilActive(main));
   EXPECT_EQ(&main.note, main.get_focus());
}

TEST_F(DlgTest, PresentBringsADialogToTheFront)
{
   Form* const form = Open();
   Open("other");
   // The display moves the keyboard for what a user did last alone.
   test::gtk::Click(main.note);
   main.Present(form);
   EXPECT_TRUE(WaitUntilActive(*form));

   form->Hide();
   main.Present(form);
   EXPECT_TRUE(WaitUntilActive(*form));
   main.AddManagedDlg(form);
   EXPECT_EQ(2u, main.GetDlgs().size());
}

TEST_F(DlgTest, ANullDialogIsIgnored)
{
   main.AddManagedDlg(nullptr);
   main.Present(nullptr);

   EXPECT_THAT(main.GetDlgs(), ElementsAre());
}

TEST_F(DlgTest, AHiddenDialogFindsItsFocusAgain)
{
   Form* const form = Open();
   form->note.grab_focus();
   form->Hide();
   EXPECT_THAT(story, ElementsAre("note left"));
   form->Show();
   EXPECT_TRUE(WaitUntilActive(*form));

   EXPECT_EQ(&form->note, form->get_focus());
}

TEST_F(DlgTest, ADestroyedDialogSetsAHeldPointerToNull)
{
   Form* const form = Open();
   cui::WeakPtr<Form> const held(form);
   bool wasSet = true;
   form->destroyed.connect([&] { wasSet = static_cast<bool>(held); });
   delete form;

   EXPECT_FALSE(wasSet);
   EXPECT_FALSE(held);
   EXPECT_THAT(main.GetDlgs(), ElementsAre());
}

TEST_F(DlgTest, ADialogDiesBeforeWhatItsParentHolds)
{
   Form* const form = Open("parent");
   auto* const child = new Form("child", &story);
   form->AddManagedDlg(child);
   bool wasWhole = false;
   child->destroyed.connect([&wasWhole, form] { wasWhole = form->address.get_visible(); });
   form->DeleteDlg();

   EXPECT_TRUE(wasWhole);
   EXPECT_THAT(story, ElementsAre("child dies", "parent dies"));
}

TEST_F(DlgTest, NobodyCallsAParentThatIsDeletedDirectly)
{
   struct Parent : public Form {
      explicit Parent(std::vector<std::string>* teller) : Form("parent", teller) {}
      void OnChildGone() { Tell("child gone"); }
   };
   auto* const parent = new Parent(&story);
   main.AddManagedDlg(parent);
   auto* const child = new Form("child", &story);
   parent->AddManagedDlg(child);
   child->destroyed.connect(sigc::mem_fun(*parent, &Parent::OnChildGone));
   delete parent;

   EXPECT_THAT(story, ElementsAre("parent dies", "child dies"));
}

TEST_F(DlgTest, AReplyMayEndTheWindowBelow)
{
   Form* const form = Open("parent");
   auto* const child = new Form("child", &story);
   child->action = cui::Dlg::CLOSE;
   form->AddManagedDlg(child);
   child->replied.connect([form] {
      form->DeleteDlg();
      return cui::Dlg::CLOSE;
   });
   child->GetButton("Save").clicked();

   EXPECT_THAT(story, ElementsAre("choice 0", "child dies", "parent dies"));
}

TEST_F(DlgTest, AnotherWindowsHandlerMayEndIt)
{
   Form* const form = Open();
   main.replied.connect([form] {
      form->DeleteDlg();
      return cui::Dlg::KEEP_OPEN;
   });
   main.GetButton("Help").clicked();

   EXPECT_THAT(story, ElementsAre("dialog dies"));
}

TEST_F(DlgTest, EnterMayEndTheDialogWithItsEntries)
{
   Form* const form = Open();
   form->action = cui::Dlg::CLOSE;
   form->address.grab_focus();
   PressKey(*form, GDK_KEY_Return);
   ASSERT_TRUE(WaitUntil([this] { return story.size() == 2; }));

   EXPECT_THAT(story, ElementsAre("choice 0", "dialog dies"));
}

TEST_F(DlgTest, ADisabledDialogTakesNoAnswerUntilItIsEnabledAgain)
{
   Form* const form = Open();
   form->note.grab_focus();
   form->Disable();
   story.clear();
   PressKey(*form, GDK_KEY_Escape);
   form->GetButton("Save").clicked();
   EXPECT_FALSE(form->IsEnabled());
   EXPECT_THAT(story, ElementsAre());

   form->Reenable();
   EXPECT_TRUE(form->IsEnabled());
   EXPECT_EQ(&form->note, form->get_focus());
   PressKey(*form, GDK_KEY_Escape);
   EXPECT_THAT(story, ElementsAre("choice 1"));
}

TEST_F(DlgTest, TheMnemonicMovesTheFocusToTheButton)
{
   Form* const form = Open();
   form->address.grab_focus();
   PressKey(*form, GDK_KEY_s, GDK_MOD1_MASK);
   ASSERT_TRUE(WaitUntil([this] { return !story.empty(); }));

   EXPECT_TRUE(form->GetButton("Save").has_focus());
}

// Closing it ends the run, and leaves the window to who made it.
TEST(MainWindowTest, ClosingItEndsTheRunAndHidesIt)
{
   for (bool const isDismissed : {false, true}) {
      std::vector<std::string> story;
      auto window = std::make_unique<Form>("main", &story);
      auto* const child = new Form("child", &story);
      window->action = cui::Dlg::CLOSE;
      Glib::signal_idle().connect_once([&] {
         window->AddManagedDlg(child);
         if (isDismissed) {
            window->close();
         } else {
            window->GetButton("Save").clicked();
         }
      });
      Gtk::Main::run(*window);
      EXPECT_FALSE(window->get_visible());
      EXPECT_THAT(story, ElementsAre(isDismissed ? "choice 1" : "choice 0", "child dies"));
      window.reset();
      EXPECT_EQ("main dies", story.back());
   }
}

TEST(MainWindowTest, MayBeDeletedWithAnEntryFocusedAndDialogsOpen)
{
   std::vector<std::string> story;
   auto window = std::make_unique<Form>("main", &story);
   ASSERT_TRUE(test::gtk::ShowActive(*window));
   window->note.grab_focus();
   window->AddManagedDlg(new Form("child", &story));
   window->NewError("text", "", true)->Show();
   window.reset();
   test::gtk::Settle();

   EXPECT_THAT(story, testing::Contains("child dies"));
   EXPECT_EQ(nullptr, test::gtk::FindWindow("child"));
   EXPECT_EQ(nullptr, test::gtk::FindWindow("Error"));
}

} // namespace
} // namespace lui
