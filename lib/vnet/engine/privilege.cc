// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/privilege.hh"

#include "vnet/host/netlink.hh"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <limits>
#include <linux/rtnetlink.h>
#include <unistd.h>

namespace vnet::engine {

bool MayChangeNetwork()
{
   host::RouteSocket socket;
   host::Request request(RTM_SETLINK, 0);
   ifinfomsg header{};
   header.ifi_index = std::numeric_limits<int>::max();
   request.Append(header);
   int const error = socket.Try(request);
   return error != EPERM && error != EACCES;
}

bool MayWrite(std::string const& folder)
{
   if (faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0) {
      return true;
   }
   auto const parent = std::filesystem::path(folder).parent_path();
   return errno == ENOENT && faccessat(AT_FDCWD, parent.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

} // namespace vnet::engine
