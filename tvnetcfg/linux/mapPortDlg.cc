// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/linux/mapPortDlg.hh"

#include "base/panic.h"
#include "cui/localString.hh"
#include "lui/toggleButtons.hh"
#include "tvnetcfg/linux/dlgParts.hh"

#include <algorithm>
#include <atkmm/object.h>

namespace netcfg {

namespace {

constexpr int SPACING = 18;
constexpr double HIGHEST_PORT = 65535;

enum Choice { SAVE = 0, CANCEL = 1, HELP = 2 };

// The text of underlined labels marks the mnemonic of field.
void AddRow(Gtk::Grid& form, int row, Gtk::Label& label, Gtk::Widget& field)
{
   label.set_halign(Gtk::ALIGN_START);
   form.attach(label, 0, row, 1, 1);
   form.attach(field, 1, row, 1, 1);
   field.show();
}

void AddField(Gtk::Grid& form, int row, utf::string const& text, Gtk::Widget& field)
{
   AddRow(form, row, MakeLabel(text, 0.0F, 0.5F, field), field);
}

// Read alone, a protocol wouldn't tell what it is the protocol of.
void NameByGroup(Gtk::RadioButton& button, Glib::ustring const& group)
{
   auto const accessible = button.get_accessible();
   accessible->set_description(accessible->get_name());
   accessible->set_name(group);
}

} // namespace

MapPortDlg::MapPortDlg(std::vector<common::NAT::PortForwardEntry>* entries, int index)
   : ipEntry(lui::IPEntry::ADDRESS), entries(entries), index(index)
{
   set_title(cui::GetLocalString("@&!*@*@(msg.netcfg.linux.mapPortDlg.title)Map Incoming Port"));
   ConstructUI();
   SetButtons({cui::GetLocalString("@&!*@*@(msg.netcfg.linux.dialog.save)Save"),
               cui::GetLocalString("@&!*@*@(msg.netcfg.linux.dialog.cancel)Cancel"),
               cui::GetLocalString("@&!*@*@(button.netcfg.linux.mapPortDlg.help)Help")},
              CANCEL, SAVE);
   SetHelpTopic("IDH_TVNET_MAPPORT");
   replied.connect(sigc::mem_fun(*this, &MapPortDlg::OnReplied));
   hostPortSpin.grab_focus();
   if (index != -1) {
      LoadEntry();
   }
}

MapPortDlg::~MapPortDlg() = default;

void MapPortDlg::ConstructUI()
{
   SetUpSpin(hostPortSpin, 1, 1, HIGHEST_PORT);
   SetUpSpin(guestPortSpin, 1, 1, HIGHEST_PORT);
   Gtk::Grid& form = MakeForm();
   AddField(form, 0,
            cui::GetLocalString("@&!*@*@(msg.netcfg.linux.mapPortDlg.hostPort)_Host port:"),
            hostPortSpin);
   Gtk::Label& typeLabel =
      MakeLabel(cui::GetLocalString("@&!*@*@(msg.netcfg.linux.mapPortDlg.type)Type:"), 0.0F, 0.5F);
   AddRow(form, 1, typeLabel, BuildTypeRow(typeLabel));
   AddField(form, 2,
            cui::GetLocalString("@&!*@*@(msg.netcfg.linux.mapPortDlg.vmIPAddress)"
                                "Virtual machine IP _address:"),
            ipEntry);
   AddField(form, 3,
            cui::GetLocalString("@&!*@*@(msg.netcfg.linux.mapPortDlg.vmPort)"
                                "Virtual machine _port:"),
            guestPortSpin);
   AddField(form, 4,
            cui::GetLocalString("@&!*@*@(msg.netcfg.linux.mapPortDlg.description)_Description:"),
            descriptionEntry);
   Gtk::VBox& box = *Gtk::manage(new Gtk::VBox(false, SPACING));
   box.pack_start(form, Gtk::PACK_SHRINK);
   box.show();
   SetContent(box, DIALOG_BORDER);
}

Gtk::Widget& MapPortDlg::BuildTypeRow(Gtk::Label const& typeLabel)
{
   Gtk::HBox& row = *Gtk::manage(new Gtk::HBox(false, ROW_SPACING));
   Gtk::RadioButtonGroup group;
   lui::Utils::BuildRadioButton(tcpRadio, group, row,
                                cui::GetLocalString("@&!*@*@(msg.netcfg.linux.mapPortDlg.tcp)_TCP"),
                                "", Gtk::PACK_SHRINK);
   lui::Utils::BuildRadioButton(udpRadio, group, row,
                                cui::GetLocalString("@&!*@*@(msg.netcfg.linux.mapPortDlg.udp)_UDP"),
                                "", Gtk::PACK_SHRINK);
   NameByGroup(tcpRadio, typeLabel.get_text());
   NameByGroup(udpRadio, typeLabel.get_text());
   return row;
}

// Entries may have been removed since the dialog was opened.
bool MapPortDlg::IsInList() const
{
   return index >= 0 && static_cast<std::size_t>(index) < entries->size();
}

void MapPortDlg::LoadEntry()
{
   if (!IsInList()) {
      return;
   }
   common::NAT::PortForwardEntry const entry = (*entries)[static_cast<std::size_t>(index)];
   hostPortSpin.set_value(entry.hostPort);
   guestPortSpin.set_value(entry.vmPort);
   ipEntry.set_text(entry.ip);
   descriptionEntry.set_text(entry.description);
   (entry.tcp ? tcpRadio : udpRadio).set_active(true);
   // As in every entry that has the focus when its window comes up, typing replaces the text.
   hostPortSpin.select_region(0, -1);
}

common::NAT::PortForwardEntry MapPortDlg::ReadControls()
{
   // Numbers that were typed count from here on, also if the focus never left them.
   hostPortSpin.update();
   guestPortSpin.update();
   return {static_cast<std::uint16_t>(hostPortSpin.get_value_as_int()),
           static_cast<std::uint16_t>(guestPortSpin.get_value_as_int()), tcpRadio.get_active(),
           ipEntry.GetText(), descriptionEntry.get_text()};
}

bool MapPortDlg::ValidateEntry(common::NAT::PortForwardEntry& candidate)
{
   return std::find(entries->begin(), entries->end(), candidate) == entries->end();
}

bool MapPortDlg::SaveEntry()
{
   common::NAT::PortForwardEntry candidate = ReadControls();
   if (!ValidateEntry(candidate)) {
      return false;
   }
   // What was entered isn't lost with the entry that it was meant for.
   if (IsInList()) {
      (*entries)[static_cast<std::size_t>(index)] = candidate;
   } else {
      entries->push_back(candidate);
   }
   return true;
}

cui::Dlg::RepliedAction MapPortDlg::OnReplied()
{
   switch (GetChoice()) {
   case SAVE:
      return SaveEntry() ? CLOSE : KEEP_OPEN;
   case CANCEL:
      return CLOSE;
   case HELP:
      ShowHelp();
      return KEEP_OPEN;
   }
   NOT_IMPLEMENTED_AT("tvnetcfg/linux/mapPortDlg", 302);
}

} // namespace netcfg
