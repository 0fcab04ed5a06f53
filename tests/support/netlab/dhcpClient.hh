// SPDX-License-Identifier: GPL-2.0-or-later
// A DHCP client (RFC 2131) as a guest has one.
#pragma once

#include "support/netlab/packetPort.hh"
#include "vnet/values/address.hh"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace netlab {

// Options by their numbers (RFC 2132).
namespace option {
inline constexpr std::uint8_t subnetMask = 1;
inline constexpr std::uint8_t router = 3;
inline constexpr std::uint8_t dnsServer = 6;
inline constexpr std::uint8_t domainName = 15;
inline constexpr std::uint8_t mtu = 26;
inline constexpr std::uint8_t broadcast = 28;
inline constexpr std::uint8_t netbiosServer = 44;
inline constexpr std::uint8_t requestedAddress = 50;
inline constexpr std::uint8_t leaseTime = 51;
inline constexpr std::uint8_t messageType = 53;
inline constexpr std::uint8_t serverId = 54;
inline constexpr std::uint8_t parameterList = 55;
} // namespace option

// What a server granted.
struct Lease {
   vnet::Address address;
   vnet::Address sender; // the IP packet's source
   MacAddress senderMac;
   std::map<std::uint8_t, Bytes> options;

   bool Has(std::uint8_t number) const { return options.count(number); }
   // Each empty if the option isn't there or has another length.
   std::vector<vnet::Address> GetAddresses(std::uint8_t number) const;
   std::optional<vnet::Address> GetAddress(std::uint8_t number) const;
   std::optional<std::uint32_t> GetNumber(std::uint8_t number) const; // of 2 or 4 bytes
   std::string GetText(std::uint8_t number) const;
};

// Works on frames, so the device needs no address. One exchange at a time.
class DhcpClient {
public:
   // From the device's own address.
   DhcpClient(Namespace const& place, std::string const& device);
   // As another machine would, for lists of accepted vendors and the like.
   DhcpClient(Namespace const& place, std::string const& device, MacAddress otherMac);

   // Discover, offer, request, acknowledgement; repeats itself until the deadline.
   // Empty if nobody answers or the request is refused.
   std::optional<Lease> Acquire(test::Milliseconds deadline = test::patience);
   // The offers that come within this time after a discover, of all servers.
   std::vector<Lease> CollectOffers(test::Milliseconds deadline);

   // Gives the device the lease's address, mask, MTU and, if there is a router, the default route.
   static void Configure(Namespace const& place, std::string const& device, Lease const& lease);

private:
   PacketPort port;
   MacAddress mac;
   std::uint32_t transaction = 0;

   void Send(std::uint8_t type, std::map<std::uint8_t, Bytes> options);
   // The answers of this type in this transaction that came so far.
   std::vector<Lease> GetAnswers(std::uint8_t type) const;
   std::optional<Lease> Exchange(std::uint8_t type, std::map<std::uint8_t, Bytes> const& options,
                                 std::uint8_t expected, test::Milliseconds deadline);
};

} // namespace netlab
