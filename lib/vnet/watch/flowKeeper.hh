// SPDX-License-Identifier: GPL-2.0-or-later
// Keeps guests' flows alive while our rules are away.
#pragma once

#include "vnet/host/ruleset.hh"

#include <memory>
#include <set>

namespace vnet::watch {

// Without any rule of NAT the kernel translates nothing, not even flows that exist, and the host's
// own stack answers for the guests and ends their connections. So when somebody flushes all rules,
// a few milliseconds would do. But a table that a process owns (NFT_TABLE_F_OWNER, Linux 5.12) is
// passed over by the flushes of others; this one keeps the translation, and holds back new flows
// that leave our networks untranslated, until the networks' own tables are back.
class FlowKeeper {
public:
   ~FlowKeeper() { End(); }

   // For the flows of these networks: makes the table, or puts right whom it is for; for none it
   // removes it, as the kernel tracks all connections of a host that has it. A failure is logged,
   // once, and it is tried again the next time. The table also goes with this process. In the
   // network namespace of the calling thread.
   void Keep(std::set<unsigned int> const& networks);
   // Removes it.
   void End();

private:
   std::unique_ptr<host::Ruleset> ruleset; // its socket owns the table
   std::set<unsigned int> kept;
   bool failed = false; // before, and told

   void Run(std::set<unsigned int> const& networks);
};

} // namespace vnet::watch
