// SPDX-License-Identifier: GPL-2.0-or-later
// Tab, Shift+Tab, the arrows, Enter and Escape, in every window.
#include "windowStates.hh"

#include <algorithm>
#include <gdk/gdkkeysyms.h>
#include <gmock/gmock.h>
#include <gtkmm/radiobutton.h>
#include <set>

namespace {

using test::WindowState;
using Widgets = std::vector<Gtk::Widget*>;
using testing::UnorderedElementsAreArray;

constexpr std::size_t MANY = 50;

class TabOrderTest : public test::WindowStatesTest {
protected:
   // The controls that have the focus one after the other, from the present one until it returns.
   Widgets Walk(unsigned int key, unsigned int modifiers = 0)
   {
      Widgets visited;
      Gtk::Widget* focus = GetFocus();
      while (focus && visited.size() < MANY &&
             std::find(visited.begin(), visited.end(), focus) == visited.end()) {
         visited.push_back(focus);
         PressIn(key, modifiers);
         focus = GetFocus();
      }
      EXPECT_EQ(visited.front(), focus) << "the walk doesn't lead back to its start";
      return visited;
   }

   Gdk::Rectangle GetPlace(Gtk::Widget& widget)
   {
      int x = 0;
      int y = 0;
      widget.translate_coordinates(*window, 0, 0, x, y);
      return {x, y, widget.get_allocated_width(), widget.get_allocated_height()};
   }

   // Whether one reads the first before the second: line by line, each from the left.
   bool StandsBefore(Gtk::Widget& first, Gtk::Widget& second)
   {
      Gdk::Rectangle const one = GetPlace(first);
      Gdk::Rectangle const other = GetPlace(second);
      bool const isOneLine = one.get_y() < other.get_y() + other.get_height() &&
                             other.get_y() < one.get_y() + one.get_height();
      return isOneLine ? one.get_x() < other.get_x() : one.get_y() < other.get_y();
   }

   std::vector<std::string> DescribeAll(Widgets const& widgets)
   {
      std::vector<std::string> names;
      for (Gtk::Widget* const widget : widgets) {
         names.push_back(Describe(*widget));
      }
      return names;
   }

   static bool IsRadio(Gtk::Widget* widget)
   {
      return dynamic_cast<Gtk::RadioButton*>(widget) != nullptr;
   }

   // The controls that the four arrows lead to, each followed to its end.
   std::set<Gtk::Widget*> WalkWithArrows()
   {
      std::set<Gtk::Widget*> visited = {GetFocus()};
      for (unsigned int const arrow : {GDK_KEY_Up, GDK_KEY_Left, GDK_KEY_Down, GDK_KEY_Right}) {
         Gtk::Widget* before = nullptr;
         while (before != GetFocus() && visited.size() < MANY) {
            before = GetFocus();
            PressIn(arrow);
            visited.insert(GetFocus());
         }
      }
      return visited;
   }
};

TEST_P(TabOrderTest, BeginsWhereTheUserBegins)
{
   OpenState();
   ASSERT_TRUE(GetFocus());
   EXPECT_EQ(GetParam().start, Describe(*GetFocus()));
}

TEST_P(TabOrderTest, IsTheVisualOrder)
{
   OpenState();
   Widgets visited = Walk(GDK_KEY_Tab);
   std::rotate(
      visited.begin(),
      std::min_element(visited.begin(), visited.end(),
                       [this](auto* one, auto* other) { return StandsBefore(*one, *other); }),
      visited.end());
   for (std::size_t at = 1; at < visited.size(); ++at) {
      EXPECT_TRUE(StandsBefore(*visited[at - 1], *visited[at]))
         << Describe(*visited[at]) << " comes after " << Describe(*visited[at - 1]);
   }
}

TEST_P(TabOrderTest, ShiftGoesBackTheSameWay)
{
   OpenState();
   Widgets forth = Walk(GDK_KEY_Tab);
   Widgets const back = Walk(GDK_KEY_Tab, GDK_SHIFT_MASK);
   std::reverse(forth.begin() + 1, forth.end());
   EXPECT_EQ(DescribeAll(forth), DescribeAll(back));
}

// Tab visits the chosen one of a group of radio buttons; the arrows visit the others.
TEST_P(TabOrderTest, TabAndTheArrowsReachEveryControl)
{
   OpenState();
   std::vector<std::string> const expected = DescribeAll(GetControls());
   std::set<Gtk::Widget*> reached;
   for (Gtk::Widget* const control : Walk(GDK_KEY_Tab)) {
      reached.insert(control);
   }
   auto const chosen = std::find_if(reached.begin(), reached.end(), IsRadio);
   if (chosen != reached.end()) {
      (*chosen)->grab_focus();
      reached.merge(WalkWithArrows());
   }
   EXPECT_THAT(DescribeAll({reached.begin(), reached.end()}), UnorderedElementsAreArray(expected));
}

INSTANTIATE_TEST_SUITE_P(In, TabOrderTest, testing::ValuesIn(test::windowStates), test::NameState);

} // namespace
