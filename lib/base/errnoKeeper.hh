// SPDX-License-Identifier: GPL-2.0-or-later
// A scope that leaves errno as it found it.
#pragma once

#include <cerrno>

namespace base {

class ErrnoKeeper {
public:
   ErrnoKeeper() : kept(errno) {}
   ErrnoKeeper(ErrnoKeeper const&) = delete;
   ErrnoKeeper& operator=(ErrnoKeeper const&) = delete;
   ~ErrnoKeeper() { errno = kept; }

private:
   int kept;
};

} // namespace base
