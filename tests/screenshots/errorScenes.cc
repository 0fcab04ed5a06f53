// SPDX-License-Identifier: GPL-2.0-or-later
#include "cui/localString.hh"
#include "lui/warningDialog.hh"
#include "screenshots/models.hh"
#include "screenshots/scenes.hh"
#include "support/gtk/find.hh"
#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/nat.hh"
#include "tvnetcfg/linux/addNetworkDlg.hh"
#include "tvnetcfg/linux/autoBridgeDlg.hh"
#include "tvnetcfg/linux/editor.hh"
#include "tvnetcfg/linux/natSettingsDlg.hh"

#include <glibmm/main.h>
#include <gtkmm/checkbutton.h>
#include <gtkmm/messagedialog.h>
#include <gtkmm/radiobutton.h>
#include <gtkmm/spinbutton.h>

namespace screenshots {

using netcfg::Editor;
using netcfg::common::Editable;
using netcfg::common::Network;
using test::gtk::FindAll;

namespace {

constexpr unsigned int MAX_NETWORKS = 20;
constexpr unsigned int NAT_NETWORK = 8;
constexpr unsigned int FIRST_BUTTON = 0;

// What a save refuses: the values of one network.
struct Refusal {
   char const* name;
   char const* mtu;
   char const* subnet;
   char const* mask;
};

constexpr Refusal REFUSALS[] = {
   {"mtu", "67", "192.168.20.0", "255.255.255.0"},
   {"blank-field", "1500", "192.168..0", "255.255.255.0"},
   {"repeat", "1500", "172.16.104.0", "255.255.255.0"},
   {"range", "1500", "224.0.0.0", "255.255.255.0"},
   {"mask-zero", "1500", "192.168.20.0", ""},
   {"mask-large", "1500", "192.168.20.0", "255.255.255.252"},
   {"mask-invalid", "1500", "192.168.20.0", "255.0.255.0"},
   {"mismatch", "1500", "192.168.20.1", "255.255.255.0"},
};

// The network is a good one again afterwards.
void ShootSaveErrors(Editor& editor, Editable& model, Camera& camera)
{
   Network& network = *model.GetNetwork(NAT_NETWORK);
   for (Refusal const& refusal : REFUSALS) {
      network.SetMTU(refusal.mtu);
      network.SetSubnetAddr(refusal.subnet);
      network.SetSubnetMask(refusal.mask);
      editor.OnClicked(FIRST_BUTTON);
      camera.Shoot(GetYoungest(editor), std::string("error-save-") + refusal.name);
      if (&refusal == REFUSALS) {
         camera.ShootScreen("error-over-main");
      }
      EndDialogs(editor);
   }
   network.SetSubnetAddr("192.168.20.0");
   network.SetSubnetMask("255.255.255.0");
}

void ShootRefusedType(Editor& editor, Camera& camera)
{
   FindAll<Gtk::RadioButton>(editor).front()->set_active(true);
   camera.Shoot(GetYoungest(editor), "error-no-adapter");
   EndDialogs(editor);
}

void ShootRefusedAdd(Editor& editor, Editable& model, Camera& camera)
{
   auto& dlg = Open(editor, new netcfg::AddNetworkDlg(&model));
   FindAll<Gtk::SpinButton>(dlg).front()->set_value(NAT_NETWORK);
   dlg.OnClicked(FIRST_BUTTON);
   camera.Shoot(GetYoungest(dlg), "error-add");
   EndDialogs(editor);
}

void ShootNoAutoAdapter(Editor& editor, Editable& model, Camera& camera)
{
   auto& dlg = Open(editor, new netcfg::AutoBridgeDlg(&model));
   netcfg::common::Bridge& bridge = *model.GetNetwork(0)->GetBridge();
   bridge.RemoveAutoAdapter("enp3s0");
   bridge.RemoveAutoAdapter("wlp0s20f3");
   dlg.OnClicked(FIRST_BUTTON);
   camera.Shoot(GetYoungest(dlg), "error-select-one");
   EndDialogs(editor);
}

void ShootPrefixWarnings(Editor& editor, Editable& model, Camera& camera)
{
   constexpr std::pair<char const*, char const*> PREFIXES[] = {
      {"empty", ""}, {"length", "fd00:bad::/129"}, {"address", "fd00:bad"}, {"host", "fd00::1/64"}};
   auto& dlg = Open(editor, new netcfg::NatSettingsDlg(model.GetNetwork(NAT_NETWORK)->GetNAT()));
   FindAll<Gtk::CheckButton>(dlg).back()->set_active(true);
   for (auto const& [name, prefix] : PREFIXES) {
      Gtk::Entry& entry = *FindAll<Gtk::Entry>(dlg).back();
      entry.grab_focus();
      entry.set_text(prefix);
      test::gtk::PressKey(dlg, GDK_KEY_Tab);
      camera.Shoot(dlg, std::string("error-prefix-") + name);
   }
   EndDialogs(editor);
}

// The dialog waits for its answer itself.
void ShootWarningDialog(Camera& camera)
{
   Glib::signal_idle().connect_once([&camera] {
      for (Gtk::Window* const window : Gtk::Window::list_toplevels()) {
         if (auto* const dialog = dynamic_cast<Gtk::MessageDialog*>(window)) {
            camera.Shoot(*dialog, "warning");
            dialog->response(Gtk::RESPONSE_CLOSE);
         }
      }
   });
   utf::string const text = cui::GetLocalString(
      "@&!*@*@(msg.tvnetcfg.linux.noElevator)tavrin-netcfg needs pkexec or gnomesu to obtain root "
      "previlege. Please install pkexec or gnomesu first, and then launch tavrin-netcfg again");
   lui::Utils::RaiseWarningDialog("tavrin-netcfg", text.c_str());
}

} // namespace

void ShootErrors(Camera& camera)
{
   Editable model(MAX_NETWORKS);
   AddUsualNetworks(model);
   Editor editor(&model, -1, -1);
   test::gtk::ShowActive(editor);
   ShootSaveErrors(editor, model, camera);
   ShootRefusedType(editor, camera);
   ShootRefusedAdd(editor, model, camera);
   ShootPrefixWarnings(editor, model, camera);
   ShootNoAutoAdapter(editor, model, camera);
   editor.hide();
   ShootWarningDialog(camera);
}

} // namespace screenshots
