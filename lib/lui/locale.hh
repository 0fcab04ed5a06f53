// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace lui::Utils {

// Takes the user's locale, before any toolkit is started. False if it isn't known here: its
// language is then followed all the same, by way of LANGUAGE in the environment, and the process
// mustn't ask for that locale again. LANGUAGE is followed without any locale too.
bool FollowLocale();

} // namespace lui::Utils
