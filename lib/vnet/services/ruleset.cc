// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/services/ruleset.hh"

#include "vnet/services/hostRules.hh"
#include "vnet/services/passage.hh"
#include "vnet/services/translation.hh"

namespace vnet::services {

std::string MakeHostOnlyRules(RulesetInput const& input)
{
   return MakeGuard(input) + MakeClosedPassage(input.device) + MakeHostRules(input);
}

std::string MakeNatRules(RulesetInput const& input)
{
   return MakeTimeouts(input) + MakeGuard(input) + MakeTranslation(input) + MakeNatPassage(input) +
          MakeHostRules(input);
}

std::string MakeParkedRules(RulesetInput const& input)
{
   return MakeGuard(input) + MakeIdleTranslation() + MakeParkedPassage(input) +
          MakeHostRules(input);
}

std::string MakeSilentRules(std::string const& device)
{
   return MakeClosedPassage(device) + MakeSilentHostRules(device);
}

// One transaction: the table is replaced whole or not at all.
std::string MakeReplacement(unsigned int index, std::string const& body)
{
   return GetRemovalRuleset(index) + "table inet " + GetTableName(index) + " {\n" + body + "}\n";
}

} // namespace vnet::services
