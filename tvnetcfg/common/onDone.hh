// SPDX-License-Identifier: GPL-2.0-or-later
// The completion slot of the model's refusable operations.
#pragma once

#include "cui/error.hh"

#include <sigc++/sigc++.h>

namespace netcfg::common {

// Called once with false and the error if the operation is refused, and never on success.
// An empty or blocked slot makes the refusal silent.
using OnDone = sigc::slot<void, bool, cui::Error const&>;

// Refuses: hands an error with the message to onDone.
void Refuse(OnDone const& onDone, utf::string const& message);

} // namespace netcfg::common
