// SPDX-License-Identifier: GPL-2.0-or-later
// The NAT settings and port forwards of one network.
#pragma once

#include "cui/weakPtr.hh"
#include "lui/button.hh"
#include "lui/dlgChoice.hh"
#include "lui/frame.hh"
#include "lui/iconLabelBox.hh"
#include "lui/ipEntry.hh"
#include "lui/leftToRightEntry.hh"
#include "tvnetcfg/common/nat.hh"

#include <gtkmm/cellrenderertext.h>
#include <gtkmm/checkbutton.h>
#include <gtkmm/liststore.h>
#include <gtkmm/spinbutton.h>
#include <gtkmm/treemodelcolumn.h>
#include <gtkmm/treeview.h>

namespace netcfg {

class MapPortDlg;

// A working copy: nothing reaches the model before Save. Ends with its NAT, and its port dialog
// ends with it. A change of the NAT that it was made for reloads the form; one of a later NAT
// doesn't.
class NatSettingsDlg : public virtual lui::DlgChoice {
public:
   explicit NatSettingsDlg(common::NAT* nat);
   ~NatSettingsDlg() override;

   // Shows another NAT instead. What wasn't saved is lost.
   void SetNAT(common::NAT* newNAT);

protected:
   // Takes the row of this entry from the table, not the entry from the list. The selection moves
   // to the next row, or to the previous one if there is none.
   void RemovePortForwardEntry(int index);

private:
   class Columns : public Gtk::TreeModelColumnRecord {
   public:
      Columns();

      Gtk::TreeModelColumn<unsigned int> index; // position in the list
      Gtk::TreeModelColumn<bool> isTCP;
      Gtk::TreeModelColumn<unsigned short> hostPort;
      Gtk::TreeModelColumn<unsigned short> guestPort;
      Gtk::TreeModelColumn<Glib::ustring> guestIP;
      Gtk::TreeModelColumn<Glib::ustring> description;
   };

   void ConstructUI();
   Gtk::Widget& BuildFacts();
   void BuildPortForwards();
   void BuildTableColumns();
   Gtk::Widget& BuildTableButtons();
   void BuildAdvanced();
   void BuildProtocolChecks(Gtk::Box& box);
   Gtk::Widget& BuildNumbers();
   void BuildIPv6(Gtk::Box& box);

   void SetupConnections();
   void FollowNAT(common::NAT* newNAT);
   static void* OnNATDied(void* dlg);

   void LoadSettings();
   // False if the IPv6 prefix is refused; the NAT stays as it is then.
   bool SaveSettings();
   void StoreSettings();
   RepliedAction OnReplied();
   void OnNATChanged();

   void LoadPortForwardList();
   void AddPortForwardEntry(common::NAT::PortForwardEntry const& entry, int index, bool select);
   void SelectRow(Gtk::TreeIter const& row);
   void OnSelectionChanged();
   void OnAddPortForwardClicked();
   void OnEditPortForwardClicked();
   void OnRemovePortForwardClicked();
   void ShowMapPortDlg(int index);
   void PortMapDlgDismissed();
   // The protocols' names.
   static utf::string GetTCP();
   static utf::string GetUDP();
   void PortTypeCellDataFunc(Gtk::CellRenderer* renderer, Gtk::TreeIter const& row);

   // Tells whether Save may be pressed; the reason of a refusal stays unseen.
   common::NAT::IPv6PrefixError IPv6PrefixValidationPartial();
   // Tells the reason too.
   common::NAT::IPv6PrefixError IPv6PrefixValidation();
   void ShowPrefixWarning(utf::string const& reason);
   void OnEnableIPv6Changed();
   bool OnPrefixFocusLost(GdkEventFocus* event);

   Columns columns;
   Glib::RefPtr<Gtk::ListStore> store;
   Gtk::TreeView view;
   Gtk::CellRendererText portTypeRenderer;
   int selectedIndex = -1;
   Gtk::Label networkLabel;
   Gtk::Label subnetIPLabel;
   Gtk::Label subnetMaskLabel;
   lui::IconLabelBox prefixWarning;
   lui::Frame portForwardFrame;
   lui::Button addButton;
   lui::Button removeButton;
   lui::Button editButton;
   lui::IPEntry gatewayEntry;
   lui::LeftToRightEntry prefixEntry;
   lui::Frame advancedFrame;
   Gtk::CheckButton activeFTPCheck;
   Gtk::CheckButton anyOUICheck;
   Gtk::CheckButton enableIPv6Check;
   Gtk::SpinButton udpTimeoutSpin;
   Gtk::SpinButton configPortSpin;
   cui::WeakPtr<MapPortDlg> mapPortDlg;
   common::NAT* nat = nullptr;
   std::vector<common::NAT::PortForwardEntry> portForwards;
   sigc::connection natConnection;
};

} // namespace netcfg
