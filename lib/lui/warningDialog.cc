// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/warningDialog.hh"

#include "cui/localString.hh"

#include <atkmm/object.h>
#include <gdkmm/display.h>
#include <gdkmm/monitor.h>
#include <gtkmm/image.h>
#include <gtkmm/label.h>
#include <gtkmm/messagedialog.h>
#include <gtkmm/scrolledwindow.h>

namespace lui::Utils {

namespace {

constexpr char WARNING_ICON[] = "dialog-warning";

// Half of what a screen has room for.
int GetLargestTextHeight()
{
   auto const display = Gdk::Display::get_default();
   auto const monitor = display->get_primary_monitor();
   Gdk::Rectangle workarea(0, 0, 800, 600);
   auto const shown = monitor ? monitor : display->get_monitor(0);
   if (shown) {
      shown->get_workarea(workarea);
   }
   return workarea.get_height() / 2;
}

// The button stays within reach, however long the text is: the label moves into a view that
// scrolls.
void LimitHeight(Gtk::MessageDialog& dialog, Gtk::Label& label)
{
   Gtk::Box& area = *dialog.get_message_area();
   Gtk::ScrolledWindow& view = *Gtk::manage(new Gtk::ScrolledWindow);
   view.set_policy(Gtk::POLICY_NEVER, Gtk::POLICY_AUTOMATIC);
   view.set_can_focus(false);
   view.set_propagate_natural_width(true);
   view.set_propagate_natural_height(true);
   view.set_max_content_height(GetLargestTextHeight());
   label.reference();
   area.remove(label);
   view.add(label);
   label.unreference();
   area.pack_start(view);
   view.show_all();
}

// Lets even a text without a blank wrap.
void FitToScreen(Gtk::MessageDialog& dialog)
{
   for (Gtk::Widget* child : dialog.get_message_area()->get_children()) {
      auto* const label = dynamic_cast<Gtk::Label*>(child);
      if (label && label->get_visible()) {
         label->set_line_wrap_mode(Pango::WRAP_WORD_CHAR);
         LimitHeight(dialog, *label);
         return;
      }
   }
}

} // namespace

void RaiseWarningDialog(char const* title, char const* text)
{
   Gtk::MessageDialog dialog(text ? text : "", false, Gtk::MESSAGE_WARNING, Gtk::BUTTONS_CLOSE,
                             true);
   dialog.set_title(title ? title : "");
   // GTK names a message dialog for its kind; a screen reader is to say whose it is.
   dialog.get_accessible()->set_name(title ? title : "");
   dialog.set_icon_name(WARNING_ICON);
   Gtk::Image& image = *Gtk::manage(new Gtk::Image);
   image.set_from_icon_name(WARNING_ICON, Gtk::ICON_SIZE_DIALOG);
   image.set_valign(Gtk::ALIGN_START);
   image.get_accessible()->set_name(cui::GetLocalString("@&!*@*@(msg.lui.dialog.warning)Warning"));
   image.show();
   dialog.set_image(image);
   dialog.set_default_response(Gtk::RESPONSE_CLOSE);
   FitToScreen(dialog);
   dialog.run();
}

} // namespace lui::Utils
