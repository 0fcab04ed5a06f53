// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/netlab/udp.hh"

#include <algorithm>
#include <cerrno>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>

namespace netlab {

namespace {

// The address at which a datagram came is handed back as the one from which the answer goes.
class EchoMessage {
public:
   EchoMessage()
   {
      part = {data, sizeof data};
      message.msg_iov = &part;
      message.msg_iovlen = 1;
      message.msg_name = &peer.storage;
   }

   bool Receive(int socket)
   {
      message.msg_namelen = sizeof peer.storage;
      message.msg_control = control;
      message.msg_controllen = sizeof control;
      auto const length = recvmsg(socket, &message, MSG_DONTWAIT);
      if (length < 0) {
         return false;
      }
      part.iov_len = static_cast<std::size_t>(length);
      peer.length = message.msg_namelen;
      return true;
   }

   void SendBack(int socket) const { sendmsg(socket, &message, MSG_DONTWAIT); }
   SocketAddress const& GetPeer() const { return peer; }

private:
   char data[65536];
   alignas(cmsghdr) char control[CMSG_SPACE(sizeof(in6_pktinfo))];
   iovec part;
   SocketAddress peer;
   msghdr message{};
};

base::FileDescriptor OpenEcho(Namespace const& place, std::uint16_t port, std::string const& device)
{
   auto socket = OpenBound(place, SOCK_DGRAM, port);
   int const on = 1;
   setsockopt(socket.Get(), IPPROTO_IPV6, IPV6_RECVPKTINFO, &on, sizeof on);
   if (!device.empty() && setsockopt(socket.Get(), SOL_SOCKET, SO_BINDTODEVICE, device.data(),
                                     static_cast<socklen_t>(device.size())) < 0) {
      throw std::runtime_error("bind to " + device);
   }
   return socket;
}

} // namespace

UdpEcho::UdpEcho(Namespace const& place, std::uint16_t port, std::string const& device)
   : socket(OpenEcho(place, port, device)), worker(socket.Get(), [this] { Answer(); })
{}

void UdpEcho::Answer()
{
   EchoMessage message;
   if (!message.Receive(socket.Get())) {
      return;
   }
   Note(ReadEndpoint(message.GetPeer()));
   // Who has the answer finds it counted.
   message.SendBack(socket.Get());
}

void UdpEcho::Note(Endpoint const& peer)
{
   std::lock_guard const lock(mutex);
   ++count;
   if (std::find(peers.begin(), peers.end(), peer) == peers.end()) {
      peers.push_back(peer);
   }
   arrived.notify_all();
}

std::vector<Endpoint> UdpEcho::GetPeers() const
{
   std::lock_guard const lock(mutex);
   return peers;
}

std::size_t UdpEcho::GetCount() const
{
   std::lock_guard const lock(mutex);
   return count;
}

bool UdpEcho::WaitFor(std::size_t wanted, test::Milliseconds deadline) const
{
   std::unique_lock lock(mutex);
   return arrived.wait_for(lock, deadline, [&] { return count >= wanted; });
}

std::optional<std::string> AskUdp(Namespace const& place, Endpoint const& target,
                                  std::string const& text, test::Milliseconds deadline)
{
   auto const to = place.Run([&] { return MakeSocketAddress(target); });
   auto const socket = OpenSocket(place, to.storage.ss_family, SOCK_DGRAM);
   // A connected one also hears that nobody is there.
   if (connect(socket.Get(), to.Get(), to.length) < 0 ||
       send(socket.Get(), text.data(), text.size(), 0) < 0) {
      return {};
   }
   pollfd watched{socket.Get(), POLLIN, 0};
   char data[65536];
   if (poll(&watched, 1, static_cast<int>(deadline.count())) != 1) {
      return {};
   }
   auto const length = recv(socket.Get(), data, sizeof data, MSG_DONTWAIT);
   return length < 0 ? std::nullopt : std::optional(std::string(data, std::size_t(length)));
}

UdpFlow::UdpFlow(Namespace const& place, Endpoint const& targetEndpoint, int interval)
   : target(place.Run([&] { return MakeSocketAddress(targetEndpoint); })),
     socket(OpenSocket(place, target.storage.ss_family, SOCK_DGRAM)),
     worker(
        socket.Get(), [this] { Receive(); }, interval, [this] { Send(); })
{}

void UdpFlow::Send()
{
   std::lock_guard const lock(mutex);
   if (finishing || IsLagging()) {
      return;
   }
   // What can't even be sent counts as lost.
   sendto(socket.Get(), &sent, sizeof sent, MSG_DONTWAIT, target.Get(), target.length);
   ++sent;
   lastSent = Clock::now();
}

// A slow machine answers late, and its buffers are small. Where answers stop altogether the sender
// goes on, to see when they come again, but no faster than fills the buffers in some seconds.
bool UdpFlow::IsLagging() const
{
   using std::chrono::milliseconds;
   auto const answered = answers.empty() ? 0 : answers.rbegin()->first + 1;
   auto const now = Clock::now();
   return sent - answered > 100 &&
          (now - last < milliseconds(100) || now - lastSent < milliseconds(10));
}

void UdpFlow::Receive()
{
   std::uint32_t number;
   if (recv(socket.Get(), &number, sizeof number, MSG_DONTWAIT) != sizeof number) {
      return;
   }
   std::lock_guard const lock(mutex);
   auto const now = Clock::now();
   longest = std::max(longest, now - last);
   last = now;
   ++answers[number];
   arrived.notify_all();
}

bool UdpFlow::WaitForMore(std::size_t count, test::Milliseconds deadline) const
{
   std::unique_lock lock(mutex);
   auto const wanted = answers.size() + count;
   return arrived.wait_for(lock, deadline, [&] { return answers.size() >= wanted; });
}

bool UdpFlow::WaitForSilence(test::Milliseconds quiet, test::Milliseconds deadline) const
{
   auto const end = Clock::now() + deadline;
   while (WaitForMore(1, quiet)) {
      if (Clock::now() >= end) {
         return false;
      }
   }
   return true;
}

FlowReport UdpFlow::Finish(std::chrono::milliseconds quiet)
{
   std::unique_lock lock(mutex);
   finishing = true;
   auto const isComplete = [&] { return answers.size() >= sent; };
   auto heard = answers.size();
   while (!arrived.wait_for(lock, quiet, isComplete) && answers.size() != heard) {
      heard = answers.size();
   }
   return MakeReport();
}

FlowReport UdpFlow::GetReport() const
{
   std::lock_guard const lock(mutex);
   return MakeReport();
}

FlowReport UdpFlow::MakeReport() const
{
   FlowReport report;
   report.sent = sent;
   report.received = answers.size();
   for (auto const& [number, times] : answers) {
      report.duplicates += times - 1;
   }
   report.longestGap = std::chrono::duration_cast<std::chrono::milliseconds>(longest);
   return report;
}

} // namespace netlab
