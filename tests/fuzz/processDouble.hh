// SPDX-License-Identifier: GPL-2.0-or-later
// Stands in for the base library's log and for its end of the process. Linked into a fuzzer, its
// functions go before those of the shared library.
#pragma once

namespace fuzz {

// Thrown by Panic instead of ending the process. It isn't an exception of the standard library, so
// that nobody catches it by accident.
struct Panicked {};

// Log lines are made, so that what goes into them is looked at, and dropped.

} // namespace fuzz
