// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/linux/fittedColumns.hh"

#include "tvnetcfg/linux/dlgParts.hh"

#include <algorithm>
#include <string_view>
#include <utility>

namespace netcfg {

namespace {

std::string ReplaceDigits(std::string text, char digit)
{
   std::ranges::replace_if(
      text, [](char c) { return c >= '0' && c <= '9'; }, digit);
   return text;
}

// Most texts of a list are numbers and addresses, which differ in their digits alone. To measure
// one for all spares most of the measuring.
std::string GetShape(utf::string const& text)
{
   return ReplaceDigits(text.c_str(), '0');
}

int MeasureWidth(Gtk::Widget& widget, char digit)
{
   int width = 0;
   int height = 0;
   // Ten of them, as one may be a part of a pixel wider.
   widget.create_pango_layout(std::string(10, digit))->get_pixel_size(width, height);
   return width;
}

} // namespace

FittedColumns::FittedColumns(Gtk::TreeView& list) : view(list)
{
   view.signal_style_updated().connect(sigc::mem_fun(*this, &FittedColumns::OnStyleUpdated));
}

void FittedColumns::Append(Gtk::TreeViewColumn& column, std::vector<utf::string> const& texts)
{
   column.set_sizing(Gtk::TREE_VIEW_COLUMN_FIXED);
   int const place = view.append_column(column) - 1;
   for (auto const& text : texts) {
      shapesOfColumns[place].insert(GetShape(text));
   }
   FitColumn(view, column, texts);
}

void FittedColumns::Finish()
{
   HasFontChanged();
   view.set_fixed_height_mode(true);
}

void FittedColumns::Fit(int place, utf::string const& text)
{
   auto const found = shapesOfColumns.find(place);
   if (found == shapesOfColumns.end()) {
      return;
   }
   if (auto shape = GetShape(text); found->second.insert(shape).second) {
      WidenColumn(view, *view.get_column(place), MakeTexts({std::move(shape)}));
   }
}

std::vector<utf::string> FittedColumns::MakeTexts(std::set<std::string> const& shapes) const
{
   std::vector<utf::string> texts;
   for (auto const& shape : shapes) {
      texts.emplace_back(ReplaceDigits(shape, widestDigit).c_str());
   }
   return texts;
}

void FittedColumns::OnStyleUpdated()
{
   if (!HasFontChanged()) {
      return;
   }
   for (auto const& [place, shapes] : shapesOfColumns) {
      RefitColumn(view, *view.get_column(place), MakeTexts(shapes));
   }
}

bool FittedColumns::HasFontChanged()
{
   int width = 0;
   int height = 0;
   view.create_pango_layout("0")->get_pixel_size(width, height);
   bool const hasChanged = width != digitWidth || height != digitHeight;
   digitWidth = width;
   digitHeight = height;
   if (hasChanged) {
      constexpr std::string_view digits = "0123456789";
      widestDigit = *std::ranges::max_element(
         digits, {}, [this](char digit) { return MeasureWidth(view, digit); });
   }
   return hasChanged;
}

} // namespace netcfg
