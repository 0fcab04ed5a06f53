// SPDX-License-Identifier: GPL-2.0-or-later
// The columns of a list that is too long to measure all of it.
#pragma once

#include "utf/string.hh"

#include <gtkmm/treeview.h>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace netcfg {

// The list's rows are of one height, and each column is as wide as the widest of its texts that it
// was told of, where GTK would measure every cell before the window comes up. Fonts may change.
class FittedColumns : public sigc::trackable {
public:
   explicit FittedColumns(Gtk::TreeView& list);

   // Appends a column of one text; texts are what stands there usually.
   void Append(Gtk::TreeViewColumn& column, std::vector<utf::string> const& texts);
   // All columns are there.
   void Finish();
   // Makes room for a text in the column of this place from 0, if there is one.
   void Fit(int place, utf::string const& text);

private:
   Gtk::TreeView& view;
   std::map<int, std::set<std::string>> shapesOfColumns;
   char widestDigit = '0';
   int digitWidth = 0; // when they were measured
   int digitHeight = 0;

   // Texts that stand for all of these shapes.
   std::vector<utf::string> MakeTexts(std::set<std::string> const& shapes) const;
   void OnStyleUpdated();
   bool HasFontChanged();
};

} // namespace netcfg
