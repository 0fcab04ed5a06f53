// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/warningDialog.hh"

#include <atkmm/object.h>
#include <gtkmm/messagedialog.h>

namespace lui::Utils {

void RaiseWarningDialog(char const* title, char const* text)
{
   Gtk::MessageDialog dialog(text ? text : "", false, Gtk::MESSAGE_WARNING, Gtk::BUTTONS_CLOSE,
                             true);
   dialog.set_title(title ? title : "");
   // GTK names a message dialog for its kind; a screen reader is to say whose it is.
   dialog.get_accessible()->set_name(title ? title : "");
   dialog.set_default_response(Gtk::RESPONSE_CLOSE);
   dialog.run();
}

} // namespace lui::Utils
