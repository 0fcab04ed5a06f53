// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/linux/saveMessage.hh"

#include "lui/plainWrite.hh"

#include <unistd.h>

namespace netcfg {

bool WriteSaveMessage(int fd, utf::string const& snapshot)
{
   utf::string const message = utf::string("Save") + "\n" + snapshot;

   // Characters, not bytes: a snapshot is ASCII, so both are one, and the closing NUL goes along.
   lui::PlainWrite const guard(fd);
   return write(fd, message.c_str(), message.size() + 1) > 0;
}

} // namespace netcfg
