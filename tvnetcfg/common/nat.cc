// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/nat.hh"

#include "base/panic.h"
#include "base/strUtil.h"
#include "cui/localString.hh"
#include "tvnetcfg/common/network.hh"

#include <algorithm>
#include <exception>
#include <memory>
#include <netdb.h>
#include <set>
#include <sys/socket.h>
#include <tuple>

namespace netcfg::common {

namespace {

unsigned int const LONGEST_IPV6_PREFIX = 128;

// What isspace(3) accepts in the C locale. Another locale could take a part of a UTF-8 sequence.
bool IsSpace(char c)
{
   return c == ' ' || (c >= '\t' && c <= '\r');
}

utf::string WithoutSpace(utf::string const& text)
{
   std::vector<char> buffer;
   utf::CreateWritableBuffer(text, buffer);
   std::erase_if(buffer, IsSpace);
   return utf::string(buffer.data());
}

// A numeric address of any family is looked at, so that one of IPv4 gets its own error.
NAT::IPv6PrefixError ValidateIPv6Address(utf::string const& address)
{
   addrinfo hints{};
   hints.ai_flags = AI_NUMERICHOST;
   addrinfo* found = nullptr;
   if (getaddrinfo(address.c_str(), nullptr, &hints, &found) != 0) {
      return NAT::PrefixV6BadFormat;
   }
   std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> const owner(found, &freeaddrinfo);
   return found->ai_family == AF_INET6 ? NAT::PrefixV6Ok : NAT::PrefixV6NotV6;
}

bool IsIPv6PrefixLength(utf::string const& text)
{
   int length = 0;
   // A negative length is a large one.
   return StrUtil_StrToInt(&length, text.c_str()) &&
          static_cast<unsigned int>(length) <= LONGEST_IPV6_PREFIX;
}

// The address is judged before the length: an IPv4 address without a length is not IPv6.
NAT::IPv6PrefixError ValidateStrippedIPv6Prefix(utf::string const& prefix)
{
   unsigned long const slash = prefix.find("/", 0);
   NAT::IPv6PrefixError const error =
      ValidateIPv6Address(slash == utf::string::npos ? prefix : prefix.substr(0, slash));
   if (error != NAT::PrefixV6Ok) {
      return error;
   }
   if (slash == utf::string::npos ||
       !IsIPv6PrefixLength(prefix.substr(slash + 1, utf::string::npos))) {
      return NAT::PrefixV6BadSubnet;
   }
   return NAT::PrefixV6Ok;
}

// Some order, in which entries are equal only if all five fields are.
struct Before {
   bool operator()(NAT::PortForwardEntry const& a, NAT::PortForwardEntry const& b) const
   {
      return std::tie(a.hostPort, a.vmPort, a.tcp, a.ip, a.description) <
             std::tie(b.hostPort, b.vmPort, b.tcp, b.ip, b.description);
   }
};

} // namespace

NAT::NAT(Network* network) : network(network), dnsList(3)
{
   changed.connect(network->changed.make_slot());
}

NAT::IPv6PrefixError NAT::ValidateIPv6Prefix(utf::string& prefix)
{
   try {
      prefix = WithoutSpace(prefix);
      return ValidateStrippedIPv6Prefix(prefix);
   } catch (std::exception const&) {
      return PrefixV6Invalid;
   }
}

utf::string NAT::GetIPv6PrefixErrorMessage(IPv6PrefixError error)
{
   switch (error) {
   case PrefixV6Ok:
      return {};
   case PrefixV6NotV6:
      return cui::GetLocalString("@&!*@*@(msg.netcfg.NAT.PrefixV6NotV6)"
                                 "The IPv6 prefix must not be an IPv4 address.  "
                                 "See help for more information about this field.");
   case PrefixV6BadFormat:
      return cui::GetLocalString("@&!*@*@(msg.netcfg.NAT.PrefixV6BadFormat)"
                                 "The IPv6 prefix is not a valid IPv6 address.  "
                                 "See help for more information about this field.");
   case PrefixV6BadSubnet:
      return cui::GetLocalString("@&!*@*@(msg.netcfg.NAT.PrefixV6BadSubnet)"
                                 "The IPv6 prefix does not have a valid subnet.  "
                                 "See help for more information about this field.");
   case PrefixV6Invalid:
      return cui::GetLocalString("@&!*@*@(msg.netcfg.NAT.PrefixV6Invalid)"
                                 "The IPv6 prefix is invalid.  "
                                 "See help for more information about this field.");
   }
   NOT_REACHED_AT("tvnetcfg/common/nat", __LINE__);
}

NAT::PortForwardList NAT::GetRemovedList(PortForwardList const& current,
                                         PortForwardList const& previous)
{
   // A list may hold every port of both protocols, so the two aren't compared pair by pair.
   std::set<PortForwardEntry, Before> const kept(current.begin(), current.end());
   PortForwardList removed;
   std::copy_if(previous.begin(), previous.end(), std::back_inserter(removed),
                [&kept](PortForwardEntry const& entry) { return !kept.contains(entry); });
   return removed;
}

} // namespace netcfg::common
