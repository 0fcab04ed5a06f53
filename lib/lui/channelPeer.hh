// SPDX-License-Identifier: GPL-2.0-or-later
// What this process knows of the descriptors of its channel.
#pragma once

#include "lui/messageInput.hh"
#include "lui/processWatch.hh"
#include "utf/string.hh"

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sys/stat.h>
#include <vector>

namespace lui {

// One descriptor: the process at its other end, if it was named, and what was read ahead.
class ChannelEnd {
public:
   // The descriptor stays the caller's.
   explicit ChannelEnd(int descriptor);

   // As lui::Utils::ReceiveData.
   bool Receive(utf::string& text);

   void Watch(int pid, utf::string const& message);
   // Null if nobody named it.
   ProcessWatch const* Peer() const { return peer ? &*peer : nullptr; }
   utf::string const& LastMessage() const { return lastMessage; }

   // False if the descriptor's number stands for another file than when this was made.
   bool IsSameFile() const;

private:
   enum class Filled { DATA, CLOSED, FAILED };

   bool ReceiveOnce(utf::string& text);
   Filled Fill();
   bool TakeLastMessage(utf::string& text) const;
   void HoldUp() const;

   int fd;
   std::optional<struct stat> file;
   std::optional<ProcessWatch> peer;
   utf::string lastMessage;
   MessageInput input;
   unsigned int failures = 0; // in a row
};

// All of them, by descriptor.
class ChannelEnds {
public:
   // The one of this process.
   static ChannelEnds& Get();

   ChannelEnd& At(int fd);
   // Null if none is known.
   ChannelEnd* Find(int fd);
   // Null if nobody named the process at the other end.
   ProcessWatch const* PeerOf(int fd);
   void Forget(int fd) { ends.erase(fd); }

   // All processes that were named.
   std::set<int> Peers() const;
   // The descriptors to read from whose peer is pid.
   std::vector<int> InputsFrom(int pid) const;
   // What was watched with one process is from now on watched with the other.
   void MovePeer(int from, int to);

private:
   std::map<int, std::unique_ptr<ChannelEnd>> ends;
};

} // namespace lui
