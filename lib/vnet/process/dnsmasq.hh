// SPDX-License-Identifier: GPL-2.0-or-later
// The dnsmasq of one network.
#pragma once

#include "vnet/process/pidFile.hh"
#include "vnet/process/runningProcess.hh"
#include "vnet/process/units.hh"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vnet::process {

// Paths. All but the lease file are in one folder of ours, which is made and removed with them.
struct DnsmasqFiles {
   std::string configuration;
   std::string options; // the configuration's dhcp-optsfile
   std::string servers; // the configuration's servers-file
   std::string pid;     // the configuration's pid-file
   std::string leases;  // the configuration's dhcp-leasefile; its folder is made, and stays
};

struct DnsmasqTexts {
   std::string configuration;
   std::string options; // read again at SIGHUP
   std::string servers; // likewise
   // Index of the network's device. dnsmasq is bound to the device as it was, so it has to start
   // anew when the device was made anew.
   std::uint64_t link = 0;

   bool operator==(DnsmasqTexts const&) const = default;
};

enum class DnsmasqChange { None, Reloaded, Started, Restarted };

// The process outlives us, be it of a unit's or not, and is known again by whoever comes after us:
// by a file with its number and start, which is written last and removed before anything changes;
// so one that an earlier process left half done has no such file, is found by its arguments, and is
// replaced.
class Dnsmasq {
public:
   // With a unit, that one has to run just this program with this configuration.
   explicit Dnsmasq(DnsmasqFiles filesOfNetwork, std::string programPath = "/usr/sbin/dnsmasq",
                    Unit unitOfNetwork = {});

   // Whether one runs, with whatever texts.
   bool IsRunning() const;
   // Whether one runs as these say.
   bool Runs(DnsmasqTexts const& texts) const;

   // Makes one run as these say, changing as little as possible; when it returns, that one answers.
   // Throws Error, with dnsmasq's own words if it refuses.
   DnsmasqChange Apply(DnsmasqTexts const& texts) const;
   // Stops it and removes all files but the leases. Throws Error.
   void Stop() const;

private:
   DnsmasqFiles files;
   std::string program;
   Unit unit;
   PidFile record;

   std::vector<std::string> GetArguments() const;
   bool IsOurs(ProcessFacts const& facts) const;
   std::optional<ProcessFacts> FindRunning() const;
   std::optional<ProcessFacts> FindRecorded() const;
   std::optional<ProcessFacts> FindNamed() const;
   bool HasConfiguration(DnsmasqTexts const& texts) const;
   // What SIGHUP makes it read.
   bool HasReloaded(DnsmasqTexts const& texts) const;
   void WriteReloaded(DnsmasqTexts const& texts) const;
   void Reload(ProcessFacts const& running, DnsmasqTexts const& texts) const;
   // These tell whether there was one to end.
   bool HasLeftovers() const;
   bool EndAll() const;
   void EndUnit() const;
   bool EndStrays() const;
   bool End(ProcessFacts const& facts) const;
   void WriteFiles(DnsmasqTexts const& texts) const;
   void Launch(bool interrupted) const;
   void LaunchOwn(bool interrupted) const;
   Identity ReadStarted() const;
};

} // namespace vnet::process
