// SPDX-License-Identifier: GPL-2.0-or-later
// The form for a new network.
#pragma once

#include "lui/dlgChoice.hh"
#include "tvnetcfg/common/network.hh"

#include <gtkmm/radiobutton.h>
#include <gtkmm/spinbutton.h>

namespace netcfg::common {
class Editable;
}

namespace netcfg {

// Offers a free number; the model judges the one that is chosen. A refusal opens over the dialog,
// which stays as it is.
class AddNetworkDlg : public lui::DlgChoice {
public:
   // The model outlives the dialog.
   explicit AddNetworkDlg(common::Editable* editable);
   ~AddNetworkDlg() override;

   void SetDefaultSize() override;

private:
   void ConstructUI();
   Gtk::Widget& BuildNumberRow();
   Gtk::Widget& BuildTypeList();
   common::Network::Type GetType() const;
   RepliedAction AddNetwork();
   RepliedAction OnReplied();

   common::Editable* editable;
   Gtk::SpinButton numberSpin;
   Gtk::RadioButton bridgedRadio;
   Gtk::RadioButton natRadio;
   Gtk::RadioButton hostOnlyRadio;
};

} // namespace netcfg
