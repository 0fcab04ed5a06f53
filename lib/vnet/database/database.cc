// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/database/database.hh"

#include "base/log.h"
#include "vnet/database/decode.hh"
#include "vnet/database/groups.hh"
#include "vnet/values/error.hh"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <sys/stat.h>

namespace vnet {

namespace {

// Of each kind: a damaged file must not flood the log.
constexpr std::size_t maxLogged = 32;

void LogLines(int severity, std::string const& path, std::vector<std::string> const& lines,
              char const* consequence)
{
   std::size_t const count = std::min(lines.size(), maxLogged);
   for (std::size_t at = 0; at < count; ++at) {
      LogV(severity, "read %s: %s; %s\n", path.c_str(), lines[at].c_str(), consequence);
   }
   if (count < lines.size()) {
      LogV(severity, "read %s: %zu more lines like these\n", path.c_str(), lines.size() - count);
   }
}

KeyFile Parse(std::string const& path, std::string const& text)
{
   try {
      return KeyFile::Parse(text);
   } catch (std::runtime_error const& error) {
      throw Error("read", path, error.what());
   }
}

Decoded DecodeFrom(std::string const& path, KeyFile const& file)
{
   try {
      return Decode(file);
   } catch (std::runtime_error const& error) {
      throw Error("read", path, error.what());
   }
}

// The folder of a new database, if it isn't there.
void MakeFolder(std::string const& path)
{
   auto const folder = path.substr(0, path.rfind('/'));
   if (mkdir(folder.c_str(), 0755) != 0 && errno != EEXIST) {
      throw Error("create", folder, std::strerror(errno));
   }
}

} // namespace

Database::Database(Place where, FileSteps& fileSteps)
   : place(std::move(where)), steps(&fileSteps), file(KeyFile::Parse(""))
{
   Read();
}

void Database::Create(Place const& where, std::string const& text, FileSteps& fileSteps)
{
   MakeFolder(where.file);
   auto const lock = LockFile::Take(where.lockFolder, where.patience);
   WriteTextFile(where.file, text, Existing::Refuse, fileSteps);
}

void Database::Read()
{
   auto read = ReadTextFile(place.file, maxDatabaseBytes);
   auto parsed = Parse(place.file, read.text);
   auto decoded = DecodeFrom(place.file, parsed);
   LogLines(LOG_SEVERITY_WARNING, place.file, decoded.complaints, "it is left out");
   LogLines(LOG_SEVERITY_INFO, place.file, decoded.unknown, "it means nothing here, and stays");
   committed = parsed.ToText();
   file = std::move(parsed);
   settings = std::move(decoded.settings);
   stamp = read.stamp;
   opened = std::move(read.file);
}

NetworkSettings const& Database::GetNetwork(unsigned int index) const
{
   static NetworkSettings const none;
   auto const found = settings.networks.find(index);
   return found == settings.networks.end() ? none : found->second;
}

void Database::Refresh()
{
   auto const now = GetStamp(place.file);
   if (lock || now == stamp || now == unreadable) {
      return;
   }
   try {
      Read();
   } catch (Error const& error) {
      LogV(LOG_SEVERITY_WARNING, "%s; what was read before stands\n", error.what());
      unreadable = now;
   }
}

void Database::Lock()
{
   if (lock) {
      return;
   }
   if (refusal) {
      throw Error(*refusal);
   }
   try {
      auto taken = LockFile::Take(place.lockFolder, place.patience);
      RemoveUnfinished(place.file);
      if (GetStamp(place.file) != stamp) {
         Read();
      }
      lock.emplace(std::move(taken));
   } catch (Error const& error) {
      refusal = error;
      throw;
   }
}

void Database::Store(std::string const& group, char const* key,
                     std::optional<std::string> const& text)
{
   if (text) {
      file.Set(group, key, *text);
   } else {
      file.RemoveKey(group, key);
   }
}

bool Database::StoreIfDifferent(std::string const& group, char const* key,
                                std::optional<std::string> const& text)
{
   auto const raw = file.GetRaw(group, key);
   bool const same = raw ? text && KeyFile::Unescape(*raw) == text : !text;
   if (!same) {
      Store(group, key, text);
   }
   return !same;
}

bool Database::SetForward(unsigned int index, PortForward const& forward)
{
   Lock();
   auto const group = GetForwardGroup({index, forward.tcp, forward.hostPort});
   bool changed = StoreIfDifferent(group, "address", forward.address.ToString());
   changed |= StoreIfDifferent(group, "port", std::to_string(forward.vmPort));
   changed |= StoreIfDifferent(group, "description", Write(forward.description));
   auto& forwards = settings.networks[index].nat.forwards;
   auto const at = std::ranges::lower_bound(forwards, forward, IsBefore);
   if (at != forwards.end() && !IsBefore(forward, *at)) {
      *at = forward;
   } else {
      forwards.insert(at, forward);
   }
   return changed;
}

bool Database::RemoveForward(unsigned int index, bool tcp, std::uint16_t hostPort)
{
   Lock();
   auto const group = GetForwardGroup({index, tcp, hostPort});
   if (!file.HasGroup(group)) {
      return false;
   }
   file.RemoveGroup(group);
   if (settings.networks.count(index) != 0) {
      std::erase_if(settings.networks[index].nat.forwards, [&](PortForward const& forward) {
         return forward.tcp == tcp && forward.hostPort == hostPort;
      });
   }
   ForgetIfGone(index);
   return true;
}

void Database::ForgetIfGone(unsigned int index)
{
   if (!file.HasGroup(GetNetworkName(index)) && GetNetwork(index).nat.forwards.empty()) {
      settings.networks.erase(index);
   }
}

bool Database::MoveAdapter(std::string const& name, std::optional<unsigned int> network)
{
   Lock();
   auto const text = network ? std::optional(GetNetworkName(*network)) : std::nullopt;
   if (!StoreIfDifferent(GetAdapterGroup(name), "network", text)) {
      return false;
   }
   if (network) {
      settings.adapters[name] = *network;
   } else {
      settings.adapters.erase(name);
      file.RemoveIfBlank(GetAdapterGroup(name));
   }
   return true;
}

bool Database::SetAutomatic(std::optional<unsigned int> network)
{
   Lock();
   auto const text = network ? std::optional(GetNetworkName(*network)) : std::nullopt;
   settings.automatic = network;
   return StoreIfDifferent(generalGroup, "automatic", text);
}

bool Database::AddNetwork(unsigned int index)
{
   Lock();
   auto const group = GetNetworkName(index);
   if (file.HasGroup(group)) {
      return false;
   }
   // A group needs a key.
   auto& network = settings.networks[index];
   Store(group, field::useAdapter.key, Write(network.useAdapter));
   return true;
}

bool Database::DeleteNetwork(unsigned int index)
{
   Lock();
   auto const before = Export();
   auto const name = GetNetworkName(index);
   for (auto const& group : file.GetGroups()) {
      if (group == name || group.starts_with(name + " ")) {
         file.RemoveGroup(group);
      }
   }
   settings.networks.erase(index);
   auto const adapters = settings.adapters;
   for (auto const& [adapter, network] : adapters) {
      if (network == index) {
         MoveAdapter(adapter, {});
      }
   }
   if (settings.automatic == index) {
      SetAutomatic({});
   }
   return Export() != before;
}

bool Database::HasChanges() const
{
   return Export() != committed;
}

void Database::Commit()
{
   auto const text = Export();
   if (text == committed) {
      return;
   }
   if (text.size() > maxDatabaseBytes) {
      throw Error("write", place.file,
                  "It would have more than " + std::to_string(maxDatabaseBytes) +
                     " bytes, and couldn't be read again");
   }
   stamp = WriteTextFile(place.file, text, Existing::Replace, *steps);
   committed = text;
}

} // namespace vnet
