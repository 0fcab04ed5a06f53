// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/linux/fittedColumns.hh"

#include "tvnetcfg/linux/dlgParts.hh"

namespace netcfg {

FittedColumns::FittedColumns(Gtk::TreeView& list) : view(list)
{
   view.signal_style_updated().connect(sigc::mem_fun(*this, &FittedColumns::OnStyleUpdated));
}

void FittedColumns::Append(Gtk::TreeViewColumn& column, std::vector<utf::string> const& texts)
{
   column.set_sizing(Gtk::TREE_VIEW_COLUMN_FIXED);
   int const place = view.append_column(column) - 1;
   textsOfColumns[place].insert(texts.begin(), texts.end());
   FitColumn(view, column, texts);
}

void FittedColumns::Finish()
{
   HasFontChanged();
   view.set_fixed_height_mode(true);
}

void FittedColumns::Fit(int place, utf::string const& text)
{
   auto const found = textsOfColumns.find(place);
   if (found != textsOfColumns.end() && found->second.insert(text).second) {
      WidenColumn(view, *view.get_column(place), {text});
   }
}

void FittedColumns::OnStyleUpdated()
{
   if (!HasFontChanged()) {
      return;
   }
   for (auto const& [place, texts] : textsOfColumns) {
      RefitColumn(view, *view.get_column(place), {texts.begin(), texts.end()});
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
   return hasChanged;
}

} // namespace netcfg
