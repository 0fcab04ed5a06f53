// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/onDone.hh"

namespace netcfg::common {

void Refuse(OnDone const& onDone, utf::string const& message)
{
   // An empty or a blocked slot skips the call itself.
   onDone(false, cui::Error(message));
}

} // namespace netcfg::common
