// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/gtk/find.hh"

#include <atkmm/object.h>
#include <gtkmm/cellrenderertext.h>
#include <gtkmm/cellrenderertoggle.h>

namespace test::gtk {

namespace {

std::string ReadCell(Gtk::CellRenderer& cell)
{
   if (auto const* const toggle = dynamic_cast<Gtk::CellRendererToggle*>(&cell)) {
      return toggle->get_active() ? "x" : "-";
   }
   if (auto const* const text = dynamic_cast<Gtk::CellRendererText*>(&cell)) {
      return text->property_text().get_value();
   }
   return {};
}

std::string ReadLabelledBy(AtkObject* accessible)
{
   AtkRelationSet* const relations = atk_object_ref_relation_set(accessible);
   AtkRelation* const relation =
      atk_relation_set_get_relation_by_type(relations, ATK_RELATION_LABELLED_BY);
   std::string name;
   if (relation) {
      GPtrArray* const targets = atk_relation_get_target(relation);
      name = atk_object_get_name(static_cast<AtkObject*>(g_ptr_array_index(targets, 0)));
   }
   g_object_unref(relations);
   return name;
}

} // namespace

Gtk::Window* FindWindow(std::string const& title)
{
   for (Gtk::Window* const window : Gtk::Window::list_toplevels()) {
      if (window->get_mapped() && window->get_title() == title) {
         return window;
      }
   }
   return nullptr;
}

std::string ReadLabel(Gtk::Widget& widget)
{
   std::vector<Gtk::Label*> const labels = FindAll<Gtk::Label>(widget);
   return labels.empty() ? std::string() : labels.front()->get_text().raw();
}

Gtk::Label* FindLabel(Gtk::Widget& top, std::string const& text)
{
   for (Gtk::Label* const label : FindAll<Gtk::Label>(top)) {
      if (label->get_text() == text) {
         return label;
      }
   }
   return nullptr;
}

Gtk::Button* FindButton(Gtk::Widget& top, std::string const& text)
{
   for (Gtk::Button* const button : FindAll<Gtk::Button>(top)) {
      if (ReadLabel(*button) == text) {
         return button;
      }
   }
   return nullptr;
}

Gtk::Widget* FindNamed(Gtk::Widget& top, std::string const& label)
{
   for (Gtk::Label* const found : FindAll<Gtk::Label>(top)) {
      if (found->get_text() == label && found->get_mnemonic_widget()) {
         return found->get_mnemonic_widget();
      }
   }
   return nullptr;
}

std::string ReadAccessibleName(Gtk::Widget& widget)
{
   AtkObject* const accessible = gtk_widget_get_accessible(widget.gobj());
   char const* const name = atk_object_get_name(accessible);
   return name && *name ? name : ReadLabelledBy(accessible);
}

std::string ReadAccessibleDescription(Gtk::Widget& widget)
{
   char const* const text = atk_object_get_description(gtk_widget_get_accessible(widget.gobj()));
   return text ? text : "";
}

std::vector<std::string> ReadTitles(Gtk::TreeView& view)
{
   std::vector<std::string> titles;
   for (Gtk::TreeViewColumn const* const column : view.get_columns()) {
      titles.push_back(column->get_title());
   }
   return titles;
}

int CountRows(Gtk::TreeView& view)
{
   return static_cast<int>(view.get_model()->children().size());
}

std::vector<std::string> ReadRow(Gtk::TreeView& view, int row)
{
   Gtk::TreeIter const iter = view.get_model()->get_iter(std::to_string(row));
   if (!iter) {
      throw std::runtime_error("no row " + std::to_string(row));
   }
   std::vector<std::string> texts;
   for (Gtk::TreeViewColumn* const column : view.get_columns()) {
      column->cell_set_cell_data(view.get_model(), iter, false, false);
      for (Gtk::CellRenderer* const cell : column->get_cells()) {
         texts.push_back(ReadCell(*cell));
      }
   }
   return texts;
}

int GetSelectedRow(Gtk::TreeView& view)
{
   Gtk::TreeIter const selected = view.get_selection()->get_selected();
   return selected ? view.get_model()->get_path(selected)[0] : -1;
}

} // namespace test::gtk
