// SPDX-License-Identifier: GPL-2.0-or-later
// How the dialog is built, from top to bottom.
#include "cui/localString.hh"
#include "lui/checkBox.hh"
#include "lui/relations.hh"
#include "lui/toggleButtons.hh"
#include "tvnetcfg/linux/dlgParts.hh"
#include "tvnetcfg/linux/natSettingsDlg.hh"

#include <gtkmm/scrolledwindow.h>
#include <gtkmm/stock.h>

namespace netcfg {

using common::NAT;

namespace {

constexpr int SPACING = 18;
constexpr int TABLE_WIDTH = 450;
// Some rows below the header, in half lines of text.
constexpr int LEAST_TABLE_HEIGHT = 13;
constexpr int BUTTON_GAP = 6;
// Themes have about this much around a title.
constexpr int TITLE_PADDING = 14;
char const WIDEST_PORT[] = "65535";
// Longer ones scroll.
char const SOME_DESCRIPTION[] = "one to three words";
constexpr double LONGEST_UDP_TIMEOUT = 32767;
constexpr double HIGHEST_PORT = 65535;

void AddRow(Gtk::Grid& form, int row, Gtk::Label& label, Gtk::Widget& field)
{
   form.attach(label, 0, row, 1, 1);
   form.attach(field, 1, row, 1, 1);
   field.show();
}

void AddField(Gtk::Grid& form, int row, utf::string const& text, Gtk::Widget& field)
{
   AddRow(form, row, MakeLabel(text, 0.0F, 0.5F, field), field);
}

void AddFact(Gtk::Grid& form, int row, utf::string const& text, Gtk::Label& value)
{
   value.set_xalign(0.0F);
   value.set_yalign(0.5F);
   Gtk::Label& label = MakeLabel(text, 0.0F, 0.5F);
   lui::Utils::SetLabelledBy(value, label);
   AddRow(form, row, label, value);
}

// What the view itself doesn't know before it is on the screen.
int GetTitlesWidth(Gtk::TreeView& view)
{
   int width = 0;
   for (Gtk::TreeViewColumn* const column : view.get_columns()) {
      int least = 0;
      int natural = 0;
      column->get_widget()->get_preferred_width(least, natural);
      width += least + TITLE_PADDING;
   }
   return width;
}

// Room for whatever the warning may say, at any width and text size.
void AddRoomForWarnings(Gtk::Grid& form, int row)
{
   for (auto const error : {NAT::PrefixV6NotV6, NAT::PrefixV6BadFormat, NAT::PrefixV6BadSubnet,
                            NAT::PrefixV6Invalid}) {
      auto& room = *Gtk::manage(
         new lui::IconLabelBox(Gtk::Stock::DIALOG_WARNING, NAT::GetIPv6PrefixErrorMessage(error)));
      room.show();
      room.set_child_visible(false);
      form.attach(room, 1, row, 1, 1);
   }
}

lui::CheckBox& AddCheck(Gtk::Box& box, Gtk::CheckButton& button, utf::string const& text)
{
   return *lui::Utils::BuildCheckButton(button, box, text, "", Gtk::PACK_SHRINK, false, "");
}

} // namespace

NatSettingsDlg::Columns::Columns()
{
   add(index);
   add(isTCP);
   add(hostPort);
   add(guestPort);
   add(guestIP);
   add(description);
}

void NatSettingsDlg::ConstructUI()
{
   Gtk::VBox& box = *Gtk::manage(new Gtk::VBox(false, SPACING));
   box.pack_start(BuildFacts(), Gtk::PACK_SHRINK);
   BuildPortForwards();
   box.pack_start(portForwardFrame, Gtk::PACK_EXPAND_WIDGET);
   BuildAdvanced();
   box.pack_start(advancedFrame, Gtk::PACK_SHRINK);
   box.show();
   SetContent(box, DIALOG_BORDER);
}

Gtk::Widget& NatSettingsDlg::BuildFacts()
{
   Gtk::Grid& form = MakeForm();
   AddFact(form, 0, cui::GetLocalString("@&!*@*@(msg.netcfg.linux.natSettings.network)Network:"),
           networkLabel);
   AddFact(form, 1, cui::GetLocalString("@&!*@*@(msg.netcfg.linux.natSettings.subnetIP)Subnet IP:"),
           subnetIPLabel);
   AddFact(form, 2,
           cui::GetLocalString("@&!*@*@(msg.netcfg.linux.natSettings.subnetMask)Subnet mask:"),
           subnetMaskLabel);
   AddField(form, 3,
            cui::GetLocalString("@&!*@*@(msg.netcfg.linux.natSettings.gatewayIP)Gateway IP:"),
            gatewayEntry);
   return form;
}

void NatSettingsDlg::BuildPortForwards()
{
   portForwardFrame.SetTitle(
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.natSettings.portForwarding)Port _Forwarding"));
   portForwardFrame.SetMnemonicWidget(view);
   Gtk::ScrolledWindow& scroller = *Gtk::manage(new Gtk::ScrolledWindow);
   scroller.set_policy(Gtk::POLICY_AUTOMATIC, Gtk::POLICY_AUTOMATIC);
   scroller.set_shadow_type(Gtk::SHADOW_IN);
   scroller.set_can_focus(false);
   scroller.set_size_request(TABLE_WIDTH, -1);
   scroller.set_min_content_height(LEAST_TABLE_HEIGHT * GetLineHeight(view) / 2);
   store->set_sort_column(columns.index, Gtk::SORT_ASCENDING);
   view.set_rules_hint(true);
   view.set_headers_visible(true);
   BuildTableColumns();
   scroller.set_min_content_width(GetTitlesWidth(view));
   scroller.add(view);
   portForwardFrame.Add(scroller);
   portForwardFrame.pack_start(BuildTableButtons(), Gtk::PACK_SHRINK);
   view.show();
   scroller.show();
   portForwardFrame.show();
}

void NatSettingsDlg::BuildTableColumns()
{
   view.append_column_numeric(
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.natSettings.hostPort)Host Port"),
      columns.hostPort, "%d");
   view.append_column_numeric(
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.natSettings.guestPort)Guest Port"),
      columns.guestPort, "%d");
   Gtk::TreeViewColumn& type = *Gtk::manage(new Gtk::TreeViewColumn(
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.natSettings.portType)Port Type")));
   type.pack_start(portTypeRenderer, true);
   type.set_cell_data_func(portTypeRenderer,
                           sigc::mem_fun(*this, &NatSettingsDlg::PortTypeCellDataFunc));
   type.set_expand(false);
   view.append_column(type);
   view.append_column(cui::GetLocalString("@&!*@*@(msg.netcfg.linux.natSettings.guestIPAddress)"
                                          "Virtual Machine IP Address"),
                      columns.guestIP);
   view.append_column(
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.natSettings.description)Description"),
      columns.description);
   KeepLeftToRight(*view.get_column(3));
   view.get_column(3)->set_expand(false);
   view.get_column(4)->set_expand(false);
   FitColumn(view, *view.get_column(0), {WIDEST_PORT});
   FitColumn(view, *view.get_column(1), {WIDEST_PORT});
   FitColumn(view, type, {GetTCP(), GetUDP()});
   FitColumn(view, *view.get_column(3), {WIDEST_ADDRESS});
   FitColumn(view, *view.get_column(4), {SOME_DESCRIPTION});
}

