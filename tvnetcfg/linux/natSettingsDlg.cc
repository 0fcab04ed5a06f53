// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/linux/natSettingsDlg.hh"

#include "base/panic.h"
#include "cui/localString.hh"
#include "tvnetcfg/common/network.hh"
#include "tvnetcfg/linux/dlgParts.hh"
#include "tvnetcfg/linux/mapPortDlg.hh"

#include <algorithm>
#include <atkmm/object.h>
#include <gtkmm/stock.h>

namespace netcfg {

namespace {

// Replaced by the real title when the dialog is built.
char const NO_TITLE[] = "XXX";

enum Choice { SAVE = 0, CANCEL = 1, HELP = 2 };

// A text that is put in while the user types leaves the cursor behind the same character, white
// space apart, which the new text lacks.
void ReplaceKeepingCursor(Gtk::Entry& entry, Glib::ustring const& text)
{
   Glib::ustring const before = entry.get_text();
   if (before == text) {
      return;
   }
   auto const cursor = static_cast<Glib::ustring::size_type>(entry.get_position());
   Glib::ustring const front = before.substr(0, cursor);
   auto const kept =
      std::count_if(front.begin(), front.end(), [](gunichar c) { return !g_unichar_isspace(c); });
   entry.set_text(text);
   entry.set_position(static_cast<int>(kept));
}

} // namespace

NatSettingsDlg::NatSettingsDlg(common::NAT* nat)
   : store(Gtk::ListStore::create(columns)), view(store), portForwardFrame(NO_TITLE),
     addButton(Gtk::Stock::ADD,
               cui::GetLocalString("@&!*@*@(msg.netcfg.linux.natSettings.addPortForward)_Add"),
               true),
     removeButton(
        Gtk::Stock::REMOVE,
        cui::GetLocalString("@&!*@*@(msg.netcfg.linux.natSettings.removePortForward)_Remove"),
        true),
     editButton(cui::GetLocalString("@&!*@*@(msg.netcfg.linux.natSettings.editPortForward)_Edit")),
     gatewayEntry(lui::IPEntry::ADDRESS), advancedFrame(NO_TITLE)
{
   FollowNAT(nat);
   set_title(cui::GetLocalString("@&!*@*@(msg.netcfg.linux.natSettings.title)NAT Settings"));
   set_default_size(520, 600);
   ConstructUI();
   SetButtons({cui::GetLocalString("@&!*@*@(button.netcfg.linux.natSettings.save)Save"),
               cui::GetLocalString("@&!*@*@(button.netcfg.linux.natSettings.cancel)Cancel"),
               cui::GetLocalString("@&!*@*@(button.netcfg.linux.natSettings.help)Help")},
              CANCEL, SAVE);
   SetHelpTopic("IDH_TVNET_NAT");
   enableIPv6Check.signal_toggled().connect(
      sigc::mem_fun(*this, &NatSettingsDlg::OnEnableIPv6Changed));
   prefixEntry.signal_focus_out_event().connect(
      sigc::mem_fun(*this, &NatSettingsDlg::OnPrefixFocusLost));
   prefixEntry.signal_changed().connect(
      sigc::hide_return(sigc::mem_fun(*this, &NatSettingsDlg::IPv6PrefixValidationPartial)));
   SetupConnections();
   LoadSettings();
}

// The port dialog points at the list, and losing the focus runs handlers: both happen while
// everything is still there.
NatSettingsDlg::~NatSettingsDlg()
{
   Shutdown();
   hide();
   LeaveDlgMgr();
   notify_callbacks();
   FollowNAT(nullptr);
}

// The connections of the NAT given to the constructor stay: the form doesn't follow another one.
void NatSettingsDlg::SetNAT(common::NAT* newNAT)
{
   natConnection.block();
   FollowNAT(newNAT);
   natConnection.unblock();
   OnNATChanged();
}

// There is nothing to edit any more once the NAT is gone.
void NatSettingsDlg::FollowNAT(common::NAT* newNAT)
{
   if (nat) {
      nat->remove_destroy_notify_callback(this);
   }
   nat = newNAT;
   if (nat) {
      nat->add_destroy_notify_callback(this, &NatSettingsDlg::OnNATDied);
   }
}

void* NatSettingsDlg::OnNATDied(void* dlg)
{
   auto* const self = static_cast<NatSettingsDlg*>(dlg);
   self->nat = nullptr;
   self->DeleteDlg();
   return nullptr;
}

void NatSettingsDlg::SetupConnections()
{
   replied.connect(sigc::mem_fun(*this, &NatSettingsDlg::OnReplied));
   natConnection = nat->changed.connect(sigc::mem_fun(*this, &NatSettingsDlg::OnNATChanged));
   view.get_selection()->signal_changed().connect(
      sigc::mem_fun(*this, &NatSettingsDlg::OnSelectionChanged));
   addButton.signal_clicked().connect(
      sigc::mem_fun(*this, &NatSettingsDlg::OnAddPortForwardClicked));
   editButton.signal_clicked().connect(
      sigc::mem_fun(*this, &NatSettingsDlg::OnEditPortForwardClicked));
   removeButton.signal_clicked().connect(
      sigc::mem_fun(*this, &NatSettingsDlg::OnRemovePortForwardClicked));
}

void NatSettingsDlg::LoadSettings()
{
   common::Network const& network = *nat->GetNetwork();
   networkLabel.set_text(common::Network::NetToString(network.GetIndex()));
   subnetIPLabel.set_text(LeftToRight(network.GetSubnetAddr()));
   subnetMaskLabel.set_text(LeftToRight(network.GetSubnetMask()));
   portForwards = nat->GetPortForwardList();
   LoadPortForwardList();
   activeFTPCheck.set_active(nat->GetAllowActiveFTP());
   anyOUICheck.set_active(nat->GetAllowOUI());
   enableIPv6Check.set_active(nat->GetEnableIPv6());
   prefixEntry.set_text(nat->GetIPv6Prefix());
   udpTimeoutSpin.set_value(nat->GetUDPTimeout());
   configPortSpin.set_value(nat->GetConfigPort());
   gatewayEntry.set_text(nat->GetGatewayIP());
}

bool NatSettingsDlg::SaveSettings()
{
   if (IPv6PrefixValidation() != common::NAT::PrefixV6Ok) {
      return false;
   }
   // Numbers that were typed count from here on, also if the focus never left them.
   udpTimeoutSpin.update();
   configPortSpin.update();
   // The first value stored would reload the form and drop the others.
   natConnection.block();
   StoreSettings();
   natConnection.unblock();
   return true;
}

void NatSettingsDlg::StoreSettings()
{
   nat->SetAllowActiveFTP(activeFTPCheck.get_active());
   nat->SetAllowOUI(anyOUICheck.get_active());
   nat->SetEnableIPv6(enableIPv6Check.get_active());
   nat->SetIPv6Prefix(prefixEntry.get_text());
   nat->SetConfigPort(static_cast<unsigned int>(configPortSpin.get_value_as_int()));
   nat->SetUDPTimeout(static_cast<unsigned int>(udpTimeoutSpin.get_value_as_int()));
   nat->SetGatewayIP(gatewayEntry.GetIP());
   nat->SetPortForwardList(portForwards);
}

cui::Dlg::RepliedAction NatSettingsDlg::OnReplied()
{
   switch (GetChoice()) {
   case SAVE:
      return SaveSettings() ? CLOSE : KEEP_OPEN;
   case CANCEL:
      return CLOSE;
   case HELP:
      ShowHelp();
      return KEEP_OPEN;
   }
   NOT_IMPLEMENTED_AT("tvnetcfg/linux/natSettingsDlg", 844);
}

void NatSettingsDlg::OnNATChanged()
{
   LoadSettings();
}

common::NAT::IPv6PrefixError NatSettingsDlg::IPv6PrefixValidationPartial()
{
   common::NAT::IPv6PrefixError error = common::NAT::PrefixV6Ok;
   if (nat && enableIPv6Check.get_active()) {
      utf::string prefix(prefixEntry.get_text());
      error = nat->ValidateIPv6Prefix(prefix);
      if (error == common::NAT::PrefixV6Ok) {
         ReplaceKeepingCursor(prefixEntry, prefix);
      }
   }
   if (error == common::NAT::PrefixV6Ok) {
      prefixWarning.hide();
   }
   SetResponseSensitive(SAVE, error == common::NAT::PrefixV6Ok);
   return error;
}

common::NAT::IPv6PrefixError NatSettingsDlg::IPv6PrefixValidation()
{
   common::NAT::IPv6PrefixError const error = IPv6PrefixValidationPartial();
   utf::string const reason = common::NAT::GetIPv6PrefixErrorMessage(error);
   if (error != common::NAT::PrefixV6Ok) {
      ShowPrefixWarning(reason);
   }
   prefixEntry.get_accessible()->set_description(reason);
   return error;
}

// Told once, and again when there is something else to tell.
void NatSettingsDlg::ShowPrefixWarning(utf::string const& reason)
{
   bool const isTold = prefixWarning.get_visible() &&
                       prefixEntry.get_accessible()->get_description() == Glib::ustring(reason);
   prefixWarning.SetMarkup(reason);
   prefixWarning.show();
   if (!isTold) {
      prefixWarning.Announce();
   }
}

void NatSettingsDlg::OnEnableIPv6Changed()
{
   bool const isEnabled = enableIPv6Check.get_active();
   prefixEntry.set_sensitive(isEnabled);
   if (!isEnabled) {
      prefixEntry.set_text(nat->GetIPv6Prefix());
   }
   IPv6PrefixValidation();
}

bool NatSettingsDlg::OnPrefixFocusLost(GdkEventFocus*)
{
   IPv6PrefixValidation();
   return false;
}

} // namespace netcfg
