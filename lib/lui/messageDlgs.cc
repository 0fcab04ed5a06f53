// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/messageDlgs.hh"

#include "cui/localString.hh"

#include <algorithm>
#include <atkmm/object.h>
#include <gtkmm/image.h>
#include <gtkmm/label.h>
#include <gtkmm/scrolledwindow.h>
#include <pango/pango-attributes.h>

namespace lui {

namespace {

constexpr unsigned int BORDER = 12;
constexpr int ICON_SPACING = 12;
constexpr int WIDTH_IN_CHARACTERS = 60;
// A text that could become narrower than this would ask for many lines of height.
constexpr int LEAST_WIDTH_IN_CHARACTERS = 45;
// A text above this scrolls, so that the buttons stay on the screen.
constexpr unsigned long LONG_TEXT = 1200;
constexpr int LONG_TEXT_WIDTH = 480;
constexpr int LONG_TEXT_HEIGHT = 320;

char const* GetIconName(cui::severity::Level level)
{
   switch (level) {
   case cui::severity::ERROR:
      return "dialog-error";
   case cui::severity::WARNING:
      return "dialog-warning";
   case cui::severity::INFO:
      break;
   }
   return "dialog-information";
}

utf::string GetTitle(cui::severity::Level level)
{
   switch (level) {
   case cui::severity::ERROR:
      return cui::GetLocalString("@&!*@*@(msg.lui.dialog.error)Error");
   case cui::severity::WARNING:
      return cui::GetLocalString("@&!*@*@(msg.lui.dialog.warning)Warning");
   case cui::severity::INFO:
      break;
   }
   return cui::GetLocalString("@&!*@*@(msg.lui.dialog.information)Information");
}

utf::string GetQuestionTitle()
{
   return cui::GetLocalString("@&!*@*@(msg.lui.dialog.question)Question");
}

Answers GetCloseAnswer()
{
   return {{cui::GetLocalString("@&!*@*@(button.lui.dialog.close)Close")}, 0, 0};
}

// A path or an address that is broken between its letters gets no hyphens.
void SetLook(Gtk::Label& label, Pango::Weight weight)
{
   PangoAttrList* const look = pango_attr_list_new();
   pango_attr_list_insert(look, pango_attr_weight_new(static_cast<PangoWeight>(weight)));
   pango_attr_list_insert(look, pango_attr_insert_hyphens_new(FALSE));
   gtk_label_set_attributes(label.gobj(), look);
   pango_attr_list_unref(look);
}

Gtk::Label& MakeLabel(utf::string const& text, Pango::Weight weight)
{
   Gtk::Label& label = *Gtk::manage(new Gtk::Label(text));
   label.set_line_wrap(true);
   label.set_line_wrap_mode(Pango::WRAP_WORD_CHAR);
   label.set_width_chars(
      static_cast<int>(std::min<unsigned long>(text.size(), LEAST_WIDTH_IN_CHARACTERS)));
   label.set_max_width_chars(WIDTH_IN_CHARACTERS);
   label.set_xalign(0.0F);
   label.set_yalign(0.0F);
   label.set_selectable(true);
   SetLook(label, weight);
   label.show();
   return label;
}

bool IsLong(utf::string const& text)
{
   return text.size() > LONG_TEXT || text.split("\n", 0).size() > LONG_TEXT / WIDTH_IN_CHARACTERS;
}

std::vector<Glib::ustring> GetLabels(Answers const& answers)
{
   return {answers.labels.begin(), answers.labels.end()};
}

} // namespace

MessageDlg::MessageDlg(utf::string const& title, Message const& message, Answers const& answers)
   : content(false, ICON_SPACING), texts(false, ICON_SPACING)
{
   set_title(title);
   // Just as large as its text, which a window that can be resized isn't when the text wraps.
   set_resizable(false);
   get_accessible()->set_role(Atk::ROLE_ALERT);
   SetModal(message.isModal);
   Gtk::Image& icon = *Gtk::manage(new Gtk::Image);
   icon.set_from_icon_name(GetIconName(message.level), Gtk::ICON_SIZE_DIALOG);
   icon.set_valign(Gtk::ALIGN_START);
   icon.get_accessible()->set_name(GetTitle(message.level));
   content.pack_start(icon, Gtk::PACK_SHRINK);
   content.pack_start(texts, Gtk::PACK_EXPAND_WIDGET);
   bool const isAlone = message.second.empty();
   AddText(message.text, isAlone ? Pango::WEIGHT_NORMAL : Pango::WEIGHT_BOLD);
   if (!isAlone) {
      AddText(message.second, Pango::WEIGHT_NORMAL);
   }
   icon.show();
   texts.show();
   SetContent(content, BORDER);
   SetButtons(GetLabels(answers), answers.dismissChoice, answers.defaultChoice);
   replied.connect([] { return CLOSE; });
   // A label that can be selected would take it, and select itself.
   if (Gtk::Widget* const button = get_default_widget()) {
      set_focus(*button);
   }
}

void MessageDlg::AddText(utf::string const& text, Pango::Weight weight)
{
   Gtk::Label& label = MakeLabel(text, weight);
   if (!IsLong(text)) {
      texts.pack_start(label, Gtk::PACK_SHRINK);
      return;
   }
   Gtk::ScrolledWindow& view = *Gtk::manage(new Gtk::ScrolledWindow);
   view.set_policy(Gtk::POLICY_NEVER, Gtk::POLICY_AUTOMATIC);
   view.set_can_focus(false);
   view.set_size_request(LONG_TEXT_WIDTH, LONG_TEXT_HEIGHT);
   view.add(label);
   view.show_all();
   texts.pack_start(view, Gtk::PACK_EXPAND_WIDGET);
}

void MessageDlg::OfferSilence()
{
   silence.set_label(cui::GetLocalString("@&!*@*@(msg.lui.dialog.silence)_Do not show this again"));
   silence.set_use_underline(true);
   silence.show();
   texts.pack_end(silence, Gtk::PACK_SHRINK);
}

InfoDlg::InfoDlg(utf::string const& text, utf::string const& second)
   : MessageDlg(GetTitle(cui::severity::INFO), {text, second, cui::severity::INFO, false},
                GetCloseAnswer())
{}

WarningDlg::WarningDlg(utf::string const& text, utf::string const& second)
   : MessageDlg(GetTitle(cui::severity::WARNING), {text, second, cui::severity::WARNING, false},
                GetCloseAnswer())
{}

ErrorDlg::ErrorDlg(utf::string const& text, utf::string const& second, bool isModal)
   : MessageDlg(GetTitle(cui::severity::ERROR), {text, second, cui::severity::ERROR, isModal},
                GetCloseAnswer())
{}

HintDlg::HintDlg(utf::string const& text, utf::string const& second, bool isModal)
   : MessageDlg(GetTitle(cui::severity::INFO), {text, second, cui::severity::INFO, isModal},
                GetCloseAnswer())
{
   OfferSilence();
}

QuestionDlg::QuestionDlg(Message const& message, Answers const& answers)
   : MessageDlg(GetQuestionTitle(), message, answers)
{}

SQuestionDlg::SQuestionDlg(Message const& message, Answers const& answers)
   : MessageDlg(GetQuestionTitle(), message, answers)
{
   OfferSilence();
}

} // namespace lui
