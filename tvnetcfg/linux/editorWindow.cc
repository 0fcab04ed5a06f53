// SPDX-License-Identifier: GPL-2.0-or-later
// How the main window is built.
#include "cui/features.hh"
#include "cui/format.hh"
#include "cui/localString.hh"
#include "lui/iconLabelBox.hh"
#include "lui/relations.hh"
#include "lui/toggleButtons.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/linux/dlgParts.hh"
#include "tvnetcfg/linux/editor.hh"
#include "tvnetcfg/linux/editorTexts.hh"

#include <atkmm/object.h>
#include <gtkmm/grid.h>
#include <gtkmm/label.h>
#include <gtkmm/scrolledwindow.h>
#include <gtkmm/sizegroup.h>
#include <gtkmm/stock.h>

namespace netcfg {

using namespace editorTexts;

namespace {

constexpr unsigned int BORDER = 12;
constexpr int SPACING = 6;
constexpr int BLOCK_SPACING = 18;
constexpr int LIST_HEIGHT = 150;
// Lines of text that the list has room for, its titles' included, where they are larger than usual.
constexpr int LEAST_LINES = 7;
// Between the entries and what is said about them, which is no row of its own.
constexpr int HINT_SPACING = 3;
constexpr int MTU_DIGITS = 4;
// What the server accepts, in bytes.
constexpr int MIN_MTU = 68;
constexpr int MAX_MTU = 9194;

Gtk::Label& MakeMnemonicLabel(utf::string const& text, Gtk::Widget& target)
{
   Gtk::Label& label = *Gtk::manage(new Gtk::Label(text, true));
   label.set_mnemonic_widget(target);
   label.show();
   return label;
}

} // namespace

void Editor::ConstructUI()
{
   SetDefaultSize();
   set_title(cui::GetLocalString("@&!*@*@(msg.netcfg.linux.dialog.title)Tavrin Network Editor"));
   gtk_window_set_default_icon_name("tavrin-netcfg");
   SetContent(BuildContent(), BORDER);
   SetButtons({cui::GetLocalString("@&!*@*@(msg.netcfg.linux.dialog.save)Save"),
               cui::GetLocalString("@&!*@*@(msg.netcfg.linux.dialog.cancel)Cancel"),
               cui::GetLocalString("@&!*@*@(msg.netcfg.linux.dialog.help)Help")},
              1, 0);
   SetHelpTopic("IDH_TVNET_LIN_MAIN");
}

Gtk::Widget& Editor::BuildContent()
{
   Gtk::VBox& content = *Gtk::manage(new Gtk::VBox(false, SPACING));
   content.pack_start(BuildList(), Gtk::PACK_EXPAND_WIDGET);
   content.pack_start(BuildListButtons(), Gtk::PACK_SHRINK);
   content.pack_start(detailsFrame, Gtk::PACK_SHRINK);
   detailsFrame.Add(BuildDetails());
   detailsFrame.show();
   content.show();
   return content;
}

Gtk::Widget& Editor::BuildList()
{
   networkView.set_rules_hint(true);
   networkView.get_accessible()->set_name(
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.netlist.title)Virtual networks"));
   networkStore->set_sort_column(networkColumns.index, Gtk::SORT_ASCENDING);
   AppendColumns();

   Gtk::ScrolledWindow& scroller = *Gtk::manage(new Gtk::ScrolledWindow);
   scroller.set_policy(Gtk::POLICY_NEVER, Gtk::POLICY_AUTOMATIC);
   scroller.set_shadow_type(Gtk::SHADOW_IN);
   scroller.set_can_focus(false);
   scroller.set_size_request(-1, LIST_HEIGHT);
   scroller.set_min_content_height(LEAST_LINES * GetLineHeight(networkView));
   scroller.add(networkView);
   networkView.show();
   scroller.show();
   return scroller;
}

void Editor::AppendColumns()
{
   utf::string const network = common::Network::NetToString(editable->GetMaxNetworks());
   AppendColumn("@&!*@*@(msg.netcfg.linux.netlist.name)Name", networkColumns.name, {network});
   AppendColumn("@&!*@*@(msg.netcfg.linux.netlist.type)Type", networkColumns.type,
                {GetBridged(), GetNat(), GetHostOnly()});
   AppendColumn("@&!*@*@(msg.netcfg.linux.netlist.externalConnection)External Connection",
                networkColumns.externalConnection,
                {GetAutoBridging(), GetNatConnection(), GetNone()});
   AppendColumn("@&!*@*@(msg.netcfg.linux.netlist.hostConnection)Host Connection",
                networkColumns.hostConnection, {network, GetNone()});
   AppendColumn("@&!*@*@(msg.netcfg.linux.netlist.dhcp)DHCP", networkColumns.dhcp,
                {GetYes(), GetNo()});
   AppendColumn("@&!*@*@(msg.netcfg.linux.netlist.subnetAddr)Subnet IP Address",
                networkColumns.subnetAddr, {WIDEST_ADDRESS, GetAutoDetect()});
   if (cui::GetFeatures().mtu) {
      AppendColumn("@&!*@*@(msg.netcfg.linux.netlist.mtu)MTU", networkColumns.mtu,
                   {cui::Format("%d", MAX_MTU)});
   }
   fitted.Finish();
}

void Editor::AppendColumn(char const* title, Gtk::TreeModelColumn<Glib::ustring> const& column,
                          std::vector<utf::string> const& texts)
{
   Gtk::CellRendererText& renderer = *Gtk::manage(new Gtk::CellRendererText);
   Gtk::TreeViewColumn& viewColumn =
      *Gtk::manage(new Gtk::TreeViewColumn(cui::GetLocalString(title)));
   viewColumn.set_expand(false);
   viewColumn.pack_start(renderer, true);
   viewColumn.add_attribute(renderer.property_text(), column);
   KeepLeftToRight(viewColumn);
   fitted.Append(viewColumn, texts);
}

Gtk::Widget& Editor::BuildListButtons()
{
   Gtk::HBox& box = *Gtk::manage(new Gtk::HBox(false, SPACING));
   box.pack_start(addButton, Gtk::PACK_SHRINK);
   box.pack_start(removeButton, Gtk::PACK_SHRINK);
   addButton.show();
   removeButton.show();
   box.show();
   return box;
}

Gtk::Widget& Editor::BuildDetails()
{
   Gtk::VBox& box = *Gtk::manage(new Gtk::VBox(false, BLOCK_SPACING));
   box.pack_start(BuildTypes(), Gtk::PACK_SHRINK);
   BuildHostSettings();
   box.pack_start(hostSettingsBox, Gtk::PACK_EXPAND_WIDGET);
   box.show();
   return box;
}

Gtk::Widget& Editor::BuildTypes()
{
   Gtk::VBox& box = *Gtk::manage(new Gtk::VBox(false, SPACING));
   Gtk::RadioButtonGroup group;
   lui::Utils::BuildRadioButton(
      bridgedRadio, group, box,
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.dialog.bridged)"
                          "_Bridged (connect VMs directly to the external network)"),
      &BuildBridgeBox(), Gtk::PACK_SHRINK);
   box.pack_start(BuildNatBox(group), Gtk::PACK_SHRINK);
   lui::Utils::BuildRadioButton(
      hostOnlyRadio, group, box,
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.dialog.hostonly)"
                          "Host-_only (connect VMs internally in a private network)"),
      "", Gtk::PACK_SHRINK);
   box.show();
   return box;
}

