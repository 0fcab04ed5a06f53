// SPDX-License-Identifier: GPL-2.0-or-later
// What may stand in the texts that are written for one network.
#pragma once

#include "fuzz/textForms.hh"
#include "vnet/services/hostFacts.hh"
#include "vnet/values/settings.hh"

#include <set>

namespace fuzz {

// The numbers of the network's settings, and nothing of their texts.
class Permitted {
public:
   Permitted(vnet::Settings const& settings, unsigned int index,
             vnet::services::HostFacts const& hostFacts);

   std::string const& GetDevice() const { return device; }
   vnet::services::HostFacts const& GetFacts() const { return facts; }

   // An address of the network's subnet.
   bool IsHost(std::string const& text) const;
   // One of the subnet, or one that the settings name.
   bool IsAddress(std::string const& text) const;
   // The network's subnet, with its length.
   bool IsSubnet(std::string const& text) const;
   // An address of the network's IPv6 prefix.
   bool IsHost6(std::string const& text) const;
   // The network's IPv6 prefix, with its length or the longer one that a link has.
   bool IsPrefix6(std::string const& text) const;
   // A manufacturer that the host accepts, with the rest of the address 0.
   bool IsMaskedOui(std::string const& text) const;

private:
   std::string const device;
   vnet::services::HostFacts const& facts;
   std::uint32_t subnet = 0;
   std::optional<unsigned int> subnetLength; // empty: there is no subnet
   std::set<std::uint32_t> addresses;
   Bytes16 prefix{};
   std::optional<unsigned int> prefixLength; // empty: there is no prefix
};

} // namespace fuzz
