// SPDX-License-Identifier: GPL-2.0-or-later
#include "cui/destroyNotifier.hh"

namespace cui {

DestroyNotifier::~DestroyNotifier()
{
   notify_callbacks();
   destroyed.emit();
}

} // namespace cui
