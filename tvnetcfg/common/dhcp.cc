// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/dhcp.hh"

#include "tvnetcfg/common/network.hh"

namespace netcfg::common {

DHCP::DHCP(Network* network) : network(network)
{
   changed.connect(network->changed.make_slot());
}

unsigned int DHCP::LeaseTimeToSec(LeaseTime const& time)
{
   return ((time.days * 24 + time.hours) * 60 + time.minutes) * 60;
}

DHCP::LeaseTime DHCP::SecToLeaseTime(unsigned int seconds)
{
   return {seconds / 86400, seconds / 3600 % 24, seconds / 60 % 60};
}

} // namespace netcfg::common
