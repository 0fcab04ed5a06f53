// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/productState.h"

#include <map>
#include <string>

namespace {

std::map<int, std::string>& HelpVersions()
{
   static std::map<int, std::string> versions;
   return versions;
}

} // namespace

void ProductState_SetHelp(int system, const char* version)
{
   HelpVersions()[system] = std::string(version ? version : "");
}

const char* ProductState_GetHelp(int system)
{
   auto found = HelpVersions().find(system);
   return found == HelpVersions().end() ? "" : found->second.c_str();
}

const char* ProductState_GetName(void)
{
   return "tavrin-netcfg";
}

const char* ProductState_GetVersion(void)
{
   return TAVRIN_VERSION;
}

const char* ProductState_GetBuildNumberString(void)
{
   return "build-" TAVRIN_BUILD_NUMBER;
}

const char* ProductState_GetCompilationOption(void)
{
   return TAVRIN_BUILD_TYPE;
}
