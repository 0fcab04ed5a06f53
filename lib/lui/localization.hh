// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace lui::Utils {

// Takes the user's locale and prepares cui::GetLocalString. False if the locale isn't known here:
// its language is then followed all the same, by way of LANGUAGE in the environment, and GTK, if
// the process has it (it mustn't have been started yet), is kept from asking for that locale again.
// LANGUAGE is followed without any locale too.
bool InitLocalization();

} // namespace lui::Utils
