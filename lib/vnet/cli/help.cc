// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/help.hh"

namespace vnet::cli {

std::string GetHelp()
{
   return R"(Usage: tavrin-vnets COMMAND [NETWORK...] [OPTION...]

The virtual networks of this host, as the database /etc/tavrin/networking tells.

  init                  make the database: tvnet0 bridged automatically, tvnet1
                        host-only, tvnet8 with NAT, on subnets that are free
  list                  list the networks of the database
  status [NETWORK...]   tell how networks stand on this host
  start [NETWORK...]    bring this host in line with the database
  stop [NETWORK...]     stop networks on this host; the database stays as it is
  restart [NETWORK...]  stop and start
  check                 read the database and judge it, without the host
  export                print all networks as a JSON document
  apply FILE            make the database and this host what such a document says;
                        FILE may be - for the standard input
  leases [NETWORK...]   list the addresses that guests were leased
  log                   print what the journal has of these networks
  doctor [NETWORK...]   tell why guests have no network, and what helps

  --json                print JSON; any command takes it
  --dry-run             of apply: only tell what would change
  --lines=N, -n N       of log: the last N lines, 100 unless told
  --since=TIME          of log: from a time on, as journalctl(1) reads it
  --help, -h            show this
  --version             show the version

A network is tvnet0 to tvnet255, or its number; without any, all are meant.
Ends with 0, with 1 after a failure, which is told on standard error, with 2 if
it wasn't called as above, and with 3 if check or doctor found something, or if
apply --dry-run would change something.
)";
}

} // namespace vnet::cli
