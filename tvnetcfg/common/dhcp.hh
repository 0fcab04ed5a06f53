// SPDX-License-Identifier: GPL-2.0-or-later
// The DHCP settings of one network.
#pragma once

#include "tvnetcfg/common/assign.hh"
#include "utf/string.hh"

#include <boost/property_tree/ptree_fwd.hpp>

namespace netcfg::common {

class Network;
class SnapshotSink;

// Lives as long as its network, whatever that network's type.
class DHCP : public sigc::trackable {
public:
   // To the minute: a lease has no seconds.
   struct LeaseTime {
      unsigned int days;
      unsigned int hours;
      unsigned int minutes;
   };

   sigc::signal<void> changed;

   explicit DHCP(Network* network);
   DHCP(DHCP const&) = delete;
   DHCP& operator=(DHCP const&) = delete;

   Network* GetNetwork() const { return network; }

   // In seconds; wraps beyond 32 bits.
   static unsigned int LeaseTimeToSec(LeaseTime const& time);
   // Drops what is below a minute.
   static LeaseTime SecToLeaseTime(unsigned int seconds);

   // Dotted addresses, or empty.
   utf::string const& GetBeginIP() const { return beginIP; }
   void SetBeginIP(utf::string const& value) { Assign(beginIP, value, changed); }
   utf::string const& GetEndIP() const { return endIP; }
   void SetEndIP(utf::string const& value) { Assign(endIP, value, changed); }

   // Seconds.
   unsigned int GetDefaultLeaseTime() const { return defaultLeaseTime; }
   void SetDefaultLeaseTime(unsigned int value) { Assign(defaultLeaseTime, value, changed); }
   unsigned int GetMaxLeaseTime() const { return maxLeaseTime; }
   void SetMaxLeaseTime(unsigned int value) { Assign(maxLeaseTime, value, changed); }

   boost::property_tree::ptree ToPropertyTree();
   // What that tree has.
   void Write(SnapshotSink& sink) const;

private:
   Network* const network;
   utf::string beginIP;
   utf::string endIP;
   unsigned int defaultLeaseTime = 1800;
   unsigned int maxLeaseTime = 7200;
};

} // namespace netcfg::common
