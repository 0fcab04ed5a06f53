// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/helpDlg.hh"
#include "lui/helpFiles.hh"
#include "screenshots/models.hh"
#include "screenshots/scenes.hh"
#include "support/gtk/find.hh"
#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/nat.hh"
#include "tvnetcfg/linux/addNetworkDlg.hh"
#include "tvnetcfg/linux/autoBridgeDlg.hh"
#include "tvnetcfg/linux/editor.hh"
#include "tvnetcfg/linux/mapPortDlg.hh"
#include "tvnetcfg/linux/natSettingsDlg.hh"

#include <gtkmm/checkbutton.h>
#include <gtkmm/radiobutton.h>
#include <gtkmm/spinbutton.h>

namespace screenshots {

using netcfg::Editor;
using netcfg::common::Editable;
using netcfg::common::NAT;
using test::gtk::FindAll;

namespace {

constexpr unsigned int MAX_NETWORKS = 20;
constexpr unsigned int NAT_NETWORK = 8;
constexpr unsigned int PLAIN_NAT_NETWORK = 9;

void ShootAddNetwork(Editor& editor, Editable& model, Camera& camera)
{
   auto& dlg = Open(editor, new netcfg::AddNetworkDlg(&model));
   camera.Shoot(dlg, "add-fresh");
   FindAll<Gtk::SpinButton>(dlg).front()->set_value(12);
   FindAll<Gtk::RadioButton>(dlg).back()->set_active(true);
   FindAll<Gtk::RadioButton>(dlg).back()->grab_focus();
   camera.Shoot(dlg, "add-filled");
   camera.ShootScreen("add-over-main");
   EndDialogs(editor);
}

void ShootAutoBridge(Editor& editor, Editable& model, Camera& camera)
{
   auto& dlg = Open(editor, new netcfg::AutoBridgeDlg(&model));
   camera.Shoot(dlg, "automatic-ticked");
   netcfg::common::Bridge& bridge = *model.GetNetwork(0)->GetBridge();
   bridge.RemoveAutoAdapter("enp3s0");
   bridge.RemoveAutoAdapter("wlp0s20f3");
   camera.Shoot(dlg, "automatic-none");
   bridge.AddAutoAdapter("enp3s0", {});
   bridge.AddAutoAdapter("wlp0s20f3", {});
   EndDialogs(editor);
}

void ShootNatSettings(Editor& editor, Editable& model, Camera& camera)
{
   Open(editor, new netcfg::NatSettingsDlg(model.GetNetwork(PLAIN_NAT_NETWORK)->GetNAT()));
   camera.Shoot(GetYoungest(editor), "nat-fresh");
   EndDialogs(editor);
   auto& dlg = Open(editor, new netcfg::NatSettingsDlg(model.GetNetwork(NAT_NETWORK)->GetNAT()));
   camera.Shoot(dlg, "nat-filled");
   FindAll<Gtk::TreeView>(dlg).front()->set_cursor(Gtk::TreePath("1"));
   FindAll<Gtk::TreeView>(dlg).front()->grab_focus();
   camera.Shoot(dlg, "nat-selected");
   FindAll<Gtk::CheckButton>(dlg).back()->set_active(true);
   FindAll<Gtk::Entry>(dlg).back()->set_text("fd00:8:15::/64");
   FindAll<Gtk::Entry>(dlg).back()->grab_focus();
   camera.Shoot(dlg, "nat-ipv6");
   camera.ShootScreen("nat-over-main");
   EndDialogs(editor);
}

void ShootMapPort(Editor& editor, Editable& model, Camera& camera)
{
   auto list = model.GetNetwork(NAT_NETWORK)->GetNAT()->GetPortForwardList();
   Open(editor, new netcfg::MapPortDlg(&list, -1));
   camera.Shoot(GetYoungest(editor), "map-fresh");
   EndDialogs(editor);
   Open(editor, new netcfg::MapPortDlg(&list, 0));
   camera.Shoot(GetYoungest(editor), "map-filled");
   EndDialogs(editor);
}

// In a window of ours, whatever viewers the desktop has.
void ShootHelp(Editor& editor, Camera& camera)
{
   for (char const* const topic : {"IDH_TVNET_LIN_MAIN", "IDH_TVNET_NAT"}) {
      std::string const file = lui::FindHelpPage(topic);
      lui::HelpDlg::Open(editor, file, lui::ReadHelpPage(file));
      camera.Shoot(GetYoungest(editor), std::string("help-") + topic);
      EndDialogs(editor);
   }
}

} // namespace

void ShootDialogs(Camera& camera)
{
   Editable model(MAX_NETWORKS);
   AddUsualNetworks(model);
   Editor editor(&model, -1, -1);
   test::gtk::ShowActive(editor);
   ShootAddNetwork(editor, model, camera);
   ShootAutoBridge(editor, model, camera);
   ShootNatSettings(editor, model, camera);
   ShootMapPort(editor, model, camera);
   ShootHelp(editor, camera);
   editor.hide();
}

} // namespace screenshots
