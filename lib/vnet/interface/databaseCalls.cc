// SPDX-License-Identifier: GPL-2.0-or-later
// The calls on the database as a whole.
#include "vnet/interface/arguments.hh"
#include "vnet/interface/attempt.hh"
#include "vnet/interface/library.hh"
#include "vnet/values/error.hh"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>

using namespace vnet;

namespace {

char const databaseName[] = "the networking database";

} // namespace

bool VNL_NetworkingDBExists(void)
{
   return AttemptFor("look for", databaseName, [] {
      struct stat status;
      // A symbolic link is there, too, wherever it leads: reading it is refused.
      auto const& path = Library::Get().GetPlace().file;
      if (lstat(path.c_str(), &status) == 0) {
         return true;
      }
      if (errno != ENOENT && errno != ENOTDIR) {
         throw Error("examine", path, std::strerror(errno));
      }
      return false;
   });
}

bool VNL_CanReadNetworkingDB(void)
{
   return Attempt("read", databaseName, [] { Database const probe(Library::Get().GetPlace()); });
}

bool VNL_Load(int mode)
{
   return Attempt("load", databaseName, [mode] {
      RequireConstant(static_cast<std::uint32_t>(mode), 0, "mode");
      Library::Get().Load();
   });
}

void VNL_Unload(void)
{
   Attempt("unload", databaseName, [] { Library::Get().Unload(); });
}

uint32_t VNL_GetNumberOfVnets(void)
{
   return maxNetworks;
}

char* VNL_ExportDatabaseToBuffer(void)
{
   char* text = nullptr;
   Attempt("export", databaseName, [&text] {
      text = strdup(Library::Get().Export().c_str());
      Require(text, "memory");
   });
   return text;
}
