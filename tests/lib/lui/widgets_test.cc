// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/button.hh"
#include "lui/checkBox.hh"
#include "lui/frame.hh"
#include "lui/iconLabelBox.hh"
#include "lui/toggleButtons.hh"
#include "support/gtk/find.hh"
#include "support/gtk/input.hh"
#include "support/gtk/loop.hh"

#include <atkmm/object.h>
#include <gdk/gdkkeysyms.h>
#include <gmock/gmock.h>
#include <gtkmm/entry.h>
#include <gtkmm/stock.h>

using test::gtk::FindAll;
using test::gtk::PressKey;
using test::gtk::WaitUntil;

namespace lui {
namespace {

// What a screen reader calls the widget.
std::string GetName(Gtk::Widget& widget)
{
   char const* const name = atk_object_get_name(gtk_widget_get_accessible(widget.gobj()));
   return name ? name : "";
}

// The label by which a screen reader calls the widget.
std::string GetLabel(Gtk::Widget& widget)
{
   AtkRelationSet* const relations =
      atk_object_ref_relation_set(gtk_widget_get_accessible(widget.gobj()));
   AtkRelation* const relation =
      atk_relation_set_get_relation_by_type(relations, ATK_RELATION_LABELLED_BY);
   std::string name;
   if (relation) {
      name =
         atk_object_get_name(ATK_OBJECT(g_ptr_array_index(atk_relation_get_target(relation), 0)));
   }
   g_object_unref(relations);
   return name;
}

std::string GetDescription(Gtk::Widget& widget)
{
   char const* const text = atk_object_get_description(gtk_widget_get_accessible(widget.gobj()));
   return text ? text : "";
}

class WidgetsTest : public test::gtk::Test {
protected:
   WidgetsTest()
   {
      window.add(box);
      box.show();
   }

   void TearDown() override
   {
      window.hide();
      Test::TearDown();
   }

   void ShowWith(Gtk::Widget& widget)
   {
      box.pack_start(widget);
      widget.show();
      EXPECT_TRUE(test::gtk::ShowActive(window));
   }

