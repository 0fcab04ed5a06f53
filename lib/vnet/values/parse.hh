// SPDX-License-Identifier: GPL-2.0-or-later
// From a text to a value that may be stored. Each parser takes the whole text, NULs in it included,
// and is empty for whatever it doesn't know; none of them trims.
#pragma once

#include "vnet/values/address.hh"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vnet {

inline constexpr std::uint32_t minMtu = 68; // RFC 791, 3.2
inline constexpr std::uint32_t maxMtu = 9194;
inline constexpr std::uint32_t maxUdpTimeout = 86400; // seconds: a day
inline constexpr std::uint32_t maxLease = 0x7fffffff; // seconds: what dnsmasq reads
inline constexpr std::size_t maxDisplayName = 127;    // bytes
inline constexpr std::size_t maxDescription = 128;    // bytes
inline constexpr std::size_t maxAdapterName = 15;     // bytes: IFNAMSIZ without its NUL
inline constexpr unsigned int minPrefixLength = 1;    // of a network's subnet
inline constexpr unsigned int maxPrefixLength = 29;   // room for host, gateway, DHCP and guests

// A decimal number without sign and leading zeros, from min to max.
std::optional<std::uint32_t> ParseNumber(std::string_view text, std::uint32_t min,
                                         std::uint32_t max);
// "0" or "1".
std::optional<bool> ParseSwitch(std::string_view text);

// The address of a subnet: its first byte is at most 223 and not 127. Whether host bits are set
// only its mask can tell.
std::optional<Address> ParseSubnetAddress(std::string_view text);
// A contiguous mask of minPrefixLength to maxPrefixLength bits.
std::optional<Address> ParseMask(std::string_view text);
// An address that one host can have: not of 0.0.0.0/8, 127.0.0.0/8 or above 223.255.255.255.
std::optional<Address> ParseHostAddress(std::string_view text);

std::optional<std::uint32_t> ParseMtu(std::string_view text);
// 1 to 65535.
std::optional<std::uint16_t> ParsePort(std::string_view text);
// 0, which stands for none, to 65535.
std::optional<std::uint16_t> ParseConfigPort(std::string_view text);
// 0 to maxUdpTimeout seconds.
std::optional<std::uint32_t> ParseUdpTimeout(std::string_view text);
// 1 to maxLease seconds.
std::optional<std::uint32_t> ParseLease(std::string_view text);

// Plain text of at most maxDisplayName bytes; may be empty.
std::optional<std::string> ParseDisplayName(std::string_view text);
// Plain text of at most maxDescription bytes; may be empty.
std::optional<std::string> ParseDescription(std::string_view text);
// The name of a network device as the kernel takes it (dev_valid_name), and of printable ASCII
// alone: 1 to maxAdapterName bytes, not "." or "..", without "/", ":" and white space.
std::optional<std::string> ParseAdapterName(std::string_view text);

} // namespace vnet
