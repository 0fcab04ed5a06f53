// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/watch/flowKeeper.hh"

#include "base/log.h"
#include "vnet/values/error.hh"
#include "vnet/values/settings.hh"

#include <utility>

namespace vnet::watch {

namespace {

constexpr auto table = "tavrin-keeper";

// Chains without a statement that translates aren't enough for the kernel to see to it. The last
// chain gets what no other has translated, and only the first packet of it; what leaves one of our
// networks like that is an answer by a port forward, or is held.
constexpr auto rules = R"(table inet tavrin-keeper {
   flags owner;
   set networks {
      type ifname
   }
   chain translate-in {
      type nat hook prerouting priority dstnat; policy accept;
   }
   chain translate-out {
      type nat hook postrouting priority srcnat; policy accept;
      oifname "tavrin-nowhere" masquerade
   }
   chain hold {
      type nat hook postrouting priority srcnat + 1000; policy accept;
      ct state new iifname @networks oifname != @networks ct status & (snat | dnat) == 0 drop
   }
}
)";

std::string MakeSet(std::set<unsigned int> const& networks)
{
   std::string text = "flush set inet tavrin-keeper networks\n";
   for (unsigned int const index : networks) {
      text += "add element inet tavrin-keeper networks { \"" + GetNetworkName(index) + "\" }\n";
   }
   return text;
}

} // namespace

void FlowKeeper::Keep(std::set<unsigned int> const& networks)
{
   if (networks.empty()) {
      End();
      return;
   }
   if (ruleset && kept == networks) {
      return;
   }
   try {
      Run(networks);
   } catch (Error const& error) {
      // The table, if there is one, goes with its socket.
      ruleset.reset();
      if (!std::exchange(failed, true)) {
         LogV(LOG_SEVERITY_FAILURE, "%s: flows may be cut when somebody flushes all rules\n",
              error.what());
      }
   }
}

void FlowKeeper::Run(std::set<unsigned int> const& networks)
{
   std::string text;
   if (!ruleset) {
      ruleset = std::make_unique<host::Ruleset>();
      text = rules;
   }
   ruleset->Run(text + MakeSet(networks), table);
   kept = networks;
}

void FlowKeeper::End()
{
   auto const owner = std::move(ruleset);
   if (!owner) {
      return;
   }
   try {
      owner->Delete("inet", table);
   } catch (Error const& error) {
      LogV(LOG_SEVERITY_FAILURE, "%s\n", error.what());
   }
}

} // namespace vnet::watch
