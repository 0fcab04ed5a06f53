// SPDX-License-Identifier: GPL-2.0-or-later
// What the tests of the save share: both modes, and whole sequences of calls.
#pragma once

#include "mgrTest.hh"

namespace netcfg {

// The calls of a script in one mode. Each line of a script begins with a mark: "+ " stands before
// what only a real save calls, "- " before what only a save to a buffer calls, two blanks before
// what both call. NET is replaced by name.
Lines ReadScript(std::string const& script, bool apply, std::string const& name = "NET");

// The scripts of a slot's begin and of whole slots, for a network that isn't the default one.
extern char const stopServices[];
extern char const removedSlot[];
extern char const bridgedSlot[];
// A NAT or host-only network's end: both services again. DHCP and NAT are the switches.
std::string RestartScript(bool dhcp, bool nat);

// All lines of all scripts.
template <typename... Scripts>
std::string Join(Scripts const&... scripts)
{
   return (std::string() + ... + scripts);
}

// Runs a test in both modes. A real save writes below /etc, so it needs an /etc of its own.
class SaveTest : public MgrTest {
protected:
   static constexpr char netmapPath[] = "/etc/tavrin/netmap.conf";

   // Saves and returns the calls. The result is judged here.
   Lines Save(bool apply);
   // The netmap file of the last real save; empty if there is none.
   static std::string ReadNetmap();

   // Makes an adapter known to the model, bridged to a network of it, or to none.
   void AddAdapter(char const* adapter, Network* network = nullptr);
   // Turns automatic bridging on for a network of any index, which the model itself refuses for
   // all but 0.
   static void ForceAuto(Network& network);
};

class BothModesTest : public SaveTest, public testing::WithParamInterface<bool> {
protected:
   void SetUp() override;

   Lines Save() { return SaveTest::Save(GetParam()); }
   static Lines Script(std::string const& script, char const* name = "NET")
   {
      return ReadScript(script, GetParam(), name);
   }
};

// The reason why a real save can't be tested here; empty if it can.
std::string GetSkipReason(bool apply);

inline std::string GetModeName(bool apply)
{
   return apply ? "Save" : "SaveToBuffer";
}

// The calls of a save whose slots and adapters give these scripts. record is the index that the
// walk's record holds after the adapters.
std::string WholeScript(std::string const& adapters, std::string const& slots, int record = 0);

} // namespace netcfg
