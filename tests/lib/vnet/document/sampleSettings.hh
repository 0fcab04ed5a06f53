// SPDX-License-Identifier: GPL-2.0-or-later
// Networks to write and compare.
#pragma once

#include "vnet/values/settings.hh"

namespace vnet::document {

// Every value of a network is set, and none stands at its default.
NetworkSettings MakeFullNetwork();
// An automatic one with two adapters, the full one, a host-only one and one with nothing.
Settings MakeSampleSettings();

} // namespace vnet::document
