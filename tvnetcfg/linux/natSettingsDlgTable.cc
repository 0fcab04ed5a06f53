// SPDX-License-Identifier: GPL-2.0-or-later
// The table of port forwards: a picture of the dialog's working list.
#include "cui/localString.hh"
#include "tvnetcfg/linux/mapPortDlg.hh"
#include "tvnetcfg/linux/natSettingsDlg.hh"

#include <iterator>

namespace netcfg {

namespace {

template <typename Type>
Glib::Value<Type> MakeValue(Type const& content)
{
   Glib::Value<Type> value;
   value.init(Glib::Value<Type>::value_type());
   value.set(content);
   return value;
}

} // namespace

// The table shows the same place of the list afterwards, if there still is one.
void NatSettingsDlg::LoadPortForwardList()
{
   Gtk::TreePath first;
   Gtk::TreePath last;
   bool const isShown = view.get_visible_range(first, last);
   store->clear();
   int position = 0;
   for (common::NAT::PortForwardEntry const& entry : portForwards) {
      AddPortForwardEntry(entry, position++, false);
   }
   if (isShown && store->get_iter(first)) {
      view.scroll_to_row(first, 0.0F);
   }
}

// The row comes with its values: the view would take up each of them by itself, and there may be
// thousands of rows.
void NatSettingsDlg::AddPortForwardEntry(common::NAT::PortForwardEntry const& entry, int index,
                                         bool select)
{
   auto const position = MakeValue(static_cast<unsigned int>(index));
   auto const isTCP = MakeValue(entry.tcp);
   auto const hostPort = MakeValue<unsigned short>(entry.hostPort);
   auto const guestPort = MakeValue<unsigned short>(entry.vmPort);
   auto const guestIP = MakeValue<Glib::ustring>(entry.ip);
   auto const description = MakeValue<Glib::ustring>(entry.description);
   int where[] = {columns.index.index(),     columns.isTCP.index(),   columns.hostPort.index(),
                  columns.guestPort.index(), columns.guestIP.index(), columns.description.index()};
   GValue values[] = {*position.gobj(),  *isTCP.gobj(),   *hostPort.gobj(),
                      *guestPort.gobj(), *guestIP.gobj(), *description.gobj()};
   GtkTreeIter row;
   gtk_list_store_insert_with_valuesv(store->gobj(), &row, -1, where, values, std::size(values));
   if (select) {
      gtk_tree_selection_select_iter(view.get_selection()->gobj(), &row);
   }
}

void NatSettingsDlg::RemovePortForwardEntry(int index)
{
   if (index < 0) {
      return;
   }
   Gtk::TreeModel::Children const rows = store->children();
   Gtk::TreeIter row = rows.begin();
   while (row != rows.end() && row->get_value(columns.index) != static_cast<unsigned int>(index)) {
      ++row;
   }
   if (row == rows.end()) {
      return;
   }
   if (view.get_selection()->is_selected(row)) {
      Gtk::TreeIter neighbour = row;
      ++neighbour;
      if (neighbour == rows.end() && row != rows.begin()) {
         neighbour = row;
         --neighbour;
      }
      SelectRow(neighbour);
   }
   store->erase(row);
}

// Nothing happens at the end of the rows.
void NatSettingsDlg::SelectRow(Gtk::TreeIter const& row)
{
   if (row == store->children().end()) {
      return;
   }
   view.get_selection()->select(row);
   selectedIndex = static_cast<int>(row->get_value(columns.index));
}

void NatSettingsDlg::OnSelectionChanged()
{
   Gtk::TreeIter const selected = view.get_selection()->get_selected();
   selectedIndex = selected ? static_cast<int>(selected->get_value(columns.index)) : -1;
   removeButton.set_sensitive(selectedIndex != -1);
   editButton.set_sensitive(selectedIndex != -1);
}

void NatSettingsDlg::OnAddPortForwardClicked()
{
   ShowMapPortDlg(-1);
   mapPortDlg->destroyed.connect(sigc::mem_fun(*this, &NatSettingsDlg::PortMapDlgDismissed));
}

// Without a selection this is a new entry.
void NatSettingsDlg::OnEditPortForwardClicked()
{
   ShowMapPortDlg(selectedIndex);
   mapPortDlg->destroyed.connect(sigc::mem_fun(*this, &NatSettingsDlg::LoadPortForwardList));
}

void NatSettingsDlg::OnRemovePortForwardClicked()
{
   if (selectedIndex == -1) {
      return;
   }
   portForwards.erase(portForwards.begin() + selectedIndex);
   LoadPortForwardList();
}

// One port dialog at a time: an open one goes, with what was entered in it.
void NatSettingsDlg::ShowMapPortDlg(int index)
{
   delete mapPortDlg.get();
   mapPortDlg = new MapPortDlg(&portForwards, index);
   GetDlgMgr()->AddManagedDlg(mapPortDlg.get());
}

void NatSettingsDlg::PortMapDlgDismissed()
{
   mapPortDlg = nullptr;
   LoadPortForwardList();
}

utf::string NatSettingsDlg::GetTCP()
{
   return cui::GetLocalString("@&!*@*@(msg.tvnetcfg.natDlg.tcp)TCP");
}

utf::string NatSettingsDlg::GetUDP()
{
   return cui::GetLocalString("@&!*@*@(msg.tvnetcfg.natDlg.udp)UDP");
}

void NatSettingsDlg::PortTypeCellDataFunc(Gtk::CellRenderer* renderer, Gtk::TreeIter const& row)
{
   utf::string const text = row->get_value(columns.isTCP) ? GetTCP() : GetUDP();
   renderer->set_property("text", static_cast<Glib::ustring const&>(text));
}

} // namespace netcfg
