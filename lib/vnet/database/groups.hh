// SPDX-License-Identifier: GPL-2.0-or-later
// The names of the file's groups, and what they name.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vnet {

inline constexpr char generalGroup[] = "general";

// Names one forward: there is one for each network, protocol and host port.
struct ForwardKey {
   unsigned int network = 0;
   bool tcp = true;
   std::uint16_t hostPort = 0;
};

// "tvnet8 forward tcp 2222"
std::string GetForwardGroup(ForwardKey const& key);
// Empty unless group is exactly what GetForwardGroup makes.
std::optional<ForwardKey> ParseForwardGroup(std::string_view group);

// "adapter eth0". Brackets, which a device's name may hold and a group's may not, and "%" are
// written as "%" and two hexadecimal digits.
std::string GetAdapterGroup(std::string_view name);
// The device's name; empty unless group is exactly what GetAdapterGroup makes of it.
std::optional<std::string> ParseAdapterGroup(std::string_view group);

} // namespace vnet
