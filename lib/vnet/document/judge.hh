// SPDX-License-Identifier: GPL-2.0-or-later
// Whether settings, each of which parsed, make networks together.
#pragma once

#include "vnet/values/settings.hh"

#include <string>
#include <vector>

namespace vnet::document {

struct Judgement {
   // What contradicts itself: some network can't run as it is described.
   std::vector<std::string> problems;
   // What a network can't have, although it runs, and what has no effect.
   std::vector<std::string> notes;
};

// Depends on the settings alone, and on no host.
Judgement Judge(Settings const& settings);

} // namespace vnet::document
