// SPDX-License-Identifier: GPL-2.0-or-later
// An icon beside a text that wraps.
#pragma once

#include <gtkmm/box.h>
#include <gtkmm/image.h>
#include <gtkmm/label.h>
#include <gtkmm/stockid.h>

namespace lui {

class IconLabelBox : public Gtk::HBox {
public:
   IconLabelBox();
   // text is Pango mark-up, as for SetMarkup.
   IconLabelBox(Gtk::StockID const& icon, Glib::ustring const& text);

   void SetStockId(Gtk::StockID const& icon);
   // Text that isn't mark-up is shown as it is.
   void SetMarkup(Glib::ustring const& markup);
   // Tells assistive tools that the text is about this widget.
   void Describe(Gtk::Widget& widget);
   // Has screen readers say the text, as they do with an alert.
   void Announce();

protected:
   void on_hide() override;

private:
   void TellOfAlert();

   Gtk::Image image;
   Gtk::Label label;
};

} // namespace lui
