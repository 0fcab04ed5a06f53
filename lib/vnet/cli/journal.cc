// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/journal.hh"

#include "base/productState.h"
#include "vnet/cli/terminal.hh"
#include "vnet/json/text.hh"
#include "vnet/process/childProcess.hh"
#include "vnet/process/units.hh"
#include "vnet/values/error.hh"
#include "vnet/values/parse.hh"
#include "vnet/values/settings.hh"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <ctime>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

namespace vnet::cli {

namespace {

constexpr std::chrono::seconds patience(60);
constexpr off_t maxBytes = 128 << 20;

// What journalctl writes to; a pipe would have to be emptied meanwhile.
base::FileDescriptor OpenMemory()
{
   base::FileDescriptor memory(memfd_create("journal", MFD_CLOEXEC));
   if (!memory.IsOpen()) {
      throw Error("read", "the journal", std::strerror(errno));
   }
   return memory;
}

std::string ReadAll(int descriptor)
{
   off_t const size = std::min(lseek(descriptor, 0, SEEK_END), maxBytes);
   std::string text(static_cast<std::size_t>(std::max<off_t>(size, 0)), '\0');
   std::size_t done = 0;
   while (done < text.size()) {
      ssize_t const count =
         pread(descriptor, text.data() + done, text.size() - done, static_cast<off_t>(done));
      if (count <= 0) {
         break;
      }
      done += static_cast<std::size_t>(count);
   }
   text.resize(done);
   return text;
}

// Values of one field are alternatives, and so is what a "+" is between: journalctl(1). The manager
// names what it speaks of in a field of its own: systemd.journal-fields(7).
std::vector<std::string> MakeMatches(std::vector<std::string> const& units)
{
   std::vector<std::string> matches{std::string("SYSLOG_IDENTIFIER=") + ProductState_GetName(),
                                    "SYSLOG_IDENTIFIER=tavrin-vnets"};
   for (auto const* field : {"_SYSTEMD_UNIT=", "UNIT="}) {
      if (!units.empty()) {
         matches.emplace_back("+");
      }
      for (auto const& unit : units) {
         matches.push_back(field + unit);
      }
   }
   return matches;
}

process::Command MakeCommand(JournalQuery const& query, std::string const& program, int output)
{
   process::Command command;
   command.arguments = {program, "--no-pager", "--output=json",
                        "--output-fields=MESSAGE,SYSLOG_IDENTIFIER,_SYSTEMD_UNIT,UNIT",
                        "--lines=" + std::to_string(query.lines)};
   if (!query.since.empty()) {
      command.arguments.push_back("--since=" + query.since);
   }
   std::ranges::copy(MakeMatches(query.units), std::back_inserter(command.arguments));
   command.capabilities = 0;
   command.endsWithUs = true;
   command.output = output;
   return command;
}

std::string TrimRight(std::string text)
{
   text.erase(text.find_last_not_of(" \n") + 1);
   return text;
}

// Text is text; what isn't UTF-8 comes as a list of bytes.
std::string GetText(json::Value const& value)
{
   auto text = value.text;
   for (auto const& item : value.items) {
      auto const byte = ParseNumber(item.text, 0, 255);
      text += static_cast<char>(byte.value_or('?'));
   }
   return text;
}

std::int64_t GetTime(std::string const& text)
{
   std::int64_t time = 0;
   std::from_chars(text.data(), text.data() + text.size(), time);
   return time;
}

// Empty if the unit isn't of one network.
std::string GetNetworkOfUnit(std::string const& unit)
{
   auto const begin = unit.find('@') + 1;
   auto const name = unit.substr(begin, unit.rfind('.') - begin);
   return ParseNetworkName(name) && process::GetDnsmasqUnit(name) == unit ? name : std::string();
}

JournalLine ParseLine(std::string const& text)
{
   JournalLine line;
   auto const entry = json::Parse(text);
   for (auto const& [name, position, value] : entry.members) {
      if (name == "__REALTIME_TIMESTAMP") {
         line.time = GetTime(value.text);
      } else if (name == "SYSLOG_IDENTIFIER") {
         line.program = GetText(value);
      } else if (name == "MESSAGE") {
         line.text = GetText(value);
      } else if (line.network.empty() && (name == "_SYSTEMD_UNIT" || name == "UNIT")) {
         line.network = GetNetworkOfUnit(GetText(value));
      }
   }
   return line;
}

std::vector<JournalLine> ParseLines(std::string const& text)
{
   std::vector<JournalLine> lines;
   std::istringstream stream(text);
   for (std::string line; std::getline(stream, line);) {
      try {
         lines.push_back(ParseLine(line));
      } catch (std::runtime_error const&) {
         // "-- No entries --", or the last line, if it was cut short.
      }
   }
   return lines;
}

std::string DescribeTime(std::int64_t microseconds)
{
   auto const seconds = static_cast<std::time_t>(microseconds / 1000000);
   std::tm local{};
   char text[32] = "";
   if (localtime_r(&seconds, &local)) {
      std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
   }
   return text;
}

} // namespace

JournalReading ReadJournal(JournalQuery const& query, std::string const& program)
{
   auto const memory = OpenMemory();
   auto const completion = process::RunToEnd(MakeCommand(query, program, memory.Get()), patience);
   auto const complaint = TrimRight(completion.errors);
   if (!completion.ending.IsSuccess()) {
      throw Error("read", "the journal",
                  MakePrintable(complaint.empty()
                                   ? "journalctl ended with " + completion.ending.ToString()
                                   : complaint));
   }
   return {ParseLines(ReadAll(memory.Get())), complaint};
}

std::string DescribeJournal(std::vector<JournalLine> const& lines)
{
   if (lines.empty()) {
      return "The journal has no lines of these networks.\n";
   }
   std::string text;
   for (auto const& line : lines) {
      text += DescribeTime(line.time) + " " + MakePrintable(line.program) +
              (line.network.empty() ? "" : "[" + line.network + "]") + ": " +
              MakePrintable(line.text) + "\n";
   }
   return text;
}

json::Value MakeJournal(std::vector<JournalLine> const& lines)
{
   auto list = json::Value::MakeList();
   for (auto const& line : lines) {
      auto object = json::Value::MakeObject();
      object.Add("microseconds", line.time);
      object.Add("program", line.program);
      object.Add("network", line.network.empty() ? json::Value() : json::Value(line.network));
      list.Add(std::move(object.Add("text", line.text)));
   }
   return list;
}

} // namespace vnet::cli