Gtk::Widget& Editor::BuildBridgeBox()
{
   Gtk::HBox& box = *Gtk::manage(new Gtk::HBox(false, SPACING));
   box.pack_start(MakeMnemonicLabel(
                     cui::GetLocalString("@&!*@*@(msg.netcfg.linux.dialog.bridgedTo)Bridged _to:"),
                     bridgeCombo),
                  Gtk::PACK_SHRINK);
   for (auto const& column : {bridgeColumns.name, bridgeColumns.note}) {
      Gtk::CellRendererText& renderer = *Gtk::manage(new Gtk::CellRendererText);
      bridgeCombo.pack_start(renderer, false);
      bridgeCombo.add_attribute(renderer.property_text(), column);
      bridgeCombo.add_attribute(renderer.property_sensitive(), bridgeColumns.enabled);
   }
   // Listing the adapters anew must not take the keyboard away for a moment without any.
   bridgeCombo.set_button_sensitivity(Gtk::SENSITIVITY_ON);
   box.pack_start(bridgeCombo, Gtk::PACK_EXPAND_WIDGET);
   box.pack_start(autoBridgeButton, Gtk::PACK_SHRINK);
   bridgeCombo.show();
   autoBridgeButton.show();
   box.show();
   return box;
}

Gtk::Widget& Editor::BuildNatBox(Gtk::RadioButtonGroup& group)
{
   Gtk::HBox& box = *Gtk::manage(new Gtk::HBox(false, SPACING));
   lui::Utils::BuildRadioButton(natRadio, group, box,
                                cui::GetLocalString("@&!*@*@(msg.netcfg.linux.dialog.nat)"
                                                    "_NAT (share host's IP address with VMs)"),
                                "", Gtk::PACK_SHRINK);
   box.pack_end(natButton, Gtk::PACK_SHRINK);
   natButton.show();
   box.show();
   return box;
}

