// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/channelPeer.hh"

#include "lui/wakeup.hh"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>

namespace lui {

namespace {

// How long a caller that fails again and again is held up each time, in milliseconds.
constexpr int FAILURE_PAUSE = 100;

std::optional<struct stat> Identify(int fd)
{
   struct stat info;
   return fstat(fd, &info) == 0 ? std::optional(info) : std::nullopt;
}

bool CanRead(int fd)
{
   int const flags = fcntl(fd, F_GETFL);
   return flags >= 0 && (flags & O_ACCMODE) != O_WRONLY;
}

} // namespace

ChannelEnd::ChannelEnd(int descriptor) : fd(descriptor), file(Identify(descriptor)) {}

bool ChannelEnd::IsSameFile() const
{
   std::optional<struct stat> const now = Identify(fd);
   return !now || !file || (now->st_dev == file->st_dev && now->st_ino == file->st_ino);
}

void ChannelEnd::Watch(int pid, utf::string const& message)
{
   peer.emplace(pid);
   lastMessage = message;
}

bool ChannelEnd::Receive(utf::string& text)
{
   if (ReceiveOnce(text)) {
      failures = 0;
      return true;
   }
   if (++failures > 1) {
      HoldUp();
   }
   return false;
}

bool ChannelEnd::ReceiveOnce(utf::string& text)
{
   for (;;) {
      MessageInput::Result const taken = input.Take(text);
      if (taken != MessageInput::Result::INCOMPLETE) {
         return taken == MessageInput::Result::COMPLETE;
      }
      Filled const filled = Fill();
      if (filled == Filled::CLOSED) {
         input.DropIncomplete();
         return TakeLastMessage(text);
      }
      if (filled == Filled::FAILED) {
         return peer && peer->HasEnded() && TakeLastMessage(text);
      }
   }
}

ChannelEnd::Filled ChannelEnd::Fill()
{
   // Nothing would ever wake the wait for one that yields nothing.
   while (CanRead(fd)) {
      Wakeup wakeup = WaitFor(fd, POLLIN, Peer(), -1);
      if (wakeup.ended && !wakeup.ready) {
         // It may have written and ended after poll had looked at fd.
         wakeup.ready = WaitFor(fd, POLLIN, nullptr, 0).ready;
      }
      if (!wakeup.ready && !wakeup.ended) {
         continue;
      }
      ssize_t const count = wakeup.ready ? input.ReadFrom(fd) : 0;
      if (count >= 0) {
         return count > 0 ? Filled::DATA : Filled::CLOSED;
      }
      if (errno != EINTR && errno != EAGAIN) {
         return Filled::FAILED;
      }
   }
   return Filled::FAILED;
}

bool ChannelEnd::TakeLastMessage(utf::string& text) const
{
   if (!peer || lastMessage.empty()) {
      return false;
   }
   text = lastMessage;
   return true;
}

// Not longer than the peer lives: what its end means is then told at the next call.
void ChannelEnd::HoldUp() const
{
   ProcessWatch const* const alive = peer && !peer->HasEnded() ? Peer() : nullptr;
   WaitFor(-1, 0, alive, FAILURE_PAUSE);
}

ChannelEnds& ChannelEnds::Get()
{
   static ChannelEnds all;
   return all;
}

ChannelEnd& ChannelEnds::At(int fd)
{
   ChannelEnd* const known = Find(fd);
   return known ? *known : *(ends[fd] = std::make_unique<ChannelEnd>(fd));
}

ChannelEnd* ChannelEnds::Find(int fd)
{
   auto const end = ends.find(fd);
   if (end == ends.end() || !end->second->IsSameFile()) {
      ends.erase(fd);
      return nullptr;
   }
   return end->second.get();
}

ProcessWatch const* ChannelEnds::PeerOf(int fd)
{
   ChannelEnd const* const end = Find(fd);
   return end ? end->Peer() : nullptr;
}

std::set<int> ChannelEnds::Peers() const
{
   std::set<int> pids;
   for (auto const& [fd, end] : ends) {
      if (end->Peer()) {
         pids.insert(end->Peer()->Pid());
      }
   }
   return pids;
}

std::vector<int> ChannelEnds::InputsFrom(int pid) const
{
   std::vector<int> inputs;
   for (auto const& [fd, end] : ends) {
      if (end->Peer() && end->Peer()->Pid() == pid && CanRead(fd)) {
         inputs.push_back(fd);
      }
   }
   return inputs;
}

void ChannelEnds::MovePeer(int from, int to)
{
   for (auto& [fd, end] : ends) {
      if (end->Peer() && end->Peer()->Pid() == from) {
         end->Watch(to, end->LastMessage());
      }
   }
}

} // namespace lui
