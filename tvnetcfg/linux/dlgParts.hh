// SPDX-License-Identifier: GPL-2.0-or-later
// Small parts that several windows are built of.
#pragma once

#include "utf/string.hh"

#include <gtkmm/grid.h>
#include <gtkmm/label.h>
#include <gtkmm/spinbutton.h>
#include <gtkmm/treeview.h>
#include <vector>

namespace netcfg {

// Between the rows and columns of a dialog's form, in pixels.
constexpr int ROW_SPACING = 6;
constexpr int COLUMN_SPACING = 12;
// Around a dialog's content.
constexpr unsigned int DIALOG_BORDER = 12;

// As wide as an address gets.
inline constexpr char WIDEST_ADDRESS[] = "255.255.255.255";

// Each of these makes a shown widget that goes with the container it is put into.

// A label at this place of its cell: 0 is the start or the top, 1 the end or the bottom.
Gtk::Label& MakeLabel(utf::string const& text, float xalign, float yalign);
// The same for a text whose underscore marks the mnemonic of target, which it names in any case.
Gtk::Label& MakeLabel(utf::string const& text, float xalign, float yalign, Gtk::Widget& target);
// An empty form.
Gtk::Grid& MakeForm();

// In pixels, in the font of a widget.
int GetLineHeight(Gtk::Widget& widget);

// Makes a column of the view as wide as the widest of its usual texts, so that it needn't grow with
// them one by one, and breaks a wider title into two lines.
void FitColumn(Gtk::TreeView& view, Gtk::TreeViewColumn& column,
               std::vector<utf::string> const& texts);
// The same for one that is fitted already, after its font has changed.
void RefitColumn(Gtk::TreeView& view, Gtk::TreeViewColumn& column,
                 std::vector<utf::string> const& texts);
// Makes a fitted column wider where these texts need it.
void WidenColumn(Gtk::TreeView& view, Gtk::TreeViewColumn& column,
                 std::vector<utf::string> const& texts);

// A text in Latin letters and digits, such as an address, so that it reads in its own direction
// among those from right to left too. Others stay as they are.
utf::string LeftToRight(utf::string const& text);
// The same for whatever stands in a column's text cells.
void KeepLeftToRight(Gtk::TreeViewColumn& column);

// Whole numbers alone, one up or down at a time. Shows the spin button.
void SetUpSpin(Gtk::SpinButton& spin, double value, double lowest, double highest);

} // namespace netcfg
