// SPDX-License-Identifier: GPL-2.0-or-later
// Databases whose plans are compared with golden files.
#pragma once

#include "vnet/services/hostFacts.hh"
#include "vnet/values/settings.hh"

#include <string>
#include <vector>

namespace vnet::services {

struct Database {
   std::string name; // of the golden files
   unsigned int index = 8;
   Settings settings;
   HostFacts facts;

   NetworkSettings& Get() { return settings.networks[index]; }
};

std::vector<Database> MakeDatabases();

// A database with one network, of this /24.
Database MakeNat(std::string const& name);
Database MakeHostOnly(std::string const& name);

} // namespace vnet::services
