// SPDX-License-Identifier: GPL-2.0-or-later
// The host as long as nothing runs networks on it: it can be read, and refuses what acts.
#include "vnet/interface/hostSide.hh"
#include "vnet/values/error.hh"

#include <unistd.h>

namespace vnet {

namespace {

[[noreturn]] void Refuse(char const* action, unsigned int index)
{
   throw Error(action, GetNetworkName(index), "Networks aren't run yet");
}

class IdleHost : public HostSide {
public:
   bool HasPrivilege() override { return geteuid() == 0; }
   std::vector<std::string> ListAdapters() override { return {}; }
   std::vector<Subnet> ListOccupied(unsigned int) override { return {}; }
   void EnableAdapter(Settings const&, unsigned int index) override
   {
      Refuse("enable the adapter of", index);
   }
   void DisableAdapter(Settings const&, unsigned int) override {}
   void UpdateDhcp(Settings const&, unsigned int) override {}
   void UpdateNat(Settings const&, unsigned int) override {}
   void StartService(Settings const&, unsigned int index, Service) override
   {
      Refuse("start a service of", index);
   }
   void StopService(Settings const&, unsigned int, Service) override {}
   void RemoveNetwork(Settings const&, unsigned int) override {}
   void Finish(Settings const&, bool) override {}
};

} // namespace

std::unique_ptr<HostSide> MakeHostSide()
{
   return std::make_unique<IdleHost>();
}

} // namespace vnet
