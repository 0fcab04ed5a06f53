// SPDX-License-Identifier: GPL-2.0-or-later
#include "dialogTest.hh"

#include <gtkmm/radiobutton.h>

namespace netcfg {

namespace {

std::string Describe(Gtk::Widget* widget)
{
   if (!widget) {
      return "nothing";
   }
   if (dynamic_cast<Gtk::Button*>(widget)) {
      return test::gtk::ReadLabel(*widget);
   }
   return test::gtk::ReadAccessibleName(*widget);
}

} // namespace

BaseWindow::BaseWindow() : text("The window below")
{
   set_title("Base");
   set_default_size(620, 575);
   text.show();
   SetContent(text, 12);
   SetButtons({"Base"}, 0, 0);
}

DialogTest::DialogTest(unsigned int maxNetworks)
   : editable(std::make_unique<common::Editable>(maxNetworks)), base(std::make_unique<BaseWindow>())
{
   EXPECT_TRUE(test::gtk::ShowActive(*base));
}

DialogTest::~DialogTest()
{
   base.reset();
}

void DialogTest::TearDown()
{
   base.reset();
   Test::TearDown();
}

bool DialogTest::WaitUntilClosed()
{
   return test::gtk::WaitUntil([this] { return !IsOpen(); });
}

void DialogTest::Press(unsigned int symbol, unsigned int modifiers)
{
   test::gtk::PressKey(GetWindow(), symbol, modifiers);
}

void DialogTest::Click(std::string const& button)
{
   test::gtk::Click(Get<Gtk::Button>(button));
}

std::vector<std::string> DialogTest::GetReplyButtons()
{
   Gtk::Widget& row = *Get<Gtk::Button>("Cancel").get_parent();
   std::vector<std::string> texts;
   for (Gtk::Button* const button : test::gtk::FindAll<Gtk::Button>(row)) {
      texts.push_back(test::gtk::ReadLabel(*button));
   }
   return texts;
}

std::vector<std::string> DialogTest::GetTabOrder(Gtk::Window& window)
{
   constexpr std::size_t LONGEST = 50;
   std::vector<std::string> order;
   Gtk::Widget* const first = window.get_focus();
   do {
      order.push_back(Describe(window.get_focus()));
      test::gtk::PressKey(window, GDK_KEY_Tab);
   } while (window.get_focus() != first && order.size() < LONGEST);
   return order;
}

std::string DialogTest::DismissError()
{
   EXPECT_TRUE(test::gtk::WaitUntil([this] { return SeesError(); }));
   Gtk::Window* const error = test::gtk::FindWindow("Error");
   if (!error) {
      return {};
   }
   EXPECT_TRUE(error->get_modal());
   std::string const text = test::gtk::ReadLabel(*error);
   test::gtk::PressKey(*error, GDK_KEY_Return);
   EXPECT_TRUE(test::gtk::WaitUntil([this] { return !SeesError(); }));
   return text;
}

bool DialogTest::SeesError()
{
   return test::gtk::FindWindow("Error") != nullptr;
}

} // namespace netcfg
