// SPDX-License-Identifier: GPL-2.0-or-later
// What loading and saving share of the database's values.
#pragma once

#include "utf/string.hh"
#include "vnet/vnetlib.h"

#include <cstdint>
#include <cstdlib>

namespace netcfg {

// A network for a record. VNL_NO_VNET stands for none.
inline VnetRef MakeRef(int vnet)
{
   return {VNL_RECORD_VERSION, VNL_RECORD_VERSION, vnet};
}

// A record that the library accepts, for use in place: only its ref.vnet changes between calls.
inline VNL_FeatureStruct MakeFeatures()
{
   VNL_FeatureStruct features{};
   features.version = VNL_RECORD_VERSION;
   features.ref = MakeRef(0);
   return features;
}

// The number at the start of an MTU's text; 0 without one. The low 32 bits alone count, in the
// judgement as in the save, so what is judged is what is written.
inline std::uint32_t ParseMTU(utf::string const& text)
{
   return static_cast<std::uint32_t>(std::strtol(text.c_str(), nullptr, 10));
}

} // namespace netcfg
