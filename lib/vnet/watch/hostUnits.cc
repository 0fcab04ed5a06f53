// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/watch/hostUnits.hh"

#include "vnet/process/serviceManager.hh"
#include "vnet/process/systemBusAddress.hh"
#include "vnet/process/systemdUnits.hh"
#include "vnet/watch/watcherProgram.hh"

#include <unistd.h>

namespace vnet::watch {

namespace {

// As the units name them.
constexpr char unitRunFolder[] = "/run/tavrin";
constexpr char unitStateFolder[] = "/var/lib/tavrin";
constexpr char unitDatabaseFolder[] = "/etc/tavrin";

bool AreInstalled()
{
   auto const folder = std::string(TAVRIN_UNIT_DIR) + "/";
   return FindWatcherProgram() == GetInstalledWatcherProgram() &&
          access((folder + watcherUnit).c_str(), R_OK) == 0 &&
          access((folder + "tavrin-dhcp@.service").c_str(), R_OK) == 0;
}

} // namespace

std::shared_ptr<process::Units> FindHostUnits(std::string const& runFolder)
{
   bool const found =
      runFolder == unitRunFolder && access(process::systemBusSocket, F_OK) == 0 && AreInstalled() &&
      !process::FindManagerObstacle({unitDatabaseFolder, unitRunFolder, unitStateFolder});
   return found ? std::make_shared<process::SystemdUnits>() : nullptr;
}

} // namespace vnet::watch
