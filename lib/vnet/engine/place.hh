// SPDX-License-Identifier: GPL-2.0-or-later
// Where an engine works.
#pragma once

#include "vnet/process/units.hh"
#include "vnet/process/zones.hh"

#include <functional>
#include <memory>
#include <string>

namespace vnet::engine {

struct Place {
   std::string runFolder = "/run/tavrin";
   std::string stateFolder = "/var/lib/tavrin";
   std::string databaseFolder = "/etc/tavrin";
   // Settings of the host: host.adapters, further adapters to offer, and nat.ouis, further
   // manufacturers ("52:54:00") to accept; each with spaces between.
   std::string configFile = "/etc/tavrin/config";
   std::string resolvFile = "/etc/resolv.conf"; // resolv.conf(5)

   // Who keeps the networks' dnsmasqs; null: we do.
   std::shared_ptr<process::Units> units;
   // Of the host's firewall; null: none is asked.
   std::shared_ptr<process::Zones> zones;
   // The resident watcher: called when a network runs, and when the last one went. Either may be
   // empty, as in the watcher itself. They may throw Error.
   std::function<void()> ensureWatcher;
   std::function<void()> stopWatcher;
};

} // namespace vnet::engine
