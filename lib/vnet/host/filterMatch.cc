// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/filterMatch.hh"

#include "vnet/host/filterRegisters.hh"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <linux/if_ether.h>
#include <linux/netfilter.h>
#include <linux/netfilter/nf_conntrack_common.h>
#include <linux/netfilter/nf_tables.h>
#include <linux/netfilter/nf_tables_compat.h>
#include <linux/netfilter/xt_conntrack.h>
#include <map>
#include <net/if.h>
#include <optional>
#include <string>
#include <string_view>

namespace vnet::host {

namespace {

using Bytes = std::optional<std::string>; // empty: unknown

template <class Value>
std::string ToBytes(Value value)
{
   return {reinterpret_cast<char const*>(&value), sizeof value};
}

std::string GetBytes(nlattr const* attribute)
{
   return attribute
             ? std::string(static_cast<char const*>(GetData(attribute)), GetLength(attribute))
             : std::string();
}

std::string GetValue(nlattr const* data)
{
   return GetBytes(Attributes(data).Find(NFTA_DATA_VALUE));
}

std::uint32_t GetNumber(Attributes const& attributes, int attribute)
{
   return ntohl(attributes.GetU32(attribute));
}

// --- What is known of the packet ---

std::string MakeName(std::string const& device)
{
   auto name = device;
   name.resize(IFNAMSIZ);
   return name;
}

std::uint32_t GetState(FilteredPacket const& packet)
{
   return XT_CONNTRACK_STATE_BIT(packet.reply ? IP_CT_ESTABLISHED : IP_CT_NEW);
}

Bytes GetMeta(FilteredPacket const& packet, std::uint32_t key)
{
   switch (key) {
   case NFT_META_IIFNAME:
      return MakeName(packet.in);
   case NFT_META_OIFNAME:
      return MakeName(packet.out);
   case NFT_META_IIF:
      return ToBytes(if_nametoindex(packet.in.c_str()));
   case NFT_META_OIF:
      return ToBytes(if_nametoindex(packet.out.c_str()));
   case NFT_META_NFPROTO:
      return ToBytes<std::uint8_t>(NFPROTO_IPV4);
   case NFT_META_PROTOCOL:
      return ToBytes<std::uint16_t>(htons(ETH_P_IP));
   case NFT_META_L4PROTO:
      return packet.protocol ? Bytes(ToBytes(packet.protocol)) : std::nullopt;
   case NFT_META_MARK:
      return ToBytes<std::uint32_t>(0);
   default:
      return {};
   }
}

Bytes GetTracking(FilteredPacket const& packet, std::uint32_t key)
{
   switch (key) {
   case NFT_CT_STATE:
      return ToBytes(GetState(packet));
   case NFT_CT_STATUS:
      return ToBytes<std::uint32_t>(packet.forwarded ? IPS_DST_NAT : 0);
   default:
      return {};
   }
}

Bytes GetPayload(FilteredPacket const& packet, std::uint32_t base, std::uint32_t offset)
{
   if (base == NFT_PAYLOAD_NETWORK_HEADER && offset == 9 && packet.protocol) {
      return ToBytes(packet.protocol);
   }
   if (base == NFT_PAYLOAD_NETWORK_HEADER && offset == 12 && packet.source) {
      return ToBytes(htonl(packet.source->value));
   }
   if (base == NFT_PAYLOAD_TRANSPORT_HEADER && offset == 2 && packet.port) {
      return ToBytes(htons(packet.port));
   }
   return {};
}

// --- One rule ---

class Rule {
public:
   Rule(FilterTable const& tableOfRule, FilteredPacket const& packetToMatch)
      : table(tableOfRule), packet(packetToMatch)
   {}

   FilterVerdict Run(FilterRule const& rule);

private:
   FilterTable const& table;
   FilteredPacket const& packet;
   FilterRegisters registers;
   FilterVerdict verdict;

   using Step = bool (Rule::*)(Attributes const&);
   static Step FindStep(std::string_view name);

