// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/bitmapMarks.hh"

#include "support/gtk/loop.hh"

#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace {

using lui::BitmapMarks;

class BitmapMarksTest : public test::gtk::Test {
protected:
   // The desktop that the tests run on names the theme in the environment.
   BitmapMarksTest() { Glib::unsetenv("GTK_THEME"); }
   ~BitmapMarksTest() override
   {
      SetTheme("Adwaita");
      Glib::setenv("GTK_THEME", "Adwaita");
   }

   static void SetTheme(char const* name)
   {
      Gtk::Settings::get_default()->property_gtk_theme_name() = name;
   }

   // The bytes of what a box and a bullet look like.
   static std::string Draw(bool checked)
   {
      Gtk::OffscreenWindow window;
      Gtk::HBox box;
      Gtk::CheckButton check;
      Gtk::RadioButtonGroup group;
      Gtk::RadioButton chosen(group);
      Gtk::RadioButton other(group);
      box.add(check);
      box.add(chosen);
      window.add(box);
      check.set_active(checked);
      (checked ? chosen : other).set_active(true);
      window.show_all();
      test::gtk::Settle();
      auto const picture = window.get_pixbuf();
      return {reinterpret_cast<char const*>(picture->get_pixels()), picture->get_byte_length()};
   }

   // The mean difference of their bytes; 255 if they aren't of the same size.
   static double Compare(std::string const& left, std::string const& right)
   {
      if (left.size() != right.size()) {
         return 255;
      }
      double sum = 0;
      for (std::size_t i = 0; i < left.size(); ++i) {
         sum +=
            std::abs(static_cast<unsigned char>(left[i]) - static_cast<unsigned char>(right[i]));
      }
      return sum / static_cast<double>(left.size());
   }
};

} // namespace

TEST_F(BitmapMarksTest, LookAsTheThemesDo)
{
   auto const ofTheme = Draw(true);
   BitmapMarks const marks;
   EXPECT_TRUE(marks.IsUsed());
   auto const drawn = Draw(true);
   EXPECT_LT(Compare(ofTheme, drawn), 1);
   EXPECT_GT(Compare(Draw(false), drawn), 5);
}

TEST_F(BitmapMarksTest, GoWithTheTheme)
{
   BitmapMarks const marks;
   SetTheme("HighContrast");
   EXPECT_FALSE(marks.IsUsed());
   auto const drawn = Draw(true);
   SetTheme("Adwaita");
   EXPECT_TRUE(marks.IsUsed());
   EXPECT_GT(Compare(Draw(true), drawn), 5);
}

TEST_F(BitmapMarksTest, AThemeOfTheEnvironmentGoesFirst)
{
   Glib::setenv("GTK_THEME", "HighContrast");
   EXPECT_FALSE(BitmapMarks().IsUsed());
   Glib::setenv("GTK_THEME", "Adwaita:dark");
   EXPECT_TRUE(BitmapMarks().IsUsed());
}

TEST_F(BitmapMarksTest, AreTheThemesAgainAfterwards)
{
   auto const before = Draw(true);
   std::optional<BitmapMarks> marks;
   marks.emplace();
   marks.reset();
   EXPECT_EQ(0, Compare(before, Draw(true)));
}
