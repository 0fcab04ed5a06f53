// SPDX-License-Identifier: GPL-2.0-or-later
#include "fuzz/permitted.hh"

#include <algorithm>
#include <bit>
#include <cctype>

namespace fuzz {

namespace {

constexpr unsigned int linkLength = 64;

std::uint32_t GetMask(unsigned int length)
{
   return length == 0 ? 0 : ~std::uint32_t{0} << (32 - length);
}

} // namespace

Permitted::Permitted(vnet::Settings const& settings, unsigned int index,
                     vnet::services::HostFacts const& hostFacts)
   : device("tvnet" + std::to_string(index)), facts(hostFacts)
{
   auto const found = settings.networks.find(index);
   if (found == settings.networks.end()) {
      return;
   }
   auto const& network = found->second;
   if (network.subnetAddress && network.subnetMask) {
      subnet = network.subnetAddress->value;
      auto const mask = network.subnetMask->value;
      subnetLength = std::popcount(mask);
   }
   auto const& dhcp = network.dhcp;
   for (auto const& address : {dhcp.router, dhcp.dnsServer, dhcp.netbiosServer}) {
      if (address) {
         addresses.insert(address->value);
      }
   }
   if (network.nat.ipv6Prefix) {
      prefix = network.nat.ipv6Prefix->address;
      prefixLength = network.nat.ipv6Prefix->length;
   }
}

bool Permitted::IsHost(std::string const& text) const
{
   auto const address = ReadAddress(text);
   return address && subnetLength && ((*address ^ subnet) & GetMask(*subnetLength)) == 0;
}

bool Permitted::IsAddress(std::string const& text) const
{
   auto const address = ReadAddress(text);
   return address && (IsHost(text) || addresses.contains(*address));
}

bool Permitted::IsSubnet(std::string const& text) const
{
   auto const slash = text.find('/');
   return slash != std::string::npos && subnetLength &&
          ReadAddress(text.substr(0, slash)) == subnet &&
          ReadNumber(text.substr(slash + 1)) == *subnetLength;
}

bool Permitted::IsHost6(std::string const& text) const
{
   auto const address = ReadAddress6(text);
   return address && prefixLength && ShareBits(*address, prefix, *prefixLength);
}

bool Permitted::IsPrefix6(std::string const& text) const
{
   auto const slash = text.find('/');
   return slash != std::string::npos && prefixLength &&
          ReadAddress6(text.substr(0, slash)) == prefix &&
          ReadNumber(text.substr(slash + 1)) == std::max(*prefixLength, linkLength);
}

bool Permitted::IsMaskedOui(std::string const& text) const
{
   std::string const rest = ":00:00:00";
   if (text.size() != 17 || !text.ends_with(rest)) {
      return false;
   }
   for (std::size_t at = 0; at < 8; ++at) {
      bool const colon = at % 3 == 2;
      if (colon ? text[at] != ':' : !std::isxdigit(static_cast<unsigned char>(text[at]))) {
         return false;
      }
   }
   return std::ranges::any_of(facts.acceptedOuis, [&text](std::string oui) {
      std::ranges::transform(oui, oui.begin(), [](unsigned char c) { return std::tolower(c); });
      return text.starts_with(oui);
   });
}

} // namespace fuzz
