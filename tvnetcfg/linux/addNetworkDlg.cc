// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/linux/addNetworkDlg.hh"

#include "base/panic.h"
#include "cui/localString.hh"
#include "lui/relations.hh"
#include "lui/toggleButtons.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/linux/dlgParts.hh"

#include <algorithm>
#include <atkmm/object.h>
#include <gtkmm/table.h>

namespace netcfg {

namespace {

char const SOURCE[] = "tvnetcfg/linux/addNetworkDlg";

// A radio button's text stands this much below the button's top.
constexpr int RADIO_TEXT_OFFSET = 2;

// Between a network's name and the frame around its number.
constexpr int PREFIX_GAP = 3;

enum Choice { ADD = 0, CANCEL = 1 };

// From left to right in every language, as the name of a network reads, and at the start of its
// cell.
void KeepOrder(Gtk::Box& row, std::initializer_list<Gtk::Widget*> parts)
{
   if (Gtk::Widget::get_default_direction() == Gtk::TEXT_DIR_RTL) {
      row.set_halign(Gtk::ALIGN_END);
   }
   row.set_direction(Gtk::TEXT_DIR_LTR);
   for (Gtk::Widget* const part : parts) {
      part->set_direction(Gtk::TEXT_DIR_LTR);
   }
}

} // namespace

AddNetworkDlg::AddNetworkDlg(common::Editable* editable) : editable(editable), numberSpin(0.0, 0)
{
   set_title(cui::GetLocalString("@&!*@*@(msg.netcfg.linux.addNetwork.title)Add Virtual Network"));
   ConstructUI();
   SetButtons({cui::GetLocalString("@&!*@*@(button.netcfg.linux.addNetwork.add)Add"),
               cui::GetLocalString("@&!*@*@(button.netcfg.linux.addNetwork.cancel)Cancel")},
              CANCEL, ADD);
   // The types and the numbers are told with the main window.
   SetHelpTopic("IDH_TVNET_LIN_MAIN");
   replied.connect(sigc::mem_fun(*this, &AddNetworkDlg::OnReplied));
   numberSpin.grab_focus();
}

AddNetworkDlg::~AddNetworkDlg() = default;

void AddNetworkDlg::SetDefaultSize()
{
   set_default_size(550, 250);
}

void AddNetworkDlg::ConstructUI()
{
   Gtk::Table& table = *Gtk::manage(new Gtk::Table(2, 2, false));
   table.set_row_spacings(ROW_SPACING);
   table.set_col_spacings(COLUMN_SPACING);
   utf::string const name =
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.addNetwork.name)Network na_me:");
   table.attach(MakeLabel(name, 1.0F, 0.5F, numberSpin), 0, 1, 0, 1, Gtk::FILL, Gtk::FILL);
   table.attach(BuildNumberRow(), 1, 2, 0, 1, Gtk::FILL | Gtk::EXPAND, Gtk::FILL);
   utf::string const type = cui::GetLocalString("@&!*@*@(msg.netcfg.linux.addNetwork.type)Type:");
   Gtk::Label& typeLabel = MakeLabel(type, 1.0F, 0.0F);
   typeLabel.set_margin_top(RADIO_TEXT_OFFSET);
   table.attach(typeLabel, 0, 1, 1, 2, Gtk::FILL, Gtk::FILL);
   Gtk::Widget& types = BuildTypeList();
   types.get_accessible()->set_role(Atk::ROLE_PANEL);
   lui::Utils::SetLabelledBy(types, typeLabel);
   table.attach(types, 1, 2, 1, 2, Gtk::FILL, Gtk::FILL);
   table.show();
   SetContent(table, DIALOG_BORDER);
}

// Numbers in use are offered too: the model tells why it refuses them.
Gtk::Widget& AddNetworkDlg::BuildNumberRow()
{
   Gtk::HBox& row = *Gtk::manage(new Gtk::HBox(false, 0));
   utf::string const prefix =
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.addNetwork.tvnet)tvnet");
   Gtk::Label& label = MakeLabel(prefix, 0.5F, 0.5F);
   label.set_margin_end(PREFIX_GAP);
   row.pack_start(label, Gtk::PACK_SHRINK);
   row.pack_start(numberSpin, Gtk::PACK_SHRINK);
   KeepOrder(row, {&label, &numberSpin});
   SetUpSpin(numberSpin, editable->GetUnusedNetwork(), 0,
             std::max(editable->GetMaxNetworks(), 1U) - 1);
   row.show();
   return row;
}

Gtk::Widget& AddNetworkDlg::BuildTypeList()
{
   Gtk::VBox& list = *Gtk::manage(new Gtk::VBox(false, ROW_SPACING));
   Gtk::RadioButtonGroup group;
   lui::Utils::BuildRadioButton(
      bridgedRadio, group, list,
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.addNetwork.bridged.button)_Bridged"),
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.addNetwork.bridged.description)"
                          "Virtual machines connect directly to your external network"),
      Gtk::PACK_SHRINK);
   lui::Utils::BuildRadioButton(
      natRadio, group, list,
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.addNetwork.nat.button)_NAT"),
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.addNetwork.nat.description)"
                          "Virtual machines share your computer's IP address"),
      Gtk::PACK_SHRINK);
   lui::Utils::BuildRadioButton(
      hostOnlyRadio, group, list,
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.addNetwork.hostonly.button)Host-_only"),
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.addNetwork.hostonly.description)"
                          "Virtual machines are in a private network with your computer"),
      Gtk::PACK_SHRINK);
   list.show();
   return list;
}

common::Network::Type AddNetworkDlg::GetType() const
{
   if (bridgedRadio.get_active()) {
      return common::Network::Bridged;
   }
   if (natRadio.get_active()) {
      return common::Network::NAT;
   }
   if (hostOnlyRadio.get_active()) {
      return common::Network::HostOnly;
   }
   NOT_IMPLEMENTED_AT(SOURCE, 178);
}

cui::Dlg::RepliedAction AddNetworkDlg::AddNetwork()
{
   common::Network::Type const type = GetType();
   // A number that was typed counts from here on, also if the focus never left it.
   numberSpin.update();
   auto const number = static_cast<unsigned int>(numberSpin.get_value_as_int());
   common::Network const* const network =
      editable->AddNetwork(type, number, true, GetDlgMgr()->MakeAbortSlot("%s"));
   return network ? CLOSE : KEEP_OPEN;
}

cui::Dlg::RepliedAction AddNetworkDlg::OnReplied()
{
   switch (GetChoice()) {
   case ADD:
      return AddNetwork();
   case CANCEL:
      return CLOSE;
   }
   NOT_IMPLEMENTED_AT(SOURCE, 191);
}

} // namespace netcfg
