// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/watch/watcherRecord.hh"

namespace vnet::watch {

std::optional<process::Identity> WatcherRecord::FindLiving() const
{
   auto const record = file.Read();
   auto const process = record ? process::FindProcess(record->identity.pid) : std::nullopt;
   // One that is dying has lost its arguments already, and does nothing any more.
   if (!process || process->identity != record->identity || process->arguments.empty()) {
      return {};
   }
   return process->identity;
}

} // namespace vnet::watch
