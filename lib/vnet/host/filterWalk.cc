// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/filterWalk.hh"

#include "vnet/host/filterMatch.hh"

namespace vnet::host {

namespace {

// As deep as the kernel goes.
constexpr int deepest = 16;

enum class Fate { Accepted, Dropped, GoesOn };

class Walk {
public:
   Walk(FilterTable const& tableOfChains, FilteredPacket const& walking)
      : table(tableOfChains), packet(walking)
   {}

   // GoesOn means that the chain's end was reached.
   Fate Through(std::string const& name, int depth);
   std::string const& GetLast() const { return last; }

private:
   FilterTable const& table;
   FilteredPacket const& packet;
   std::string last; // the chain that dropped it
};

Fate Walk::Through(std::string const& name, int depth)
{
   auto const chain = table.chains.find(name);
   if (chain == table.chains.end() || depth > deepest) {
      return Fate::GoesOn;
   }
   for (auto const& rule : chain->second.rules) {
      auto const verdict = MatchRule(rule, table, packet);
      switch (verdict.kind) {
      case FilterVerdict::Kind::None:
         break;
      case FilterVerdict::Kind::Accept:
         return Fate::Accepted;
      case FilterVerdict::Kind::Drop:
         last = name;
         return Fate::Dropped;
      case FilterVerdict::Kind::Return:
         return Fate::GoesOn;
      case FilterVerdict::Kind::Goto:
         return Through(verdict.chain, depth + 1);
      case FilterVerdict::Kind::Jump:
         if (auto const fate = Through(verdict.chain, depth + 1); fate != Fate::GoesOn) {
            return fate;
         }
         break;
      }
   }
   return Fate::GoesOn;
}

} // namespace

std::optional<FilterDrop> FindDrop(std::vector<FilterTable> const& tables,
                                   FilteredPacket const& packet)
{
   for (auto const& table : tables) {
      for (auto const& [name, chain] : table.chains) {
         if (chain.hook != packet.hook) {
            continue;
         }
         Walk walk(table, packet);
         auto const fate = walk.Through(name, 0);
         if (fate == Fate::Dropped) {
            return FilterDrop{table.family, table.name, name, walk.GetLast()};
         }
         if (fate == Fate::GoesOn && chain.drops) {
            return FilterDrop{table.family, table.name, name, name};
         }
      }
   }
   return {};
}

bool AlwaysReturns(FilterRule const& rule)
{
   // Of this packet nothing is known, so that no rule that asks for anything matches.
   FilteredPacket unknown;
   unknown.hook = FilterHook::None;
   return MatchRule(rule, {}, unknown).kind == FilterVerdict::Kind::Return;
}

} // namespace vnet::host
