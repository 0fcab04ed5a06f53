// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/rules.hh"

#include "vnet/engine/host.hh"
#include "vnet/engine/notes.hh"
#include "vnet/services/wanted.hh"

namespace vnet::engine {

namespace {

constexpr auto family = "inet";

} // namespace

bool Rules::Run(unsigned int index, std::string const& text, Notes const& notes)
{
   auto const table = services::GetTableName(index);
   auto const noted = notes.ReadRules();
   Known const now{text, host.view.GetTableGeneration(table), noted};
   if (auto const found = known.find(index); found != known.end() && found->second == now) {
      return true;
   }
   // What was never applied isn't listed in vain.
   if (!noted.IsOf(text) || noted != Notes::Rules::Of(text, host.ruleset.List(family, table))) {
      return false;
   }
   known[index] = now;
   return true;
}

bool Rules::Apply(unsigned int index, std::string const& text, Notes const& notes)
{
   if (Run(index, text, notes)) {
      return false;
   }
   auto const table = services::GetTableName(index);
   known.erase(index);
   host.ruleset.RunFor(family, table, text);
   host.view.Refresh();
   auto const generation = host.view.GetTableGeneration(table);
   auto const listing = host.ruleset.List(family, table);
   host.view.Refresh();
   // What somebody else made of them in between isn't noted as ours: the next comparison sees it.
   if (!listing.empty() && generation == host.view.GetTableGeneration(table)) {
      auto const note = Notes::Rules::Of(text, listing);
      notes.WriteRules(note);
      known[index] = {text, generation, note};
   }
   return true;
}

void Rules::Remove(unsigned int index)
{
   known.erase(index);
   auto const table = services::GetTableName(index);
   if (host.ruleset.HasTable(family, table)) {
      host.ruleset.Run(services::GetRemovalRuleset(index), table);
   }
}

} // namespace vnet::engine
