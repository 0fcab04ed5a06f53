// SPDX-License-Identifier: GPL-2.0-or-later
// A button that takes the focus before it acts, however it was pressed.
#pragma once

#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/stockid.h>

namespace lui {

class Button : public Gtk::Button {
public:
   // An underscore marks the mnemonic.
   explicit Button(Glib::ustring const& label);
   // The same beside a stock icon, which shows only if withIcon holds.
   Button(Gtk::StockID icon, Glib::ustring const& label, bool withIcon);

protected:
   bool on_mnemonic_activate(bool isGroupCycling) override;

private:
   void AddLabel(Glib::ustring const& label);

   Gtk::HBox content;
};

} // namespace lui
