// SPDX-License-Identifier: GPL-2.0-or-later
// The list of networks, and which one is selected.
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/linux/addNetworkDlg.hh"
#include "tvnetcfg/linux/autoBridgeDlg.hh"
#include "tvnetcfg/linux/editor.hh"
#include "tvnetcfg/linux/natSettingsDlg.hh"

#include <iterator>

namespace netcfg {

using common::Network;

namespace {

using Networks = std::map<unsigned int, Network*>;

bool IsHosted(Network const& network)
{
   return network.GetType() != Network::Bridged;
}

// With the first after the last, since that one is shown next.
bool IsAmongHosted(Networks const& networks, Networks::const_iterator network)
{
   auto const next = std::next(network) == networks.end() ? networks.begin() : std::next(network);
   auto const previous = std::prev(network == networks.begin() ? networks.end() : network);
   return IsHosted(*previous->second) && IsHosted(*network->second) && IsHosted(*next->second);
}

} // namespace

// Each network is shown once in turn, which fills its row, and what the entries make of its texts
// is taken as each is left. The window isn't drawn up for one between two others that have the same
// controls: it would leave nothing behind. Nor need the view measure all rows for each of them. One
// alone stays shown and is left only later, by the user.
void Editor::LoadFromEditable()
{
   Networks const networks = editable->GetNetworks();
   if (networks.size() < 2) {
      for (auto const& [index, network] : networks) {
         AddNetworkToList(network);
      }
      return;
   }
   networkView.unset_model();
   for (auto network = networks.begin(); network != networks.end(); ++network) {
      Gtk::TreeModel::iterator const row = AppendRow(*network->second);
      if (IsAmongHosted(networks, network)) {
         TakeAsShown(*network->second);
         FillHostedRow(*row, *network->second);
      } else {
         ShowRow(row);
      }
   }
   networkView.set_model(networkStore);
}

// Selecting the row fills it.
void Editor::AddNetworkToList(Network* network)
{
   SelectRow(AppendRow(*network));
}

Gtk::TreeModel::iterator Editor::AppendRow(Network const& network)
{
   Gtk::TreeModel::iterator const row = networkStore->append();
   (*row)[networkColumns.index] = network.GetIndex();
   (*row)[networkColumns.name] = Network::NetToString(network.GetIndex());
   rows[static_cast<int>(network.GetIndex())] = row;
   return row;
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
   rows.erase(static_cast<int>(index));
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

void Editor::TakeAsShown(Network& network) const
{
   network.SetSubnetAddr(lui::IPEntry::GetAsShown(network.GetSubnetAddr()));
   network.SetSubnetMask(lui::IPEntry::GetAsShown(network.GetSubnetMask()));
   // An entry without a length of its own takes every text.
   if (auto const longest = static_cast<std::size_t>(mtuEntry.get_max_length())) {
      network.SetMTU(Glib::ustring(network.GetMTU()).substr(0, longest));
   }
}

void Editor::OnSelectionChanged()
{
   ShowRow(networkView.get_selection()->get_selected());
}

void Editor::ShowRow(Gtk::TreeModel::iterator const& row)
{
   CommitEntries();
   networkConnection.disconnect();

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
   auto const found = rows.find(index);
   return found == rows.end() ? Gtk::TreeModel::iterator() : found->second;
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
