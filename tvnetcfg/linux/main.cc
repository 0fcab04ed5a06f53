// SPDX-License-Identifier: GPL-2.0-or-later
// One executable, two roles: the editor that the user starts, and the server that it starts. What
// they are made of are modules, so that a server has no toolkit. The executable itself is next to
// nothing: each of its libraries would be searched for each of the client's 50,000 symbols.
#include "lui/locale.hh"
#include "tvnetcfg/linux/modules.hh"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <future>
#include <string>
#include <system_error>

namespace {

using namespace netcfg;

// Where the modules are. Only a build tree keeps its libraries beside its programs.
std::string GetModuleDirectory()
{
   std::error_code error;
   std::filesystem::path const tree =
      std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
   bool const isBuildTree = std::filesystem::exists(tree / "CMakeCache.txt", error);
   return (isBuildTree ? tree / "lib" : std::filesystem::path(INSTALLED_LIB_DIR)) / "tavrin-netcfg";
}

// Loads a module and gives its entry; null, and the reason on standard error, if it can't.
template <class Entry>
Entry* Load(char const* module, char const* entry, int visibility = RTLD_LOCAL)
{
   std::string const path = GetModuleDirectory() + "/" + module;
   void* const loaded = dlopen(path.c_str(), RTLD_LAZY | visibility);
   void* const found = loaded ? dlsym(loaded, entry) : nullptr;
   if (!found) {
      std::fprintf(stderr, "tavrin-netcfg: %s\n", dlerror());
   }
   return reinterpret_cast<Entry*>(found);
}

// Linking the client takes about as long as GTK's own start, so both happen at once.
RoleEntry* LoadClient(char** arguments)
{
   lui::Utils::FollowLocale();
   auto* const startToolkit = Load<ToolkitEntry>(TOOLKIT_MODULE, TOOLKIT_ENTRY);
   if (!startToolkit) {
      return nullptr;
   }
   // As libraries that were linked would be, for what GTK loads in its turn; not while the client's
   // symbols are searched, which would have all libraries of the toolkit before their own.
   auto client = std::async(
      std::launch::async, [] { return Load<RoleEntry>(CLIENT_MODULE, CLIENT_ENTRY, RTLD_GLOBAL); });
   startToolkit(1, arguments);
   return client.get();
}

} // namespace

int main(int argc, char** argv)
{
   // The count alone decides, so that root's client is a client too.
   bool const isClient = argc == 1;
   auto* const run = isClient ? LoadClient(argv) : Load<RoleEntry>(SERVER_MODULE, SERVER_ENTRY);
   return run ? run(argc, argv) : EXIT_FAILURE;
}
