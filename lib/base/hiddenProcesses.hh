// SPDX-License-Identifier: GPL-2.0-or-later
// Whether /proc tells of other users' processes.
#pragma once

#include <string_view>

namespace base {

// Whether, by this text of /proc/self/mountinfo, the file system at /proc hides other users'
// processes from whoever may not trace them: proc(5), hidepid.
bool HidesProcesses(std::string_view mounts);

} // namespace base
