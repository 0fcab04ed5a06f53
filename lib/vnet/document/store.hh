// SPDX-License-Identifier: GPL-2.0-or-later
// Makes the database say what settings say.
#pragma once

#include "vnet/values/settings.hh"

namespace vnet {
class Database;
}

namespace vnet::document {

// In memory, with the database's lock; committing is left to the caller. Networks, forwards and
// adapters that settings don't hold are removed. Comments, unknown keys, and values that don't
// parse and so count as never set, stay. What is equal isn't touched. Throws Error if the lock
// can't be had.
void Store(Database& database, Settings const& settings);

} // namespace vnet::document
