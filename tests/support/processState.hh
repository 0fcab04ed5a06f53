// SPDX-License-Identifier: GPL-2.0-or-later
// What /proc tells of a running process: proc(5).
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace test {

class ProcessState {
public:
   explicit ProcessState(int process);

   // A line of its status file by name, without leading blanks. Empty if there is none.
   std::string GetStatus(std::string const& name) const;
   // A set of capabilities, "CapInh", "CapPrm", "CapEff", "CapBnd" or "CapAmb": a bit for each.
   std::uint64_t GetCapabilities(std::string const& name) const;
   // "VARIABLE=value", in order.
   std::vector<std::string> GetEnvironment() const;
   // Number to what it refers to: "/dev/null", "pipe:[123]".
   std::map<int, std::string> GetDescriptors() const;
   // Whether exec closes it.
   bool IsCloseOnExec(int descriptor) const;
   // Where the link of that name leads: "exe", "cwd", "root".
   std::string GetLink(std::string const& name) const;
   // The files that it has mapped, libraries among them: "/usr/lib/.../libc.so.6".
   std::set<std::string> GetMappedFiles() const;
   // The soft and the hard limit, as words: "0 0", "unlimited unlimited".
   std::string GetLimits(std::string const& name) const;

private:
   std::string folder;
   std::string status;
};

} // namespace test
