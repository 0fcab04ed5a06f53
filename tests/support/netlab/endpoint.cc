// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/netlab/endpoint.hh"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netdb.h>
#include <netinet/in.h>
#include <stdexcept>

namespace netlab {

namespace {

void Check(bool works, std::string const& action)
{
   if (!works) {
      throw std::runtime_error(action + ": " + std::strerror(errno));
   }
}

constexpr auto mappedPrefix = "::ffff:";

} // namespace

SocketAddress MakeSocketAddress(Endpoint const& endpoint)
{
   addrinfo hints{};
   hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
   hints.ai_socktype = SOCK_DGRAM;
   addrinfo* found = nullptr;
   if (getaddrinfo(endpoint.address.c_str(), std::to_string(endpoint.port).c_str(), &hints,
                   &found)) {
      throw std::runtime_error(endpoint.address + ": not an address");
   }
   SocketAddress address;
   std::memcpy(&address.storage, found->ai_addr, found->ai_addrlen);
   address.length = found->ai_addrlen;
   freeaddrinfo(found);
   return address;
}

Endpoint ReadEndpoint(SocketAddress const& address)
{
   char host[NI_MAXHOST];
   char port[NI_MAXSERV];
   if (getnameinfo(address.Get(), address.length, host, sizeof host, port, sizeof port,
                   NI_NUMERICHOST | NI_NUMERICSERV)) {
      throw std::runtime_error("not an address");
   }
   std::string text = host;
   if (text.starts_with(mappedPrefix)) {
      text.erase(0, std::strlen(mappedPrefix));
   }
   return {text, static_cast<std::uint16_t>(std::stoi(port))};
}

base::FileDescriptor OpenSocket(Namespace const& place, int family, int type)
{
   return place.Run([&] {
      base::FileDescriptor socket(::socket(family, type | SOCK_CLOEXEC, 0));
      Check(socket.IsOpen(), "open a socket");
      return socket;
   });
}

base::FileDescriptor OpenBound(Namespace const& place, int type, std::uint16_t port)
{
   auto socket = OpenSocket(place, AF_INET6, type);
   int const off = 0;
   int const on = 1;
   setsockopt(socket.Get(), IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof off);
   setsockopt(socket.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
   sockaddr_in6 address{};
   address.sin6_family = AF_INET6;
   address.sin6_port = htons(port);
   Check(bind(socket.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0,
         "bind to port " + std::to_string(port));
   return socket;
}

std::uint16_t GetPort(int socket)
{
   SocketAddress address;
   Check(getsockname(socket, address.Get(), &address.length) == 0, "look at a socket");
   return ReadEndpoint(address).port;
}

} // namespace netlab
