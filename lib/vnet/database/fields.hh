// SPDX-License-Identifier: GPL-2.0-or-later
// What each key of a network's group holds.
#pragma once

#include "vnet/values/parse.hh"
#include "vnet/values/settings.hh"

#include <type_traits>

namespace vnet {

// One key: where its value stands in the settings, and how it is read. In is a callable from
// NetworkSettings to the value, Parse one from text to what may be stored.
template <class In, class Parse>
struct Field {
   char const* key;
   In in;
   Parse parse;
   char const* expects; // for messages: "a number from 68 to 9194"

   using Value = std::remove_reference_t<std::invoke_result_t<In, NetworkSettings&>>;

   // False leaves network as it was.
   bool Read(std::string_view text, NetworkSettings& network) const
   {
      auto const value = parse(text);
      if (value) {
         in(network) = *value;
      }
      return value.has_value();
   }
};

template <class In, class Parse>
Field(char const*, In, Parse, char const*) -> Field<In, Parse>;

// "true" or "false", which say more in a file than "1" and "0".
std::optional<bool> ParseBoolean(std::string_view text);

// What a value is written as; empty if its key isn't written.
std::optional<std::string> Write(bool value);
std::optional<std::string> Write(std::uint16_t value);
std::optional<std::string> Write(std::uint32_t value);
std::optional<std::string> Write(std::string const& value);
std::optional<std::string> Write(std::optional<std::uint32_t> value);
std::optional<std::string> Write(std::optional<Address> value);
std::optional<std::string> Write(std::optional<Prefix6> const& value);

namespace field {

inline constexpr char boolean[] = "\"true\" or \"false\"";
inline constexpr char address[] = "an IPv4 address of a host";
inline constexpr char lease[] = "a number of seconds from 1 to 2147483647";
inline constexpr char name[] = "UTF-8 of at most 127 bytes without control characters";

// Where a value stands: a member of the network's settings, or of one of its parts.
template <auto member, auto... inner>
struct Member {
   template <class Part>
   constexpr auto& operator()(Part& part) const
   {
      if constexpr (sizeof...(inner) == 0) {
         return part.*member;
      } else {
         return Member<inner...>()(part.*member);
      }
   }
};

template <auto member>
using Own = Member<member>;
template <auto member>
using Nat = Member<&NetworkSettings::nat, member>;
template <auto member>
using Dhcp = Member<&NetworkSettings::dhcp, member>;

using N = NetworkSettings;
using D = DhcpSettings;
using T = NatSettings;

inline constexpr Field displayName{"name", Own<&N::displayName>(), ParseDisplayName, name};
inline constexpr Field subnetAddress{"subnet", Own<&N::subnetAddress>(), ParseSubnetAddress,
                                     "an IPv4 address of a subnet"};
inline constexpr Field subnetMask{"mask", Own<&N::subnetMask>(), ParseMask,
                                  "a contiguous mask of 1 to 29 bits"};
inline constexpr Field mtu{"mtu", Own<&N::mtu>(), ParseMtu, "a number from 68 to 9194"};
inline constexpr Field useAdapter{"adapter", Own<&N::useAdapter>(), ParseBoolean, boolean};
inline constexpr Field useDhcp{"dhcp", Own<&N::useDhcp>(), ParseBoolean, boolean};
inline constexpr Field useNat{"nat", Own<&N::useNat>(), ParseBoolean, boolean};

inline constexpr Field gateway{"nat-gateway", Nat<&T::gateway>(), ParseHostAddress, address};
inline constexpr Field configPort{"nat-config-port", Nat<&T::configPort>(), ParseConfigPort,
                                  "a number from 0 to 65535"};
inline constexpr Field allowActiveFtp{"nat-active-ftp", Nat<&T::allowActiveFtp>(), ParseBoolean,
                                      boolean};
inline constexpr Field allowAnyOui{"nat-any-oui", Nat<&T::allowAnyOui>(), ParseBoolean, boolean};
inline constexpr Field udpTimeout{"nat-udp-timeout", Nat<&T::udpTimeout>(), ParseUdpTimeout,
                                  "a number of seconds from 0 to 86400"};
inline constexpr Field enableIpv6{"nat-ipv6", Nat<&T::enableIpv6>(), ParseBoolean, boolean};
inline constexpr Field ipv6Prefix{"nat-ipv6-prefix", Nat<&T::ipv6Prefix>(), &Prefix6::Parse,
                                  "an IPv6 address, \"/\" and a length from 0 to 128"};

inline constexpr Field rangeBegin{"dhcp-range-begin", Dhcp<&D::rangeBegin>(), ParseHostAddress,
                                  address};
inline constexpr Field rangeEnd{"dhcp-range-end", Dhcp<&D::rangeEnd>(), ParseHostAddress, address};
inline constexpr Field defaultLease{"dhcp-default-lease", Dhcp<&D::defaultLease>(), ParseLease,
                                    lease};
inline constexpr Field maxLease{"dhcp-max-lease", Dhcp<&D::maxLease>(), ParseLease, lease};
inline constexpr Field netbiosServer{"dhcp-netbios-server", Dhcp<&D::netbiosServer>(),
                                     ParseHostAddress, address};
inline constexpr Field router{"dhcp-router", Dhcp<&D::router>(), ParseHostAddress, address};
inline constexpr Field dnsServer{"dhcp-dns-server", Dhcp<&D::dnsServer>(), ParseHostAddress,
                                 address};

} // namespace field

// Calls use(field) for each.
template <class Use>
void ForEachField(Use use)
{
   using namespace field;
   auto const all = [&use](auto const&... fields) { (use(fields), ...); };
   all(displayName, subnetAddress, subnetMask, mtu, useAdapter, useDhcp, useNat, gateway,
       configPort, allowActiveFtp, allowAnyOui, udpTimeout, enableIpv6, ipv6Prefix, rangeBegin,
       rangeEnd, defaultLease, vnet::field::maxLease, netbiosServer, router, dnsServer);
}

} // namespace vnet
