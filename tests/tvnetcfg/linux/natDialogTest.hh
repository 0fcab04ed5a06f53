// SPDX-License-Identifier: GPL-2.0-or-later
// The NAT settings of tvnet8, which has two port forwards, over a window.
#pragma once

#include "dialogTest.hh"
#include "lui/iconLabelBox.hh"
#include "lui/ipEntry.hh"
#include "tvnetcfg/common/nat.hh"
#include "tvnetcfg/linux/natSettingsDlg.hh"

#include <gtkmm/checkbutton.h>

namespace netcfg {

using Forward = common::NAT::PortForwardEntry;
using Forwards = std::vector<Forward>;

// Lets a test call what no button does yet.
class OpenNatSettingsDlg : public NatSettingsDlg {
public:
   using NatSettingsDlg::NatSettingsDlg;
   using NatSettingsDlg::RemovePortForwardEntry;
};

class NatDialogTest : public DialogTest {
protected:
   NatDialogTest();

   OpenNatSettingsDlg& OpenDlg() { return Open(new OpenNatSettingsDlg(&nat)); }

   Gtk::TreeView& GetTable();
   lui::IPEntry& GetGateway() { return Get<lui::IPEntry>("Gateway IP:"); }
   Gtk::CheckButton& GetIPv6() { return Get<Gtk::CheckButton>("Enable IPv6 NAT"); }
   Gtk::Entry& GetPrefix() { return Get<Gtk::Entry>("IPv6 Prefix:"); }
   Gtk::SpinButton& GetTimeout() { return Get<Gtk::SpinButton>("UDP timeout (in seconds):"); }
   Gtk::SpinButton& GetConfigPort() { return Get<Gtk::SpinButton>("Config Port:"); }
   bool IsSensitive(std::string const& button) { return Get<Gtk::Button>(button).get_sensitive(); }
   // The warning below the prefix; empty if there is none.
   std::string ReadWarning();

   // The port dialog on the screen; null if there is none.
   Gtk::Window* FindPortDlg();
   // Gives it the keyboard. Throws if there is none.
   Gtk::Window& GetPortDlg();
   // Types a host port there and presses the button.
   void EnterPort(std::string const& hostPort, std::string const& button);
   // The port dialogs that exist, on the screen or not.
   int CountPortDlgs();
   // Counts the rows that leave the table from now on.
   void WatchTable();

   common::Network& network;
   common::NAT& nat;
   int heard = 0;
   int rowsDeleted = 0;
};

} // namespace netcfg
