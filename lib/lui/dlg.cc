// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/dlg.hh"

#include "lui/button.hh"
#include "lui/entryCursors.hh"
#include "lui/help.hh"

#include <gdk/gdkkeysyms.h>
#include <gtkmm/entry.h>

namespace lui {

namespace {

constexpr int BORDER = 12;

// The entry of a list's cell ends the editing with Enter, and that alone.
bool IsInList(Gtk::Widget& widget)
{
   return gtk_widget_get_ancestor(widget.gobj(), GTK_TYPE_TREE_VIEW) != nullptr;
}

// In a window without the keyboard GTK moves the focus silently; what an assistive tool wrote there
// would be forgotten.
void TellOfLeaving(Gtk::Widget& widget)
{
   GdkEvent* const event = gdk_event_new(GDK_FOCUS_CHANGE);
   event->focus_change.window = GDK_WINDOW(g_object_ref(widget.get_window()->gobj()));
   event->focus_change.in = FALSE;
   GdkSeat* const seat = gdk_display_get_default_seat(gtk_widget_get_display(widget.gobj()));
   gdk_event_set_device(event, gdk_seat_get_keyboard(seat));
   gtk_widget_send_focus_change(widget.gobj(), event);
   gdk_event_free(event);
}

void SetMargins(Gtk::Widget& widget, int top, int others)
{
   widget.set_margin_top(top);
   widget.set_margin_bottom(others);
   widget.set_margin_start(others);
   widget.set_margin_end(others);
}

} // namespace

Dlg::Dlg() : startButtons(Gtk::ALIGN_START), endButtons(Gtk::ALIGN_END)
{
   buttonRow.set_spacing(BORDER);
   SetMargins(buttonRow, 0, BORDER);
   buttonRow.pack_start(startButtons, Gtk::PACK_SHRINK);
   buttonRow.pack_end(endButtons, Gtk::PACK_EXPAND_WIDGET);
   mainBox.pack_end(buttonRow, Gtk::PACK_SHRINK);
   add(mainBox);
   mainBox.show();
}

// What the derived class had is gone already, so nobody may call it any more, and the dialogs over
// this one must not outlive it.
Dlg::~Dlg()
{
   LeaveDlgMgr();
   notify_callbacks();
   Shutdown();
   if (get_visible()) {
      hide();
   }
}

void Dlg::SetContent(Gtk::Widget& newContent, unsigned int border)
{
   if (content) {
      mainBox.remove(*content);
   }
   content = &newContent;
   SetMargins(newContent, static_cast<int>(border), static_cast<int>(border));
   SetMargins(buttonRow, 0, static_cast<int>(border));
   mainBox.pack_start(newContent, Gtk::PACK_EXPAND_WIDGET);
   newContent.show();
   Utils::KeepCursorsAtEnd(newContent);
}

void Dlg::SetButtons(std::vector<Glib::ustring> const& labels, int dismiss, int defaultChoice)
{
   std::vector<Gtk::Button*> newButtons;
   for (Glib::ustring const& label : labels) {
      newButtons.push_back(Gtk::manage(new Button(label)));
   }
   PlaceButtons(newButtons, dismiss, defaultChoice, 0);
}

void Dlg::PlaceButtons(std::vector<Gtk::Button*> const& newButtons, int dismiss, int defaultButton,
                       int startCount)
{
   RemoveButtons();
   dismissChoice = dismiss;
   for (Gtk::Button* const button : newButtons) {
      int const choice = static_cast<int>(buttons.size());
      AddReplyButton(*button, choice, choice < startCount);
   }
   if (defaultButton >= 0 && defaultButton < static_cast<int>(buttons.size())) {
      Gtk::Button& button = *buttons[static_cast<unsigned int>(defaultButton)];
      button.set_can_default(true);
      set_default(button);
   }
   buttonRow.set_visible(!buttons.empty());
}

void Dlg::AddReplyButton(Gtk::Button& button, int choice, bool isAtStart)
{
   clicks.push_back(button.signal_clicked().connect(
      sigc::bind(sigc::mem_fun(*this, &Dlg::OnReplyButton), static_cast<unsigned int>(choice))));
   buttons.push_back(&button);
   ButtonBox& box = isAtStart ? startButtons : endButtons;
   box.Append(button);
   box.show();
}

void Dlg::RemoveButtons()
{
   for (sigc::connection& click : clicks) {
      click.disconnect();
   }
   for (Gtk::Button* const button : buttons) {
      startButtons.Remove(*button);
      endButtons.Remove(*button);
   }
   clicks.clear();
   buttons.clear();
   startButtons.hide();
   endButtons.hide();
}

// Taking the focus may run handlers that change or end everything.
void Dlg::OnReplyButton(unsigned int choice)
{
   cui::WeakPtr<cui::Dlg> const self(this);
   cui::WeakPtr<Gtk::Button> const button(buttons[choice]);
   Gtk::Widget* const focus = get_focus();
   if (focus && focus != button.get() && focus->get_realized() && !has_toplevel_focus()) {
      TellOfLeaving(*focus);
   }
   if (button) {
      button->grab_focus();
   }
   if (self && choice < buttons.size() && buttons[choice]->is_sensitive()) {
      OnClicked(choice);
   }
}

void Dlg::SetResponseSensitive(int choice, bool isSensitive)
{
   if (choice >= 0 && choice < static_cast<int>(buttons.size())) {
      buttons[static_cast<unsigned int>(choice)]->set_sensitive(isSensitive);
   }
}

bool Dlg::on_delete_event(GdkEventAny*)
{
   HandleDiscard();
   return true;
}

// Whoever has the focus sees the key first, and may end the dialog by it.
bool Dlg::on_key_press_event(GdkEventKey* event)
{
   cui::WeakPtr<cui::Dlg> const self(this);
   if (Gtk::Window::on_key_press_event(event)) {
      return true;
   }
   bool const isPlain = (event->state & gtk_accelerator_get_default_mod_mask()) == 0;
   if (!self || !isPlain) {
      return false;
   }
   switch (event->keyval) {
   case GDK_KEY_Escape:
      HandleDiscard();
      return true;
   case GDK_KEY_F1:
   case GDK_KEY_Help:
      ShowHelp();
      return true;
   default:
      return false;
   }
}

void Dlg::ShowHelp()
{
   if (!helpTopic.empty()) {
      Utils::OpenHelp(GetDlgMgr(), helpTopic);
   }
}

void Dlg::HandleDiscard()
{
   if (IsEnabled() && dismissChoice >= 0) {
      OnClicked(static_cast<unsigned int>(dismissChoice));
   }
}

void Dlg::on_show()
{
   if (focusBefore && !get_focus() && focusBefore->get_toplevel() == this) {
      set_focus(*focusBefore);
   }
   focusBefore = nullptr;
   Gtk::Window::on_show();
}

// The focus handlers run while everything they know is still there. Without a window manager
// nobody else would hand the focus back.
void Dlg::on_hide()
{
   cui::WeakPtr<cui::Dlg> const self(this);
   bool const wasActive = property_is_active();
   focusBefore = get_focus();
   unset_focus();
   if (!self) {
      return;
   }
   Gtk::Window* const below = get_transient_for();
   Gtk::Window::on_hide();
   if (wasActive && below && below->get_visible()) {
      below->present(gtk_get_current_event_time());
   }
}

void Dlg::on_set_focus(Gtk::Widget* focus)
{
   auto* const entry = dynamic_cast<Gtk::Entry*>(focus);
   if (entry && !IsInList(*entry)) {
      entry->set_activates_default(true);
   }
   Gtk::Window::on_set_focus(focus);
}

} // namespace lui
