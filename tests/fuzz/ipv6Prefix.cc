// SPDX-License-Identifier: GPL-2.0-or-later
// NAT::ValidateIPv6Prefix against what the C library and the networking library say.
#include "fuzz/require.hh"
#include "fuzz/target.hh"
#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/common/nat.hh"
#include "vnet/values/address.hh"

#include <algorithm>
#include <arpa/inet.h>
#include <cctype>
#include <optional>
#include <string>

using fuzz::Require;
using netcfg::common::NAT;

namespace {

struct Parts {
   std::string address;
   std::optional<std::string> length;
};

Parts Split(std::string const& prefix)
{
   auto const slash = prefix.find('/');
   if (slash == std::string::npos) {
      return {prefix, std::nullopt};
   }
   return {prefix.substr(0, slash), prefix.substr(slash + 1)};
}

std::string WithoutSpace(std::string text)
{
   std::erase_if(text, [](unsigned char byte) { return byte < 0x80 && std::isspace(byte); });
   return text.c_str();
}

bool IsV6(std::string const& address)
{
   in6_addr parsed;
   return inet_pton(AF_INET6, address.c_str(), &parsed) == 1;
}

bool IsV4(std::string const& address)
{
   in_addr parsed;
   return inet_aton(address.c_str(), &parsed) != 0;
}

// Digits with an optional sign, of a number from 0 to 128.
bool IsLength(std::string const& text)
{
   bool const sign = text.starts_with('+') || text.starts_with('-');
   std::string const digits = text.substr(sign ? 1 : 0);
   bool const number = !digits.empty() && std::ranges::all_of(digits, [](unsigned char byte) {
      return std::isdigit(byte);
   });
   std::string const value = digits.substr(std::min(digits.find_first_not_of('0'), digits.size()));
   bool const zero = value.empty();
   bool const small = value.size() < 3 || (value.size() == 3 && value <= "128");
   return number && (zero || (small && !text.starts_with('-')));
}

NAT::IPv6PrefixError Judge(Parts const& parts)
{
   if (!IsV6(parts.address)) {
      return IsV4(parts.address) ? NAT::PrefixV6NotV6 : NAT::PrefixV6BadFormat;
   }
   bool const good = parts.length && IsLength(*parts.length);
   return good ? NAT::PrefixV6Ok : NAT::PrefixV6BadSubnet;
}

void CheckError(NAT::IPv6PrefixError error, std::string const& stripped)
{
   Parts const parts = Split(stripped);
   auto const zone = parts.address.find('%');
   // Which zones there are is this host's business.
   if (zone == std::string::npos) {
      Require(error == Judge(parts), "the error is the one that the parts tell");
      return;
   }
   bool const accepted = error == NAT::PrefixV6Ok || error == NAT::PrefixV6BadSubnet;
   Require(!accepted || IsV6(parts.address.substr(0, zone)), "before a zone is an address");
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
   static netcfg::common::Editable model(1);
   static NAT& nat = *model.AddNetwork(netcfg::common::Network::NAT, 0, false, {})->GetNAT();

   utf::string const given(reinterpret_cast<char const*>(data), size);
   utf::string prefix = given;
   NAT::IPv6PrefixError const error = nat.ValidateIPv6Prefix(prefix);
   std::string const stripped(prefix.c_str(), prefix.bytes());

   Require(stripped == WithoutSpace({given.c_str(), given.bytes()}),
           "white space alone is taken away, and what stands behind a NUL");
   Require(error != NAT::PrefixV6Invalid, "nothing throws");
   CheckError(error, stripped);
   Require(nat.ValidateIPv6Prefix(prefix) == error && prefix == utf::string(stripped.c_str()),
           "a second look says the same");
   Require(NAT::GetIPv6PrefixErrorMessage(error).empty() == (error == NAT::PrefixV6Ok),
           "an error has a message");
   Require(!vnet::Prefix6::Parse(stripped) || error == NAT::PrefixV6Ok,
           "what the networking library takes, the editor takes");
   return 0;
}
