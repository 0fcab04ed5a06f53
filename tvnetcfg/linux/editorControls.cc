// SPDX-License-Identifier: GPL-2.0-or-later
// What the controls of the main window write into the model.
#include "base/panic.h"
#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/linux/addNetworkDlg.hh"
#include "tvnetcfg/linux/autoBridgeDlg.hh"
#include "tvnetcfg/linux/editor.hh"
#include "tvnetcfg/linux/natSettingsDlg.hh"

namespace netcfg {

using common::Network;

void Editor::OnTypeChanged()
{
   hostSettingsBox.set_sensitive(!bridgedRadio.get_active());
   natButton.set_sensitive(natRadio.get_active());
   Network::Type const type = GetChosenType();
   if (Network* const network = GetSelectedNetwork()) {
      network->SetType(type, abortSlot);
   }
}

Network::Type Editor::GetChosenType() const
{
   if (bridgedRadio.get_active()) {
      return Network::Bridged;
   }
   if (natRadio.get_active()) {
      return Network::NAT;
   }
   if (hostOnlyRadio.get_active()) {
      return Network::HostOnly;
   }
   NOT_IMPLEMENTED_AT("tvnetcfg/linux/editor", __LINE__);
}

void Editor::OnHostAdapterChanged()
{
   // None while the adapters are being listed anew.
   Gtk::TreeModel::iterator const row = bridgeCombo.get_active();
   if (!row) {
      return;
   }
   utf::string const adapter = (*row).get_value(bridgeColumns.name);
   Network* const network = GetSelectedNetwork();
   common::Bridge* const bridge = network ? network->GetBridge() : nullptr;
   if (!bridge) {
      return;
   }
   if (adapter == sAutoBridgeComboText) {
      bridge->SetAuto(true, abortSlot);
   } else {
      bridge->SetAdapter(adapter, abortSlot);
   }
}

void Editor::OnDHCPChanged()
{
   if (Network* const network = GetSelectedNetwork()) {
      network->SetHasDHCP(dhcpCheck.get_active());
   }
}

void Editor::OnVirtualAdapterChanged()
{
   if (Network* const network = GetSelectedNetwork()) {
      network->SetHasVirtualAdapter(adapterCheck.get_active());
   }
}

// Texts go into the model as typed; a save judges them.
void Editor::OnSubnetLosesFocus()
{
   if (Network* const network = GetSelectedNetwork()) {
      network->SetSubnetAddr(subnetEntry.GetIP());
   }
}

void Editor::OnSubnetMaskLosesFocus()
{
   if (Network* const network = GetSelectedNetwork()) {
      network->SetSubnetMask(maskEntry.GetIP());
   }
}

void Editor::OnMtuLosesFocus()
{
   if (Network* const network = GetSelectedNetwork()) {
      network->SetMTU(mtuEntry.get_text());
   }
}

void Editor::OnRemoveNetworkClicked()
{
   if (selectedIndex >= 0) {
      editable->RemoveNetwork(static_cast<unsigned int>(selectedIndex));
   }
}

void Editor::OnAddNetworkClicked()
{
   if (addDlg) {
      Present(addDlg.get());
      return;
   }
   addDlg = new AddNetworkDlg(editable);
   AddManagedDlg(addDlg.get());
}

void Editor::OnAutoBridgeSettingsClicked()
{
   if (autoBridgeDlg) {
      Present(autoBridgeDlg.get());
      return;
   }
   // In a list without networks the button can be pressed too.
   if (!editable->GetAutoBridgeNetwork()) {
      return;
   }
   autoBridgeDlg = new AutoBridgeDlg(editable);
   AddManagedDlg(autoBridgeDlg.get());
}

void Editor::OnNatSettingsClicked()
{
   Network* const network = GetSelectedNetwork();
   if (!network) {
      return;
   }
   if (natDlg) {
      natDlg->SetNAT(network->GetNAT());
      Present(natDlg.get());
      return;
   }
   natDlg = new NatSettingsDlg(network->GetNAT());
   AddManagedDlg(natDlg.get());
}

// The window is right again before the user reads why.
void Editor::OnEditableSetAbort(bool isDone, cui::Error error)
{
   UpdateSelectedNetwork();
   GetDlgMgr()->MakeAbortSlot("%s")(isDone, error);
}

} // namespace netcfg
