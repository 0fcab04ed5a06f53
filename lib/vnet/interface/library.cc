// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/interface/library.hh"

#include "vnet/interface/attempt.hh"
#include "vnet/values/freeSubnet.hh"

#include <algorithm>
#include <stdexcept>

namespace vnet {

namespace {

std::unique_ptr<Library>& GetInstance()
{
   static std::unique_ptr<Library> instance;
   return instance;
}

// What the networks but one take. An address whose mask doesn't fit takes itself.
std::vector<Subnet> GetOthers(Settings const& settings, unsigned int index)
{
   std::vector<Subnet> others;
   for (auto const& [other, network] : settings.networks) {
      if (other != index && network.subnetAddress) {
         others.push_back(network.GetSubnet().value_or(Subnet{*network.subnetAddress, 32}));
      }
   }
   return others;
}

bool Collides(Settings const& settings, unsigned int index)
{
   auto const found = settings.networks.find(index);
   auto const subnet = found == settings.networks.end() ? std::nullopt : found->second.GetSubnet();
   return subnet && std::ranges::any_of(GetOthers(settings, index), [&](Subnet const& other) {
             return other.Overlaps(*subnet);
          });
}

} // namespace

Library::Library(Database::Place where, std::unique_ptr<HostSide> hostSide)
   : place(std::move(where)), host(std::move(hostSide))
{}

Library& Library::Get()
{
   auto& instance = GetInstance();
   if (!instance) {
      instance = std::make_unique<Library>(Database::Place(), MakeHostSide());
   }
   return *instance;
}

void Library::Replace(std::unique_ptr<Library> other)
{
   GetInstance() = std::move(other);
}

void Library::Load()
{
   if (!host->HasPrivilege()) {
      throw std::runtime_error("This process may not change the host's networks");
   }
   if (database) {
      database->Refresh();
      return;
   }
   database.emplace(place);
}

void Library::Unload()
{
   if (!database) {
      return;
   }
   char const* const path = place.file.c_str();
   SettleAssigned();
   bool const changed = database->HasChanges();
   Attempt("commit", path, [this] { database->Commit(); });
   Attempt("bring the host in line with", path,
           [&] { host->Finish(database->GetSettings(), changed); });
   assigned.clear();
   adapters.clear();
   database.reset();
}

Database& Library::GetLoaded()
{
   if (!database) {
      throw std::runtime_error("No database is loaded");
   }
   return *database;
}

Database& Library::GetForReading()
{
   GetLoaded().Refresh();
   return *database;
}

Database& Library::GetForWriting()
{
   GetLoaded().Lock();
   return *database;
}

void Library::SetSubnetAddress(unsigned int index, std::optional<Address> address)
{
   GetForWriting().Set(index, field::subnetAddress, address);
   assigned.erase(index);
}

std::optional<Subnet> Library::FindSubnet(unsigned int index)
{
   auto occupied = host->ListOccupied(index);
   std::ranges::copy(GetOthers(database->GetSettings(), index), std::back_inserter(occupied));
   return FindFreeSubnet(occupied, database->GetNetwork(index).GetSubnet());
}

void Library::AssignSubnet(unsigned int index)
{
   GetForWriting();
   assigned.insert(index);
   Assign(index);
}

void Library::Assign(unsigned int index)
{
   auto const subnet = FindSubnet(index);
   if (!subnet) {
      throw std::runtime_error("No private subnet is free");
   }
   database->Set(index, field::subnetAddress, subnet->address);
   database->Set(index, field::subnetMask, subnet->GetMask());
}

void Library::SettleAssigned()
{
   for (unsigned int const index : assigned) {
      if (!database->GetNetwork(index).subnetAddress || Collides(database->GetSettings(), index)) {
         Attempt("settle the subnet of", GetNetworkName(index).c_str(), [&] { Assign(index); });
      }
   }
}

std::string Library::Export()
{
   GetForReading();
   SettleAssigned();
   return database->Export();
}

void Library::DeleteNetwork(unsigned int index)
{
   auto& loaded = GetForWriting();
   loaded.DeleteNetwork(index);
   assigned.erase(index);
   host->RemoveNetwork(loaded.GetSettings(), index);
}

} // namespace vnet
