// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/document/document.hh"

#include "vnet/database/decode.hh"
#include "vnet/database/fields.hh"
#include "vnet/document/keys.hh"
#include "vnet/document/wording.hh"
#include "vnet/json/text.hh"
#include "vnet/values/parse.hh"
#include "vnet/values/text.hh"

#include <algorithm>
#include <set>
#include <stdexcept>

namespace vnet::document {

namespace {

using json::Kind;
using json::Member;
using json::Value;

constexpr char networkExpected[] = "a network from tvnet0 to tvnet255";
constexpr char portExpected[] = "a number from 1 to 65535";
constexpr char protocolExpected[] = "\"tcp\" or \"udp\"";
constexpr char descriptionExpected[] = "UTF-8 of at most 128 bytes without control characters";

std::optional<bool> ParseProtocol(std::string_view text)
{
   return text == "tcp" ? std::optional(true) : text == "udp" ? std::optional(false) : std::nullopt;
}

// What a value of the kind that is asked for says, as the database writes it.
template <class Parsed>
std::optional<std::string> GetText(Value const& value)
{
   if constexpr (std::is_same_v<Parsed, bool>) {
      return value.kind == Kind::Boolean ? std::optional(value.boolean ? "true" : "false")
                                         : std::nullopt;
   } else if constexpr (std::is_integral_v<Parsed>) {
      return value.kind == Kind::Number ? std::optional(value.text) : std::nullopt;
   } else {
      return value.kind == Kind::Text ? std::optional(value.text) : std::nullopt;
   }
}

class DocumentReader {
public:
   Reading Run(Value const& document);

private:
   void ReadMember(Member const& member);
   void ReadVersion(Value const& value);
   void ReadAdapter(Member const& member);
   void ReadNetwork(Member const& member);
   void ReadNetworkMember(Member const& member, std::string const& path, NetworkSettings& network);
   void ReadForward(Value const& value, std::string const& path, NetworkSettings& network);
   void ReadForwardMember(Member const& member, std::string const& path, PortForward& forward);
   void AddForward(PortForward const& forward, Value const& value, std::string const& path,
                   NetworkSettings& network);

   // Calls use(member) for each member of an object, each name once.
   template <class Use>
   void ForEachMember(Value const& object, std::string const& path, Use const& use);
   // Empty with a complaint unless the value is of the kind that Written, or else what Parse makes,
   // is written in, and parses.
   template <class Written = void, class Parse>
   auto Read(Value const& value, std::string const& path, Parse parse, char const* expects)
      -> decltype(parse(std::string_view()));
   // Whether the object has them all.
   bool RequireMembers(Value const& object, std::string const& path,
                       std::vector<std::string> const& names);
   void RefuseKey(Member const& member, std::string const& path);
   void Complain(json::Position const& position, std::string const& path, std::string const& cause);

