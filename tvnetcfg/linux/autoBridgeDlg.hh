// SPDX-License-Identifier: GPL-2.0-or-later
// The host adapters that automatic bridging may use.
#pragma once

#include "lui/dlgChoice.hh"

#include <gtkmm/liststore.h>
#include <gtkmm/treemodelcolumn.h>
#include <gtkmm/treeview.h>

namespace netcfg::common {
class Bridge;
class Editable;
class Network;
} // namespace netcfg::common

namespace netcfg {

// Keeps no copy: each tick goes to the model at once, and the list follows the model. Ends with the
// automatic network's bridge. Without an automatic network it only lists the adapters.
class AutoBridgeDlg : public lui::DlgChoice {
public:
   // The model outlives the dialog.
   explicit AutoBridgeDlg(common::Editable* editable);
   ~AutoBridgeDlg() override;

   void SetDefaultSize() override;
   // CLOSE if an adapter is ticked. Otherwise shows an error over the dialog, and KEEP_OPEN.
   RepliedAction ValidateSelection();

private:
   class Columns : public Gtk::TreeModelColumnRecord {
   public:
      Columns();

      Gtk::TreeModelColumn<bool> enabled; // free, or of the automatic network
      Gtk::TreeModelColumn<bool> use;     // of the automatic network
      Gtk::TreeModelColumn<Glib::ustring> name;
      Gtk::TreeModelColumn<Glib::ustring> note; // which other network has it, or empty
   };

   void ConstructUI();
   void BuildUseColumn();
   void BuildNoteColumn();
   void FitToRows();
   void SelectRow(Gtk::TreePath const& path);
   utf::string GetNote(common::Network const* owner) const;
   void AppendRow(utf::string const& adapter, common::Network const* owner);
   void UpdateAdapterList();
   void OnUseToggled(Glib::ustring const& path);
   RepliedAction OnReplied();
   static void* OnBridgeDied(void* dlg);

   Columns columns;
   Glib::RefPtr<Gtk::ListStore> store;
   Gtk::TreeView view;
   common::Editable* editable;
   common::Bridge* bridge;
};

} // namespace netcfg
