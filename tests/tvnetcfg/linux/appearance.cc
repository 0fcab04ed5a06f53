// SPDX-License-Identifier: GPL-2.0-or-later
#include "appearance.hh"

#include "support/gtk/find.hh"
#include "support/gtk/loop.hh"

#include <gtest/gtest.h>
#include <gtkmm/label.h>
#include <gtkmm/treeview.h>

namespace test {

namespace {

constexpr int SCREEN_WIDTH = 1024;
// Of 768, less a panel or a title.
constexpr int SCREEN_HEIGHT = 728;
constexpr char MARK[] = "\u200E";

std::string Quote(Gtk::Label& label)
{
   return "\"" + label.get_text().raw() + "\"";
}

bool IsWhole(Gtk::Label& label)
{
   int width = 0;
   int height = 0;
   label.get_layout()->get_pixel_size(width, height);
   return !label.get_layout()->is_ellipsized() && width <= label.get_allocated_width() &&
          height <= label.get_allocated_height();
}

// A window may get its size a moment after it's on the screen, and a list measures rows as time
// allows.
void ExpectWhole(Gtk::Label& label)
{
   EXPECT_TRUE(gtk::WaitUntil([&label] { return IsWhole(label); })) << Quote(label);
}

int GetCellWidth(Gtk::TreeView& view, Gtk::TreeViewColumn& column,
                 Gtk::TreeModel::iterator const& row)
{
   int x = 0;
   int y = 0;
   int width = 0;
   int height = 0;
   column.cell_set_cell_data(view.get_model(), row, false, false);
   column.cell_get_size(Gdk::Rectangle(), x, y, width, height);
   return width;
}

void ExpectWholeCells(Gtk::TreeView& view)
{
   for (Gtk::TreeViewColumn* const column : view.get_columns()) {
      if (auto* const title = dynamic_cast<Gtk::Label*>(column->get_widget())) {
         ExpectWhole(*title);
      }
      for (Gtk::TreeModel::iterator row = view.get_model()->children().begin(); row; ++row) {
         EXPECT_TRUE(gtk::WaitUntil([&view, column, &row] {
            return GetCellWidth(view, *column, row) <= column->get_width();
         })) << column->get_title();
      }
   }
}

// Nothing is hidden beside what shows. A list without titles may measure its rows too late for
// that.
void ExpectNothingBeside(Gtk::TreeView& view)
{
   auto const scroll = view.get_hadjustment();
   EXPECT_TRUE(!view.get_headers_visible() || gtk::WaitUntil([&scroll] {
      return scroll->get_upper() - scroll->get_lower() <= scroll->get_page_size();
   }));
}

} // namespace

void ExpectToFit(Gtk::Window& window)
{
   EXPECT_LE(window.get_allocated_width(), SCREEN_WIDTH);
   EXPECT_LE(window.get_allocated_height(), SCREEN_HEIGHT);
}

void ExpectWholeTexts(Gtk::Window& window)
{
   for (Gtk::Label* const label : gtk::FindAll<Gtk::Label>(window)) {
      ExpectWhole(*label);
   }
   for (Gtk::TreeView* const view : gtk::FindAll<Gtk::TreeView>(window)) {
      ExpectWholeCells(*view);
      ExpectNothingBeside(*view);
   }
}

std::string WithoutMark(std::string const& text)
{
   return text.starts_with(MARK) ? text.substr(sizeof MARK - 1) : text;
}

bool IsLeftToRight(Glib::RefPtr<Pango::Layout> const& layout)
{
   std::string const text = layout->get_text();
   std::size_t const start = text.size() - WithoutMark(text).size();
   int last = -1;
   for (std::size_t index = start; index < text.size(); ++index) {
      int const x = layout->index_to_pos(static_cast<int>(index)).get_x();
      if (x <= last) {
         return false;
      }
      last = x;
   }
   return true;
}

} // namespace test
