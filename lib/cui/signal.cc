// SPDX-License-Identifier: GPL-2.0-or-later
#include "cui/signal.hh"

namespace cui {

sigc::connection Signal::connect(sigc::slot<void> const& slot)
{
   return signal.connect(slot);
}

} // namespace cui
