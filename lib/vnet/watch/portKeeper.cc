// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/watch/portKeeper.hh"

#include "base/log.h"
#include "vnet/values/error.hh"

#include <string>

namespace vnet::watch {

namespace {

std::optional<host::PortHolder> TryHold(bool tcp, std::uint16_t number, bool isNew)
{
   std::string cause = "A service of this host uses it; it can't be reached while it is forwarded";
   try {
      if (auto holder = host::PortHolder::Hold(tcp, number)) {
         return holder;
      }
   } catch (Error const& error) {
      cause = error.what();
   }
   if (isNew) {
      LogV(LOG_SEVERITY_WARNING, "hold %s port %u: %s\n", tcp ? "TCP" : "UDP", unsigned{number},
           cause.c_str());
   }
   return {};
}

} // namespace

void PortKeeper::Keep(std::set<services::WantedForward> const& forwards)
{
   std::set<Port> wanted;
   for (auto const& forward : forwards) {
      wanted.emplace(forward.tcp, forward.hostPort);
   }
   std::erase_if(ports, [&](auto const& entry) { return !wanted.contains(entry.first); });
   for (auto const& port : wanted) {
      auto const [entry, isNew] = ports.try_emplace(port);
      if (!entry->second) {
         entry->second = TryHold(port.first, port.second, isNew);
      }
   }
}

} // namespace vnet::watch
