// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/database/decode.hh"

#include "vnet/database/fields.hh"
#include "vnet/database/groups.hh"
#include "vnet/database/keyFile.hh"
#include "vnet/values/text.hh"

#include <algorithm>
#include <stdexcept>

namespace vnet {

namespace {

class Decoder {
public:
   explicit Decoder(KeyFile const& keyFile) : file(keyFile) {}
   Decoded Run();

private:
   void RequireVersion();
   void ReadGroup(std::string const& group);
   void ReadGeneral();
   void ReadNetwork(std::string const& group, unsigned int index);
   void ReadForward(std::string const& group, ForwardKey const& key);
   void ReadAdapter(std::string const& group, std::string const& name);

   // The parsed value of a key; empty with a complaint if it doesn't parse, without one if nothing
   // stands there.
   template <class Parse>
   auto Read(std::string const& group, char const* key, Parse parse, char const* expects)
      -> decltype(parse(std::string_view()));
   void Complain(std::string const& group, std::string const& key, std::string const& cause);
   void NoteUnknownKeys(std::string const& group, std::vector<std::string_view> const& known);

   KeyFile const& file;
   Decoded result;
};

Decoded Decoder::Run()
{
   RequireVersion();
   for (auto const& group : file.GetGroups()) {
      ReadGroup(group);
   }
   for (auto& [index, network] : result.settings.networks) {
      std::ranges::sort(network.nat.forwards, IsBefore);
   }
   return std::move(result);
}

void Decoder::RequireVersion()
{
   auto const raw = file.GetRaw(generalGroup, "version");
   if (!raw) {
      throw std::runtime_error("It has no version");
   }
   auto const version = ParseNumber(*raw, 1, 0xffffffff);
   if (!version) {
      throw std::runtime_error("Its version is " + Quote(*raw));
   }
   if (*version > databaseVersion) {
      throw std::runtime_error("Its version " + std::to_string(*version) + " is newer than " +
                               std::to_string(databaseVersion));
   }
}

void Decoder::ReadGroup(std::string const& group)
{
   if (group == generalGroup) {
      ReadGeneral();
   } else if (auto const index = ParseNetworkName(group)) {
      ReadNetwork(group, *index);
   } else if (auto const key = ParseForwardGroup(group)) {
      ReadForward(group, *key);
   } else if (auto const name = ParseAdapterGroup(group)) {
      ReadAdapter(group, *name);
   } else {
      result.unknown.push_back("group " + Quote(group));
   }
}

void Decoder::ReadGeneral()
{
   result.settings.automatic =
      Read(generalGroup, "automatic", ParseNetworkName, "a network from tvnet0 to tvnet255");
   NoteUnknownKeys(generalGroup, {"version", "automatic"});
}

void Decoder::ReadNetwork(std::string const& group, unsigned int index)
{
   auto& network = result.settings.networks[index];
   std::vector<std::string_view> known;
   ForEachField([&](auto const& field) {
      known.push_back(field.key);
      if (auto const value = Read(group, field.key, field.parse, field.expects)) {
         field.in(network) = *value;
      }
   });
   NoteUnknownKeys(group, known);
}

void Decoder::ReadForward(std::string const& group, ForwardKey const& key)
{
   auto const address = Read(group, "address", ParseHostAddress, field::address);
   auto const port = Read(group, "port", ParsePort, "a number from 1 to 65535");
   auto const description = Read(group, "description", ParseDescription,
                                 "UTF-8 of at most 128 bytes without control characters");
   NoteUnknownKeys(group, {"address", "port", "description"});
   if (!address || !port) {
      Complain(group, "", "A forward needs an address and a port");
      return;
   }
   result.settings.networks[key.network].nat.forwards.push_back(
      {key.tcp, key.hostPort, *address, *port, description.value_or("")});
}

void Decoder::ReadAdapter(std::string const& group, std::string const& name)
{
   auto const network =
      Read(group, "network", ParseNetworkName, "a network from tvnet0 to tvnet255");
   if (network) {
      result.settings.adapters[name] = *network;
   }
   NoteUnknownKeys(group, {"network"});
}

template <class Parse>
auto Decoder::Read(std::string const& group, char const* key, Parse parse, char const* expects)
   -> decltype(parse(std::string_view()))
{
   auto const raw = file.GetRaw(group, key);
   if (!raw || raw->empty()) {
      return {};
   }
   auto const text = KeyFile::Unescape(*raw);
   auto value = text ? parse(*text) : decltype(parse(*text))();
   if (!value) {
      Complain(group, key, Quote(*raw) + " isn't " + expects);
   }
   return value;
}

void Decoder::Complain(std::string const& group, std::string const& key, std::string const& cause)
{
   result.complaints.push_back("[" + group + "]" + (key.empty() ? "" : " " + key) + ": " + cause);
}

void Decoder::NoteUnknownKeys(std::string const& group, std::vector<std::string_view> const& known)
{
   for (auto const& key : file.GetKeys(group)) {
      if (std::ranges::find(known, key) == known.end()) {
         result.unknown.push_back("[" + group + "] " + Quote(key));
      }
   }
}

} // namespace

Decoded Decode(KeyFile const& file)
{
   return Decoder(file).Run();
}

bool IsBefore(PortForward const& one, PortForward const& other)
{
   return one.tcp != other.tcp ? one.tcp : one.hostPort < other.hostPort;
}

} // namespace vnet
