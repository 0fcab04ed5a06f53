// SPDX-License-Identifier: GPL-2.0-or-later
// The networking database.
#pragma once

#include "vnet/database/fields.hh"
#include "vnet/database/fileSteps.hh"
#include "vnet/database/keyFile.hh"
#include "vnet/database/lockFile.hh"
#include "vnet/database/textFile.hh"
#include "vnet/values/error.hh"
#include "vnet/values/settings.hh"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace vnet {

// A key file in memory with what it says, parsed. Comments, unknown keys and everything else that
// isn't set stay as they stand in the file.
//
// A bad value in the file counts as never set: it is logged, and stays until something sets it. The
// file can't be read if it isn't a regular file of at most maxDatabaseBytes in UTF-8, or isn't a
// key file, if a group, or a key in its group, stands twice (either could be the one that is
// meant), and if its version is missing, bad or newer than ours. Such a file is never overwritten.
//
// The first change takes a lock and holds it as long as the object lives, so that nothing that
// somebody else writes is lost.
class Database {
public:
   struct Place {
      std::string file = "/etc/tavrin/networking";
      std::string lockFolder = "/run/tavrin";
      // How long a change waits for another process's.
      std::chrono::milliseconds patience = std::chrono::seconds(10);
   };

   // Reads the file. Throws Error if it can't.
   explicit Database(Place where, FileSteps& fileSteps = FileSteps::GetReal());

   // Writes a new file; Error if there is one.
   static void Create(Place const& where, std::string const& text,
                      FileSteps& fileSteps = FileSteps::GetReal());

   // In step with the file as it stands in memory.
   Settings const& GetSettings() const { return settings; }
   // The settings of one network; all defaults if the database doesn't hold it.
   NetworkSettings const& GetNetwork(unsigned int index) const;

   // Before the first change: reads the file again if it is another one now. One that can't be read
   // is logged, and what was read before stands.
   void Refresh();
   // Takes the lock, unless this object has it, and reads the file again if it is another one now.
   // Throws Error if another holds the lock for longer than patience lasts, and if the file can't
   // be read. Every change does this first, and after a failure none is made any more: of what
   // belongs together, all or nothing is changed.
   void Lock();

   // These return whether anything changed, and throw what Lock throws. An index is below
   // maxNetworks.

   // Sets one value of a network: Set(8, field::mtu, 1400).
   template <class Field>
   bool Set(unsigned int index, Field const& field, typename Field::Value const& value);
   // Adds the forward, or replaces that of its protocol and host port.
   bool SetForward(unsigned int index, PortForward const& forward);
   bool RemoveForward(unsigned int index, bool tcp, std::uint16_t hostPort);
   // Bridges a host adapter to a network, or to none.
   bool MoveAdapter(std::string const& name, std::optional<unsigned int> network);
   bool SetAutomatic(std::optional<unsigned int> network);
   // Adds a network with defaults alone, unless it has a group.
   bool AddNetwork(unsigned int index);
   // Removes a network with its forwards. Adapters that were bridged to it are bridged to none, and
   // if it was the automatic network, there is none.
   bool DeleteNetwork(unsigned int index);

   // Whether the file in memory differs from what was read or last committed.
   bool HasChanges() const;
   // Writes the file if it has changes, so that it is the old or the new one, whole, whatever
   // happens. Throws Error; what was changed stays in memory then. More than maxDatabaseBytes
   // aren't written: nobody could read them again.
   void Commit();
   // The file as it stands in memory.
   std::string Export() const { return file.ToText(); }

private:
   void Read();
   // Stores a value or removes its key.
   void Store(std::string const& group, char const* key, std::optional<std::string> const& text);
   bool StoreIfDifferent(std::string const& group, char const* key,
                         std::optional<std::string> const& text);
   // A network lives as long as it has a group or a forward.
   void ForgetIfGone(unsigned int index);

   Place place;
   FileSteps* steps;
   std::optional<LockFile> lock;
   std::optional<Error> refusal; // why there is no lock, once that was tried
   Stamp stamp;
   Descriptor opened; // the file that was read, so that stamp is no other file's
   Stamp unreadable;  // of the file that Refresh couldn't read and logged
   KeyFile file;
   std::string committed;
   Settings settings;
};

// What the largest file that is read may hold, in bytes: 256 networks with all their keys and
// some 30,000 forwards.
inline constexpr std::size_t maxDatabaseBytes = 4 << 20;

template <class Field>
bool Database::Set(unsigned int index, Field const& field, typename Field::Value const& value)
{
   Lock();
   auto const group = GetNetworkName(index);
   auto const raw = file.GetRaw(group, field.key);
   auto const text = raw ? KeyFile::Unescape(*raw) : std::nullopt;
   bool const bad = raw && !(text && field.parse(*text));
   if (!bad && field.in(GetNetwork(index)) == value) {
      return false;
   }
   Store(group, field.key, Write(value));
   field.in(settings.networks[index]) = value;
   return true;
}

} // namespace vnet
