// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/rules.hh"

#include "vnet/engine/host.hh"
#include "vnet/engine/notes.hh"
#include "vnet/services/wanted.hh"

#include <sstream>

namespace vnet::engine {

namespace {

constexpr auto family = "inet";

// The chains of a table that we wrote.
std::vector<std::string> FindChains(std::string const& text)
{
   std::string const begin = "   chain ";
   std::string const end = " {";
   std::vector<std::string> chains;
   std::istringstream lines(text);
   for (std::string line; std::getline(lines, line);) {
      if (line.starts_with(begin) && line.ends_with(end)) {
         chains.push_back(line.substr(begin.size(), line.size() - begin.size() - end.size()));
      }
   }
   return chains;
}

} // namespace

bool Rules::Run(unsigned int index, std::string const& text, Notes const& notes)
{
   auto const table = services::GetTableName(index);
   auto const noted = notes.ReadRules();
   Known const now{text, host.view.GetTableGeneration(table), noted};
   if (auto const found = known.find(index); found != known.end() && found->second == now) {
      return true;
   }
   // What was never applied isn't asked for in vain.
   if (!noted.IsOf(text) || noted != Notes::Rules::Of(text, Describe(table, text))) {
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
   auto const description = Describe(table, text);
   host.view.Refresh();
   // What somebody else made of them in between isn't noted as ours: the next comparison sees it.
   if (!description.empty() && generation == host.view.GetTableGeneration(table)) {
      auto const note = Notes::Rules::Of(text, description);
      notes.WriteRules(note);
      known[index] = {text, generation, note};
   }
   return true;
}

std::string Rules::Describe(std::string const& table, std::string const& text)
{
   return host.ruleset.Describe(family, table, FindChains(text));
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
