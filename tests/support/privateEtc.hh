// SPDX-License-Identifier: GPL-2.0-or-later
// A private /etc/tavrin, for tests of what writes there.
#pragma once

#include <string>

namespace test {

// Gives this process, from now on, a mount namespace of its own in which /etc is a copy by links of
// the host's, but with an empty, writable /etc/tavrin. An ordinary user gets a user namespace for
// that. Call it while the process has one thread. True on success; a later call only tells.
bool HavePrivateEtc();

// Why HavePrivateEtc is false, for GTEST_SKIP.
std::string const& GetPrivateEtcProblem();

} // namespace test
