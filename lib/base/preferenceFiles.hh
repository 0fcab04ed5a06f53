// SPDX-License-Identifier: GPL-2.0-or-later
// Where preferences are read from.
#pragma once

#include <string>

namespace base {

// Reads the preferences anew: the host's file first, then the user's above it unless that is the
// empty text. Keys that begin with "feature." are the host's alone. False if a file exists and
// can't be read.
bool LoadPreferences(std::string const& hostPath, std::string const& userPath);

// The path of the user's file; empty for a process with effective user id 0, or without a home.
std::string UserPreferencePath();

} // namespace base
