// SPDX-License-Identifier: GPL-2.0-or-later
// A stand-in for the networking library, for tests: it answers from memory and records every call.
//
// It comes in two shapes. The static library vnet_double is for tests within one process, which
// steer it through VnetDouble. The shared one, tests/double/libvnetlib.so in the build tree, takes
// the place of the real library under a real program, which is steered through the environment:
//
//    TAVRIN_DOUBLE_DB       a file with the database, as VnetDatabase tells; unset: the default one
//    TAVRIN_DOUBLE_LOG      a file that gets each call's line, at once, before anything is done
//    TAVRIN_DOUBLE_STOP_AT  a function: the process stops itself (SIGSTOP) in each call of it,
//                           after its line and before its work
//
// A line is the function and its arguments: VNL_SetVnetSubnetMask("tvnet8", "255.255.255.0").
// Ids of parameters and services are in hexadecimal, null is null, a network record is shown as its
// three words, {1, 1, 8}, a feature record as its first word and the network, {1, {1, 1, 8}}, an
// adapter as its name and network, ["eth0", {1, 1, 8}], a list of them as list. Output arguments
// aren't shown, but of a length and a cursor the value on entry.
#pragma once

#include "support/vnet/vnetDatabase.hh"

#include <cstddef>

namespace test {

// Steers the double of this process. As with the library itself, nothing is loaded at first; then
// reads are empty and changes refused.
class VnetDouble {
public:
   // Back to the beginning, with this database, nothing loaded, nothing to fail, no line.
   static void Reset(VnetDatabase const& database = VnetDatabase::MakeDefault());
   // As VNL_Load(0), but without a line.
   static void Load();
   static bool IsLoaded();

   // The database, to look at and to change.
   static VnetDatabase& GetDatabase();
   static void SetDatabaseExists(bool exists) { GetDatabase().exists = exists; }
   static void SetDatabaseReadable(bool readable) { GetDatabase().readable = readable; }
   static void SetDatabaseLoadable(bool loadable) { GetDatabase().loadable = loadable; }

   // Makes every call of the function fail: false, without effect.
   static void FailFunction(std::string const& function);
   // Makes the call fail whose line becomes GetLog()[number].
   static void FailCall(std::size_t number);
   // Adds the number to every length that VNL_GetNATParam and the like report.
   static void SetExcessLength(std::uint32_t bytes);
   // Makes the process stop itself in each call of the function.
   static void StopAt(std::string const& function);

   // The lines of all calls since Reset or ClearLog.
   static std::vector<std::string> const& GetLog();
   static void ClearLog();
   // Also writes each line to this descriptor; -1 for none.
   static void SetTrace(int fd);

   // Lists of adapters that were given out and not freed.
   static int GetOpenLists();
};

} // namespace test
