// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/services/dhcpMessage.hh"

#include "support/netlab/endpoint.hh"

#include <poll.h>

namespace vnet::services {

namespace {

using netlab::Bytes;

void Append(Bytes& bytes, std::uint32_t number)
{
   for (int shift = 24; shift >= 0; shift -= 8) {
      bytes.push_back(static_cast<std::uint8_t>(number >> shift));
   }
}

// RFC 2131, 2: fixed fields of 236 bytes, a cookie, options.
Bytes MakeRequest(vnet::host::MacAddress const& mac, vnet::Address address,
                  std::optional<std::uint32_t> seconds)
{
   Bytes message{1, 1, 6, 0, 0x11, 0x22, 0x33, 0x44, 0, 0, 0, 0};
   Append(message, address.value);
   message.resize(28);
   message.insert(message.end(), mac.bytes.begin(), mac.bytes.end());
   message.resize(236);
   Append(message, 0x63825363);
   message.insert(message.end(), {53, 1, 3});
   if (seconds) {
      message.insert(message.end(), {51, 4});
      Append(message, *seconds);
   }
   message.push_back(255);
   return message;
}

std::map<std::uint8_t, Bytes> ReadOptions(Bytes const& message)
{
   std::map<std::uint8_t, Bytes> options;
   for (std::size_t at = 240; at + 1 < message.size() && message[at] != 255;) {
      std::size_t const length = message[at] == 0 ? 0 : message[at + 1];
      auto const begin = message.begin() + static_cast<std::ptrdiff_t>(at) + 2;
      if (message[at] != 0 && at + 2 + length <= message.size()) {
         options[message[at]] = Bytes(begin, begin + static_cast<std::ptrdiff_t>(length));
      }
      at += message[at] == 0 ? 1 : 2 + length;
   }
   return options;
}

} // namespace

std::optional<std::uint32_t> Renewal::GetNumber(std::uint8_t option) const
{
   auto const found = options.find(option);
   if (found == options.end() || found->second.size() != 4) {
      return {};
   }
   std::uint32_t number = 0;
   for (auto const byte : found->second) {
      number = number << 8 | byte;
   }
   return number;
}

std::optional<Renewal> Renew(netlab::Namespace const& place, std::string const& device,
                             vnet::Address address, vnet::Address server,
                             std::optional<std::uint32_t> seconds)
{
   auto const request = MakeRequest(place.GetMac(device), address, seconds);
   auto const socket = netlab::OpenBound(place, SOCK_DGRAM, 68);
   auto const to = netlab::MakeSocketAddress({"::ffff:" + server.ToString(), 67});
   if (sendto(socket.Get(), request.data(), request.size(), 0, to.Get(), to.length) < 0) {
      return {};
   }
   pollfd watched{socket.Get(), POLLIN, 0};
   if (poll(&watched, 1, static_cast<int>(test::patience.count())) != 1) {
      return {};
   }
   Bytes answer(2048);
   netlab::SocketAddress from;
   auto const length =
      recvfrom(socket.Get(), answer.data(), answer.size(), 0, from.Get(), &from.length);
   answer.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
   Renewal renewal;
   renewal.address = vnet::Address::Parse(netlab::ReadEndpoint(from).address).value_or(Address{});
   renewal.options = ReadOptions(answer);
   renewal.type = renewal.options.count(53) ? renewal.options[53].at(0) : 0;
   return renewal;
}

} // namespace vnet::services
