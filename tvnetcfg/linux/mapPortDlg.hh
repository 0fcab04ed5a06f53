// SPDX-License-Identifier: GPL-2.0-or-later
// One port forward of a list.
#pragma once

#include "lui/dlgChoice.hh"
#include "lui/ipEntry.hh"
#include "tvnetcfg/common/nat.hh"

#include <gtkmm/entry.h>
#include <gtkmm/radiobutton.h>
#include <gtkmm/spinbutton.h>
#include <vector>

namespace netcfg {

// Saving writes to the list that it was given, never to the model. An entry that is there already,
// the edited one included, isn't stored again: the dialog then stays open without a word.
class MapPortDlg : public virtual lui::DlgChoice {
public:
   // The list outlives the dialog. index is the place of the entry to be edited, -1 for a new one.
   MapPortDlg(std::vector<common::NAT::PortForwardEntry>* entries, int index);
   ~MapPortDlg() override;

private:
   void ConstructUI();
   Gtk::Widget& BuildTypeRow(Gtk::Label const& typeLabel);
   bool IsInList() const;
   void LoadEntry();
   common::NAT::PortForwardEntry ReadControls();
   // False if the list holds the same entry.
   bool ValidateEntry(common::NAT::PortForwardEntry& candidate);
   // True if the entry was stored.
   bool SaveEntry();
   RepliedAction OnReplied();

   Gtk::Entry descriptionEntry;
   Gtk::SpinButton hostPortSpin;
   Gtk::SpinButton guestPortSpin;
   Gtk::RadioButton tcpRadio;
   Gtk::RadioButton udpRadio;
   lui::IPEntry ipEntry;
   std::vector<common::NAT::PortForwardEntry>* entries;
   int index;
};

} // namespace netcfg
