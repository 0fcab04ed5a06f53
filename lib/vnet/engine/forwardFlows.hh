// SPDX-License-Identifier: GPL-2.0-or-later
// The flows that existed before a port forward changed.
#pragma once

#include "vnet/services/wanted.hh"

#include <vector>

namespace vnet::engine {

struct Host;

// The forwards of which only one list has this very one: added, removed, and both of a changed one.
// The lists are sorted.
std::vector<services::WantedForward> GetChanged(std::vector<services::WantedForward> const& before,
                                                std::vector<services::WantedForward> const& now);

// Makes the kernel forget the flows to the host's ports of these forwards: where a flow goes is
// decided on its first packet, so it would go on as it did. Throws Error.
void ForgetFlows(Host& host, std::vector<services::WantedForward> const& forwards);

// The same with flows that no forward sends on: those that began while its rules weren't there.
void ForgetUntranslated(Host& host, std::vector<services::WantedForward> const& forwards);

// The forwards whose ports services of this host have: they shadow those services. Ports that can't
// be examined are taken for free.
std::vector<services::WantedForward>
ListShadowing(std::vector<services::WantedForward> const& forwards);

} // namespace vnet::engine
