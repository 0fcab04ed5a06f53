// SPDX-License-Identifier: GPL-2.0-or-later
// What comes over the C interface, until it is known to be sound.
#pragma once

#include "vnet/vnetlib.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace vnet {

// These throw std::runtime_error with the cause.

// The index of a network's name.
unsigned int RequireIndex(char const* name);
// The index in a record; empty for VNL_NO_VNET.
std::optional<unsigned int> RequireReference(VnetRef const* reference);
// For a pointer that must not be null.
void Require(void const* pointer, char const* what);
// A mode, or the version of a record: numbers of which we know one.
void RequireConstant(std::uint32_t given, std::uint32_t known, char const* what);

// A text that ends with a NUL. One of more than 4096 bytes is cut, and too long for any value.
std::string_view GetText(char const* text);
// A text of size bytes; null is empty.
std::string_view RequireText(char const* text, std::uint32_t size);

// Copies text, with its NUL if asked for, into a buffer of *length bytes, and sets *length to the
// length of the text. Nothing is written if it doesn't fit. CheckRoom tells that before.
void CheckRoom(std::string_view text, bool withNul, char* buffer, std::uint32_t const* length);
void CopyOut(std::string_view text, bool withNul, char* buffer, std::uint32_t* length);

} // namespace vnet