   Gtk::Window window;
   Gtk::VBox box;
};

TEST_F(WidgetsTest, AButtonsMnemonicPressesItAndTakesTheFocus)
{
   Gtk::Entry entry;
   box.pack_start(entry);
   entry.show();
   Button button("_Add");
   int clicks = 0;
   button.signal_clicked().connect([&clicks] { ++clicks; });
   ShowWith(button);
   entry.grab_focus();
   PressKey(window, GDK_KEY_a, GDK_MOD1_MASK);

   EXPECT_TRUE(WaitUntil([&clicks] { return clicks == 1; }));
   EXPECT_TRUE(button.has_focus());
   EXPECT_EQ("Add", GetName(button));
}

TEST_F(WidgetsTest, AButtonShowsItsIconOnDemand)
{
   Button with(Gtk::Stock::ADD, "_Add", true);
   Button without(Gtk::Stock::ADD, "_Add", false);
   ShowWith(with);
   box.pack_start(without);
   without.show();

   EXPECT_EQ(1u, FindAll<Gtk::Image>(with).size());
   EXPECT_EQ(0u, FindAll<Gtk::Image>(without).size());
   EXPECT_EQ("Add", GetName(with));
   EXPECT_EQ("Add", GetName(without));
}

TEST_F(WidgetsTest, AFrameNamesItsGroupAndItsTitleCanBeReplaced)
{
   Frame frame("XXX");
   ShowWith(frame);
   EXPECT_EQ("XXX", GetName(frame));
   frame.SetTitle("tvnet8 <b>");

   EXPECT_EQ("tvnet8 <b>", GetName(frame));
   EXPECT_EQ("tvnet8 <b>", FindAll<Gtk::Label>(frame).at(0)->get_text());
   EXPECT_EQ(Atk::ROLE_PANEL, frame.get_accessible()->get_role());
   frame.SetTitle("");
   EXPECT_EQ("", GetName(frame));
}

TEST_F(WidgetsTest, AFrameKeepsItsChildUnderTheTitleAndFurtherRowsBelow)
{
   Frame frame("title");
   Gtk::Entry first;
   Gtk::Entry child;
   Gtk::Entry row;
   frame.pack_start(row, Gtk::PACK_SHRINK);
   frame.Add(first);
   frame.Add(child);
   child.show();
   row.show();
   ShowWith(frame);
   ASSERT_TRUE(WaitUntil([&row] { return row.get_allocation().get_y() > 0; }));
   Gtk::Label& title = *FindAll<Gtk::Label>(frame).at(0);

   EXPECT_EQ(nullptr, first.get_parent());
   EXPECT_LT(title.get_allocation().get_y(), child.get_allocation().get_y());
   EXPECT_LT(child.get_allocation().get_y(), row.get_allocation().get_y());
   EXPECT_EQ(title.get_allocation().get_x() + 12, child.get_allocation().get_x());
   EXPECT_EQ(title.get_allocation().get_x(), row.get_allocation().get_x());
}

TEST_F(WidgetsTest, AFramesMnemonicReachesItsWidget)
{
   Frame frame("XXX");
   Gtk::Entry other;
   Gtk::Entry target;
   frame.Add(other);
   frame.pack_start(target, Gtk::PACK_SHRINK);
   frame.SetMnemonicWidget(target);
   frame.SetTitle("Port _Forwarding");
   other.show();
   target.show();
   ShowWith(frame);
   other.grab_focus();
   PressKey(window, GDK_KEY_f, GDK_MOD1_MASK);

   EXPECT_TRUE(target.has_focus());
   EXPECT_EQ("Port Forwarding", GetLabel(target));
}

TEST_F(WidgetsTest, AnIconLabelBoxShowsMarkup)
{
   IconLabelBox iconBox(Gtk::Stock::DIALOG_INFO, "<b>bold</b> &amp; plain");
   ShowWith(iconBox);

   EXPECT_EQ("bold & plain", FindAll<Gtk::Label>(iconBox).at(0)->get_text());
   EXPECT_EQ(1u, FindAll<Gtk::Image>(iconBox).size());
}

TEST_F(WidgetsTest, AnIconLabelBoxShowsWhatIsntMarkupAsItIs)
{
   IconLabelBox iconBox;
   ShowWith(iconBox);
   iconBox.SetStockId(Gtk::Stock::DIALOG_WARNING);
   iconBox.SetMarkup("a < b & c");

   EXPECT_EQ("a < b & c", FindAll<Gtk::Label>(iconBox).at(0)->get_text());
}

TEST_F(WidgetsTest, ACheckBoxesChildFollowsTheButton)
{
   Gtk::CheckButton button;
   Gtk::Entry child;
   Gtk::Entry beside;
   CheckBox* const checkBox =
      Utils::BuildCheckButton(button, box, "_Enable", "", Gtk::PACK_SHRINK, false, "");
   checkBox->AddChild(child, &beside);
   child.show();
   beside.show();
   EXPECT_TRUE(test::gtk::ShowActive(window));

   EXPECT_FALSE(child.is_sensitive());
   EXPECT_FALSE(beside.is_sensitive());
   button.set_active(true);
   EXPECT_TRUE(child.is_sensitive());
   EXPECT_TRUE(beside.is_sensitive());
   EXPECT_LT(button.get_allocation().get_y(), child.get_allocation().get_y());
   EXPECT_EQ("Enable", GetName(button));
   EXPECT_FALSE(checkBox->get_parent() == nullptr);
}

TEST_F(WidgetsTest, ACheckButtonTakesItsStateDescriptionAndTooltip)
{
   Gtk::CheckButton button;
   Utils::BuildCheckButton(button, box, "On", "explained", Gtk::PACK_SHRINK, true, "hovering");
   EXPECT_TRUE(test::gtk::ShowActive(window));

   EXPECT_TRUE(button.get_active());
   EXPECT_EQ("explained", GetDescription(button));
   EXPECT_EQ("hovering", button.get_tooltip_text());
}

TEST_F(WidgetsTest, ACheckBoxMayOutliveItsButton)
{
   Gtk::VBox outer;
   CheckBox* checkBox = nullptr;
   {
      Gtk::CheckButton button;
      checkBox = Utils::BuildCheckButton(button, outer, "x", "", Gtk::PACK_SHRINK, false, "");
      EXPECT_EQ(2u, checkBox->get_children().size());
   }
   EXPECT_EQ(1u, checkBox->get_children().size());
}

TEST_F(WidgetsTest, TheFirstRadioButtonOfAGroupIsTheActiveOne)
{
   Gtk::RadioButton first;
   Gtk::RadioButton second;
   Gtk::RadioButton third;
   Gtk::RadioButtonGroup group;
   Utils::BuildRadioButton(first, group, box, "_First", "explained", Gtk::PACK_SHRINK);
   Utils::BuildRadioButton(second, group, box, "_Second", "", Gtk::PACK_SHRINK);
   Utils::BuildRadioButton(third, group, box, "_Third", nullptr, Gtk::PACK_SHRINK);
   EXPECT_TRUE(test::gtk::ShowActive(window));

   EXPECT_TRUE(first.get_active());
   third.set_active(true);
   EXPECT_FALSE(first.get_active());
   EXPECT_FALSE(second.get_active());
   EXPECT_EQ("First", GetName(first));
   EXPECT_EQ("explained", GetDescription(first));
   EXPECT_EQ("", GetDescription(second));
   EXPECT_EQ("explained", FindAll<Gtk::Label>(box).at(1)->get_text());
}

TEST_F(WidgetsTest, ARadioButtonsWidgetFollowsIt)
{
   Gtk::RadioButton first;
   Gtk::RadioButton second;
   Gtk::RadioButtonGroup group;
   Gtk::HBox held;
   Gtk::Entry entry;
   held.pack_start(entry);
   held.show();
   entry.show();
   Utils::BuildRadioButton(first, group, box, "First", &held, Gtk::PACK_SHRINK);
   Utils::BuildRadioButton(second, group, box, "Second", "", Gtk::PACK_SHRINK);
   EXPECT_TRUE(test::gtk::ShowActive(window));

   EXPECT_TRUE(entry.is_sensitive());
   second.set_active(true);
   EXPECT_FALSE(entry.is_sensitive());
   first.set_active(true);
   EXPECT_TRUE(entry.is_sensitive());
}

TEST_F(WidgetsTest, ARadioButtonMayOutliveItsWidget)
{
   Gtk::RadioButton first;
   Gtk::RadioButton second;
   Gtk::RadioButtonGroup group;
   auto held = std::make_unique<Gtk::Entry>();
   Utils::BuildRadioButton(first, group, box, "First", held.get(), Gtk::PACK_SHRINK);
   Utils::BuildRadioButton(second, group, box, "Second", "", Gtk::PACK_SHRINK);
   held.reset();
   second.set_active(true);

   EXPECT_TRUE(second.get_active());
}

} // namespace
} // namespace lui