   Reading result;
};

Reading DocumentReader::Run(Value const& document)
{
   ForEachMember(document, "", [this](Member const& member) { ReadMember(member); });
   if (document.kind == Kind::Object) {
      RequireMembers(document, "", {key::version, key::networks});
   }
   for (auto& [index, network] : result.settings.networks) {
      std::ranges::sort(network.nat.forwards, IsBefore);
   }
   return std::move(result);
}

void DocumentReader::ReadMember(Member const& member)
{
   auto const& [name, position, value] = member;
   if (name == key::version) {
      ReadVersion(value);
   } else if (name == key::automatic) {
      if (value.kind != Kind::Null) {
         result.settings.automatic =
            Read<std::string>(value, name, ParseNetworkName, networkExpected);
      }
   } else if (name == key::adapters) {
      ForEachMember(value, name, [this](Member const& adapter) { ReadAdapter(adapter); });
   } else if (name == key::networks) {
      ForEachMember(value, name, [this](Member const& network) { ReadNetwork(network); });
   } else {
      RefuseKey(member, "");
   }
}

void DocumentReader::ReadVersion(Value const& value)
{
   if (value.kind != Kind::Number || value.text != std::to_string(version)) {
      Complain(value.position, key::version,
               Show(value) + " isn't " + std::to_string(version) +
                  ", the only version that is known here");
   }
}

void DocumentReader::ReadAdapter(Member const& member)
{
   auto const path = JoinPath(key::adapters, member.name);
   auto const name = ParseAdapterName(member.name);
   if (!name) {
      Complain(member.position, path, "This can't be the name of a device");
   }
   auto const network = Read<std::string>(member.value, path, ParseNetworkName, networkExpected);
   if (name && network) {
      result.settings.adapters[*name] = *network;
   }
}

void DocumentReader::ReadNetwork(Member const& member)
{
   auto const path = JoinPath(key::networks, member.name);
   auto const index = ParseNetworkName(member.name);
   if (!index) {
      Complain(member.position, path, std::string("This isn't ") + networkExpected);
   }
   NetworkSettings network;
   ForEachMember(member.value, path,
                 [&](Member const& each) { ReadNetworkMember(each, path, network); });
   if (index) {
      result.settings.networks[*index] = std::move(network);
   }
}

void DocumentReader::ReadNetworkMember(Member const& member, std::string const& path,
                                       NetworkSettings& network)
{
   auto const own = JoinPath(path, member.name);
   if (member.name == key::forwards) {
      if (member.value.kind != Kind::List) {
         Complain(member.value.position, own, Show(member.value) + " isn't a list");
      }
      for (std::size_t at = 0; at < member.value.items.size(); ++at) {
         ReadForward(member.value.items[at], own + "[" + std::to_string(at) + "]", network);
      }
      return;
   }
   bool known = false;
   ForEachField([&](auto const& field) {
      if (member.name == field.key) {
         known = true;
         if (auto const value = Read(member.value, own, field.parse, field.expects)) {
            field.in(network) = *value;
         }
      }
   });
   if (!known) {
      RefuseKey(member, path);
   }
}

void DocumentReader::ReadForward(Value const& value, std::string const& path,
                                 NetworkSettings& network)
{
   PortForward forward;
   auto const before = result.complaints.size();
   ForEachMember(value, path,
                 [&](Member const& member) { ReadForwardMember(member, path, forward); });
   if (value.kind == Kind::Object &&
       RequireMembers(value, path, {key::protocol, key::hostPort, key::address, key::port}) &&
       result.complaints.size() == before) {
      AddForward(forward, value, path, network);
   }
}

void DocumentReader::ReadForwardMember(Member const& member, std::string const& path,
                                       PortForward& forward)
{
   auto const own = JoinPath(path, member.name);
   auto const& value = member.value;
   if (member.name == key::protocol) {
      forward.tcp = Read<std::string>(value, own, ParseProtocol, protocolExpected).value_or(true);
   } else if (member.name == key::hostPort) {
      forward.hostPort = Read(value, own, ParsePort, portExpected).value_or(0);
   } else if (member.name == key::address) {
      forward.address = Read(value, own, ParseHostAddress, field::address).value_or(Address());
   } else if (member.name == key::port) {
      forward.vmPort = Read(value, own, ParsePort, portExpected).value_or(0);
   } else if (member.name == key::description) {
      forward.description = Read(value, own, ParseDescription, descriptionExpected).value_or("");
   } else {
      RefuseKey(member, path);
   }
}

void DocumentReader::AddForward(PortForward const& forward, Value const& value,
                                std::string const& path, NetworkSettings& network)
{
   auto& forwards = network.nat.forwards;
   bool const twice = std::ranges::any_of(forwards, [&](PortForward const& other) {
      return other.tcp == forward.tcp && other.hostPort == forward.hostPort;
   });
   if (twice) {
      Complain(value.position, path,
               std::string(forward.tcp ? "TCP" : "UDP") + " port " +
                  std::to_string(forward.hostPort) + " is forwarded above already");
      return;
   }
   forwards.push_back(forward);
}

template <class Use>
void DocumentReader::ForEachMember(Value const& object, std::string const& path, Use const& use)
{
   if (object.kind != Kind::Object) {
      Complain(object.position, path, Show(object) + " isn't an object");
      return;
   }
   std::set<std::string_view> names;
   for (auto const& member : object.members) {
      if (names.insert(member.name).second) {
         use(member);
      } else {
         Complain(member.position, JoinPath(path, member.name), "It stands above already");
      }
   }
}

template <class Written, class Parse>
auto DocumentReader::Read(Value const& value, std::string const& path, Parse parse,
                          char const* expects) -> decltype(parse(std::string_view()))
{
   using Parsed = typename decltype(parse(std::string_view()))::value_type;
   auto const text = GetText<std::conditional_t<std::is_void_v<Written>, Parsed, Written>>(value);
   auto parsed = text ? parse(*text) : decltype(parse(*text))();
   if (!parsed) {
      // The database writes these as words.
      bool const isSwitch = std::is_same_v<Parsed, bool> && std::is_void_v<Written>;
      Complain(value.position, path,
               Show(value) + " isn't " + (isSwitch ? "true or false" : expects));
   }
   return parsed;
}

bool DocumentReader::RequireMembers(Value const& object, std::string const& path,
                                    std::vector<std::string> const& names)
{
   bool all = true;
   for (auto const& name : names) {
      if (std::ranges::find(object.members, name, &Member::name) == object.members.end()) {
         Complain(object.position, path, "It has no " + Quote(name));
         all = false;
      }
   }
   return all;
}

void DocumentReader::RefuseKey(Member const& member, std::string const& path)
{
   Complain(member.position, JoinPath(path, member.name), "There is no such key");
}

void DocumentReader::Complain(json::Position const& position, std::string const& path,
                              std::string const& cause)
{
   result.complaints.push_back(ToString(position) + (path.empty() ? "" : ", " + path) + ": " +
                               cause);
}

} // namespace

Reading Read(Value const& document)
{
   return DocumentReader().Run(document);
}

Reading ReadText(std::string_view text)
{
   if (text.size() > maxBytes) {
      return {{}, {"It is larger than " + std::to_string(maxBytes) + " bytes"}};
   }
   try {
      return Read(json::Parse(text));
   } catch (std::runtime_error const& error) {
      return {{}, {error.what()}};
   }
}

} // namespace vnet::document
