// SPDX-License-Identifier: GPL-2.0-or-later
// Where this installation is, found at run time, so that a build tree works like an installation.
#pragma once

#include "utf/string.hh"

namespace lui::Utils {

// The directory of the running program.
utf::string GetBinDir();
// The directory of our libraries.
utf::string GetLibDir();

} // namespace lui::Utils
