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

inline constexpr Field displayName{"name", [](auto& network) -> auto& {return network.displayName;
} // namespace field
, ParseDisplayName, "UTF-8 of at most 127 bytes without control characters"
}; // namespace vnet
inline constexpr Field subnetAddress{"subnet",
                                     [](auto& network) -> auto& {return network.subnetAddress;
}
, ParseSubnetAddress, "an IPv4 address of a subnet"
}
;
inline constexpr Field subnetMask{"mask", [](auto& network) -> auto& {return network.subnetMask;
}
, ParseMask, "a contiguous mask of 1 to 29 bits"
}
;
inline constexpr Field mtu{"mtu", [](auto& network) -> auto& {return network.mtu;
}
, ParseMtu, "a number from 68 to 9194"
}
;
inline constexpr Field useAdapter{"adapter", [](auto& network) -> auto& {return network.useAdapter;
}
, ParseBoolean, boolean
}
;
inline constexpr Field useDhcp{"dhcp", [](auto& network) -> auto& {return network.useDhcp;
}
, ParseBoolean, boolean
}
;
inline constexpr Field useNat{"nat", [](auto& network) -> auto& {return network.useNat;
}
, ParseBoolean, boolean
}
;

inline constexpr Field gateway{"nat-gateway",
                               [](auto& network) -> auto& {return network.nat.gateway;
}
, ParseHostAddress, address
}
;
inline constexpr Field configPort{"nat-config-port",
                                  [](auto& network) -> auto& {return network.nat.configPort;
}
, ParseConfigPort, "a number from 0 to 65535"
}
;
inline constexpr Field allowActiveFtp{"nat-active-ftp",
                                      [](auto& network) -> auto& {return network.nat.allowActiveFtp;
}
, ParseBoolean, boolean
}
;
inline constexpr Field allowAnyOui{"nat-any-oui",
                                   [](auto& network) -> auto& {return network.nat.allowAnyOui;
}
, ParseBoolean, boolean
}
;
inline constexpr Field udpTimeout{"nat-udp-timeout",
                                  [](auto& network) -> auto& {return network.nat.udpTimeout;
}
, ParseUdpTimeout, "a number of seconds from 1 to 86400"
}
;
inline constexpr Field enableIpv6{"nat-ipv6",
                                  [](auto& network) -> auto& {return network.nat.enableIpv6;
}
, ParseBoolean, boolean
}
;
inline constexpr Field ipv6Prefix{"nat-ipv6-prefix",
                                  [](auto& network) -> auto& {return network.nat.ipv6Prefix;
}
, &Prefix6::Parse, "an IPv6 address, \"/\" and a length from 0 to 128"
}
;

inline constexpr Field rangeBegin{"dhcp-range-begin",
                                  [](auto& network) -> auto& {return network.dhcp.rangeBegin;
}
, ParseHostAddress, address
}
;
inline constexpr Field rangeEnd{"dhcp-range-end",
                                [](auto& network) -> auto& {return network.dhcp.rangeEnd;
}
, ParseHostAddress, address
}
;
inline constexpr Field defaultLease{"dhcp-default-lease",
                                    [](auto& network) -> auto& {return network.dhcp.defaultLease;
}
, ParseLease, lease
}
;
inline constexpr Field maxLease{"dhcp-max-lease",
                                [](auto& network) -> auto& {return network.dhcp.maxLease;
}
, ParseLease, lease
}
;
inline constexpr Field netbiosServer{"dhcp-netbios-server",
                                     [](auto& network) -> auto& {return network.dhcp.netbiosServer;
}
, ParseHostAddress, address
}
;
inline constexpr Field router{"dhcp-router", [](auto& network) -> auto& {return network.dhcp.router;
}
, ParseHostAddress, address
}
;
inline constexpr Field dnsServer{"dhcp-dns-server",
                                 [](auto& network) -> auto& {return network.dhcp.dnsServer;
}
, ParseHostAddress, address
}
;

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
