// SPDX-License-Identifier: GPL-2.0-or-later
// The list of networks, and which one is selected.
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/linux/addNetworkDlg.hh"
#include "tvnetcfg/linux/autoBridgeDlg.hh"
#include "tvnetcfg/linux/editor.hh"
#include "tvnetcfg/linux/natSettingsDlg.hh"

namespace netcfg {

using common::Network;

void Editor::LoadFromEditable()
{
   std::map<unsigned int, Network*> const networks = editable->GetNetworks();
   for (auto const& [index, network] : networks) {
      AddNetworkToList(network);
   }
}

// Selecting the row fills it.
void Editor::AddNetworkToList(Network* network)
{
   Gtk::TreeModel::iterator const row = networkStore->append();
   (*row)[networkColumns.index] = network->GetIndex();
   (*row)[networkColumns.name] = Network::NetToString(network->GetIndex());
   SelectRow(row);
}

// The network is gone already, so that what stands in the entries is committed nowhere.
void Editor::OnNetworkRemoved(unsigned int index)
{
   if (index == 0) {
      CloseAutoBridgeDlg();
   }
   Gtk::TreeModel::iterator const row = FindRow(static_cast<int>(index));
   if (!row) {
      return;
   }
   if (networkView.get_selection()->is_selected(row)) {
      Gtk::TreeModel::iterator neighbour = row;
      if (++neighbour) {
         SelectRow(neighbour);
      } else if (row != networkStore->children().begin()) {
         neighbour = row;
         SelectRow(--neighbour);
      }
   }
   networkStore->erase(row);
}

// Each text that differs redraws the other entries from the model, before theirs was taken.
void Editor::CommitEntries()
{
   Glib::ustring const mask = maskEntry.GetIP();
   Glib::ustring const mtu = mtuEntry.get_text();
   OnSubnetLosesFocus();
   maskEntry.SetIP(mask);
   mtuEntry.set_text(mtu);
   OnSubnetMaskLosesFocus();
   mtuEntry.set_text(mtu);
   OnMtuLosesFocus();
}

void Editor::OnSelectionChanged()
{
   CommitEntries();
   networkConnection.disconnect();

   Gtk::TreeModel::iterator const row = networkView.get_selection()->get_selected();
   selectedIndex = row ? static_cast<int>((*row).get_value(networkColumns.index)) : -1;
   detailsFrame.set_sensitive(selectedIndex >= 0);
   removeButton.set_sensitive(selectedIndex >= 0);
   if (selectedIndex < 0) {
      detailsFrame.SetTitle("");
      return;
   }
   sigc::slot<void> const update = sigc::mem_fun(*this, &Editor::UpdateSelectedNetwork);
   if (Network* const network = GetSelectedNetwork()) {
      networkConnection = network->changed.connect(update);
   }
   update();
}

Gtk::TreeModel::iterator Editor::FindRow(int index) const
{
   Gtk::TreeModel::Children const rows = networkStore->children();
   for (Gtk::TreeModel::iterator row = rows.begin(); row; ++row) {
      if (static_cast<int>((*row).get_value(networkColumns.index)) == index) {
         return row;
      }
   }
   return Gtk::TreeModel::iterator();
}

void Editor::SelectRow(Gtk::TreeModel::iterator const& row)
{
   if (!row) {
      return;
   }
   networkView.get_selection()->select(row);
   networkView.set_cursor(networkStore->get_path(row));
}

Network* Editor::GetSelectedNetwork()
{
   return selectedIndex < 0 ? nullptr
                            : editable->GetNetwork(static_cast<unsigned int>(selectedIndex));
}

} // namespace netcfg
