// SPDX-License-Identifier: GPL-2.0-or-later
// The dialogs that the manager makes of a text.
#pragma once

#include "cui/messageDlgs.hh"
#include "cui/severity.hh"
#include "lui/dlgChoice.hh"

#include <gtkmm/checkbutton.h>
#include <pangomm/fontdescription.h>
#include <vector>

namespace lui {

// What a dialog says. second is a smaller text below, or empty.
struct Message {
   utf::string text;
   utf::string second;
   cui::severity::Level level;
   bool isModal;
};

// The labels from left to right, then the answer of a dismissal and that of the default button.
struct Answers {
   std::vector<utf::string> labels;
   int dismissChoice;
   int defaultChoice;
};

// An icon beside the texts, which are shown as they are and can be copied. Closes with any answer
// unless a handler that comes later says otherwise. A screen reader reads it as an alert.
class MessageDlg : public DlgChoice {
public:
   MessageDlg(utf::string const& title, Message const& message, Answers const& answers);

protected:
   // Offers not to show this again.
   void OfferSilence();
   bool IsSilenceWanted() const { return silence.get_active(); }

private:
   void AddText(utf::string const& text, Pango::Weight weight);

   Gtk::HBox content;
   Gtk::VBox texts;
   Gtk::CheckButton silence;
};

class InfoDlg : public cui::DlgInfo, public MessageDlg {
public:
   InfoDlg(utf::string const& text, utf::string const& second);
};

class WarningDlg : public cui::DlgWarning, public MessageDlg {
public:
   WarningDlg(utf::string const& text, utf::string const& second);
};

class ErrorDlg : public cui::DlgError, public MessageDlg {
public:
   ErrorDlg(utf::string const& text, utf::string const& second, bool isModal);
};

class HintDlg : public cui::DlgHint, public MessageDlg {
public:
   HintDlg(utf::string const& text, utf::string const& second, bool isModal);
   bool IsSilenced() const override { return IsSilenceWanted(); }
};

class QuestionDlg : public cui::DlgQuestion, public MessageDlg {
public:
   QuestionDlg(Message const& message, Answers const& answers);
   unsigned int GetAnswer() const override { return GetChoice(); }
};

class SQuestionDlg : public cui::DlgSQuestion, public MessageDlg {
public:
   SQuestionDlg(Message const& message, Answers const& answers);
   unsigned int GetAnswer() const override { return GetChoice(); }
   bool IsSilenced() const override { return IsSilenceWanted(); }
};

} // namespace lui
