// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/button.hh"

#include <gtkmm/image.h>
#include <gtkmm/label.h>

namespace lui {

namespace {

// Themes add theirs to the label of a button with an image.
constexpr int ICON_SPACING = 2;

} // namespace

Button::Button(Glib::ustring const& label)
{
   AddLabel(label);
}

Button::Button(Gtk::StockID icon, Glib::ustring const& label, bool withIcon)
{
   if (withIcon) {
      get_style_context()->add_class("image-button");
      Gtk::Image& image = *Gtk::manage(new Gtk::Image(icon, Gtk::ICON_SIZE_BUTTON));
      content.pack_start(image, Gtk::PACK_SHRINK);
      image.show();
   }
   AddLabel(label);
}

void Button::AddLabel(Glib::ustring const& text)
{
   // Themes give room to what GTK itself takes for a button with a text.
   get_style_context()->add_class("text-button");
   Gtk::Label& label = *Gtk::manage(new Gtk::Label(text, true));
   content.set_spacing(ICON_SPACING);
   content.set_halign(Gtk::ALIGN_CENTER);
   content.pack_start(label, Gtk::PACK_SHRINK);
   label.show();
   content.show();
   add(content);
}

bool Button::on_mnemonic_activate(bool isGroupCycling)
{
   if (!isGroupCycling) {
      grab_focus();
   }
   return Gtk::Button::on_mnemonic_activate(isGroupCycling);
}

} // namespace lui
