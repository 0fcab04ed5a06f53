// SPDX-License-Identifier: GPL-2.0-or-later
// One virtual network.
#pragma once

#include "tvnetcfg/common/onDone.hh"
#include "utf/string.hh"

#include <boost/property_tree/ptree_fwd.hpp>
#include <sigc++/sigc++.h>

namespace netcfg::common {

class Bridge;
class DHCP;
class Editable;
class NAT;
class SnapshotSink;

// Made and deleted by Editable alone. Values are kept as text, valid or not; a save judges them.
class Network : public sigc::trackable {
public:
   enum Type : unsigned int {
      Bridged = 0,  // connected to a host adapter
      NAT = 1,      // shared through the NAT service
      HostOnly = 2, // private to the host
   };

   // Something of this network or of its parts changed.
   sigc::signal<void> changed;

   Network(Editable* editable, Type type, unsigned int index, bool initialize);
   ~Network();
   Network(Network const&) = delete;
   Network& operator=(Network const&) = delete;

   // The system name of a network: "tvnet" and the index.
   static utf::string NetToString(unsigned int index);
   // Whether name has 1 to 127 bytes and isn't the system name of a default network.
   static bool IsValidDisplayName(char const* name);

   // Gives a hosted network the values of a new one, silently.
   void InitializeHosted();

   unsigned int GetIndex() const { return index; }
   Type GetType() const { return type; }
   // Refused if the network is to be bridged and no adapter is free.
   void SetType(Type type, OnDone onDone);

   // Null unless bridged.
   Bridge* GetBridge() const { return bridge; }
   DHCP* GetDHCP() const { return dhcp; }
   common::NAT* GetNAT() const { return nat; }

   // A bridged network has neither, whatever is stored.
   bool GetHasDHCP() const { return type != Bridged && hasDHCP; }
   bool GetHasVirtualAdapter() const { return type != Bridged && hasVirtualAdapter; }
   void SetHasDHCP(bool value);
   void SetHasVirtualAdapter(bool value);

   utf::string GetDisplayName() const { return displayName; }
   void SetDisplayName(utf::string const& value);
   // Dotted, or empty.
   utf::string GetSubnetAddr() const { return subnetAddr; }
   void SetSubnetAddr(utf::string value);
   utf::string GetSubnetMask() const { return subnetMask; }
   void SetSubnetMask(utf::string value);
   // Decimal; "-" if none is set.
   utf::string GetMTU() const { return mtu; }
   void SetMTU(utf::string const& value);

   boost::property_tree::ptree ToPropertyTree();
   // What that tree has.
   void Write(SnapshotSink& sink) const;

private:
   // Deletes the bridge and takes the defaults of a hosted network.
   void LeaveBridged();

   Editable* const editable;
   Type type;
   unsigned int const index;
   Bridge* bridge = nullptr;
   common::NAT* nat = nullptr;
   DHCP* dhcp = nullptr;
   bool hasDHCP = false;
   bool hasVirtualAdapter = false;
   utf::string displayName;
   utf::string subnetAddr;
   utf::string subnetMask;
   utf::string mtu = "-";
};

} // namespace netcfg::common
