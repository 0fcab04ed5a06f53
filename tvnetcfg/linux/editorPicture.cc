// SPDX-License-Identifier: GPL-2.0-or-later
// The picture of the selected network in the frame and in its row.
#include "base/panic.h"
#include "cui/format.hh"
#include "cui/localString.hh"
#include "lui/toggleButtons.hh"
#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/linux/autoBridgeDlg.hh"
#include "tvnetcfg/linux/editor.hh"
#include "tvnetcfg/linux/editorTexts.hh"

namespace netcfg {

using common::Network;
using namespace editorTexts;

namespace {

utf::string GetExternalConnection(common::Bridge const& bridge)
{
   return bridge.IsAuto() ? GetAutoBridging() : bridge.GetAdapter();
}

utf::string GetYesOrNo(bool isYes)
{
   return isYes ? GetYes() : GetNo();
}

utf::string GetOwnerNote(Network const& owner)
{
   utf::string const note =
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.bridge.otherNetwork)(Bridged to %s)");
   return cui::Format(note.c_str(), Network::NetToString(owner.GetIndex()).c_str());
}

bool IsAutomatic(Network const& network)
{
   return network.GetBridge() && network.GetBridge()->IsAuto();
}

} // namespace

void Editor::UpdateSelectedNetwork()
{
   Gtk::TreeModel::iterator const row = FindRow(selectedIndex);
   Network* const network = GetSelectedNetwork();
   if (!row || !network) {
      return;
   }
   utf::string const name = Network::NetToString(network->GetIndex());
   utf::string const label =
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.dialog.hostAdapter)"
                          "Connect a host _virtual adapter (%s) to this network");
   detailsFrame.SetTitle(name);
   lui::Utils::ChangeLabel(adapterCheck, cui::Format(label.c_str(), name.c_str()));
   hostSettingsBox.set_sensitive(network->GetType() != Network::Bridged);

   switch (network->GetType()) {
   case Network::Bridged:
      ShowBridged(*row, *network);
      break;
   case Network::NAT:
      ShowHosted(*row, *network);
      natRadio.set_active(true);
      break;
   case Network::HostOnly:
      ShowHosted(*row, *network);
      hostOnlyRadio.set_active(true);
      break;
   default:
      NOT_IMPLEMENTED_AT("tvnetcfg/linux/editor", __LINE__);
   }
   // The dialog belongs to tvnet0 in automatic mode, whichever network is shown meanwhile.
   if (selectedIndex == 0 && !IsAutomatic(*network)) {
      CloseAutoBridgeDlg();
   }
}

// The entry of the MTU gets its state, not its flag: it lives again with the box around it.
void Editor::ShowBridged(Gtk::TreeModel::Row const& row, Network& network)
{
   bridgedRadio.set_active(true);
   FillBridgedRow(row, network);
   dhcpCheck.set_active(false);
   adapterCheck.set_active(false);
   subnetEntry.SetIP("");
   maskEntry.SetIP("");
   mtuEntry.set_text("");
   mtuEntry.set_state(Gtk::STATE_INSENSITIVE);
   autoBridgeButton.set_sensitive(IsAutomatic(network));
   UpdateHostAdapterCombo();
}

void Editor::ShowHosted(Gtk::TreeModel::Row const& row, Network& network)
{
   FillHostedRow(row, network);
   dhcpCheck.set_active(network.GetHasDHCP());
   adapterCheck.set_active(network.GetHasVirtualAdapter());
   subnetEntry.SetIP(network.GetSubnetAddr());
   maskEntry.SetIP(network.GetSubnetMask());
   mtuEntry.set_text(network.GetMTU());
}

void Editor::SetCell(Gtk::TreeModel::Row const& row,
                     Gtk::TreeModelColumn<Glib::ustring> const& column, utf::string const& text)
{
   row[column] = text;
   // The first column of the model is the network's index, which isn't shown.
   fitted.Fit(column.index() - 1, text);
}

