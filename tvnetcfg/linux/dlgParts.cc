// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/linux/dlgParts.hh"

#include <algorithm>
#include <gtkmm/cellrenderertext.h>
#include <pangomm/attributes.h>
#include <pangomm/attrlist.h>
#include <pangomm/layout.h>

namespace netcfg {

namespace {

struct TextSize {
   int width = 0;
   int height = 0;
};

// In pixels, in the font of a widget.
TextSize Measure(Gtk::Widget& widget, utf::string const& text, bool isBold = false)
{
   Glib::RefPtr<Pango::Layout> const layout = widget.create_pango_layout(text);
   Pango::AttrList look;
   Pango::Attribute weight =
      Pango::Attribute::create_attr_weight(isBold ? Pango::WEIGHT_BOLD : Pango::WEIGHT_NORMAL);
   look.insert(weight);
   layout->set_attributes(look);
   TextSize size;
   layout->get_pixel_size(size.width, size.height);
   return size;
}

// The least width of a title that is broken into two lines. Themes write titles bold.
int MeasureTwoLines(Gtk::Widget& widget, Glib::ustring const& title)
{
   int width = Measure(widget, title, true).width;
   for (auto space = title.find(' '); space != Glib::ustring::npos;
        space = title.find(' ', space + 1)) {
      int const first = Measure(widget, title.substr(0, space), true).width;
      int const second = Measure(widget, title.substr(space + 1), true).width;
      width = std::min(width, std::max(first, second));
   }
   return width;
}

// Chinese and Japanese texts may be broken anywhere, also within what a blank sets off as a word.
void BreakAtBlanksOnly(Gtk::Label& label)
{
   PangoAttrList* const look = pango_attr_list_new();
   std::string const text = label.get_text();
   for (std::size_t start = 0; start < text.size();) {
      std::size_t const end = std::min(text.find(' ', start), text.size());
      PangoAttribute* const whole = pango_attr_allow_breaks_new(FALSE);
      whole->start_index = static_cast<guint>(start);
      whole->end_index = static_cast<guint>(end);
      pango_attr_list_insert(look, whole);
      start = end + 1;
   }
   gtk_label_set_attributes(label.gobj(), look);
   pango_attr_list_unref(look);
}

} // namespace

Gtk::Label& MakeLabel(utf::string const& text, float xalign, float yalign)
{
   Gtk::Label& label = *Gtk::manage(new Gtk::Label(text));
   label.set_xalign(xalign);
   label.set_yalign(yalign);
   label.show();
   return label;
}

Gtk::Label& MakeLabel(utf::string const& text, float xalign, float yalign, Gtk::Widget& target)
{
   Gtk::Label& label = MakeLabel(text, xalign, yalign);
   label.set_use_underline(true);
   label.set_mnemonic_widget(target);
   return label;
}

Gtk::Grid& MakeForm()
{
   Gtk::Grid& form = *Gtk::manage(new Gtk::Grid);
   form.set_row_spacing(ROW_SPACING);
   form.set_column_spacing(COLUMN_SPACING);
   form.show();
   return form;
}

int GetLineHeight(Gtk::Widget& widget)
{
   return Measure(widget, "0").height;
}

void FitColumn(Gtk::TreeView& view, Gtk::TreeViewColumn& column,
               std::vector<utf::string> const& texts)
{
   Gtk::Label& title = MakeLabel(column.get_title(), 0.0F, 0.5F);
   title.set_line_wrap(true);
   BreakAtBlanksOnly(title);
   column.set_widget(title);
   RefitColumn(view, column, texts);
}

void RefitColumn(Gtk::TreeView& view, Gtk::TreeViewColumn& column,
                 std::vector<utf::string> const& texts)
{
   column.get_widget()->set_size_request(MeasureTwoLines(view, column.get_title()), -1);
   WidenColumn(view, column, texts);
}

void WidenColumn(Gtk::TreeView& view, Gtk::TreeViewColumn& column,
                 std::vector<utf::string> const& texts)
{
   int width = 0;
   int height = 0;
   Gtk::Widget& title = *column.get_widget();
   title.get_size_request(width, height);
   for (utf::string const& text : texts) {
      width = std::max(width, Measure(view, text).width);
   }
   title.set_size_request(width, -1);
}

utf::string LeftToRight(utf::string const& text)
{
   constexpr char MARK[] = "\u200E";
   constexpr char LAST_LATIN = 0x7E;
   char const first = text.c_str()[0];
   bool const isTurned =
      Gtk::Widget::get_default_direction() == Gtk::TEXT_DIR_RTL && first > 0 && first <= LAST_LATIN;
   return isTurned ? utf::string(MARK) + text : text;
}

void KeepLeftToRight(Gtk::TreeViewColumn& column)
{
   auto const turn = [](Gtk::CellRenderer* cell, Gtk::TreeIter const&) {
      auto& text = dynamic_cast<Gtk::CellRendererText&>(*cell);
      text.property_text() = LeftToRight(text.property_text().get_value());
   };
   if (Gtk::Widget::get_default_direction() == Gtk::TEXT_DIR_RTL) {
      column.set_cell_data_func(*column.get_first_cell(), turn);
   }
}

void SetUpSpin(Gtk::SpinButton& spin, double value, double lowest, double highest)
{
   spin.set_numeric(true);
   spin.set_range(lowest, highest);
   spin.set_increments(1, 1);
   spin.set_value(value);
   spin.show();
}

} // namespace netcfg
