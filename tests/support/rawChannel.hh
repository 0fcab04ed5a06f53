// SPDX-License-Identifier: GPL-2.0-or-later
// The channel by bare system calls, so that both sides can be tested against the wire.
#pragma once

#include "support/testProcess.hh"

#include <optional>
#include <string>
#include <string_view>

namespace test {

// Writes the text and a NUL. False if the reader has gone.
bool WriteMessage(int fd, std::string_view text);

// Reads up to a NUL, byte for byte as they come; empty at the deadline or at the end of file.
std::optional<std::string> ReadMessage(int fd, Milliseconds deadline = patience);

} // namespace test
