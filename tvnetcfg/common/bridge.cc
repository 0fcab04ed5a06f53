// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/bridge.hh"

#include "cui/format.hh"
#include "cui/localString.hh"
#include "tvnetcfg/common/editable.hh"

namespace netcfg::common {

namespace {

// message says "... %s. %s is already bridged to it."
utf::string AlreadyBridged(utf::string const& message, utf::string const& adapter,
                           Network const& owner)
{
   return cui::Format(message.c_str(), adapter.c_str(),
                      Network::NetToString(owner.GetIndex()).c_str());
}

} // namespace

Bridge::Bridge(Editable* editable, Network* network, bool initialize)
   : editable(editable), network(network)
{
   if (initialize) {
      TakeInitialAdapters();
   }
   // Connected last: what the construction does is no change of the network.
   changed.connect(network->changed.make_slot());
}

Bridge::~Bridge()
{
   Cleanup();
   if (editable->GetAutoBridgeNetwork() == network) {
      editable->SetAutoBridgeNetwork(nullptr);
   }
}

void Bridge::SetAuto(bool adoptUnused, OnDone onDone)
{
   if (isAuto) {
      return;
   }
   if (network->GetIndex() != 0) {
      Refuse(onDone, cui::GetLocalString("@&!*@*@(msg.netcfg.common.bridge.setAuto.nottvnet0)"
                                         "Automatic bridging can only be enabled on tvnet0."));
      return;
   }
   isAuto = true;
   editable->SetAutoBridgeNetwork(network);
   if (adoptUnused) {
      TakeUnusedAdapters();
   }
   changed.emit();
}

void Bridge::AddAutoAdapter(utf::string const& adapter, OnDone onDone)
{
   Network* const owner = editable->GetNetworkForAdapter(adapter);
   if (owner == network) {
      return;
   }
   if (owner) {
      utf::string const message = cui::GetLocalString(
         "@&!*@*@(msg.netcfg.common.bridge.addAutoAdapter.alreadyBridged)"
         "Cannot automatically bridge to host adapter %s. %s is already bridged to it.");
      Refuse(onDone, AlreadyBridged(message, adapter, *owner));
      return;
   }
   Take(adapter);
   changed.emit();
}

void Bridge::RemoveAutoAdapter(utf::string const& adapter)
{
   if (editable->GetNetworkForAdapter(adapter) != network) {
      return;
   }
   editable->MoveHostAdapter(adapter, nullptr);
   adapters.erase(adapter);
   changed.emit();
}

void Bridge::SetAdapter(utf::string const& adapter, OnDone onDone)
{
   Network* const owner = editable->GetNetworkForAdapter(adapter);
   if (owner == network && !isAuto) {
      return;
   }
   if (owner && owner != network) {
      utf::string const message =
         cui::GetLocalString("@&!*@*@(msg.netcfg.common.bridge.setAdapter.alreadyBridged)"
                             "Cannot bridge to host adapter %s. %s is already bridged to it.");
      Refuse(onDone, AlreadyBridged(message, adapter, *owner));
      return;
   }
   Cleanup();
   isAuto = false;
   if (editable->GetAutoBridgeNetwork() == network) {
      editable->SetAutoBridgeNetwork(nullptr);
   }
   Take(adapter);
   changed.emit();
}

utf::string Bridge::GetAdapter() const
{
   return adapters.empty() ? utf::string() : *adapters.begin();
}

void Bridge::Cleanup()
{
   for (utf::string const& adapter : adapters) {
      editable->MoveHostAdapter(adapter, nullptr);
   }
   adapters.clear();
}

void Bridge::TakeInitialAdapters()
{
   if (network->GetIndex() == 0 && !editable->GetAutoBridgeNetwork()) {
      SetAuto(true, OnDone());
   } else {
      SetAdapter(editable->GetUnusedHostAdapter(), OnDone());
   }
}

void Bridge::TakeUnusedAdapters()
{
   for (auto const& [adapter, user] : editable->GetHostAdapters()) {
      if (!user) {
         Take(adapter);
      }
   }
}

void Bridge::Take(utf::string const& adapter)
{
   editable->MoveHostAdapter(adapter, network);
   // The model refuses a name that it doesn't know, and the set keeps in step with its table.
   if (editable->GetNetworkForAdapter(adapter) == network) {
      adapters.insert(adapter);
   }
}

} // namespace netcfg::common
