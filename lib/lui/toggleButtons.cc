// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/toggleButtons.hh"

#include "lui/checkBox.hh"

#include <algorithm>
#include <atkmm/object.h>
#include <atkmm/relation.h>
#include <gtkmm/label.h>
#include <pangomm/attributes.h>
#include <pangomm/attrlist.h>

namespace lui::Utils {

namespace {

// Below a radio button's label.
constexpr int INDENT = 24;
constexpr int SPACING = 6;
constexpr int WIDTH_IN_CHARACTERS = 60;
// A text that could become narrower than this would ask for many lines of height.
constexpr int LEAST_WIDTH_IN_CHARACTERS = 45;

// Smaller rather than paler, so that it stays readable.
Gtk::Label& MakeDescription(Gtk::Widget& button, Glib::ustring const& description)
{
   Gtk::Label& label = *Gtk::manage(new Gtk::Label(description));
   label.set_line_wrap(true);
   label.set_width_chars(std::min(static_cast<int>(description.size()), LEAST_WIDTH_IN_CHARACTERS));
   label.set_max_width_chars(WIDTH_IN_CHARACTERS);
   label.set_xalign(0.0F);
   label.set_halign(Gtk::ALIGN_START);
   Pango::AttrList look;
   Pango::Attribute scale = Pango::Attribute::create_attr_scale(Pango::SCALE_SMALL);
   look.insert(scale);
   label.set_attributes(look);
   label.show();
   button.get_accessible()->set_description(description);
   // From the label's side alone: GTK makes the relations of a radio button anew each time they are
   // asked for, and stumbles over others than its own.
   label.get_accessible()->add_relationship(Atk::RELATION_DESCRIPTION_FOR, button.get_accessible());
   return label;
}

void SetUp(Gtk::RadioButton& button, Gtk::RadioButtonGroup& group, Glib::ustring const& label)
{
   button.set_label(label);
   button.set_use_underline(true);
   button.set_group(group);
   button.show();
}

void PackWithBeneath(Gtk::RadioButton& button, Gtk::Box& box, Gtk::Widget& beneath, int spacing,
                     Gtk::PackOptions options)
{
   Gtk::VBox& column = *Gtk::manage(new Gtk::VBox(false, spacing));
   beneath.set_margin_start(INDENT);
   column.pack_start(button, Gtk::PACK_SHRINK);
   column.pack_start(beneath, Gtk::PACK_SHRINK);
   box.pack_start(column, options);
   column.show();
}

// Goes with the widget.
void FollowButton(Gtk::Widget& widget, Gtk::RadioButton& button)
{
   auto const follow = [&widget, &button] { widget.set_sensitive(button.get_active()); };
   button.signal_toggled().connect(sigc::track_obj(follow, widget, button));
   follow();
}

} // namespace

CheckBox* BuildCheckButton(Gtk::CheckButton& button, Gtk::Box& box, Glib::ustring const& label,
                           Glib::ustring const& description, Gtk::PackOptions options,
                           bool isActive, Glib::ustring const& tooltip)
{
   button.set_label(label);
   button.set_use_underline(true);
   button.set_active(isActive);
   if (!tooltip.empty()) {
      button.set_tooltip_text(tooltip);
   }
   auto* const checkBox = Gtk::manage(new CheckBox(button));
   if (!description.empty()) {
      Gtk::Label& line = MakeDescription(button, description);
      line.set_margin_start(INDENT);
      checkBox->pack_start(line, Gtk::PACK_SHRINK);
      checkBox->reorder_child(line, 1);
   }
   box.pack_start(*checkBox, options);
   checkBox->show();
   return checkBox;
}

void BuildRadioButton(Gtk::RadioButton& button, Gtk::RadioButtonGroup& group, Gtk::Box& box,
                      Glib::ustring const& label, Glib::ustring const& description,
                      Gtk::PackOptions options)
{
   SetUp(button, group, label);
   if (description.empty()) {
      box.pack_start(button, options);
   } else {
      PackWithBeneath(button, box, MakeDescription(button, description), 0, options);
   }
}

void BuildRadioButton(Gtk::RadioButton& button, Gtk::RadioButtonGroup& group, Gtk::Box& box,
                      Glib::ustring const& label, Gtk::Widget* widget, Gtk::PackOptions options)
{
   SetUp(button, group, label);
   if (!widget) {
      box.pack_start(button, options);
      return;
   }
   PackWithBeneath(button, box, *widget, SPACING, options);
   FollowButton(*widget, button);
}

void ChangeLabel(Gtk::CheckButton& button, Glib::ustring const& label)
{
   auto* const shown = dynamic_cast<Gtk::Label*>(button.get_child());
   if (!shown) {
      button.set_label(label);
   } else if (shown->get_label() != label) {
      shown->set_label(label);
   }
}

} // namespace lui::Utils
