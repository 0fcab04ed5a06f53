// SPDX-License-Identifier: GPL-2.0-or-later
// What the programs of this product, and those that they started, told the system's journal.
#pragma once

#include "vnet/json/value.hh"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vnet::cli {

inline constexpr unsigned int maxJournalLines = 10000;

struct JournalQuery {
   unsigned int lines = 100; // the newest, up to maxJournalLines
   std::string since;        // as journalctl(1) reads it; empty: from the beginning
   // Units of the service manager whose processes have something to tell, or it of them.
   std::vector<std::string> units;
};

struct JournalLine {
   std::int64_t time = 0; // microseconds since 1970
   std::string program;
   std::string network; // whose unit it is of; empty if it is of none of a network's own
   std::string text;    // may be anything
};

struct JournalReading {
   std::vector<JournalLine> lines; // the oldest first
   std::string complaint;          // what journalctl had to say; may be anything
};

// Asks journalctl, which knows where journals are and who may read which. Throws Error if it can't
// be asked, or fails.
JournalReading ReadJournal(JournalQuery const& query,
                           std::string const& program = "/usr/bin/journalctl");

// A line each, with the time of this place, fit for a terminal.
std::string DescribeJournal(std::vector<JournalLine> const& lines);
json::Value MakeJournal(std::vector<JournalLine> const& lines);

} // namespace vnet::cli
