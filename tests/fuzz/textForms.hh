// SPDX-License-Identifier: GPL-2.0-or-later
// What addresses and numbers look like, told by the C library and not by ours.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace fuzz {

using Bytes16 = std::array<std::uint8_t, 16>;

// Each is empty unless the text is written in the one usual way.
std::optional<std::uint32_t> ReadAddress(std::string const& text); // IPv4, in host byte order
std::optional<Bytes16> ReadAddress6(std::string const& text);
// Decimal, without sign and leading zeros.
std::optional<std::uint32_t> ReadNumber(std::string const& text);

bool IsNumberTo(std::string const& text, std::uint32_t max);
// A contiguous IPv4 mask.
bool IsMask(std::string const& text);
// The name of a network device: no path, no white space, nothing that would end it.
bool IsDeviceName(std::string const& text);

// Whether the first bits of both are the same.
bool ShareBits(Bytes16 const& one, Bytes16 const& other, unsigned int length);

} // namespace fuzz