void Editor::FillBridgedRow(Gtk::TreeModel::Row const& row, Network const& network)
{
   SetCell(row, networkColumns.type, GetBridged());
   SetCell(row, networkColumns.externalConnection, GetExternalConnection(*network.GetBridge()));
   utf::string const notApplicable = GetNotApplicable();
   for (auto const& column : {networkColumns.hostConnection, networkColumns.dhcp,
                              networkColumns.subnetAddr, networkColumns.mtu}) {
      SetCell(row, column, notApplicable);
   }
}

void Editor::FillHostedRow(Gtk::TreeModel::Row const& row, Network const& network)
{
   bool const isNat = network.GetType() == Network::NAT;
   utf::string const mtu = network.GetMTU();
   SetCell(row, networkColumns.type, isNat ? GetNat() : GetHostOnly());
   SetCell(row, networkColumns.externalConnection, isNat ? GetNatConnection() : GetNone());
   SetCell(row, networkColumns.hostConnection,
           network.GetHasVirtualAdapter() ? Network::NetToString(network.GetIndex()) : GetNone());
   SetCell(row, networkColumns.dhcp, GetYesOrNo(network.GetHasDHCP()));
   SetCell(row, networkColumns.subnetAddr,
           network.GetSubnetAddr().empty() ? GetAutoDetect() : network.GetSubnetAddr());
   SetCell(row, networkColumns.mtu, mtu == "-" ? GetNotApplicable() : mtu);
}

// Setting the active row comes back as a choice, of what the bridge has already.
void Editor::UpdateHostAdapterCombo()
{
   Network* const network = GetSelectedNetwork();
   if (!network || network->GetType() != Network::Bridged || !network->GetBridge()) {
      return;
   }
   bridgeStore->clear();
   AppendAutomaticEntry(*network);
   for (auto const& [adapter, owner] : editable->GetHostAdapters()) {
      AppendAdapter(adapter, owner, *network);
   }
   DescribeChoices();
}

// A menu item calls itself by the first text of its row alone.
void Editor::DescribeChoices()
{
   AtkObject* const menu = gtk_combo_box_get_popup_accessible(bridgeCombo.gobj());
   int place = 0;
   for (Gtk::TreeModel::Row const& row : bridgeStore->children()) {
      Glib::ustring const note = row.get_value(bridgeColumns.note);
      if (AtkObject* const item = atk_object_ref_accessible_child(menu, place++)) {
         atk_object_set_description(item, note.c_str());
         g_object_unref(item);
      }
   }
}

void Editor::AppendAutomaticEntry(Network const& network)
{
   bool const isFirst = network.GetIndex() == 0;
   utf::string const note =
      isFirst ? utf::string()
              : cui::GetLocalString("@&!*@*@(msg.netcfg.linux.bridge.autoBridgeTvnet0Only)"
                                    "(tvnet0 only)");
   AppendChoice(sAutoBridgeComboText, note, isFirst, IsAutomatic(network));
}

void Editor::AppendAdapter(utf::string const& adapter, Network const* owner, Network const& network)
{
   bool const isFree = !owner || owner == &network;
   AppendChoice(adapter, isFree ? utf::string() : GetOwnerNote(*owner), isFree,
                !IsAutomatic(network) && owner == &network);
}

// The row comes with its values: the combo box would draw up its menu anew for each of them.
void Editor::AppendChoice(utf::string const& name, utf::string const& note, bool isEnabled,
                          bool isActive)
{
   GtkTreeIter row;
   gtk_list_store_insert_with_values(bridgeStore->gobj(), &row, -1, bridgeColumns.name.index(),
                                     name.c_str(), bridgeColumns.note.index(), note.c_str(),
                                     bridgeColumns.enabled.index(), isEnabled, -1);
   if (isActive) {
      gtk_combo_box_set_active_iter(bridgeCombo.gobj(), &row);
   }
}

void Editor::CloseAutoBridgeDlg()
{
   if (autoBridgeDlg) {
      autoBridgeDlg->DeleteDlg();
   }
}

} // namespace netcfg
