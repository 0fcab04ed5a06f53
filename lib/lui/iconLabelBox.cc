// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/iconLabelBox.hh"

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

} // namespace lui
