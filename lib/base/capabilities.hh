// SPDX-License-Identifier: GPL-2.0-or-later
// Root's rights one by one: capabilities(7), and which of them this product works with.
#pragma once

#include <cstdint>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace base {

// A bit for each capability, by its number.
using CapabilitySet = std::uint64_t;

struct NeededCapability {
   int number;
   bool byServices; // the services that we start need it, too, if only to start
};

inline constexpr NeededCapability NEEDED_CAPABILITIES[] = {
   // Devices, addresses, routes, rules, traffic control and the switches below /proc/sys/net.
   // dnsmasq: neighbours' addresses of its clients.
   {CAP_NET_ADMIN, true},
   // Holding the ports of forwards. dnsmasq: its own ports, 53, 67 and 547.
   {CAP_NET_BIND_SERVICE, true},
   // Telling a LAN of the guests. dnsmasq: router advertisements.
   {CAP_NET_RAW, true},
   // dnsmasq becomes its own user.
   {CAP_SETUID, true},
   {CAP_SETGID, true},
   // Ending a dnsmasq, and having it read its files again.
   {CAP_KILL, false},
};

constexpr CapabilitySet MakeCapabilitySet(int number)
{
   return CapabilitySet{1} << number;
}

constexpr CapabilitySet GetNeededCapabilities(bool services)
{
   CapabilitySet set = 0;
   for (auto const& needed : NEEDED_CAPABILITIES) {
      set |= !services || needed.byServices ? MakeCapabilitySet(needed.number) : 0;
   }
   return set;
}

// What the programs of this product need beyond an ordinary user's rights, once they run.
inline constexpr CapabilitySet OWN_CAPABILITIES = GetNeededCapabilities(false);
// What the services need that they start.
inline constexpr CapabilitySet SERVICE_CAPABILITIES = GetNeededCapabilities(true);

// Gives up, for good and for all that is executed from here on, what isn't in keep; nothing is
// gained. Only a thread with CAP_SETPCAP can change what an executed program of root's may have, so
// for others no_new_privs has to see to that. False, with errno set, if anything is kept that could
// have been given up. Concerns the calling thread alone; safe between fork and exec.
inline bool KeepCapabilities(CapabilitySet keep)
{
   __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
   __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3];
   if (syscall(SYS_capget, &header, data) != 0) {
      return false;
   }
   bool done = true;
   bool const mayChangeBounds = data[0].effective & MakeCapabilitySet(CAP_SETPCAP);
   for (int number = 0; mayChangeBounds && prctl(PR_CAPBSET_READ, number, 0, 0, 0) >= 0; ++number) {
      bool const kept = keep & MakeCapabilitySet(number);
      done = (kept || prctl(PR_CAPBSET_DROP, number, 0, 0, 0) == 0) && done;
   }
   for (int word = 0; word < _LINUX_CAPABILITY_U32S_3; ++word) {
      auto const bits = static_cast<std::uint32_t>(keep >> (32 * word));
      data[word].effective &= bits;
      data[word].permitted &= bits;
      // The ambient ones go with these.
      data[word].inheritable = 0;
   }
   return syscall(SYS_capset, &header, data) == 0 && done;
}

} // namespace base
