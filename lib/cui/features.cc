// SPDX-License-Identifier: GPL-2.0-or-later
#include "cui/features.hh"

#include "base/preference.h"

namespace cui {

Features& GetFeatures()
{
   static Features features{Capability(Preference_GetBool(true, "feature.mtu"))};
   return features;
}

} // namespace cui
