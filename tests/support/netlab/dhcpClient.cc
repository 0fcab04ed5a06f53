// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/netlab/dhcpClient.hh"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <linux/if_ether.h>
#include <random>

namespace netlab {

namespace {

using Clock = std::chrono::steady_clock;

// Impatient, as the server may have started a moment ago.
constexpr test::Milliseconds repetition{250};

constexpr std::uint8_t discover = 1;
constexpr std::uint8_t offer = 2;
constexpr std::uint8_t request = 3;
constexpr std::uint8_t acknowledge = 5;

constexpr std::uint8_t endOption = 255;
constexpr std::array<std::uint8_t, 4> cookie{0x63, 0x82, 0x53, 0x63};

constexpr std::size_t ipLength = 20;
constexpr std::size_t udpLength = 8;
constexpr std::size_t bootpLength = 236;

void PutU16(Bytes& bytes, std::size_t at, std::size_t value)
{
   bytes[at] = static_cast<std::uint8_t>(value >> 8);
   bytes[at + 1] = static_cast<std::uint8_t>(value);
}

void PutU32(Bytes& bytes, std::size_t at, std::uint32_t value)
{
   PutU16(bytes, at, value >> 16);
   PutU16(bytes, at + 2, value & 0xffff);
}

std::uint32_t GetNumber(std::uint8_t const* data, std::size_t length)
{
   std::uint32_t number = 0;
   for (std::size_t i = 0; i < length; ++i) {
      number = number << 8 | data[i];
   }
   return number;
}

Bytes MakeBytes(vnet::Address address)
{
   Bytes bytes(4);
   PutU32(bytes, 0, address.value);
   return bytes;
}

std::size_t MakeHeaderChecksum(Bytes const& packet)
{
   std::uint32_t sum = 0;
   for (std::size_t i = 0; i < ipLength; i += 2) {
      sum += GetNumber(&packet[i], 2);
   }
   sum = (sum >> 16) + (sum & 0xffff);
   return ~(sum + (sum >> 16)) & 0xffff;
}

// From 0.0.0.0 port 68 to 255.255.255.255 port 67; UDP's checksum is left out, as it may be.
Bytes MakePacket(Bytes const& message)
{
   Bytes packet(ipLength + udpLength);
   packet[0] = 0x45;
   PutU16(packet, 2, packet.size() + message.size());
   packet[8] = 64;
   packet[9] = 17;
   PutU32(packet, 16, 0xffffffff);
   PutU16(packet, 10, MakeHeaderChecksum(packet));
   PutU16(packet, ipLength, 68);
   PutU16(packet, ipLength + 2, 67);
   PutU16(packet, ipLength + 4, udpLength + message.size());
   packet.insert(packet.end(), message.begin(), message.end());
   return packet;
}

Bytes MakeMessage(std::uint32_t transaction, MacAddress mac,
                  std::map<std::uint8_t, Bytes> const& options)
{
   Bytes message(bootpLength);
   message[0] = 1; // request
   message[1] = 1; // Ethernet
   message[2] = 6; // bytes of an address
   PutU32(message, 4, transaction);
   PutU16(message, 10, 0x8000); // answer by broadcast: there is no address yet
   std::copy(mac.bytes.begin(), mac.bytes.end(), message.begin() + 28);
   message.insert(message.end(), cookie.begin(), cookie.end());
   for (auto const& [number, value] : options) {
      message.push_back(number);
      message.push_back(static_cast<std::uint8_t>(value.size()));
      message.insert(message.end(), value.begin(), value.end());
   }
   message.push_back(endOption);
   message.resize(std::max<std::size_t>(message.size(), 300)); // BOOTP's shortest
   return message;
}

std::map<std::uint8_t, Bytes> ReadOptions(std::uint8_t const* at, std::uint8_t const* end)
{
   std::map<std::uint8_t, Bytes> options;
   while (at < end && *at != endOption) {
      if (*at == 0) {
         ++at;
         continue;
      }
      if (end - at < 2 || end - at < 2 + at[1]) {
         break;
      }
      options[at[0]] = Bytes(at + 2, at + 2 + at[1]);
      at += 2 + at[1];
   }
   return options;
}

// An answer to the transaction, or empty for any other frame.
std::optional<Lease> ReadAnswer(Frame const& frame, std::uint32_t transaction)
{
   auto const& packet = frame.payload;
   auto const least = ipLength + udpLength + bootpLength + cookie.size();
   if (frame.type != ETH_P_IP || packet.size() < least || packet[9] != 17) {
      return {};
   }
   auto const* udp = packet.data() + (packet[0] & 0xf) * 4;
   auto const* message = udp + udpLength;
   auto const* options = message + bootpLength;
   auto const* end = packet.data() + packet.size();
   if (options + cookie.size() > end || GetNumber(udp, 2) != 67 || GetNumber(udp + 2, 2) != 68 ||
       GetNumber(message + 4, 4) != transaction ||
       !std::equal(cookie.begin(), cookie.end(), options)) {
      return {};
   }
   return Lease{{GetNumber(message + 16, 4)},
                {GetNumber(packet.data() + 12, 4)},
                frame.source,
                ReadOptions(options + cookie.size(), end)};
}

} // namespace

std::vector<vnet::Address> Lease::GetAddresses(std::uint8_t number) const
{
   auto const found = options.find(number);
   std::vector<vnet::Address> addresses;
   if (found != options.end() && found->second.size() % 4 == 0) {
      for (std::size_t i = 0; i < found->second.size(); i += 4) {
         addresses.push_back({netlab::GetNumber(&found->second[i], 4)});
      }
   }
   return addresses;
}

std::optional<vnet::Address> Lease::GetAddress(std::uint8_t number) const
{
   auto const addresses = GetAddresses(number);
   return addresses.size() == 1 ? std::optional(addresses.front()) : std::nullopt;
}

std::optional<std::uint32_t> Lease::GetNumber(std::uint8_t number) const
{
   auto const found = options.find(number);
   if (found == options.end() || (found->second.size() != 2 && found->second.size() != 4)) {
      return {};
   }
   return netlab::GetNumber(found->second.data(), found->second.size());
}

std::string Lease::GetText(std::uint8_t number) const
{
   auto const found = options.find(number);
   return found == options.end() ? "" : std::string(found->second.begin(), found->second.end());
}

DhcpClient::DhcpClient(Namespace const& place, std::string const& device)
   : DhcpClient(place, device, place.GetMac(device))
{}

DhcpClient::DhcpClient(Namespace const& place, std::string const& device, MacAddress otherMac)
   : port(place, device), mac(otherMac)
{}

void DhcpClient::Send(std::uint8_t type, std::map<std::uint8_t, Bytes> options)
{
   options[option::messageType] = {type};
   options[option::parameterList] = {option::subnetMask,    option::router,   option::dnsServer,
                                     option::domainName,    option::mtu,      option::broadcast,
                                     option::netbiosServer, option::leaseTime};
   port.Send(
      {broadcastMac, mac, ETH_P_IP, MakePacket(MakeMessage(transaction, mac, options)), -1, 0, {}});
}

std::vector<Lease> DhcpClient::GetAnswers(std::uint8_t type) const
{
   std::vector<Lease> answers;
   for (auto const& frame : port.GetFrames()) {
      auto answer = ReadAnswer(frame, transaction);
      if (answer && answer->options[option::messageType] == Bytes{type}) {
         answers.push_back(std::move(*answer));
      }
   }
   return answers;
}

std::optional<Lease> DhcpClient::Exchange(std::uint8_t type,
                                          std::map<std::uint8_t, Bytes> const& options,
                                          std::uint8_t expected, test::Milliseconds deadline)
{
   // A refusal ends the exchange too.
   auto const isAnswer = [&](Frame const& frame) {
      auto answer = ReadAnswer(frame, transaction);
      return answer &&
             (answer->options[option::messageType] == Bytes{offer}) == (expected == offer);
   };
   auto const end = Clock::now() + deadline;
   while (Clock::now() < end) {
      Send(type, options);
      auto const left = std::chrono::duration_cast<test::Milliseconds>(end - Clock::now());
      auto const turn = std::min(left, repetition);
      if (port.WaitFor(isAnswer, 1, turn)) {
         auto const answers = GetAnswers(expected);
         return answers.empty() ? std::nullopt : std::optional(answers.front());
      }
   }
   return {};
}

std::optional<Lease> DhcpClient::Acquire(test::Milliseconds deadline)
{
   auto const end = Clock::now() + deadline;
   port.Forget();
   transaction = std::random_device()();
   auto const offered = Exchange(discover, {}, offer, deadline);
   if (!offered || !offered->Has(option::serverId)) {
      return {};
   }
   auto const left = std::chrono::duration_cast<test::Milliseconds>(end - Clock::now());
   return Exchange(request,
                   {{option::requestedAddress, MakeBytes(offered->address)},
                    {option::serverId, offered->options.at(option::serverId)}},
                   acknowledge, left);
}

std::vector<Lease> DhcpClient::CollectOffers(test::Milliseconds deadline)
{
   port.Forget();
   transaction = std::random_device()();
   Send(discover, {});
   port.WaitFor([](Frame const&) { return false; }, 1, deadline);
   return GetAnswers(offer);
}

void DhcpClient::Configure(Namespace const& place, std::string const& device, Lease const& lease)
{
   auto const mask = lease.GetAddress(option::subnetMask);
   auto const length = vnet::GetPrefixLength(mask.value_or(vnet::Address{0xffffffff}));
   place.AddAddress(device, lease.address.ToString() + "/" + std::to_string(length.value_or(32)));
   if (auto const mtu = lease.GetNumber(option::mtu)) {
      place.Command("ip link set " + device + " mtu " + std::to_string(*mtu));
   }
   if (auto const routers = lease.GetAddresses(option::router); !routers.empty()) {
      place.Command("ip route replace default via " + routers.front().ToString());
   }
}

} // namespace netlab
