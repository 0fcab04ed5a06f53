// SPDX-License-Identifier: GPL-2.0-or-later
// A dialog as a program would write it: an address, and three reply buttons.
#pragma once

#include "lui/dlgChoice.hh"
#include "lui/ipEntry.hh"

#include <gtkmm/grid.h>
#include <gtkmm/label.h>

namespace gallery {

// "Save" refuses a blank address, and is off while there is no note.
class SampleDlg : public virtual lui::DlgChoice {
public:
   explicit SampleDlg(Glib::ustring const& title);

private:
   cui::Dlg::RepliedAction OnReplied();
   void OnNoteChanged();

   Gtk::Grid grid;
   lui::IPEntry addressEntry;
   Gtk::Entry noteEntry;
};

} // namespace gallery
