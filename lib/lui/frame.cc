// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/frame.hh"

#include <atkmm/object.h>
#include <pangomm/attributes.h>
#include <pangomm/attrlist.h>

namespace lui {

namespace {

constexpr int SPACING = 6;
constexpr int INDENT = 12;

} // namespace

Frame::Frame(Glib::ustring const& title)
{
   set_spacing(SPACING);
   titleLabel.set_halign(Gtk::ALIGN_START);
   Pango::AttrList bold;
   Pango::Attribute weight = Pango::Attribute::create_attr_weight(Pango::WEIGHT_BOLD);
   bold.insert(weight);
   titleLabel.set_attributes(bold);
   content.set_margin_start(INDENT);
   pack_start(titleLabel, Gtk::PACK_SHRINK);
   pack_start(content, Gtk::PACK_EXPAND_WIDGET);
   titleLabel.show();
   content.show();
   get_accessible()->set_role(Atk::ROLE_PANEL);
   SetTitle(title);
}

void Frame::SetTitle(Glib::ustring const& title)
{
   titleLabel.set_text_with_mnemonic(title);
   get_accessible()->set_name(titleLabel.get_text());
}

void Frame::Add(Gtk::Widget& child)
{
   for (Gtk::Widget* const earlier : content.get_children()) {
      content.remove(*earlier);
   }
   content.pack_start(child, Gtk::PACK_EXPAND_WIDGET);
}

void Frame::SetMnemonicWidget(Gtk::Widget& widget)
{
   titleLabel.set_mnemonic_widget(widget);
}

} // namespace lui
