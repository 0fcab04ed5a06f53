// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/vnet/vnetDatabase.hh"

#include <algorithm>
#include <iomanip>
#include <sstream>
#include <stdexcept>

namespace test {

namespace {

constexpr char defaultText[] = "automatic=0\n"
                               "adapter=eth0 0\n"
                               "adapter=eth1 0\n"
                               "network=0\n"
                               "network=1 dhcp adapter 172.16.1.0 255.255.255.0\n"
                               "network=8 nat dhcp adapter 192.168.8.0 255.255.255.0\n"
                               "nat=8 0x2343 192.168.8.2\n"
                               "nat=8 0x2346 0\n"
                               "nat=8 0x2347 1\n"
                               "nat=8 0x2348 1\n"
                               "nat=8 0x2349 30\n"
                               "nat=8 0x235a 0\n"
                               "nat=8 0x235b fd15:4ba5:5a2b:1008::/64\n";

using Forwards = std::vector<VnetForward>;

Forwards::iterator FindPlace(Forwards& forwards, std::uint16_t hostPort)
{
   return std::lower_bound(
      forwards.begin(), forwards.end(), hostPort,
      [](VnetForward const& forward, std::uint16_t port) { return forward.hostPort < port; });
}

bool IsAt(Forwards const& forwards, Forwards::const_iterator place, std::uint16_t hostPort)
{
   return place != forwards.end() && place->hostPort == hostPort;
}

// What is left of the line, without the blank that ends the word before.
std::string ReadRest(std::istringstream& line)
{
   std::string rest;
   line >> std::ws;
   std::getline(line, rest);
   line.clear();
   return rest;
}

bool ReadBool(std::istringstream& line)
{
   bool value = false;
   line >> std::boolalpha >> value;
   return value;
}

template <typename Number>
Number ReadNumber(std::istringstream& line)
{
   Number value{};
   line >> std::setbase(0) >> value;
   return value;
}

void ReadNetwork(std::istringstream& line, VnetNetwork& network)
{
   std::string word;
   while (line >> word) {
      if (word == "nat") {
         network.useNAT = true;
      } else if (word == "dhcp") {
         network.useDHCP = true;
      } else if (word == "adapter") {
         network.useAdapter = true;
      } else if (network.subnetAddress.empty()) {
         network.subnetAddress = word;
      } else {
         network.subnetMask = word;
      }
   }
   line.clear();
}

VnetForward ReadForward(std::istringstream& line)
{
   VnetForward forward;
   std::string protocol;
   line >> protocol;
   forward.tcp = protocol == "tcp";
   forward.hostPort = ReadNumber<std::uint16_t>(line);
   line >> forward.address;
   forward.vmPort = ReadNumber<std::uint16_t>(line);
   if (!line || (protocol != "tcp" && protocol != "udp")) {
      line.setstate(std::ios::failbit);
      return forward;
   }
   forward.description = ReadRest(line);
   return forward;
}

void ReadParam(std::istringstream& line, std::map<std::uint32_t, std::string>& params)
{
   auto const id = ReadNumber<std::uint32_t>(line);
   if (line) {
      params[id] = ReadRest(line);
   }
}

void ReadNetworkValue(std::string const& key, std::istringstream& line, VnetNetwork& network)
{
   if (key == "network") {
      ReadNetwork(line, network);
   } else if (key == "name") {
      network.displayName = ReadRest(line);
   } else if (key == "mtu") {
      network.mtu = ReadNumber<std::uint32_t>(line);
   } else if (key == "nat") {
      ReadParam(line, network.natParams);
   } else if (key == "dhcp") {
      ReadParam(line, network.dhcpParams);
   } else if (key == "forward") {
      network.PutForward(ReadForward(line));
   } else {
      line.setstate(std::ios::failbit);
   }
}

void ReadValue(std::string const& key, std::istringstream& line, VnetDatabase& database)
{
   if (key == "exists") {
      database.exists = ReadBool(line);
   } else if (key == "readable") {
      database.readable = ReadBool(line);
   } else if (key == "loadable") {
      database.loadable = ReadBool(line);
   } else if (key == "vnets") {
      database.numberOfVnets = ReadNumber<std::uint32_t>(line);
   } else if (key == "automatic") {
      database.automatic = ReadNumber<int>(line);
   } else if (key == "adapter") {
      VnetAdapter adapter;
      line >> adapter.name;
      adapter.vnet = ReadNumber<int>(line);
      database.adapters.push_back(adapter);
   } else {
      auto const index = ReadNumber<unsigned int>(line);
      if (line) {
         ReadNetworkValue(key, line, database.networks[index]);
      }
   }
}

void WriteForwards(std::ostream& out, unsigned int index, Forwards const& forwards)
{
   for (VnetForward const& forward : forwards) {
      out << "forward=" << index << (forward.tcp ? " tcp " : " udp ") << forward.hostPort << ' '
          << forward.address << ' ' << forward.vmPort << ' ' << forward.description << '\n';
   }
}

void WriteParams(std::ostream& out, char const* key, unsigned int index,
                 std::map<std::uint32_t, std::string> const& params)
{
   for (auto const& [id, value] : params) {
      out << key << '=' << index << " 0x" << std::hex << id << std::dec << ' ' << value << '\n';
   }
}

void WriteNetwork(std::ostream& out, unsigned int index, VnetNetwork const& network)
{
   out << "network=" << index << (network.useNAT ? " nat" : "") << (network.useDHCP ? " dhcp" : "")
       << (network.useAdapter ? " adapter" : "");
   if (!network.subnetAddress.empty()) {
      out << ' ' << network.subnetAddress << ' ' << network.subnetMask;
   }
   out << '\n';
   if (!network.displayName.empty()) {
      out << "name=" << index << ' ' << network.displayName << '\n';
   }
   if (network.mtu) {
      out << "mtu=" << index << ' ' << *network.mtu << '\n';
   }
   WriteParams(out, "nat", index, network.natParams);
   WriteParams(out, "dhcp", index, network.dhcpParams);
   WriteForwards(out, index, network.tcpForwards);
   WriteForwards(out, index, network.udpForwards);
}

} // namespace

void VnetNetwork::PutForward(VnetForward const& forward)
{
   Forwards& forwards = GetForwards(forward.tcp);
   auto const place = FindPlace(forwards, forward.hostPort);
   if (IsAt(forwards, place, forward.hostPort)) {
      *place = forward;
   } else {
      forwards.insert(place, forward);
   }
}

bool VnetNetwork::RemoveForward(bool tcp, std::uint16_t hostPort)
{
   Forwards& forwards = GetForwards(tcp);
   auto const place = FindPlace(forwards, hostPort);
   if (!IsAt(forwards, place, hostPort)) {
      return false;
   }
   forwards.erase(place);
   return true;
}

VnetDatabase VnetDatabase::MakeDefault()
{
   return Parse(defaultText);
}

VnetDatabase VnetDatabase::Parse(std::string const& text)
{
   VnetDatabase database;
   std::istringstream lines(text);
   std::string line;
   while (std::getline(lines, line)) {
      std::size_t const equals = line.find('=');
      if (line.empty() || line[0] == '#') {
         continue;
      }
      std::istringstream value(equals == std::string::npos ? "" : line.substr(equals + 1));
      ReadValue(line.substr(0, equals), value, database);
      if (!value || !(value >> std::ws).eof()) {
         throw std::invalid_argument("read the double's database: " + line + ": not understood");
      }
   }
   return database;
}

std::string VnetDatabase::ToText() const
{
   std::ostringstream out;
   out << std::boolalpha << "exists=" << exists << "\nreadable=" << readable
       << "\nloadable=" << loadable << "\nvnets=" << numberOfVnets << "\nautomatic=" << automatic
       << '\n';
   for (VnetAdapter const& adapter : adapters) {
      out << "adapter=" << adapter.name << ' ' << adapter.vnet << '\n';
   }
   for (auto const& [index, network] : networks) {
      WriteNetwork(out, index, network);
   }
   return out.str();
}

} // namespace test
