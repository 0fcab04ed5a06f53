// SPDX-License-Identifier: GPL-2.0-or-later
// Running out of memory, on purpose.
#pragma once

namespace netcfg::common {

// As long as it lives, operator new of this thread throws std::bad_alloc.
class NoMemory {
public:
   NoMemory();
   ~NoMemory();
   NoMemory(NoMemory const&) = delete;
   NoMemory& operator=(NoMemory const&) = delete;
};

} // namespace netcfg::common
