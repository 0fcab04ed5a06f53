// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/interface/parameters.hh"

#include "vnet/values/text.hh"
#include "vnet/vnetlib.h"

#include <algorithm>
#include <span>
#include <stdexcept>
#include <type_traits>

namespace vnet {

namespace {

template <class Field>
constexpr bool isSwitch = std::is_same_v<typename Field::Value, bool>;

template <class Field>
constexpr bool isAddress = std::is_same_v<typename Field::Value, std::optional<Address>>;

template <auto const& parameter>
std::string Get(NetworkSettings const& network)
{
   auto const& value = parameter.in(network);
   if constexpr (isSwitch<std::remove_cvref_t<decltype(parameter)>>) {
      return value ? "1" : "0";
   } else {
      return Write(value).value_or("");
   }
}

template <auto const& parameter>
auto Parse(std::string_view text)
{
   if constexpr (isSwitch<std::remove_cvref_t<decltype(parameter)>>) {
      return ParseSwitch(text);
   } else {
      return parameter.parse(text);
   }
}

template <auto const& parameter>
void Set(Database& database, unsigned int index, std::string_view text)
{
   using Field = std::remove_cvref_t<decltype(parameter)>;
   if (text.empty()) {
      NetworkSettings const defaults;
      database.Set(index, parameter, parameter.in(defaults));
      return;
   }
   auto const value = Parse<parameter>(text);
   if (!value) {
      throw std::runtime_error(Quote(text) + " isn't " +
                               (isSwitch<Field> ? "\"1\" or \"0\"" : parameter.expects));
   }
   if constexpr (isAddress<Field>) {
      bool const inside = static_cast<void const*>(&parameter) == &field::gateway;
      RequireHostOf(database.GetNetwork(index), *value, inside);
   }
   database.Set(index, parameter, *value);
}

template <auto const& parameter>
constexpr Parameter Make(std::uint32_t id)
{
   return {id, Get<parameter>, Set<parameter>};
}

constexpr Parameter natParameters[] = {
   Make<field::gateway>(VNL_NAT_GATEWAY),
   Make<field::configPort>(VNL_NAT_CONFIG_PORT),
   Make<field::allowActiveFtp>(VNL_NAT_ALLOW_ACTIVE_FTP),
   Make<field::allowAnyOui>(VNL_NAT_ALLOW_ANY_OUI),
   Make<field::udpTimeout>(VNL_NAT_UDP_TIMEOUT),
   Make<field::enableIpv6>(VNL_NAT_ENABLE_IPV6),
   Make<field::ipv6Prefix>(VNL_NAT_IPV6_PREFIX),
};

constexpr Parameter dhcpParameters[] = {
   Make<field::rangeBegin>(VNL_DHCP_RANGE_BEGIN),       Make<field::rangeEnd>(VNL_DHCP_RANGE_END),
   Make<field::defaultLease>(VNL_DHCP_DEFAULT_LEASE),   Make<field::maxLease>(VNL_DHCP_MAX_LEASE),
   Make<field::netbiosServer>(VNL_DHCP_NETBIOS_SERVER), Make<field::router>(VNL_DHCP_ROUTER),
   Make<field::dnsServer>(VNL_DHCP_DNS_SERVER),
};

Parameter const& RequireIn(std::span<Parameter const> parameters, std::uint32_t id)
{
   auto const found = std::ranges::find(parameters, id, &Parameter::id);
   if (found == parameters.end()) {
      throw std::runtime_error("There is no parameter " + std::to_string(id));
   }
   return *found;
}

} // namespace

Parameter const& RequireNatParameter(std::uint32_t id)
{
   return RequireIn(natParameters, id);
}

Parameter const& RequireDhcpParameter(std::uint32_t id)
{
   return RequireIn(dhcpParameters, id);
}

void RequireHostOf(NetworkSettings const& network, Address address, bool inside)
{
   auto const subnet = network.GetSubnet();
   if (!subnet) {
      return;
   }
   bool const contained = subnet->Contains(address);
   if (contained ? !subnet->IsHost(address) : inside) {
      throw std::runtime_error("No host of " + subnet->ToString() + " can have " +
                               address.ToString());
   }
}

} // namespace vnet
