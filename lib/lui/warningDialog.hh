// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace lui::Utils {

// Shows a warning that needs no window of ours, with text as plain text, and returns when it is
// dismissed. Gtk::Main must exist.
void RaiseWarningDialog(char const* title, char const* text);

} // namespace lui::Utils
