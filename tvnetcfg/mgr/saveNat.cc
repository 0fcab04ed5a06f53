// SPDX-License-Identifier: GPL-2.0-or-later
// What of a network's NAT values and port forwards differs from the database goes there.
#include "base/log.h"
#include "tvnetcfg/common/network.hh"
#include "tvnetcfg/mgr/mgr.hh"
#include "vnet/vnetlib.h"

namespace netcfg {

using common::NAT;
using common::Network;

namespace {

// Writes the values of model's that differ from database's to the network `name`.
class NATWriter {
public:
   NATWriter(Mgr& manager, utf::string const& networkName, NAT const& modelValues,
             NAT const& databaseValues)
      : mgr(manager), name(networkName), model(modelValues), database(databaseValues)
   {}

   // Whether anything differed.
   bool Write()
   {
      WriteGateway();
      WriteNumber(VNL_NAT_CONFIG_PORT, &NAT::GetConfigPort);
      WriteFlag(VNL_NAT_ALLOW_ACTIVE_FTP, &NAT::GetAllowActiveFTP);
      WriteFlag(VNL_NAT_ALLOW_ANY_OUI, &NAT::GetAllowOUI);
      WriteNumber(VNL_NAT_UDP_TIMEOUT, &NAT::GetUDPTimeout);
      WriteFlag(VNL_NAT_ENABLE_IPV6, &NAT::GetEnableIPv6);
      WriteIf(model.GetIPv6Prefix() != database.GetIPv6Prefix(), VNL_NAT_IPV6_PREFIX,
              model.GetIPv6Prefix());
      WriteForwards();
      return different;
   }

private:
   Mgr& mgr;
   utf::string const& name;
   NAT const& model;
   NAT const& database;
   bool different = false;

   // The gateway is the guests' router and resolver, so DHCP tells of it, too.
   void WriteGateway()
   {
      utf::string const gateway = model.GetGatewayIP();
      if (gateway == database.GetGatewayIP()) {
         return;
      }
      mgr.SetNATParam(name, VNL_NAT_GATEWAY, gateway);
      mgr.SetDHCPParam(name, VNL_DHCP_ROUTER, gateway);
      mgr.SetDHCPParam(name, VNL_DHCP_DNS_SERVER, gateway);
      mgr.SetDHCPParam(name, VNL_DHCP_NETBIOS_SERVER, gateway);
      different = true;
   }

   void WriteIf(bool differs, unsigned int id, utf::string const& text)
   {
      if (differs) {
         mgr.SetNATParam(name, id, text);
         different = true;
      }
   }

   void WriteNumber(unsigned int id, unsigned int (NAT::*get)() const)
   {
      WriteIf((model.*get)() != (database.*get)(), id, utf::IntToStr((model.*get)()));
   }

   void WriteFlag(unsigned int id, bool (NAT::*get)() const)
   {
      WriteIf((model.*get)() != (database.*get)(), id, (model.*get)() ? "1" : "0");
   }

   // All removals come first: an edited forward is one removed and one added.
   void WriteForwards()
   {
      auto const& wanted = model.GetPortForwardList();
      auto const& present = database.GetPortForwardList();
      auto const removed = NAT::GetRemovedList(wanted, present);
      for (auto const& entry : removed) {
         mgr.RemoveNATPortForward(name, entry.tcp, entry.hostPort);
      }
      auto const added = NAT::GetRemovedList(present, wanted);
      for (auto const& entry : added) {
         mgr.SetNATPortForward(name, entry);
      }
      different = different || !removed.empty() || !added.empty();
   }
};

} // namespace

bool Mgr::SaveNAT(utf::string const& name, NAT* model, NAT* database)
{
   Network const& network = *model->GetNetwork();
   utf::string const gateway = model->GetGatewayIP();
   bool const valid =
      ValidateIPRange(network.GetSubnetAddr(), network.GetSubnetMask(), gateway).empty();
   if (!valid) {
      Log("%s: User attempted to set invalid Gateway IP '%s'.\n", "Mgr::SaveNAT", gateway.c_str());
      model->SetGatewayIP("");
   }
   bool const written = NATWriter(*this, name, *model, *database).Write();
   return !valid || written;
}

} // namespace netcfg
