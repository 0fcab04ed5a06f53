// SPDX-License-Identifier: GPL-2.0-or-later
// The main window: all networks in a list, and the settings of the selected one below it.
#pragma once

#include "cui/weakPtr.hh"
#include "lui/bitmapMarks.hh"
#include "lui/button.hh"
#include "lui/dlgChoice.hh"
#include "lui/frame.hh"
#include "lui/ipEntry.hh"
#include "tvnetcfg/common/network.hh"
#include "tvnetcfg/linux/fittedColumns.hh"
#include "tvnetcfg/mgr/mgr.hh"

#include <gtkmm/box.h>
#include <gtkmm/checkbutton.h>
#include <gtkmm/combobox.h>
#include <gtkmm/entry.h>
#include <gtkmm/liststore.h>
#include <gtkmm/radiobutton.h>
#include <gtkmm/sizegroup.h>
#include <gtkmm/treeview.h>
#include <map>

namespace netcfg {

class AddNetworkDlg;
class AutoBridgeDlg;
class NatSettingsDlg;

namespace common {
class Editable;
}

// The model is the only truth, and the widgets are its picture: a control writes to the selected
// network, the network tells that it changed, and frame and list row are drawn anew. So a refused
// change needs no undo. What comes back from drawing is a value that the model has already, which
// its setters ignore; that is what ends the recursion.
class Editor : public virtual lui::DlgChoice {
public:
   // The text of the automatic entry among the adapters. Set when the first window is made, by
   // which time the user's language is known.
   static utf::string sAutoBridgeComboText;

   // The model isn't owned, must not be null and may die while the hidden window lives. replyFd is
   // the client's end to read replies from, requestFd the one to write requests to; both stay the
   // caller's.
   Editor(common::Editable* editable, int replyFd, int requestFd);
   ~Editor() override;

   void SetDefaultSize() override;
   // Brings the window to the front.
   void PresentSelf();

private:
   struct NetworkColumns : public Gtk::TreeModelColumnRecord {
      NetworkColumns();

      Gtk::TreeModelColumn<unsigned int> index; // sorts the list
      Gtk::TreeModelColumn<Glib::ustring> name;
      Gtk::TreeModelColumn<Glib::ustring> type;
      Gtk::TreeModelColumn<Glib::ustring> externalConnection;
      Gtk::TreeModelColumn<Glib::ustring> hostConnection;
      Gtk::TreeModelColumn<Glib::ustring> dhcp;
      Gtk::TreeModelColumn<Glib::ustring> subnetAddr;
      Gtk::TreeModelColumn<Glib::ustring> mtu;
   };

   struct BridgeColumns : public Gtk::TreeModelColumnRecord {
      BridgeColumns();

      Gtk::TreeModelColumn<Glib::ustring> name;
      Gtk::TreeModelColumn<Glib::ustring> note;
      Gtk::TreeModelColumn<bool> enabled; // may be chosen
   };

   // Building, from the outside in.
   void ConstructUI();
   Gtk::Widget& BuildContent();
   Gtk::Widget& BuildList();
   void AppendColumns();
   // texts are what stands there usually.
   void AppendColumn(char const* title, Gtk::TreeModelColumn<Glib::ustring> const& column,
                     std::vector<utf::string> const& texts);
   Gtk::Widget& BuildListButtons();
   Gtk::Widget& BuildDetails();
   Gtk::Widget& BuildTypes();
   Gtk::Widget& BuildBridgeBox();
   Gtk::Widget& BuildNatBox(Gtk::RadioButtonGroup& group);
   void BuildHostSettings();
   Gtk::Widget& BuildSubnetGrid(Glib::RefPtr<Gtk::SizeGroup> const& labels);
   Gtk::Widget& BuildAddressBox();
   Gtk::Widget& BuildMtuGrid(Glib::RefPtr<Gtk::SizeGroup> const& labels);
   void SetupConnections();

