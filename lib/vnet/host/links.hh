// SPDX-License-Identifier: GPL-2.0-or-later
// The network devices of this namespace.
#pragma once

#include "vnet/host/macAddress.hh"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vnet::host {

class Request;
class RouteSocket;

// A device as the kernel described it at one moment.
struct Link {
   int index = 0;
   std::string name;
   std::string kind; // "bridge", "veth", ...; empty for hardware and for lo
   MacAddress mac;   // zero if the device isn't Ethernet
   std::uint32_t mtu = 0;
   unsigned int flags = 0;          // IFF_
   unsigned short hardwareType = 0; // ARPHRD_
   int master = 0;                  // index of the bridge it is a port of, or 0
   std::string alias;
   std::uint32_t promiscuity = 0; // how many ask for promiscuous mode
   bool carrier = false;
   bool wireless = false;

   bool IsUp() const;
   bool IsLoopback() const;
   // An Ethernet or Wi-Fi adapter: not a bridge, tap, tunnel or other thing of software.
   bool IsHardware() const;
   bool IsBridge() const { return kind == "bridge"; }
   // Whether someone set promiscuous mode as a property of the device, as opposed to the sockets
   // and masters that ask for it and are counted.
   bool IsSetPromiscuous() const;
};

struct BridgeRequest {
   std::string name;
   MacAddress mac; // locally administered; the same for every creation of this name
   std::uint32_t mtu = 1500;
   std::string alias; // by which its maker knows it again
};

struct VethRequest {
   std::string name;
   MacAddress mac;
   std::string peerName;
   MacAddress peerMac;
   std::uint32_t mtu = 1500;
};

// Every failure throws Error with the action and the device's name.
class Links {
public:
   // `sysRoot` is where sysfs is mounted; it tells which adapters are wireless.
   explicit Links(RouteSocket& socketOfCaller, std::string sysRootPath = "/sys");

   std::vector<Link> List();
   // Empty if there is none.
   std::optional<Link> Find(std::string const& name);
   std::optional<Link> Find(int index);
   // Throws Error if there is none.
   Link Require(std::string const& name);

   // A bridge without spanning tree and multicast snooping, up. The MAC is set in the creating
   // request, else udev rewrites it. An existing bridge with this MAC and without an
   // alias is one that an earlier process left half made: it is completed. Anything else of this
   // name fails with "File exists".
   Link CreateBridge(BridgeRequest const& wanted);
   // A pair, both down. Returns the first.
   Link CreateVeth(VethRequest const& wanted);
   // A device that went in the meantime is no failure.
   void Delete(Link const& link);

   void SetUp(Link const& link, bool up);
   void SetMtu(Link const& link, std::uint32_t mtu);
   void SetMac(Link const& link, MacAddress mac);
   // At most 255 bytes.
   void SetAlias(Link const& link, std::string const& alias);
   // No bridge: takes the device out of its own.
   void SetMaster(Link const& link, std::optional<Link> const& bridge);
   // The device's own setting, beside the sockets that ask for it. It is one bit, not counted: see
   // Link::IsSetPromiscuous before setting it, and leave it if it was someone else's.
   void SetPromiscuous(Link const& link, bool promiscuous);

private:
   RouteSocket& socket;
   std::string sysRoot;

   bool IsWireless(Link const& link) const;
   std::optional<Link> Get(Request& request, std::string const& object);
   std::optional<Link> FindHalfMade(BridgeRequest const& wanted);
   void FinishBridge(BridgeRequest const& wanted);
   void Change(Link const& link, std::string const& action, int attribute, void const* value,
               std::size_t length);
   void ChangeFlag(Link const& link, std::string const& action, unsigned int flag, bool set);
};

} // namespace vnet::host
