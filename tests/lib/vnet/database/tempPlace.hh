// SPDX-License-Identifier: GPL-2.0-or-later
// A folder of a test's own, with a database and a lock folder in it.
#pragma once

#include "support/testProcess.hh"
#include "vnet/database/database.hh"

#include <filesystem>
#include <string>
#include <vector>

namespace test {

// Gone with its files when it dies.
class TempPlace {
public:
   TempPlace() = default;
   explicit TempPlace(std::string const& text) : TempPlace() { Write(text); }

   std::filesystem::path const& GetFolder() const { return folder.GetPath(); }
   std::string GetFile() const { return GetFolder() / "networking"; }
   std::string GetLockFolder() const { return GetFolder() / "run"; }
   vnet::Database::Place Get(std::chrono::milliseconds patience = std::chrono::seconds(30)) const
   {
      return {GetFile(), GetLockFolder(), patience};
   }

   // In the place of the file, as an editor writes it.
   void Write(std::string const& text) const;
   std::string Read() const;
   // The names in the folder, sorted.
   std::vector<std::string> List() const;

private:
   TempDir folder;
};

// A database with something of everything, comments and unknown keys included.
extern std::string const richText;

} // namespace test