   // The list.
   void LoadFromEditable();
   void AddNetworkToList(common::Network* network);
   // Its texts come when the network is shown.
   Gtk::TreeModel::iterator AppendRow(common::Network const& network);
   void OnNetworkRemoved(unsigned int index);
   void OnSelectionChanged();
   // The network of this row, or none, is the selected one from now on.
   void ShowRow(Gtk::TreeModel::iterator const& row);
   // Takes all three texts into the model, wherever the focus is.
   void CommitEntries();
   // The same for a network that is not shown.
   void TakeAsShown(common::Network& network) const;
   // The row of the network; none if index is negative or isn't there.
   Gtk::TreeModel::iterator FindRow(int index) const;
   // Selects the row, in sight, so that the keyboard goes on from there.
   void SelectRow(Gtk::TreeModel::iterator const& row);
   // Null if none is selected or the selected one has just been removed.
   common::Network* GetSelectedNetwork();

   // Drawing the selected network.
   void UpdateSelectedNetwork();
   void ShowBridged(Gtk::TreeModel::Row const& row, common::Network& network);
   void ShowHosted(Gtk::TreeModel::Row const& row, common::Network& network);
   void SetCell(Gtk::TreeModel::Row const& row, Gtk::TreeModelColumn<Glib::ustring> const& column,
                utf::string const& text);
   void FillBridgedRow(Gtk::TreeModel::Row const& row, common::Network const& network);
   void FillHostedRow(Gtk::TreeModel::Row const& row, common::Network const& network);
   void UpdateHostAdapterCombo();
   void AppendAutomaticEntry(common::Network const& network);
   void AppendAdapter(utf::string const& adapter, common::Network const* owner,
                      common::Network const& network);
   void DescribeChoices();
   void AppendChoice(utf::string const& name, utf::string const& note, bool isEnabled,
                     bool isActive);
   void CloseAutoBridgeDlg();

   // The controls.
   void OnTypeChanged();
   common::Network::Type GetChosenType() const;
   void OnHostAdapterChanged();
   void OnDHCPChanged();
   void OnVirtualAdapterChanged();
   void OnSubnetLosesFocus();
   void OnSubnetMaskLosesFocus();
   void OnMtuLosesFocus();
   void OnRemoveNetworkClicked();
   void OnAddNetworkClicked();
   void OnAutoBridgeSettingsClicked();
   void OnNatSettingsClicked();
   void OnEditableSetAbort(bool isDone, cui::Error error);

   // The reply buttons.
   cui::Dlg::RepliedAction OnReplied();
   cui::Dlg::RepliedAction OnSave();
   // Sends the model and waits for the answer, while the window stands still. True if the server
   // confirmed.
   bool Save();
   // Tells the server to end. False if that couldn't be sent.
   bool Quit();

   lui::BitmapMarks const marks;
   NetworkColumns networkColumns;
   Glib::RefPtr<Gtk::ListStore> networkStore;
   std::map<int, Gtk::TreeModel::iterator> rows; // of the store, by their networks' indices
   Gtk::TreeView networkView;
   FittedColumns fitted;
   lui::Button addButton;
   lui::Button removeButton;
   lui::Frame detailsFrame;
   Gtk::RadioButton bridgedRadio;
   Gtk::RadioButton natRadio;
   Gtk::RadioButton hostOnlyRadio;
   BridgeColumns bridgeColumns;
   Glib::RefPtr<Gtk::ListStore> bridgeStore;
   Gtk::ComboBox bridgeCombo;
   lui::Button autoBridgeButton;
   lui::Button natButton;
   Gtk::VBox hostSettingsBox; // what a NAT or host-only network has
   Gtk::CheckButton dhcpCheck;
   Gtk::CheckButton adapterCheck;
   lui::IPEntry subnetEntry;
   lui::IPEntry maskEntry;
   Gtk::Entry mtuEntry; // in the window only where MTUs are shown
   cui::WeakPtr<NatSettingsDlg> natDlg;
   cui::WeakPtr<AddNetworkDlg> addDlg;
   cui::WeakPtr<AutoBridgeDlg> autoBridgeDlg;
   sigc::connection networkConnection; // to the selected network
   sigc::slot<void, bool, cui::Error const&> abortSlot;
   common::Editable* editable;
   Mgr mgr;                // judges the model
   int selectedIndex = -1; // -1: none
   int replyFd;
   int requestFd;
};

} // namespace netcfg
