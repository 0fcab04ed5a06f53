// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/relations.hh"

#include <atkmm/object.h>
#include <atkmm/relation.h>
#include <gtkmm/widget.h>

namespace lui::Utils {

namespace {

void Relate(Gtk::Widget& widget, Atk::RelationType relation, Gtk::Widget& other,
            Atk::RelationType counterpart)
{
   widget.get_accessible()->add_relationship(relation, other.get_accessible());
   other.get_accessible()->add_relationship(counterpart, widget.get_accessible());
}

} // namespace

void SetLabelledBy(Gtk::Widget& widget, Gtk::Widget& label)
{
   Relate(widget, Atk::RELATION_LABELLED_BY, label, Atk::RELATION_LABEL_FOR);
}

void SetDescribedBy(Gtk::Widget& widget, Gtk::Widget& text)
{
   Relate(widget, Atk::RELATION_DESCRIBED_BY, text, Atk::RELATION_DESCRIPTION_FOR);
}

} // namespace lui::Utils
