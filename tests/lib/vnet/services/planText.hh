// SPDX-License-Identifier: GPL-2.0-or-later
// What a plan has beside its texts, as a text.
#pragma once

#include "vnet/services/wanted.hh"

#include <string>

namespace vnet::services {

std::string ToText(WantedNetwork const& wanted);

} // namespace vnet::services