// At the end of the row, behind an empty box that takes the rest of it.
Gtk::Widget& NatSettingsDlg::BuildTableButtons()
{
   Gtk::HBox& row = *Gtk::manage(new Gtk::HBox(false, 0));
   Gtk::HBox& filler = *Gtk::manage(new Gtk::HBox);
   row.pack_start(filler, Gtk::PACK_EXPAND_WIDGET);
   filler.show();
   for (Gtk::Button* const button : {&editButton, &addButton, &removeButton}) {
      row.pack_start(*button, Gtk::PACK_SHRINK);
      button->set_margin_start(BUTTON_GAP);
      button->show();
   }
   row.show();
   return row;
}

void NatSettingsDlg::BuildAdvanced()
{
   advancedFrame.SetTitle(
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.natSettings.advanced)Advanced"));
   Gtk::VBox& box = *Gtk::manage(new Gtk::VBox(false, ROW_SPACING));
   BuildProtocolChecks(box);
   box.pack_start(BuildNumbers(), Gtk::PACK_EXPAND_WIDGET);
   BuildIPv6(box);
   advancedFrame.Add(box);
   box.show();
   advancedFrame.show();
}

void NatSettingsDlg::BuildProtocolChecks(Gtk::Box& box)
{
   AddCheck(
      box, activeFTPCheck,
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.natSettings.activeFTP)Allow active F_TP"));
   AddCheck(box, anyOUICheck,
            cui::GetLocalString("@&!*@*@(msg.netcfg.linux.natSettings.anyOUID)"
                                "Allow any _Organizationally Unique Identifier"));
}

Gtk::Widget& NatSettingsDlg::BuildNumbers()
{
   SetUpSpin(udpTimeoutSpin, 30, 0, LONGEST_UDP_TIMEOUT);
   SetUpSpin(configPortSpin, 0, 0, HIGHEST_PORT);
   Gtk::Grid& form = MakeForm();
   AddField(form, 0,
            cui::GetLocalString("@&!*@*@(msg.netcfg.linux.natSettings.udpTimeout)"
                                "_UDP timeout (in seconds):"),
            udpTimeoutSpin);
   AddField(form, 1,
            cui::GetLocalString("@&!*@*@(msg.netcfg.linux.natSettings.configPort)_Config Port:"),
            configPortSpin);
   return form;
}

// The warning isn't shown before there is one. Its room is kept free: it comes up when the focus
// goes where the user clicks, which mustn't move away below the pointer.
void NatSettingsDlg::BuildIPv6(Gtk::Box& box)
{
   lui::CheckBox& check = AddCheck(
      box, enableIPv6Check,
      cui::GetLocalString("@&!*@*@(msg.netcfg.linux.natSettings.enableIPv6)_Enable IPv6 NAT"));
   Gtk::Grid& form = MakeForm();
   AddField(form, 0,
            cui::GetLocalString("@&!*@*@(msg.netcfg.linux.natSettings.IPv6Prefix)IPv_6 Prefix:"),
            prefixEntry);
   // The warning may widen its column, and the entry isn't to jump then.
   prefixEntry.set_hexpand(true);
   prefixWarning.SetMarkup("\n");
   prefixWarning.SetStockId(Gtk::Stock::DIALOG_WARNING);
   prefixWarning.Describe(prefixEntry);
   AddRoomForWarnings(form, 1);
   form.attach(prefixWarning, 1, 1, 1, 1);
   check.AddChild(form, nullptr);
}

} // namespace netcfg
