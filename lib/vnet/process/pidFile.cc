// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/pidFile.hh"

#include "vnet/process/smallFile.hh"

#include <sstream>

namespace vnet::process {

void PidFile::Write(Record const& record) const
{
   ReplaceFile(path, std::to_string(record.identity.pid) + " " +
                        std::to_string(record.identity.startTime) + " " +
                        std::to_string(record.note) + "\n");
}

std::optional<PidFile::Record> PidFile::Read() const
{
   auto const text = ReadTrustedFile(path);
   if (!text) {
      return {};
   }
   std::istringstream fields(*text);
   Record record;
   std::string rest;
   fields >> record.identity.pid >> record.identity.startTime >> record.note;
   if (!fields || record.identity.pid <= 0 || fields >> rest) {
      return {};
   }
   return record;
}

std::optional<ProcessFacts> PidFile::FindLiving(std::string const& executable) const
{
   auto const record = Read();
   auto const facts = record ? FindProcess(record->identity.pid) : std::nullopt;
   if (!facts || facts->identity != record->identity) {
      return {};
   }
   bool const known = !facts->executable.empty();
   return known && facts->executable != executable ? std::nullopt : facts;
}

void PidFile::Remove() const
{
   RemoveFile(path);
}

} // namespace vnet::process
