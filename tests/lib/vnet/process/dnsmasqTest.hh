// SPDX-License-Identifier: GPL-2.0-or-later
// A host with a dnsmasq on tvnet8, and a guest there.
#pragma once

#include "support/netlab/lab.hh"
#include "support/netlab/namespace.hh"
#include "vnet/process/dnsmasq.hh"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vnet::process {

inline constexpr char const* folder = "/run/tavrin/tvnet8";
inline constexpr char const* leases = "/var/lib/tavrin/tvnet8/leases";

class DnsmasqTest : public netlab::LabTest {
protected:
   void SetUp() override;
   void TearDown() override;

   static DnsmasqFiles GetFiles();
   static std::string MakeConfiguration();
   // Those of this host.
   static std::vector<ProcessFacts> ListRunning();
   static pid_t GetOnlyPid();
   // Kills the only one, and waits for its end. Returns its number.
   static pid_t KillOnly();
   bool Answers();
   // Of the lease that the guest gets.
   std::optional<std::uint32_t> LeaseMtu() const;
   // Why it can't run as the texts say; empty if it can.
   std::string GetFailure(Dnsmasq const& failing) const;

   netlab::Namespace guest;
   DnsmasqTexts texts;
   Dnsmasq dnsmasq{GetFiles()};

private:
   bool isReady = false;
};

} // namespace vnet::process
