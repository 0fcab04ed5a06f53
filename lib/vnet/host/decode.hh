// SPDX-License-Identifier: GPL-2.0-or-later
// The kernel's messages about links, addresses and routes, as values.
#pragma once

#include "vnet/host/addresses.hh"
#include "vnet/host/links.hh"
#include "vnet/host/routes.hh"

#include <optional>

struct nlmsghdr;

namespace vnet::host {

// Each is empty for a message that isn't of its kind or is too short. The link's `wireless` stays
// false: the message doesn't tell.
std::optional<Link> DecodeLink(nlmsghdr const* message);
std::optional<InterfaceAddress> DecodeAddress(nlmsghdr const* message);
std::optional<Route> DecodeRoute(nlmsghdr const* message);

} // namespace vnet::host
