// SPDX-License-Identifier: GPL-2.0-or-later
// ICMP echo, of both versions.
#pragma once

#include "support/netlab/namespace.hh"
#include "support/testProcess.hh"

#include <cstddef>
#include <string>

namespace netlab {

// Sends a request to the address each second until one is answered. False at the deadline, or if
// there is no way there. `size` is that of the payload in bytes; a packet that is too large for the
// way isn't broken up.
bool Ping(Namespace const& place, std::string const& address,
          test::Milliseconds deadline = test::patience, std::size_t size = 32);

// What to wait where no answer is expected: local wires answer in microseconds.
inline constexpr test::Milliseconds silence{400};

} // namespace netlab
