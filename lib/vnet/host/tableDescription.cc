// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/tableDescription.hh"

#include "vnet/values/error.hh"

#include <algorithm>
#include <cerrno>
#include <linux/netfilter/nf_tables.h>
#include <linux/netfilter/nfnetlink.h>
#include <linux/netlink.h>
#include <map>
#include <optional>
#include <set>

namespace vnet::host {

namespace {

using Numbers = std::set<int>;

// By nf_tables.h what changes while a table does the same.
Numbers const ofTable = {NFTA_TABLE_HANDLE};
Numbers const ofChain = {NFTA_CHAIN_HANDLE, NFTA_CHAIN_COUNTERS, NFTA_CHAIN_USE, NFTA_CHAIN_ID};
Numbers const ofRule = {NFTA_RULE_HANDLE, NFTA_RULE_POSITION, NFTA_RULE_ID};
Numbers const ofSet = {NFTA_SET_HANDLE, NFTA_SET_ID};
Numbers const ofElement = {NFTA_SET_ELEM_EXPIRATION};
Numbers const ofObject = {NFTA_OBJ_HANDLE, NFTA_OBJ_USE};

Attributes GetAttributes(nlmsghdr const* message)
{
   return Attributes(message, sizeof(nfgenmsg));
}

// Number, length and bytes of each attribute but these.
std::string Describe(Attributes const& attributes, Numbers const& left)
{
   std::string text;
   for (auto const* attribute : attributes.GetAll()) {
      int const number = attribute->nla_type & NLA_TYPE_MASK;
      if (!left.contains(number)) {
         text += std::to_string(number) + " " + std::to_string(GetLength(attribute)) + " ";
         text.append(static_cast<char const*>(GetData(attribute)), GetLength(attribute));
      }
   }
   return text + "\n";
}

class Description {
public:
   Description(NetlinkSocket& ofNetfilter, std::uint8_t familyNumber, std::string const& tableName)
      : socket(ofNetfilter), family(familyNumber), table(tableName)
   {}

   std::string Make(std::vector<std::string> const& chains)
   {
      auto const head = DescribeTableAlone();
      if (!head) {
         return {};
      }
      std::string text = *head;
      for (auto const& chain : chains) {
         text += chain + ": " + DescribeChain(chain);
      }
      return text + DescribeRules() + DescribeSets() + DescribeObjects();
   }

private:
   NetlinkSocket& socket;
   std::uint8_t const family;
   std::string const table;

   Request MakeRequest(int operation, int tableAttribute) const
   {
      Request request(NFNL_SUBSYS_NFTABLES << 8 | operation, 0);
      nfgenmsg header{};
      header.nfgen_family = family;
      header.version = NFNETLINK_V0;
      request.Append(header);
      request.PutString(tableAttribute, table);
      return request;
   }

   // The one answer to a request; none if there is no such thing.
   std::optional<std::string> Ask(Request& request, Numbers const& left)
   {
      std::string text;
      int const error = socket.Try(
         request, [&](nlmsghdr const* message) { text = Describe(GetAttributes(message), left); });
      if (error && error != ENOENT) {
         throw Error("describe table", table, socket.GetCause());
      }
      return error ? std::nullopt : std::optional(text);
   }

   // With the number of all that is in it.
   std::optional<std::string> DescribeTableAlone()
   {
      auto request = MakeRequest(NFT_MSG_GETTABLE, NFTA_TABLE_NAME);
      return Ask(request, ofTable);
   }

   std::string DescribeChain(std::string const& chain)
   {
      auto request = MakeRequest(NFT_MSG_GETCHAIN, NFTA_CHAIN_TABLE);
      request.PutString(NFTA_CHAIN_NAME, chain);
      return Ask(request, ofChain).value_or("is not there\n");
   }

   // In the order in which each chain has them; the order of the chains tells nothing.
   std::string DescribeRules()
   {
      std::map<std::string, std::string> rulesOfChains;
      auto request = MakeRequest(NFT_MSG_GETRULE, NFTA_RULE_TABLE);
      using Rule = std::pair<std::string, std::string>;
      for (auto const& [chain, rule] :
           socket.Collect(request, "rules of " + table, [](nlmsghdr const* message) {
              auto const attributes = GetAttributes(message);
              return std::optional(
                 Rule(attributes.GetString(NFTA_RULE_CHAIN), Describe(attributes, ofRule)));
           })) {
         rulesOfChains[chain] += rule;
      }
      std::string text;
      for (auto const& [chain, rules] : rulesOfChains) {
         text += rules;
      }
      return text;
   }

   std::string DescribeSets()
   {
      std::map<std::string, std::string> sets;
      auto request = MakeRequest(NFT_MSG_GETSET, NFTA_SET_TABLE);
      using Set = std::pair<std::string, std::string>;
      for (auto const& [name, set] :
           socket.Collect(request, "sets of " + table, [](nlmsghdr const* message) {
              auto const attributes = GetAttributes(message);
              return std::optional(
                 Set(attributes.GetString(NFTA_SET_NAME), Describe(attributes, ofSet)));
           })) {
         sets[name] = set;
      }
      std::string text;
      for (auto const& [name, set] : sets) {
         text += set + DescribeElements(name);
      }
      return text;
   }

   // The order in which the kernel finds them tells nothing.
   std::string DescribeElements(std::string const& set)
   {
      auto request = MakeRequest(NFT_MSG_GETSETELEM, NFTA_SET_ELEM_LIST_TABLE);
      request.PutString(NFTA_SET_ELEM_LIST_SET, set);
      std::vector<std::string> elements;
      for (auto const& some :
           socket.Collect(request, "elements of " + table, [](nlmsghdr const* message) {
              std::vector<std::string> found;
              auto const attributes = GetAttributes(message);
              Attributes const list(attributes.Find(NFTA_SET_ELEM_LIST_ELEMENTS));
              for (auto const* each : list.GetAll()) {
                 found.push_back(Describe(Attributes(each), ofElement));
              }
              return std::optional(found);
           })) {
         elements.insert(elements.end(), some.begin(), some.end());
      }
      std::sort(elements.begin(), elements.end());
      std::string text;
      for (auto const& element : elements) {
         text += element;
      }
      return text;
   }

   std::string DescribeObjects()
   {
      auto request = MakeRequest(NFT_MSG_GETOBJ, NFTA_OBJ_TABLE);
      auto objects = socket.Collect(request, "objects of " + table, [](nlmsghdr const* message) {
         return std::optional(Describe(GetAttributes(message), ofObject));
      });
      std::sort(objects.begin(), objects.end());
      std::string text;
      for (auto const& object : objects) {
         text += object;
      }
      return text;
   }
};

} // namespace

std::string DescribeTable(NetlinkSocket& socket, std::uint8_t family, std::string const& table,
                          std::vector<std::string> const& chains)
{
   return Description(socket, family, table).Make(chains);
}

} // namespace vnet::host
