// SPDX-License-Identifier: GPL-2.0-or-later
// What this process may do.
#pragma once

#include <string>

namespace vnet::engine {

// Whether the kernel lets this process change the devices of its network namespace: it is asked to
// change one that doesn't exist. Effective user id 0 says nothing in a container.
bool MayChangeNetwork();
// Whether files in the folder, or the folder itself in the one above it, can be made.
bool MayWrite(std::string const& folder);

} // namespace vnet::engine
