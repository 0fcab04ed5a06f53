// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/filters.hh"

#include <arpa/inet.h>
#include <cerrno>
#include <endian.h>
#include <linux/netfilter.h>
#include <linux/netfilter/nf_tables.h>
#include <linux/netfilter/nf_tables_compat.h>
#include <linux/netfilter/nfnetlink.h>
#include <utility>

namespace vnet::host {

namespace {

// The sets of rules that people write are far smaller; larger ones belong to daemons.
constexpr std::uint32_t longestKey = 64;

// libnftables and iptables agree on this number.
constexpr unsigned char commentType = 0;

struct Family {
   std::uint8_t number;
   char const* name;
};
constexpr Family families[] = {{NFPROTO_INET, "inet"}, {NFPROTO_IPV4, "ip"}};

Request MakeRequest(int operation, std::uint8_t family)
{
   Request request(NFNL_SUBSYS_NFTABLES << 8 | operation, 0);
   nfgenmsg header{};
   header.nfgen_family = family;
   header.version = NFNETLINK_V0;
   request.Append(header);
   return request;
}

Attributes GetAttributes(nlmsghdr const* message)
{
   return Attributes(message, sizeof(nfgenmsg));
}

std::string GetBytes(nlattr const* attribute)
{
   return attribute
             ? std::string(static_cast<char const*>(GetData(attribute)), GetLength(attribute))
             : std::string();
}

std::uint64_t GetHandle(nlattr const* attribute)
{
   std::uint64_t handle = 0;
   auto const bytes = GetBytes(attribute);
   bytes.copy(reinterpret_cast<char*>(&handle), sizeof handle);
   return be64toh(handle);
}

FilterHook GetHook(Attributes const& chain)
{
   auto const* hook = chain.Find(NFTA_CHAIN_HOOK);
   if (!hook || chain.GetString(NFTA_CHAIN_TYPE) != "filter") {
      return FilterHook::None;
   }
   auto const number = ntohl(Attributes(hook).GetU32(NFTA_HOOK_HOOKNUM));
   return number == NF_INET_LOCAL_IN  ? FilterHook::Input
          : number == NF_INET_FORWARD ? FilterHook::Forward
                                      : FilterHook::None;
}

// Type, length and value of each, one byte for the former two.
std::string FindComment(std::string const& userData)
{
   for (std::size_t at = 0; at + 2 <= userData.size();) {
      auto const type = static_cast<unsigned char>(userData[at]);
      auto const length = static_cast<unsigned char>(userData[at + 1]);
      if (type == commentType) {
         return userData.substr(at + 2, length).c_str();
      }
      at += 2u + length;
   }
   return {};
}

// A rule that iptables saved and restored has its comment in an extension.
std::string FindExtensionComment(nlattr const* expressions)
{
   Attributes const list(expressions);
   for (auto const* each : list.GetAll()) {
      Attributes const expression(each);
      Attributes const data(expression.Find(NFTA_EXPR_DATA));
      if (expression.GetString(NFTA_EXPR_NAME) == "match" &&
          data.GetString(NFTA_MATCH_NAME) == "comment") {
         return data.GetString(NFTA_MATCH_INFO);
      }
   }
   return {};
}

std::optional<FilterRule> ReadRule(nlmsghdr const* message)
{
   auto const attributes = GetAttributes(message);
   auto const* expressions = attributes.Find(NFTA_RULE_EXPRESSIONS);
   auto comment = FindComment(GetBytes(attributes.Find(NFTA_RULE_USERDATA)));
   return FilterRule{GetHandle(attributes.Find(NFTA_RULE_HANDLE)),
                     comment.empty() ? FindExtensionComment(expressions) : comment,
                     GetBytes(expressions)};
}

std::vector<FilterRule> ListRules(NetlinkSocket& socket, std::uint8_t family,
                                  std::string const& table, std::string const& chain)
{
   auto request = MakeRequest(NFT_MSG_GETRULE, family);
   request.PutString(NFTA_RULE_TABLE, table);
   request.PutString(NFTA_RULE_CHAIN, chain);
   return socket.Collect(request, "rules", ReadRule);
}

// --- Sets ---

FilterSet::Element ReadElement(nlattr const* nest)
{
   Attributes const element(nest);
   Attributes const key(element.Find(NFTA_SET_ELEM_KEY));
   auto const flags = ntohl(element.GetU32(NFTA_SET_ELEM_FLAGS));
   return {GetBytes(key.Find(NFTA_DATA_VALUE)), (flags & NFT_SET_ELEM_INTERVAL_END) != 0,
           GetBytes(element.Find(NFTA_SET_ELEM_DATA))};
}

using Elements = std::vector<FilterSet::Element>;

Elements ListElements(NetlinkSocket& socket, std::uint8_t family, std::string const& table,
                      std::string const& set)
{
   auto request = MakeRequest(NFT_MSG_GETSETELEM, family);
   request.PutString(NFTA_SET_ELEM_LIST_TABLE, table);
   request.PutString(NFTA_SET_ELEM_LIST_SET, set);
   auto const parts = socket.Collect(request, "elements", [](nlmsghdr const* message) {
      Elements some;
      auto const attributes = GetAttributes(message);
      Attributes const list(attributes.Find(NFTA_SET_ELEM_LIST_ELEMENTS));
      for (auto const* each : list.GetAll()) {
         some.push_back(ReadElement(each));
      }
      return std::optional(std::move(some));
   });
   Elements all;
   for (auto const& part : parts) {
      all.insert(all.end(), part.begin(), part.end());
   }
   return all;
}

std::map<std::string, FilterSet> ListSets(NetlinkSocket& socket, std::uint8_t family,
                                          std::string const& table)
{
   auto request = MakeRequest(NFT_MSG_GETSET, family);
   request.PutString(NFTA_SET_TABLE, table);
   using Named = std::pair<std::string, FilterSet>;
   auto named = socket.Collect(request, "sets", [](nlmsghdr const* message) {
      auto const attributes = GetAttributes(message);
      auto const flags = ntohl(attributes.GetU32(NFTA_SET_FLAGS));
      FilterSet set;
      set.intervals = flags & NFT_SET_INTERVAL;
      set.concatenated = flags & NFT_SET_CONCAT;
      bool const fits =
         flags & NFT_SET_ANONYMOUS && ntohl(attributes.GetU32(NFTA_SET_KEY_LEN)) <= longestKey;
      return fits ? std::optional(Named{attributes.GetString(NFTA_SET_NAME), set}) : std::nullopt;
   });
   std::map<std::string, FilterSet> sets;
   for (auto& [name, set] : named) {
      set.elements = ListElements(socket, family, table, name);
      sets.emplace(name, std::move(set));
   }
   return sets;
}

// --- Tables ---

using ChainOfTable = std::pair<std::string, FilterChain>;

std::vector<ChainOfTable> ListChains(NetlinkSocket& socket, std::uint8_t family)
{
   auto request = MakeRequest(NFT_MSG_GETCHAIN, family);
   return socket.Collect(request, "chains", [](nlmsghdr const* message) {
      auto const attributes = GetAttributes(message);
      FilterChain chain;
      chain.name = attributes.GetString(NFTA_CHAIN_NAME);
      chain.hook = GetHook(attributes);
      chain.drops = attributes.Has(NFTA_CHAIN_POLICY) &&
                    ntohl(attributes.GetU32(NFTA_CHAIN_POLICY)) == NF_DROP;
      return std::optional(ChainOfTable{attributes.GetString(NFTA_CHAIN_TABLE), chain});
   });
}

bool HasHook(FilterTable const& table)
{
   for (auto const& [name, chain] : table.chains) {
      if (chain.hook != FilterHook::None) {
         return true;
      }
   }
   return false;
}

std::vector<FilterTable> ListTables(NetlinkSocket& socket, Family family, std::string const& except)
{
   std::map<std::string, FilterTable> tables;
   for (auto& [name, chain] : ListChains(socket, family.number)) {
      if (!name.starts_with(except)) {
         auto& table = tables[name];
         table.family = family.name;
         table.name = name;
         table.chains.emplace(chain.name, std::move(chain));
      }
   }
   std::vector<FilterTable> found;
   for (auto& [name, table] : tables) {
      if (HasHook(table)) {
         found.push_back(std::move(table));
      }
   }
   return found;
}

} // namespace

std::vector<FilterTable> ListFilters(NetlinkSocket& socket, std::string const& except)
{
   std::vector<FilterTable> all;
   for (auto const& family : families) {
      for (auto& table : ListTables(socket, family, except)) {
         for (auto& [name, chain] : table.chains) {
            chain.rules = ListRules(socket, family.number, table.name, name);
         }
         table.sets = ListSets(socket, family.number, table.name);
         all.push_back(std::move(table));
      }
   }
   return all;
}

std::optional<FilterChain> FindFilterChain(NetlinkSocket& socket, std::string const& family,
                                           std::string const& table, std::string const& chain)
{
   auto const number = family == "inet" ? NFPROTO_INET : NFPROTO_IPV4;
   auto request = MakeRequest(NFT_MSG_GETCHAIN, number);
   request.PutString(NFTA_CHAIN_TABLE, table);
   request.PutString(NFTA_CHAIN_NAME, chain);
   if (socket.Try(request) != 0) {
      return {};
   }
   FilterChain found;
   found.name = chain;
   found.rules = ListRules(socket, number, table, chain);
   return found;
}

} // namespace vnet::host
