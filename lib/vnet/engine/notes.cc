// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/notes.hh"

#include "vnet/process/smallFile.hh"
#include "vnet/values/error.hh"
#include "vnet/values/parse.hh"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <filesystem>
#include <glib.h>
#include <memory>
#include <sstream>
#include <unistd.h>

namespace vnet::engine {

namespace {

constexpr auto stoppedName = "stopped";
constexpr auto forwardsName = "forwards";
constexpr auto rulesName = "rules";
constexpr auto patchName = "patch";

struct PartName {
   Part part;
   char const* name;
};
constexpr PartName partNames[] = {
   {Part::Bridge, "bridge"}, {Part::Dhcp, "dhcp"}, {Part::Nat, "nat"}, {Part::Adapter, "adapter"}};

std::optional<services::WantedForward> ParseForward(std::string const& line)
{
   std::istringstream words(line);
   std::string protocol, hostPort, address, vmPort;
   words >> protocol >> hostPort >> address >> vmPort;
   auto const host = ParsePort(hostPort);
   auto const guest = Address::Parse(address);
   auto const vm = ParsePort(vmPort);
   if ((protocol != "tcp" && protocol != "udp") || !host || !guest || !vm) {
      return {};
   }
   return services::WantedForward{protocol == "tcp", *host, *guest, *vm};
}

std::string ToLine(services::WantedForward const& forward)
{
   return std::string(forward.tcp ? "tcp " : "udp ") + std::to_string(forward.hostPort) + " " +
          forward.address.ToString() + " " + std::to_string(forward.vmPort) + "\n";
}

std::string GetFingerprint(std::string const& text)
{
   std::unique_ptr<char, void (*)(void*)> const sum(
      g_compute_checksum_for_data(G_CHECKSUM_SHA256,
                                  reinterpret_cast<unsigned char const*>(text.data()), text.size()),
      g_free);
   return sum.get();
}

} // namespace

Notes::Notes(std::string const& runFolder, unsigned int index)
   : folder(runFolder + "/" + GetNetworkName(index))
{}

bool Notes::Exist() const
{
   return access(folder.c_str(), F_OK) == 0;
}

std::set<unsigned int> Notes::List(std::string const& runFolder)
{
   std::set<unsigned int> found;
   std::unique_ptr<DIR, int (*)(DIR*)> const entries(opendir(runFolder.c_str()), closedir);
   if (!entries && errno == ENOENT) {
      return found;
   }
   errno = entries ? 0 : errno;
   while (auto const* entry = entries ? readdir(entries.get()) : nullptr) {
      if (auto const index = ParseNetworkName(entry->d_name)) {
         found.insert(*index);
      }
   }
   if (errno != 0) {
      throw Error("list", runFolder, std::strerror(errno));
   }
   return found;
}

void Notes::Remove() const
{
   std::error_code error;
   std::filesystem::remove_all(folder, error);
   if (error) {
      throw Error("remove", folder, error.message());
   }
}

std::string Notes::Read(char const* name) const
{
   return process::ReadTrustedFile(folder + "/" + name).value_or("");
}

void Notes::Write(char const* name, std::string const& text) const
{
   process::MakeFolder(folder);
   process::ReplaceFile(folder + "/" + name, text);
}

Parts Notes::ReadStopped() const
{
   Parts parts;
   std::istringstream words(Read(stoppedName));
   for (std::string word; words >> word;) {
      for (auto const& [part, name] : partNames) {
         if (word == name) {
            parts.insert(part);
         }
      }
   }
   return parts;
}

void Notes::WriteStopped(Parts const& parts) const
{
   // A note of nothing is one, too.
   bool const noted = process::ReadTrustedFile(folder + "/" + stoppedName).has_value();
   if (noted && ReadStopped() == parts) {
      return;
   }
   std::string text;
   for (auto const& [part, name] : partNames) {
      if (parts.contains(part)) {
         text += std::string(name) + "\n";
      }
   }
   Write(stoppedName, text);
}

std::vector<services::WantedForward> Notes::ReadForwards() const
{
   std::vector<services::WantedForward> forwards;
   std::istringstream lines(Read(forwardsName));
   for (std::string line; std::getline(lines, line);) {
      if (auto const forward = ParseForward(line)) {
         forwards.push_back(*forward);
      }
   }
   std::sort(forwards.begin(), forwards.end());
   return forwards;
}

void Notes::WriteForwards(std::vector<services::WantedForward> const& forwards) const
{
   std::string text;
   for (auto const& forward : forwards) {
      text += ToLine(forward);
   }
   Write(forwardsName, text);
}

Notes::Rules Notes::Rules::Of(std::string const& text, std::string const& description)
{
   return {GetFingerprint(text), GetFingerprint(description)};
}

bool Notes::Rules::IsOf(std::string const& appliedText) const
{
   return text == GetFingerprint(appliedText);
}

Notes::Rules Notes::ReadRules() const
{
   std::istringstream words(Read(rulesName));
   Rules rules;
   words >> rules.text >> rules.description;
   return rules;
}

void Notes::WriteRules(Rules const& rules) const
{
   Write(rulesName, rules.text + "\n" + rules.description + "\n");
}

bool Notes::IsPatch(std::string const& description) const
{
   return Read(patchName) == GetFingerprint(description) + "\n";
}

void Notes::WritePatch(std::string const& description) const
{
   Write(patchName, GetFingerprint(description) + "\n");
}

void Notes::RemovePatch() const
{
   process::RemoveFile(folder + "/" + patchName);
}

} // namespace vnet::engine
