// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/vnet/vnetDouble.hh"

#include "support/vnet/recorder.hh"

namespace test {

void VnetDouble::Reset(VnetDatabase const& database)
{
   GetVnetState() = VnetState{};
   GetVnetState().database = database;
}

void VnetDouble::Load()
{
   GetVnetState().loaded = true;
}

bool VnetDouble::IsLoaded()
{
   return GetVnetState().loaded;
}

VnetDatabase& VnetDouble::GetDatabase()
{
   return GetVnetState().database;
}

void VnetDouble::FailFunction(std::string const& function)
{
   GetVnetState().failingFunctions.insert(function);
}

void VnetDouble::FailCall(std::size_t number)
{
   GetVnetState().failingCalls.insert(number);
}

void VnetDouble::SetExcessLength(std::uint32_t bytes)
{
   GetVnetState().excessLength = bytes;
}

void VnetDouble::StopAt(std::string const& function)
{
   GetVnetState().stopAt = function;
}

std::vector<std::string> const& VnetDouble::GetLog()
{
   return GetVnetState().log;
}

void VnetDouble::ClearLog()
{
   GetVnetState().log.clear();
}

void VnetDouble::SetTrace(int fd)
{
   GetVnetState().traceFd = fd;
}

int VnetDouble::GetOpenLists()
{
   return GetVnetState().openLists;
}

} // namespace test
