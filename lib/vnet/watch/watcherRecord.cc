// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/watch/watcherRecord.hh"

namespace vnet::watch {

std::optional<process::Identity> WatcherRecord::FindLiving() const
{
   auto const record = file.Read();
   auto const process = record ? process::FindProcess(record->identity.pid) : std::nullopt;
   if (!process || process->identity != record->identity) {
      return {};
   }
   return process->identity;
}

} // namespace vnet::watch
