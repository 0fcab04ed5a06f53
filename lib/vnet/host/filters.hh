// SPDX-License-Identifier: GPL-2.0-or-later
// The rules of all tables that filter packets on their way, as the kernel has them.
#pragma once

#include "vnet/host/netlink.hh"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vnet::host {

struct FilterRule {
   std::uint64_t handle = 0;
   std::string comment;     // as nft and iptables write it; empty if it has none
   std::string expressions; // the attributes of NFTA_RULE_EXPRESSIONS
};

enum class FilterHook { None, Input, Forward };

struct FilterChain {
   std::string name;
   FilterHook hook = FilterHook::None; // where a base chain starts
   bool drops = false;                 // a base chain's policy
   std::vector<FilterRule> rules;
};

// A set that belongs to one rule, as "{ 1, 3-5 }" in it.
struct FilterSet {
   struct Element {
      std::string key;
      bool endsInterval = false; // belongs to nothing: the interval before it ends here
      std::string data;          // the attributes of NFTA_SET_ELEM_DATA, of a map
   };

   bool intervals = false;
   bool concatenated = false;
   std::vector<Element> elements;
};

struct FilterTable {
   std::string family; // "inet" or "ip"
   std::string name;
   std::map<std::string, FilterChain> chains;
   std::map<std::string, FilterSet> sets;
};

// The tables, of the families that see IPv4, that have a chain at one of the hooks, without those
// whose names begin with `except`. Throws Error.
std::vector<FilterTable> ListFilters(NetlinkSocket& socket, std::string const& except);
// One chain's rules; empty if there is no such chain. Throws Error.
std::optional<FilterChain> FindFilterChain(NetlinkSocket& socket, std::string const& family,
                                           std::string const& table, std::string const& chain);

} // namespace vnet::host
