// SPDX-License-Identifier: GPL-2.0-or-later
// All networks as one document: what tavrin-vnets exports and applies.
#pragma once

#include "vnet/json/value.hh"
#include "vnet/values/settings.hh"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vnet::document {

// The version of its layout that is written, and the only one that is read.
inline constexpr unsigned int version = 1;
// Of the largest text that is read, in bytes: as much as the largest database says.
inline constexpr std::size_t maxBytes = 8 << 20;

// The same settings give the same text: networks by index, adapters by name, forwards by protocol
// and port, and of each network the keys in the order of the database's. A value that stands at its
// default isn't written, but for the three that tell what a network is.
json::Value Make(Settings const& settings);

struct Reading {
   Settings settings;
   // Each with its place: "line 12, column 7, networks.tvnet8.mtu: 10 isn't a number from 68 to
   // 9194". If there are any, settings are not what was meant.
   std::vector<std::string> complaints;
};

// Every value is parsed as the database parses it. A key that isn't known, or that stands twice, is
// one to complain of, as what it was meant to do wouldn't happen.
Reading Read(json::Value const& document);
// The same from text, which may be anything.
Reading ReadText(std::string_view text);

} // namespace vnet::document
