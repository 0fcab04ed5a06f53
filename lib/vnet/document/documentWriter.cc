// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/document/document.hh"

#include "vnet/database/fields.hh"
#include "vnet/document/keys.hh"

namespace vnet::document {

namespace {

using json::Value;

Value ToValue(bool value)
{
   return value;
}

Value ToValue(std::uint16_t value)
{
   return value;
}

Value ToValue(std::uint32_t value)
{
   return value;
}

Value ToValue(std::optional<std::uint32_t> value)
{
   return *value;
}

Value ToValue(std::string const& value)
{
   return value;
}

Value ToValue(std::optional<Address> value)
{
   return value->ToString();
}

Value ToValue(std::optional<Prefix6> const& value)
{
   return value->ToString();
}

Value MakeForward(PortForward const& forward)
{
   auto object = Value::MakeObject();
   object.Add(key::protocol, forward.tcp ? "tcp" : "udp");
   object.Add(key::hostPort, forward.hostPort);
   object.Add(key::address, forward.address.ToString());
   object.Add(key::port, forward.vmPort);
   if (!forward.description.empty()) {
      object.Add(key::description, forward.description);
   }
   return object;
}

// Whether the field tells what a network is, so that it is written at its default, too.
template <class Field>
bool IsKind(Field const& field)
{
   std::string_view const name = field.key;
   return name == field::useAdapter.key || name == field::useDhcp.key || name == field::useNat.key;
}

Value MakeNetwork(NetworkSettings const& network)
{
   static NetworkSettings const defaults;
   auto object = Value::MakeObject();
   ForEachField([&](auto const& field) {
      if (IsKind(field) || field.in(network) != field.in(defaults)) {
         object.Add(field.key, ToValue(field.in(network)));
      }
   });
   if (network.nat.forwards.empty()) {
      return object;
   }
   auto forwards = Value::MakeList();
   for (auto const& forward : network.nat.forwards) {
      forwards.Add(MakeForward(forward));
   }
   return std::move(object.Add(key::forwards, std::move(forwards)));
}

} // namespace

Value Make(Settings const& settings)
{
   auto document = Value::MakeObject();
   document.Add(key::version, version);
   document.Add(key::automatic,
                settings.automatic ? Value(GetNetworkName(*settings.automatic)) : Value());
   auto adapters = Value::MakeObject();
   for (auto const& [name, network] : settings.adapters) {
      adapters.Add(name, GetNetworkName(network));
   }
   document.Add(key::adapters, std::move(adapters));
   auto networks = Value::MakeObject();
   for (auto const& [index, network] : settings.networks) {
      networks.Add(GetNetworkName(index), MakeNetwork(network));
   }
   return std::move(document.Add(key::networks, std::move(networks)));
}

} // namespace vnet::document
