// SPDX-License-Identifier: GPL-2.0-or-later
// A file that remembers a process.
#pragma once

#include "vnet/process/runningProcess.hh"

#include <optional>
#include <string>

namespace vnet::process {

// Holds the process's number, the time of its start and a note: "1234 567890 7". A process that got
// the number later, after a reboot too, isn't taken for the one remembered, as long as the folder
// goes with the reboot or the times differ.
class PidFile {
public:
   struct Record {
      Identity identity;
      std::uint64_t note = 0;

      bool operator==(Record const&) const = default;
   };

   explicit PidFile(std::string pathOfFile) : path(std::move(pathOfFile)) {}

   // Replaces the file whole, following no symbolic link. Throws Error.
   void Write(Record const& record) const;
   // Empty if there is none, or one that isn't ours to believe: a link, damaged, or writable for
   // others.
   std::optional<Record> Read() const;
   // The process, if it is that very one, lives, and runs this program.
   std::optional<ProcessFacts> FindLiving(std::string const& executable) const;
   // A file that isn't there is no failure. Throws Error.
   void Remove() const;

private:
   std::string path;
};

} // namespace vnet::process
