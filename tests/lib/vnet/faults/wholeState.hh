// SPDX-License-Identifier: GPL-2.0-or-later
// The host with its settings.
#pragma once

#include "lib/vnet/engine/hostState.hh"

namespace test {

// TakeState with the files of /etc/tavrin, and without what tells only how often a thing was made.
HostState TakeWholeState(netlab::Namespace const& host);

} // namespace test
