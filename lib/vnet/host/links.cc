// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/links.hh"

#include "vnet/host/decode.hh"
#include "vnet/host/netlink.hh"
#include "vnet/values/error.hh"

#include <cerrno>
#include <linux/if.h>
#include <linux/if_arp.h>
#include <linux/if_ether.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <linux/veth.h>
#include <unistd.h>

namespace vnet::host {

namespace {

Request MakeRequest(int type, int flags, int index = 0)
{
   Request request(type, flags);
   ifinfomsg header{};
   header.ifi_index = index;
   request.Append(header);
   return request;
}

void PutMac(Request& request, MacAddress mac)
{
   request.Put(IFLA_ADDRESS, mac.bytes.data(), mac.bytes.size());
}

// A device's name goes into paths and messages: what the kernel wouldn't take isn't asked for.
bool CanBeName(std::string const& name)
{
   return !name.empty() && name.size() < IFNAMSIZ;
}

// A bridge follows the MTU of its ports until its own was changed once, and setting it to what it
// is doesn't count. So it is born with another.
std::uint32_t GetMtuBefore(std::uint32_t mtu)
{
   return mtu == ETH_MIN_MTU ? mtu + 1 : mtu - 1;
}

} // namespace

bool Link::IsUp() const
{
   return flags & IFF_UP;
}

bool Link::IsLoopback() const
{
   return flags & IFF_LOOPBACK;
}

bool Link::IsHardware() const
{
   // Every driver of a software device names its kind.
   return kind.empty() && hardwareType == ARPHRD_ETHER && !IsLoopback();
}

bool Link::IsSetPromiscuous() const
{
   // Here the kernel shows the device's own bit, not whether sockets or masters ask for it.
   return flags & IFF_PROMISC;
}

Links::Links(RouteSocket& socketOfCaller, std::string sysRootPath)
   : socket(socketOfCaller), sysRoot(std::move(sysRootPath))
{}

bool Links::IsWireless(Link const& link) const
{
   return access((sysRoot + "/class/net/" + link.name + "/phy80211").c_str(), F_OK) == 0;
}

std::vector<Link> Links::List()
{
   auto request = MakeRequest(RTM_GETLINK, 0);
   request.PutU32(IFLA_EXT_MASK, RTEXT_FILTER_SKIP_STATS);
   auto links = socket.Collect(request, "links", DecodeLink);
   for (auto& link : links) {
      link.wireless = IsWireless(link);
   }
   return links;
}

std::optional<Link> Links::Get(Request& request, std::string const& object)
{
   request.PutU32(IFLA_EXT_MASK, RTEXT_FILTER_SKIP_STATS);
   std::optional<Link> link;
   int const error =
      socket.Try(request, [&link](nlmsghdr const* message) { link = DecodeLink(message); });
   if (error && error != ENODEV) {
      throw Error("find", object, socket.GetCause());
   }
   if (link) {
      link->wireless = IsWireless(*link);
   }
   return link;
}

std::optional<Link> Links::Find(std::string const& name)
{
   if (!CanBeName(name)) {
      return {};
   }
   auto request = MakeRequest(RTM_GETLINK, 0);
   request.PutString(IFLA_IFNAME, name);
   return Get(request, name);
}

std::optional<Link> Links::Find(int index)
{
   auto request = MakeRequest(RTM_GETLINK, 0, index);
   return index > 0 ? Get(request, "link " + std::to_string(index)) : std::nullopt;
}

Link Links::Require(std::string const& name)
{
   auto const link = Find(name);
   if (!link) {
      throw Error("find", name, "No such device");
   }
   return *link;
}

Link Links::CreateBridge(BridgeRequest const& wanted)
{
   auto request = MakeRequest(RTM_NEWLINK, NLM_F_CREATE | NLM_F_EXCL);
   request.PutString(IFLA_IFNAME, wanted.name);
   PutMac(request, wanted.mac);
   request.PutU32(IFLA_MTU, GetMtuBefore(wanted.mtu));
   request.Nest(IFLA_LINKINFO, [&] {
      request.PutString(IFLA_INFO_KIND, "bridge");
      request.Nest(IFLA_INFO_DATA, [&] {
         request.PutU32(IFLA_BR_STP_STATE, 0);
         request.PutU8(IFLA_BR_MCAST_SNOOPING, 0);
      });
   });
   int const error = socket.Try(request);
   if (error && !(error == EEXIST && FindHalfMade(wanted))) {
      throw Error("create bridge", wanted.name, socket.GetCause());
   }
   FinishBridge(wanted);
   return Require(wanted.name);
}

std::optional<Link> Links::FindHalfMade(BridgeRequest const& wanted)
{
   auto const link = Find(wanted.name);
   bool const fits = link && link->IsBridge() && link->mac == wanted.mac && link->alias.empty();
   return fits ? link : std::nullopt;
}

void Links::FinishBridge(BridgeRequest const& wanted)
{
   auto const link = FindHalfMade(wanted);
   if (!link) {
      throw Error("create bridge", wanted.name, "It was taken away meanwhile");
   }
   try {
      SetMtu(*link, wanted.mtu);
      SetUp(*link, true);
      // Last: from now on it counts as whole.
      SetAlias(*link, wanted.alias);
   } catch (...) {
      Delete(*link);
      throw;
   }
}

Link Links::CreateVeth(VethRequest const& wanted)
{
   auto request = MakeRequest(RTM_NEWLINK, NLM_F_CREATE | NLM_F_EXCL);
   auto const putEnd = [&](std::string const& name, MacAddress mac) {
      request.PutString(IFLA_IFNAME, name);
      PutMac(request, mac);
      request.PutU32(IFLA_MTU, wanted.mtu);
   };
   putEnd(wanted.name, wanted.mac);
   request.Nest(IFLA_LINKINFO, [&] {
      request.PutString(IFLA_INFO_KIND, "veth");
      request.Nest(IFLA_INFO_DATA, [&] {
         request.Nest(VETH_INFO_PEER, [&] {
            request.Append(ifinfomsg{});
            putEnd(wanted.peerName, wanted.peerMac);
         });
      });
   });
   socket.Run(request, "create link", wanted.name);
   return Require(wanted.name);
}

void Links::Delete(Link const& link)
{
   auto request = MakeRequest(RTM_DELLINK, 0, link.index);
   if (int const error = socket.Try(request); error && error != ENODEV) {
      throw Error("delete link", link.name, socket.GetCause());
   }
}

void Links::Change(Link const& link, std::string const& action, int attribute, void const* value,
                   std::size_t length)
{
   auto request = MakeRequest(RTM_SETLINK, 0, link.index);
   request.Put(attribute, value, length);
   socket.Run(request, action, link.name);
}

void Links::ChangeFlag(Link const& link, std::string const& action, unsigned int flag, bool set)
{
   Request request(RTM_SETLINK, 0);
   ifinfomsg header{};
   header.ifi_index = link.index;
   header.ifi_flags = set ? flag : 0;
   header.ifi_change = flag;
   request.Append(header);
   socket.Run(request, action, link.name);
}

void Links::SetUp(Link const& link, bool up)
{
   ChangeFlag(link, up ? "set up" : "set down", IFF_UP, up);
}

void Links::SetMtu(Link const& link, std::uint32_t mtu)
{
   Change(link, "set the MTU of", IFLA_MTU, &mtu, sizeof mtu);
}

void Links::SetMac(Link const& link, MacAddress mac)
{
   Change(link, "set the hardware address of", IFLA_ADDRESS, mac.bytes.data(), mac.bytes.size());
}

void Links::SetAlias(Link const& link, std::string const& alias)
{
   Change(link, "set the alias of", IFLA_IFALIAS, alias.c_str(), alias.size() + 1);
}

void Links::SetMaster(Link const& link, std::optional<Link> const& bridge)
{
   std::uint32_t const master = bridge ? static_cast<std::uint32_t>(bridge->index) : 0;
   Change(link, bridge ? "plug in" : "unplug", IFLA_MASTER, &master, sizeof master);
}

void Links::SetPromiscuous(Link const& link, bool promiscuous)
{
   ChangeFlag(link, promiscuous ? "set promiscuous" : "set not promiscuous", IFF_PROMISC,
              promiscuous);
}

} // namespace vnet::host