   // Each returns whether the rule goes on.
   bool Pass(Attributes const&) { return true; }
   bool Drop(Attributes const& data);
   bool LoadMeta(Attributes const& data);
   bool LoadTracking(Attributes const& data);
   bool LoadPayload(Attributes const& data);
   bool Compare(Attributes const& data);
   bool Mask(Attributes const& data);
   bool Immediate(Attributes const& data);
   bool LookUp(Attributes const& data);
   bool MatchExtension(Attributes const& data);
   bool Target(Attributes const& data);

   bool Load(std::uint32_t target, Bytes const& value);
   bool Decide(Attributes const& data);
};

Rule::Step Rule::FindStep(std::string_view name)
{
   static std::map<std::string_view, Step> const steps = {
      {"meta", &Rule::LoadMeta}, {"ct", &Rule::LoadTracking},      {"payload", &Rule::LoadPayload},
      {"cmp", &Rule::Compare},   {"bitwise", &Rule::Mask},         {"immediate", &Rule::Immediate},
      {"lookup", &Rule::LookUp}, {"match", &Rule::MatchExtension}, {"target", &Rule::Target},
      {"reject", &Rule::Drop},   {"counter", &Rule::Pass},         {"log", &Rule::Pass},
      {"last", &Rule::Pass}};
   auto const found = steps.find(name);
   return found == steps.end() ? nullptr : found->second;
}

FilterVerdict Rule::Run(FilterRule const& rule)
{
   Attributes const expressions(rule.expressions.data(), rule.expressions.size());
   for (auto const* each : expressions.GetAll()) {
      Attributes const expression(each);
      auto const step = FindStep(expression.GetString(NFTA_EXPR_NAME));
      bool const goesOn = step && (this->*step)(Attributes(expression.Find(NFTA_EXPR_DATA)));
      if (!goesOn) {
         break;
      }
   }
   return verdict;
}

bool Rule::Load(std::uint32_t target, Bytes const& value)
{
   registers.Store(target, packet.hook == FilterHook::None ? std::nullopt : value);
   return true;
}

bool Rule::Drop(Attributes const&)
{
   verdict.kind = FilterVerdict::Kind::Drop;
   return false;
}

// One that sets something has no register for a result.
bool Rule::LoadMeta(Attributes const& data)
{
   return !data.Has(NFTA_META_DREG) ||
          Load(GetNumber(data, NFTA_META_DREG), GetMeta(packet, GetNumber(data, NFTA_META_KEY)));
}

bool Rule::LoadTracking(Attributes const& data)
{
   return !data.Has(NFTA_CT_DREG) ||
          Load(GetNumber(data, NFTA_CT_DREG), GetTracking(packet, GetNumber(data, NFTA_CT_KEY)));
}

bool Rule::LoadPayload(Attributes const& data)
{
   auto value =
      GetPayload(packet, GetNumber(data, NFTA_PAYLOAD_BASE), GetNumber(data, NFTA_PAYLOAD_OFFSET));
   if (value) {
      // Of an address a rule may ask for the first bytes alone.
      value->resize(std::min<std::size_t>(value->size(), GetNumber(data, NFTA_PAYLOAD_LEN)));
   }
   return !data.Has(NFTA_PAYLOAD_DREG) || Load(GetNumber(data, NFTA_PAYLOAD_DREG), value);
}

bool Rule::Compare(Attributes const& data)
{
   auto const wanted = GetValue(data.Find(NFTA_CMP_DATA));
   auto const value = registers.Get(GetNumber(data, NFTA_CMP_SREG), wanted.size());
   if (!value) {
      return false;
   }
   int const order = std::memcmp(value->data(), wanted.data(), wanted.size());
   switch (GetNumber(data, NFTA_CMP_OP)) {
   case NFT_CMP_EQ:
      return order == 0;
   case NFT_CMP_NEQ:
      return order != 0;
   case NFT_CMP_LT:
      return order < 0;
   case NFT_CMP_LTE:
      return order <= 0;
   case NFT_CMP_GT:
      return order > 0;
   case NFT_CMP_GTE:
      return order >= 0;
   default:
      return false;
   }
}

bool Rule::Mask(Attributes const& data)
{
   auto const mask = GetValue(data.Find(NFTA_BITWISE_MASK));
   auto const flip = GetValue(data.Find(NFTA_BITWISE_XOR));
   // Shifts have neither.
   auto value = registers.Get(GetNumber(data, NFTA_BITWISE_SREG), mask.size());
   if (mask.empty() || flip.size() != mask.size()) {
      value.reset();
   }
   for (std::size_t i = 0; value && i < mask.size(); ++i) {
      (*value)[i] = static_cast<char>(((*value)[i] & mask[i]) ^ flip[i]);
   }
   return Load(GetNumber(data, NFTA_BITWISE_DREG), value);
}

bool Rule::Immediate(Attributes const& data)
{
   auto const target = GetNumber(data, NFTA_IMMEDIATE_DREG);
   auto const* value = data.Find(NFTA_IMMEDIATE_DATA);
   if (target == NFT_REG_VERDICT) {
      return Decide(Attributes(value));
   }
   registers.Store(target, GetValue(value));
   return true;
}

bool Rule::Decide(Attributes const& data)
{
   using Kind = FilterVerdict::Kind;
   Attributes const found(data.Find(NFTA_DATA_VERDICT));
   verdict.chain = found.GetString(NFTA_VERDICT_CHAIN);
   auto const code = static_cast<int>(GetNumber(found, NFTA_VERDICT_CODE));
   switch (code) {
   case NF_DROP:
      verdict.kind = Kind::Drop;
      break;
   case NFT_JUMP:
      verdict.kind = Kind::Jump;
      break;
   case NFT_GOTO:
      verdict.kind = Kind::Goto;
      break;
   case NFT_RETURN:
      verdict.kind = Kind::Return;
      break;
   case NFT_CONTINUE:
   case NFT_BREAK:
      break;
   default:
      // Accepted, or handed to a program.
      verdict.kind = Kind::Accept;
   }
   return code == NFT_CONTINUE;
}

bool Rule::LookUp(Attributes const& data)
{
   auto const set = table.sets.find(data.GetString(NFTA_LOOKUP_SET));
   if (set == table.sets.end() || set->second.elements.empty()) {
      return false;
   }
   auto const length = set->second.elements.front().key.size();
   auto const key = registers.Get(GetNumber(data, NFTA_LOOKUP_SREG), length);
   if (!key || (set->second.intervals && set->second.concatenated)) {
      return false;
   }
   auto const* found = FindElement(set->second, *key);
   bool const inverted = GetNumber(data, NFTA_LOOKUP_FLAGS) & NFT_LOOKUP_F_INV;
   if (!data.Has(NFTA_LOOKUP_DREG)) {
      return (found != nullptr) != inverted;
   }
   if (!found) {
      return false;
   }
   auto const target = GetNumber(data, NFTA_LOOKUP_DREG);
   Attributes const element(found->data.data(), found->data.size());
   if (target != NFT_REG_VERDICT) {
      registers.Store(target, GetBytes(element.Find(NFTA_DATA_VALUE)));
      return true;
   }
   return Decide(element);
}

// Those of iptables.
bool Rule::MatchExtension(Attributes const& data)
{
   auto const name = data.GetString(NFTA_MATCH_NAME);
   if (name == "comment") {
      return true;
   }
   auto const info = GetBytes(data.Find(NFTA_MATCH_INFO));
   xt_conntrack_mtinfo2 wanted{};
   if (name != "conntrack" || info.size() < sizeof wanted || GetNumber(data, NFTA_MATCH_REV) < 2 ||
       packet.hook == FilterHook::None) {
      return false;
   }
   std::memcpy(&wanted, info.data(), sizeof wanted);
   auto const state = GetState(packet) | (packet.forwarded ? XT_CONNTRACK_STATE_DNAT : 0);
   bool const inverted = wanted.invert_flags & XT_CONNTRACK_STATE;
   return wanted.match_flags == XT_CONNTRACK_STATE &&
          ((wanted.state_mask & state) != 0) != inverted;
}

bool Rule::Target(Attributes const& data)
{
   auto const name = data.GetString(NFTA_TARGET_NAME);
   return name == "REJECT" || name == "DROP" ? Drop(data) : true;
}

} // namespace

FilterVerdict MatchRule(FilterRule const& rule, FilterTable const& table,
                        FilteredPacket const& packet)
{
   return Rule(table, packet).Run(rule);
}

} // namespace vnet::host
