// SPDX-License-Identifier: GPL-2.0-or-later
// Whom the host asks for names.
#pragma once

#include <string>
#include <sys/stat.h>
#include <vector>

namespace vnet::engine {

// The nameservers of a file as resolv.conf(5) describes it, in its order and written canonically.
// Lines that name no address are left out; so is everything behind the first 16, as the file may be
// anything. Empty if there is no file. Throws Error if it can't be read.
std::vector<std::string> ReadNameservers(std::string const& path);

// Those of one file, read again when it is another one.
class Nameservers {
public:
   explicit Nameservers(std::string const& file) : path(file) {}

   // Whether they changed since the last call; they did at the first. Those of a file that can't be
   // read stay as they were, and it is tried again at the next call.
   bool Refresh();
   std::vector<std::string> const& Get() const { return nameservers; }

private:
   std::string path;
   bool known = false;
   bool complained = false;
   struct stat stamp {};
   std::vector<std::string> nameservers;

   std::vector<std::string> Read(struct stat const& now);
};

} // namespace vnet::engine
