// SPDX-License-Identifier: GPL-2.0-or-later
// The C interface on a database in a folder of the test's own, and on a host that only records.
#pragma once

#include "lib/vnet/database/tempPlace.hh"
#include "vnet/interface/hostSide.hh"
#include "vnet/vnetlib.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace test {

// Everything is public: a test sets what the host has, and looks at what was asked of it.
class HostDouble : public vnet::HostSide {
public:
   bool HasPrivilege() override { return privilege; }
   std::vector<std::string> ListAdapters() override;
   std::vector<vnet::Subnet> ListOccupied(unsigned int own) override;
   void EnableAdapter(vnet::Settings const& settings, unsigned int index) override;
   void DisableAdapter(vnet::Settings const& settings, unsigned int index) override;
   void UpdateDhcp(vnet::Settings const& settings, unsigned int index) override;
   void UpdateNat(vnet::Settings const& settings, unsigned int index) override;
   void StartService(vnet::Settings const& settings, unsigned int index,
                     vnet::Service service) override;
   void StopService(vnet::Settings const& settings, unsigned int index,
                    vnet::Service service) override;
   void RemoveNetwork(vnet::Settings const& settings, unsigned int index) override;
   void Finish(vnet::Settings const& settings, bool changed) override;

   bool privilege = true;
   bool failing = false; // every operation that may fail does
   std::vector<std::string> adapters;
   std::vector<vnet::Subnet> occupied;
   // "start 8 dhcp", in order.
   std::vector<std::string> calls;
   // The settings that came with the last call.
   vnet::Settings settings;

private:
   void Record(std::string const& call, vnet::Settings const& given);
};

class InterfaceTest : public testing::Test {
protected:
   // A minimal database, not loaded, and the lock's patience short.
   InterfaceTest();
   ~InterfaceTest() override;

   // Unloads and loads the given database.
   void Load(std::string const& text);
   // What was logged since the last time.
   static std::vector<std::string> TakeLog();
   // The database in memory as text.
   static std::string Export();

   static std::string const minimal;
   TempPlace const place;
   HostDouble& host;
};

} // namespace test
