// SPDX-License-Identifier: GPL-2.0-or-later
// A host whose networks an engine makes real, and what a test asks of it.
#pragma once

#include "lib/vnet/engine/hostState.hh"
#include "lib/vnet/getFailure.hh"
#include "support/netlab/lab.hh"
#include "vnet/engine/engine.hh"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vnet::engine {

// The host has eth0, 198.51.100.1/24, with the default route by 198.51.100.2, and eth1 without an
// address.
class EngineTest : public netlab::LabTest {
protected:
   void SetUp() override;
   // Removes all networks, so that no process outlives the test, and expects that nothing is left.
   void TearDown() override;

   // Network `index` is in 192.168.<index>.0/24.
   static NetworkSettings MakeNat(unsigned int index);
   static NetworkSettings MakeHostOnly(unsigned int index);
   static PortForward MakeForward(std::uint16_t hostPort, std::string const& address,
                                  std::uint16_t vmPort, bool tcp = true);

   // A new engine, as a new process has it, knowing nothing of earlier ones.
   void MakeEngine();
   // A guest's device plugged into a bridge.
   void Plug(unsigned int index, std::string const& port = "guest");

   bool HasLink(std::string const& name);
   // The device's index: another device of the same name has another.
   std::string GetNumber(std::string const& name);
   // "192.168.8.1/24", those of IPv4, sorted.
   std::vector<std::string> ListAddresses(std::string const& device);
   bool HasTable(unsigned int index);
   std::string ListTable(unsigned int index);
   std::string ReadSysctl(std::string const& path);
   // The process numbers of a network's dnsmasq, or of all.
   std::vector<int> ListDnsmasqs(std::optional<unsigned int> index = {});
   // What isn't as wanted.
   std::vector<std::string> ListDifferences(unsigned int index);

   Settings settings;
   std::shared_ptr<process::Zones> zones; // of the host's firewall, if it has one
   std::optional<Engine> engine;
   int watchersEnsured = 0;
   int watchersStopped = 0;
   test::HostState before;    // the host without any network of ours
   netlab::Namespace outside; // 198.51.100.2 on eth0; the host's eth1 has its cable there, too
};

} // namespace vnet::engine
