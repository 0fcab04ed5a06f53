// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/netlab/packetPort.hh"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <stdexcept>
#include <sys/socket.h>

namespace netlab {

namespace {

void Check(bool works, std::string const& action)
{
   if (!works) {
      throw std::runtime_error(action + ": " + std::strerror(errno));
   }
}

template <class Value>
void Set(int socket, int level, int option, Value const& value)
{
   Check(setsockopt(socket, level, option, &value, sizeof value) == 0, "set a socket option");
}

// Deaf until it is bound to its one device, so that it never hears of another.
base::FileDescriptor Open(std::string const& device)
{
   int const on = 1;
   base::FileDescriptor socket(::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0));
   Check(socket.IsOpen(), "open a packet socket");
   sockaddr_ll address{};
   address.sll_family = AF_PACKET;
   address.sll_protocol = htons(ETH_P_ALL);
   address.sll_ifindex = static_cast<int>(if_nametoindex(device.c_str()));
   Check(address.sll_ifindex != 0, "find " + device);
   packet_mreq membership{};
   membership.mr_ifindex = address.sll_ifindex;
   membership.mr_type = PACKET_MR_PROMISC;
   Set(socket.Get(), SOL_PACKET, PACKET_ADD_MEMBERSHIP, membership);
   Set(socket.Get(), SOL_PACKET, PACKET_IGNORE_OUTGOING, on);
   Set(socket.Get(), SOL_PACKET, PACKET_AUXDATA, on);
   Set(socket.Get(), SOL_SOCKET, SO_RCVBUF, 4 * 1024 * 1024);
   Check(bind(socket.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0,
         "bind to " + device);
   return socket;
}

int ReadVlan(msghdr& message)
{
   for (auto* part = CMSG_FIRSTHDR(&message); part; part = CMSG_NXTHDR(&message, part)) {
      if (part->cmsg_level == SOL_PACKET && part->cmsg_type == PACKET_AUXDATA) {
         tpacket_auxdata data;
         std::memcpy(&data, CMSG_DATA(part), sizeof data);
         return data.tp_status & TP_STATUS_VLAN_VALID ? data.tp_vlan_tci & 0xfff : -1;
      }
   }
   return -1;
}

Frame Parse(std::uint8_t const* data, std::size_t length)
{
   Frame frame;
   std::copy_n(data, 6, frame.destination.bytes.begin());
   std::copy_n(data + 6, 6, frame.source.bytes.begin());
   frame.type = static_cast<std::uint16_t>(data[12] << 8 | data[13]);
   frame.payload.assign(data + ETH_HLEN, data + length);
   frame.time = std::chrono::steady_clock::now();
   return frame;
}

void PutU16(Bytes& bytes, int value)
{
   bytes.push_back(static_cast<std::uint8_t>(value >> 8));
   bytes.push_back(static_cast<std::uint8_t>(value));
}

PacketPort::Predicate HasText(std::string const& text)
{
   // Short frames are filled up with zeros.
   return [text](Frame const& frame) {
      auto const& bytes = frame.payload;
      return frame.type == experimentType && bytes.size() >= text.size() &&
             std::equal(text.begin(), text.end(), bytes.begin()) &&
             std::all_of(bytes.begin() + static_cast<long>(text.size()), bytes.end(),
                         [](auto byte) { return byte == 0; });
   };
}

} // namespace

PacketPort::PacketPort(Namespace const& place, std::string const& device)
   : socket(place.Run([&] { return Open(device); })), mac(place.GetMac(device)),
     worker(socket.Get(), [this] { Receive(); })
{}

void PacketPort::Receive()
{
   std::uint8_t data[70000];
   alignas(cmsghdr) char control[CMSG_SPACE(sizeof(tpacket_auxdata))];
   sockaddr_ll address{};
   iovec part{data, sizeof data};
   msghdr message{};
   message.msg_name = &address;
   message.msg_namelen = sizeof address;
   message.msg_iov = &part;
   message.msg_iovlen = 1;
   message.msg_control = control;
   message.msg_controllen = sizeof control;
   auto const length = recvmsg(socket.Get(), &message, MSG_DONTWAIT);
   if (length < ETH_HLEN) {
      return;
   }
   auto frame = Parse(data, static_cast<std::size_t>(length));
   frame.vlan = ReadVlan(message);
   frame.packetType = address.sll_pkttype;
   std::lock_guard const lock(mutex);
   frames.push_back(std::move(frame));
   arrived.notify_all();
}

void PacketPort::Send(Frame const& frame) const
{
   Bytes bytes(frame.destination.bytes.begin(), frame.destination.bytes.end());
   bytes.insert(bytes.end(), frame.source.bytes.begin(), frame.source.bytes.end());
   if (frame.vlan >= 0) {
      PutU16(bytes, ETH_P_8021Q);
      PutU16(bytes, frame.vlan);
   }
   PutU16(bytes, frame.type);
   bytes.insert(bytes.end(), frame.payload.begin(), frame.payload.end());
   bytes.resize(std::max<std::size_t>(bytes.size(), ETH_ZLEN));
   Check(send(socket.Get(), bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()),
         "send a frame");
}

void PacketPort::SendText(MacAddress destination, std::string const& text) const
{
   Send({destination, mac, experimentType, {text.begin(), text.end()}, -1, 0, {}});
}

bool PacketPort::WaitFor(Predicate const& fits, std::size_t count,
                         test::Milliseconds deadline) const
{
   std::unique_lock lock(mutex);
   return arrived.wait_for(lock, deadline, [&] {
      return std::count_if(frames.begin(), frames.end(), fits) >= static_cast<long>(count);
   });
}

bool PacketPort::WaitForText(std::string const& text, test::Milliseconds deadline) const
{
   return WaitFor(HasText(text), 1, deadline);
}

std::size_t PacketPort::Count(Predicate const& fits) const
{
   std::lock_guard const lock(mutex);
   return static_cast<std::size_t>(std::count_if(frames.begin(), frames.end(), fits));
}

std::size_t PacketPort::CountText(std::string const& text) const
{
   return Count(HasText(text));
}

std::vector<Frame> PacketPort::GetFrames() const
{
   std::lock_guard const lock(mutex);
   return frames;
}

void PacketPort::Forget()
{
   std::lock_guard const lock(mutex);
   frames.clear();
}

} // namespace netlab
