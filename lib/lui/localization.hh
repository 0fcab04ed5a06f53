// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace lui::Utils {

// Takes the user's locale and prepares cui::GetLocalString. False if the locale isn't known here;
// texts are then the default ones.
bool InitLocalization();

} // namespace lui::Utils
