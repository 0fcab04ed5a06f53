// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/linux/editor.hh"

#include "base/panic.h"
#include "cui/localString.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/linux/addNetworkDlg.hh"
#include "tvnetcfg/linux/autoBridgeDlg.hh"
#include "tvnetcfg/linux/natSettingsDlg.hh"

#include <gtkmm/stock.h>

namespace netcfg {

namespace {

utf::string GetAutoBridgeComboText()
{
   return cui::GetLocalString("@&!*@*@(msg.netcfg.linux.dialog.autoBridgeCombo)Automatic");
}

// A snapshot that can't be read leaves nothing to edit.
common::Editable* NotNull(common::Editable* editable)
{
   if (!editable) {
      NOT_REACHED_AT("tvnetcfg/linux/editor", __LINE__);
   }
   return editable;
}

} // namespace

utf::string Editor::sAutoBridgeComboText;

Editor::NetworkColumns::NetworkColumns()
{
   add(index);
   add(name);
   add(type);
   add(externalConnection);
   add(hostConnection);
   add(dhcp);
   add(subnetAddr);
   add(mtu);
}

Editor::BridgeColumns::BridgeColumns()
{
   add(name);
   add(note);
   add(enabled);
}

Editor::Editor(common::Editable* model, int replyEnd, int requestEnd)
   : networkStore(Gtk::ListStore::create(networkColumns)), networkView(networkStore),
     fitted(networkView),
     addButton(Gtk::Stock::ADD,
               cui::GetLocalString("@&!*@*@(msg.netcfg.linux.dialog.add)_Add Network..."), true),
     removeButton(Gtk::Stock::REMOVE,
                  cui::GetLocalString("@&!*@*@(msg.netcfg.linux.dialog.remove)_Remove Network"),
                  true),
     detailsFrame("XXX"), bridgeStore(Gtk::ListStore::create(bridgeColumns)),
     autoBridgeButton(cui::GetLocalString(
        "@&!*@*@(msg.netcfg.linux.dialog.autoBridgeSettings)A_utomatic Settings...")),
     natButton(cui::GetLocalString("@&!*@*@(msg.netcfg.linux.dialog.natSettings)NA_T Settings...")),
     hostSettingsBox(false, 6), subnetEntry(lui::IPEntry::ADDRESS),
     maskEntry(lui::IPEntry::ADDRESS), abortSlot(sigc::mem_fun(*this, &Editor::OnEditableSetAbort)),
     editable(NotNull(model)), mgr(editable), replyFd(replyEnd), requestFd(requestEnd)
{
   if (sAutoBridgeComboText.empty()) {
      sAutoBridgeComboText = GetAutoBridgeComboText();
   }
   bridgeCombo.set_model(bridgeStore);
   ConstructUI();
   SetupConnections();
   LoadFromEditable();
   SelectRow(networkStore->get_iter("0"));
   networkView.grab_focus();
}

// Hiding takes the focus out of the entries while everything that hears of it is still there.
Editor::~Editor()
{
   hide();
}

void Editor::SetDefaultSize()
{
   set_default_size(620, 575);
}

void Editor::PresentSelf()
{
   present();
}

void Editor::SetupConnections()
{
   editable->networkAdded.connect(sigc::mem_fun(*this, &Editor::AddNetworkToList));
   editable->networkRemoved.connect(sigc::mem_fun(*this, &Editor::OnNetworkRemoved));
   editable->adaptersChanged.connect(sigc::mem_fun(*this, &Editor::UpdateHostAdapterCombo));
   replied.connect(sigc::mem_fun(*this, &Editor::OnReplied));
   networkView.get_selection()->signal_changed().connect(
      sigc::mem_fun(*this, &Editor::OnSelectionChanged), true);
   addButton.signal_clicked().connect(sigc::mem_fun(*this, &Editor::OnAddNetworkClicked), true);
   removeButton.signal_clicked().connect(sigc::mem_fun(*this, &Editor::OnRemoveNetworkClicked),
                                         true);
   natButton.signal_clicked().connect(sigc::mem_fun(*this, &Editor::OnNatSettingsClicked), true);
   bridgedRadio.signal_toggled().connect(sigc::mem_fun(*this, &Editor::OnTypeChanged), true);
   natRadio.signal_toggled().connect(sigc::mem_fun(*this, &Editor::OnTypeChanged), true);
   hostOnlyRadio.signal_toggled().connect(sigc::mem_fun(*this, &Editor::OnTypeChanged), true);
   bridgeCombo.signal_changed().connect(sigc::mem_fun(*this, &Editor::OnHostAdapterChanged), true);
   autoBridgeButton.signal_clicked().connect(
      sigc::mem_fun(*this, &Editor::OnAutoBridgeSettingsClicked), true);
   dhcpCheck.signal_toggled().connect(sigc::mem_fun(*this, &Editor::OnDHCPChanged), true);
   adapterCheck.signal_toggled().connect(sigc::mem_fun(*this, &Editor::OnVirtualAdapterChanged),
                                         true);

   // The event goes on to whoever else waits for it.
   auto const onFocusOut = [](Gtk::Widget& entry, sigc::slot<void> const& commit) {
      entry.signal_focus_out_event().connect(sigc::hide(sigc::bind_return(commit, false)), true);
   };
   onFocusOut(subnetEntry, sigc::mem_fun(*this, &Editor::OnSubnetLosesFocus));
   onFocusOut(maskEntry, sigc::mem_fun(*this, &Editor::OnSubnetMaskLosesFocus));
   onFocusOut(mtuEntry, sigc::mem_fun(*this, &Editor::OnMtuLosesFocus));
}

} // namespace netcfg
