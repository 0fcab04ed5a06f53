// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/iconLabelBox.hh"

#include "lui/relations.hh"

#include <atkmm/object.h>
#include <glibmm/main.h>

namespace lui {

namespace {

constexpr int SPACING = 6;
constexpr int WIDTH_IN_CHARACTERS = 60;

bool IsMarkup(Glib::ustring const& text)
{
   return pango_parse_markup(text.c_str(), -1, 0, nullptr, nullptr, nullptr, nullptr);
}

} // namespace

IconLabelBox::IconLabelBox()
{
   set_spacing(SPACING);
   image.set_valign(Gtk::ALIGN_START);
   label.set_line_wrap(true);
   label.set_max_width_chars(WIDTH_IN_CHARACTERS);
   label.set_xalign(0.0F);
   pack_start(image, Gtk::PACK_SHRINK);
   pack_start(label, Gtk::PACK_SHRINK);
   image.show();
   label.show();
}

IconLabelBox::IconLabelBox(Gtk::StockID const& icon, Glib::ustring const& text) : IconLabelBox()
{
   SetStockId(icon);
   SetMarkup(text);
}

void IconLabelBox::SetStockId(Gtk::StockID const& icon)
{
   image.set(icon, Gtk::ICON_SIZE_MENU);
}

void IconLabelBox::SetMarkup(Glib::ustring const& markup)
{
   if (IsMarkup(markup)) {
      label.set_markup(markup);
   } else {
      label.set_text(markup);
   }
}

void IconLabelBox::Describe(Gtk::Widget& widget)
{
   Utils::SetDescribedBy(widget, label);
}

// A text that comes up when the focus moves on is to be heard, so it's told after that: screen
// readers drop what they say when they hear of another focus. GTK tells of the focus when it is
// idle.
void IconLabelBox::Announce()
{
   Glib::signal_idle().connect(
      sigc::bind_return(sigc::mem_fun(*this, &IconLabelBox::TellOfAlert), false),
      Glib::PRIORITY_LOW);
}

// An alert from now on, and not since it came up, or it would be told twice.
void IconLabelBox::TellOfAlert()
{
   if (get_mapped()) {
      get_accessible()->set_role(Atk::ROLE_ALERT);
      get_accessible()->set_name(label.get_text());
      get_accessible()->notify_state_change(ATK_STATE_SHOWING, true);
   }
}

void IconLabelBox::on_hide()
{
   get_accessible()->set_role(Atk::ROLE_FILLER);
   get_accessible()->set_name("");
   Gtk::HBox::on_hide();
}

} // namespace lui
