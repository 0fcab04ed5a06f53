// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/netlab/tcp.hh"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>

namespace netlab {

namespace {

base::FileDescriptor Listen(Namespace const& place, std::uint16_t port)
{
   auto socket = OpenBound(place, SOCK_STREAM, port);
   if (listen(socket.Get(), 64) < 0) {
      throw std::runtime_error("listen on port " + std::to_string(port));
   }
   return socket;
}

void EchoAll(int socket)
{
   std::array<char, 65536> data;
   ssize_t length;
   while ((length = recv(socket, data.data(), data.size(), 0)) > 0) {
      if (send(socket, data.data(), static_cast<std::size_t>(length), MSG_NOSIGNAL) < 0) {
         break;
      }
   }
   shutdown(socket, SHUT_WR);
}

void SendAll(int socket)
{
   std::array<char, 65536> const data{};
   while (send(socket, data.data(), data.size(), MSG_NOSIGNAL) > 0) {
   }
}

bool WaitForEvent(int socket, short events, test::Milliseconds deadline)
{
   pollfd watched{socket, events, 0};
   return poll(&watched, 1, static_cast<int>(deadline.count())) == 1;
}

} // namespace

TcpServer::TcpServer(Namespace const& place, std::uint16_t port,
                     std::function<void(int socket)> serveOne)
   : listener(Listen(place, port)), serve(std::move(serveOne))
{
   worker.emplace(listener.Get(), [this] { Accept(); });
}

TcpServer::~TcpServer()
{
   worker.reset(); // from here on nobody else touches the lists
   for (auto const& connection : connections) {
      shutdown(connection.Get(), SHUT_RDWR);
   }
   for (auto& thread : threads) {
      thread.join();
   }
}

void TcpServer::Accept()
{
   SocketAddress peer;
   base::FileDescriptor connection(accept4(listener.Get(), peer.Get(), &peer.length, SOCK_CLOEXEC));
   if (!connection.IsOpen()) {
      return;
   }
   std::lock_guard const lock(mutex);
   peers.push_back(ReadEndpoint(peer));
   threads.emplace_back(serve, connection.Get());
   connections.push_back(std::move(connection));
}

std::vector<Endpoint> TcpServer::GetPeers() const
{
   std::lock_guard const lock(mutex);
   return peers;
}

TcpEcho::TcpEcho(Namespace const& place, std::uint16_t port) : TcpServer(place, port, EchoAll) {}

TcpSource::TcpSource(Namespace const& place, std::uint16_t port) : TcpServer(place, port, SendAll)
{}

std::optional<base::FileDescriptor> ConnectTcp(Namespace const& place, Endpoint const& target,
                                               test::Milliseconds deadline)
{
   auto const to = place.Run([&] { return MakeSocketAddress(target); });
   auto socket = OpenSocket(place, to.storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK);
   int error = 0;
   socklen_t length = sizeof error;
   if (connect(socket.Get(), to.Get(), to.length) < 0 &&
       (errno != EINPROGRESS || !WaitForEvent(socket.Get(), POLLOUT, deadline) ||
        getsockopt(socket.Get(), SOL_SOCKET, SO_ERROR, &error, &length) < 0 || error)) {
      return {};
   }
   fcntl(socket.Get(), F_SETFL, 0);
   return socket;
}

std::optional<std::string> AskTcp(Namespace const& place, Endpoint const& target,
                                  std::string const& text, test::Milliseconds deadline)
{
   auto const socket = ConnectTcp(place, target, deadline);
   if (!socket || send(socket->Get(), text.data(), text.size(), MSG_NOSIGNAL) < 0) {
      return {};
   }
   std::string answer;
   std::array<char, 4096> data;
   while (answer.size() < text.size()) {
      if (!WaitForEvent(socket->Get(), POLLIN, deadline)) {
         return {};
      }
      auto const length = recv(socket->Get(), data.data(), data.size(), 0);
      if (length <= 0) {
         return {};
      }
      answer.append(data.data(), static_cast<std::size_t>(length));
   }
   return answer;
}

TcpDownload::TcpDownload(Namespace const& place, Endpoint const& source,
                         test::Milliseconds deadline)
{
   auto connection = ConnectTcp(place, source, deadline);
   if (!connection) {
      throw std::runtime_error("no connection to " + source.address);
   }
   socket = std::move(*connection);
   reader = std::thread([this] { Read(); });
}

TcpDownload::~TcpDownload()
{
   shutdown(socket.Get(), SHUT_RDWR);
   reader.join();
}

void TcpDownload::Read()
{
   std::array<char, 65536> data;
   for (;;) {
      auto const length = recv(socket.Get(), data.data(), data.size(), 0);
      std::lock_guard const lock(mutex);
      auto const now = Clock::now();
      longest = std::max(longest, now - last);
      last = now;
      bytes += length > 0 ? static_cast<std::uint64_t>(length) : 0;
      cut = length <= 0;
      arrived.notify_all();
      if (cut) {
         return;
      }
   }
}

std::uint64_t TcpDownload::GetBytes() const
{
   std::lock_guard const lock(mutex);
   return bytes;
}

std::chrono::milliseconds TcpDownload::GetLongestGap() const
{
   std::lock_guard const lock(mutex);
   return std::chrono::duration_cast<std::chrono::milliseconds>(longest);
}

bool TcpDownload::IsCut() const
{
   std::lock_guard const lock(mutex);
   return cut;
}

bool TcpDownload::WaitForMore(std::uint64_t more, test::Milliseconds deadline) const
{
   std::unique_lock lock(mutex);
   auto const wanted = bytes + more;
   arrived.wait_for(lock, deadline, [&] { return cut || bytes >= wanted; });
   return bytes >= wanted;
}

} // namespace netlab
