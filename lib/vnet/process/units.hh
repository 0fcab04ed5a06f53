// SPDX-License-Identifier: GPL-2.0-or-later
// Services that somebody else runs for us.
#pragma once

#include <memory>
#include <string>

namespace vnet::process {

// The unit of a network's dnsmasq.
inline std::string GetDnsmasqUnit(std::string const& network)
{
   return "tavrin-dhcp@" + network + ".service";
}

// The host's service manager. What it runs is no child of ours, belongs to nobody's session, and is
// started anew by it when it dies.
class Units {
public:
   virtual ~Units() = default;

   // Returns when it is up. One that runs is left alone. Throws Error.
   virtual void Start(std::string const& unit) = 0;
   // Returns when it is down and won't come again by itself. One that doesn't run, or that isn't
   // known, is no failure. Throws Error.
   virtual void Stop(std::string const& unit) = 0;
   // Its state as the manager calls it: "active", "inactive", "failed", ... Throws Error.
   virtual std::string GetState(std::string const& unit) = 0;
};

// One of them. Without a manager it is none, and whoever has it keeps a process of its own.
struct Unit {
   std::shared_ptr<Units> units;
   std::string name;

   explicit operator bool() const { return units != nullptr; }
   void Start() const { units->Start(name); }
   void Stop() const { units->Stop(name); }
   std::string GetState() const { return units->GetState(name); }
};

} // namespace vnet::process