void Editor::BuildHostSettings()
{
   lui::Utils::BuildCheckButton(
      dhcpCheck, hostSettingsBox,
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.dialog.dhcp)"
                          "Use local _DHCP service to distribute IP addresses to VMs"),
      "", Gtk::PACK_SHRINK, false, "");
   lui::Utils::BuildCheckButton(
      adapterCheck, hostSettingsBox,
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.dialog.blankHostAdapter)"
                          "Connect a host _virtual adapter to this network"),
      "", Gtk::PACK_SHRINK, false, "");
   auto const labels = Gtk::SizeGroup::create(Gtk::SIZE_GROUP_HORIZONTAL);
   hostSettingsBox.pack_start(BuildSubnetGrid(labels), Gtk::PACK_EXPAND_WIDGET);
   if (cui::GetFeatures().mtu) {
      hostSettingsBox.pack_start(BuildMtuGrid(labels), Gtk::PACK_EXPAND_WIDGET);
   }
   hostSettingsBox.show();
}

Gtk::Widget& Editor::BuildSubnetGrid(Glib::RefPtr<Gtk::SizeGroup> const& labels)
{
   Gtk::Grid& grid = *Gtk::manage(new Gtk::Grid);
   grid.set_column_spacing(SPACING);
   grid.set_row_spacing(0);
   Gtk::Label& label = MakeMnemonicLabel(
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.dialog.subnet)Subnet _IP:"), subnetEntry);
   label.set_xalign(0.0F);
   labels->add_widget(label);
   subnetEntry.get_accessible()->set_description(label.get_text());
   Gtk::Widget& addresses = BuildAddressBox();
   lui::IconLabelBox& hint = *Gtk::manage(new lui::IconLabelBox(
      Gtk::Stock::DIALOG_INFO,
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.dialog.mask.leaveBlank)"
                          "Leave blank to automatically select an unused subnet IP.")));
   hint.set_margin_top(HINT_SPACING);
   hint.show();
   hint.Describe(subnetEntry);
   // The grid of the MTU keeps more room between its columns; the entries stand in one line.
   for (Gtk::Widget* const widget : std::initializer_list<Gtk::Widget*>{&addresses, &hint}) {
      widget->set_margin_start(COLUMN_SPACING - SPACING);
   }
   grid.attach(label, 0, 0, 1, 1);
   grid.attach(addresses, 1, 0, 1, 1);
   grid.attach(hint, 1, 1, 1, 1);
   grid.show();
   return grid;
}

Gtk::Widget& Editor::BuildAddressBox()
{
   Gtk::HBox& box = *Gtk::manage(new Gtk::HBox(false, SPACING));
   Gtk::Label& label = *Gtk::manage(
      new Gtk::Label(cui::GetLocalString("@&!*@*@(msg.netcfg.linux.dialog.mask)Subnet mask:")));
   lui::Utils::SetLabelledBy(maskEntry, label);
   box.pack_start(subnetEntry, Gtk::PACK_SHRINK);
   box.pack_start(label, Gtk::PACK_SHRINK);
   box.pack_start(maskEntry, Gtk::PACK_SHRINK);
   subnetEntry.show();
   label.show();
   maskEntry.show();
   box.show();
   return box;
}

Gtk::Widget& Editor::BuildMtuGrid(Glib::RefPtr<Gtk::SizeGroup> const& labels)
{
   Gtk::Grid& grid = *Gtk::manage(new Gtk::Grid);
   grid.set_column_spacing(COLUMN_SPACING);
   grid.set_row_spacing(SPACING);
   Gtk::Label& label = *Gtk::manage(new Gtk::Label);
   label.set_markup(cui::GetLocalString("@&!*@*@(msg.netcfg.linux.dialog.mtu)"
                                        "MTU <span foreground=\"red\">*</span>:"));
   label.set_halign(Gtk::ALIGN_START);
   label.set_xalign(0.0F);
   label.set_use_underline(true);
   label.set_mnemonic_widget(mtuEntry);
   label.show();
   labels->add_widget(label);
   mtuEntry.set_width_chars(MTU_DIGITS);
   mtuEntry.set_max_length(MTU_DIGITS);
   utf::string const description = cui::GetLocalString(
      "@&!*@*@(msg.netcfg.linux.dialog.mtu.description)MTU value must be between %d and %d");
   mtuEntry.get_accessible()->set_description(cui::Format(description.c_str(), MIN_MTU, MAX_MTU));
   grid.attach(label, 0, 0, 1, 1);
   grid.attach(mtuEntry, 1, 0, 1, 1);
   mtuEntry.show();
   grid.show();
   return grid;
}

} // namespace netcfg
