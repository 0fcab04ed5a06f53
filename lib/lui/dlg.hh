// SPDX-License-Identifier: GPL-2.0-or-later
// A dialog's window: the content above a row of reply buttons.
#pragma once

#include "lui/buttonBox.hh"
#include "lui/manageableDlg.hh"

#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/window.h>
#include <vector>

namespace lui {

// Escape and the window's close control give the dismiss choice. Enter gives the default choice,
// also in an entry; a focused button goes first. F1 opens the window's help. A reply button takes
// the focus before it answers, so that an entry's focus handlers have run by then. When the window
// goes, the focus returns to the window below.
class Dlg : public ManageableDlg, public Gtk::Window {
public:
   Dlg();
   ~Dlg() override;

   DlgMgr* GetDlgMgr() override { return this; }
   // Puts ready made buttons into the row, as SetButtons does with its own. The first startCount of
   // them stand at the row's start, the others at its end.
   virtual void PlaceButtons(std::vector<Gtk::Button*> const& newButtons, int dismiss,
                             int defaultButton, int startCount);
   bool on_delete_event(GdkEventAny* event) override;
   bool on_key_press_event(GdkEventKey* event) override;
   // The user leaves without a button: answers with the dismiss choice, whether or not its button
   // is sensitive.
   virtual void HandleDiscard();

   Gtk::Window& GetWindow() override { return *this; }

   // The window's topic of the help; none at first.
   void SetHelpTopic(Glib::ustring const& topic) { helpTopic = topic; }
   // Opens the page of the window's topic over it. Nothing happens without a topic.
   virtual void ShowHelp();

   // Puts the widget above the buttons, with border pixels around it, in place of an earlier one.
   // The dialog doesn't own it unless it is Gtk::manage'd.
   void SetContent(Gtk::Widget& content, unsigned int border);
   // Creates the reply buttons at the bottom right, from left to right, in place of earlier ones.
   // An underscore marks a mnemonic. dismissChoice is the answer of a dismissal; a negative one
   // means that the window can't be dismissed. defaultChoice is the button that Enter presses;
   // out of range there is none.
   void SetButtons(std::vector<Glib::ustring> const& labels, int dismissChoice, int defaultChoice);
   // A button that isn't sensitive gives no reply. A choice out of range is ignored.
   void SetResponseSensitive(int choice, bool isSensitive);

protected:
   void on_show() override;
   void on_hide() override;
   void on_set_focus(Gtk::Widget* focus) override;

private:
   void AddReplyButton(Gtk::Button& button, int choice, bool isAtStart);
   void RemoveButtons();
   void OnReplyButton(unsigned int choice);

   Gtk::VBox mainBox;
   Gtk::HBox buttonRow;
   std::vector<Gtk::Button*> buttons;
   std::vector<sigc::connection> clicks;
   ButtonBox startButtons;
   ButtonBox endButtons;
   Gtk::Widget* content = nullptr;
   // Where the keyboard was when the window was hidden.
   cui::WeakPtr<Gtk::Widget> focusBefore;
   int dismissChoice = 0;
   Glib::ustring helpTopic;
};

} // namespace lui
