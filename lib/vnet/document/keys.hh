// SPDX-License-Identifier: GPL-2.0-or-later
// The document's own keys. Those of a network's values are the database's (database/fields.hh).
#pragma once

namespace vnet::document::key {

inline constexpr char version[] = "version";
inline constexpr char automatic[] = "automatic";
inline constexpr char adapters[] = "adapters";
inline constexpr char networks[] = "networks";
inline constexpr char forwards[] = "forwards";
inline constexpr char protocol[] = "protocol";
inline constexpr char hostPort[] = "host-port";
inline constexpr char address[] = "address";
inline constexpr char port[] = "port";
inline constexpr char description[] = "description";

} // namespace vnet::document::key
