// SPDX-License-Identifier: GPL-2.0-or-later
// The kernel's switches below /proc/sys/net, of this thread's network namespace.
#pragma once

#include <optional>
#include <string>

namespace vnet::host {

// Remembers nothing: who changes a value and wants it back keeps the old one. Names are single
// components of the path, so a device called "eth0.5" is no trap; one that couldn't be a device's
// name throws Error.
class Sysctl {
public:
   // `root` stands for /proc/sys/net.
   explicit Sysctl(std::string rootPath = "/proc/sys/net") : root(std::move(rootPath)) {}

   // The value of "ipv4" or "ipv6" `family`, of a device (or "all", "default"), without the
   // newline: Read("ipv4", "tvnet8", "arp_ignore"). Empty if this kernel or device has no such
   // switch. Throws Error if it can't be read.
   std::optional<std::string> Read(std::string const& family, std::string const& device,
                                   std::string const& name) const;
   // A value that is set already isn't written again. Throws Error.
   void Write(std::string const& family, std::string const& device, std::string const& name,
              std::string const& value) const;

   // A switch that belongs to no device: ReadGlobal("ipv4/ip_forward").
   std::optional<std::string> ReadGlobal(std::string const& path) const;
   void WriteGlobal(std::string const& path, std::string const& value) const;

private:
   std::string root;
};

} // namespace vnet::host
