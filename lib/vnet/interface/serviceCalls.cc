// SPDX-License-Identifier: GPL-2.0-or-later
// The calls that act on the running host.
#include "vnet/interface/arguments.hh"
#include "vnet/interface/attempt.hh"
#include "vnet/interface/library.hh"

#include <stdexcept>

using namespace vnet;

namespace {

// Runs work(host, settings, index). Two processes that act at the same time, on what may be
// different settings, would undo each other's work, so this takes the lock.
template <class Work>
bool Act(char const* action, char const* name, Work work)
{
   return Attempt(action, name, [&] {
      auto const index = RequireIndex(name);
      auto const& settings = Library::Get().GetForWriting().GetSettings();
      work(Library::Get().GetHost(), settings, index);
   });
}

Service RequireService(std::uint32_t service)
{
   switch (service) {
   case VNL_SERVICE_BRIDGE:
      return Service::Bridge;
   case VNL_SERVICE_DHCP:
      return Service::Dhcp;
   case VNL_SERVICE_NAT:
      return Service::Nat;
   }
   throw std::runtime_error("There is no service " + std::to_string(service));
}

} // namespace

bool VNL_EnableNetworkAdapter(const char* name)
{
   return Act("enable the adapter of", name,
              [](HostSide& host, Settings const& settings, unsigned int index) {
                 host.EnableAdapter(settings, index);
              });
}

bool VNL_DisableNetworkAdapter(const char* name)
{
   return Act("disable the adapter of", name,
              [](HostSide& host, Settings const& settings, unsigned int index) {
                 host.DisableAdapter(settings, index);
              });
}

bool VNL_UpdateDHCPFromConfig(const char* name)
{
   return Act("update the DHCP service of", name,
              [](HostSide& host, Settings const& settings, unsigned int index) {
                 host.UpdateDhcp(settings, index);
              });
}

bool VNL_UpdateNATFromConfig(const char* name)
{
   return Act("update the NAT service of", name,
              [](HostSide& host, Settings const& settings, unsigned int index) {
                 host.UpdateNat(settings, index);
              });
}

bool VNL_StartService(const char* name, uint32_t service)
{
   return Act("start a service of", name,
              [service](HostSide& host, Settings const& settings, unsigned int index) {
                 host.StartService(settings, index, RequireService(service));
              });
}

bool VNL_StopService(const char* name, uint32_t service)
{
   return Act("stop a service of", name,
              [service](HostSide& host, Settings const& settings, unsigned int index) {
                 host.StopService(settings, index, RequireService(service));
              });
}
