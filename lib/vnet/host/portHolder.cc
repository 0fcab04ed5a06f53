// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/portHolder.hh"

#include "vnet/values/error.hh"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <linux/filter.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace vnet::host {

namespace {

[[noreturn]] void Fail(bool tcp, std::uint16_t port)
{
   throw Error(tcp ? "hold TCP port" : "hold UDP port", std::to_string(port), strerror(errno));
}

bool SetReuse(int descriptor, int reuse)
{
   return setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse) == 0;
}

bool Bind(int descriptor, std::uint16_t port)
{
   sockaddr_in address{};
   address.sin_family = AF_INET;
   address.sin_port = htons(port);
   return bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
}

// Reusing passes over connections that a former service left behind, but over none that listens.
// Afterwards it is taken back, or others could reuse the port as well. For UDP it means sharing.
bool BindAlone(int descriptor, bool tcp, std::uint16_t port)
{
   return tcp ? SetReuse(descriptor, 1) && Bind(descriptor, port) && SetReuse(descriptor, 0)
              : Bind(descriptor, port);
}

// Datagrams that reach the socket, because their port isn't forwarded just then, mustn't pile up.
bool DropAll(int descriptor)
{
   sock_filter instruction = BPF_STMT(BPF_RET | BPF_K, 0);
   sock_fprog const program{1, &instruction};
   return setsockopt(descriptor, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) == 0;
}

// Without the right to, it is held all the same.
void Mark(int descriptor)
{
   std::uint32_t const mark = PortHolder::mark;
   setsockopt(descriptor, SOL_SOCKET, SO_MARK, &mark, sizeof mark);
}

} // namespace

std::optional<PortHolder> PortHolder::Hold(bool tcp, std::uint16_t port)
{
   base::FileDescriptor socket(
      ::socket(AF_INET, (tcp ? SOCK_STREAM : SOCK_DGRAM) | SOCK_CLOEXEC, 0));
   if (!socket.IsOpen() || (!tcp && !DropAll(socket.Get()))) {
      Fail(tcp, port);
   }
   Mark(socket.Get());
   if (BindAlone(socket.Get(), tcp, port)) {
      return PortHolder(std::move(socket));
   }
   if (errno == EADDRINUSE) {
      return {};
   }
   Fail(tcp, port);
}

} // namespace vnet::host
