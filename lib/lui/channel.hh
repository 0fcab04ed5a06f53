// SPDX-License-Identifier: GPL-2.0-or-later
// Messages over the descriptors that join client and server. A message on the wire is its UTF-8
// text and one NUL byte.
#pragma once

#include "utf/string.hh"

namespace lui::Utils {

// Writes one message, whole. Retries on interruption and raises no SIGPIPE. False if it could not
// be written, because of the descriptor or because the peer that WatchPeer named has ended.
bool SendData(int fd, utf::string const& text);

// Reads one message of any length into text, without its NUL, in time linear in the length.
// False if no message could be read: an error, an end of file, no memory for the message (which is
// then read to its end and dropped), or the end of the peer that WatchPeer named; text is then left
// alone. A caller that keeps asking in spite of failures is held up a little each time, so that it
// can't burn a processor.
bool ReceiveData(int fd, utf::string& text);

// Reads one message and tells whether it equals expected.
bool WaitForMessageFromServer(int fd, utf::string const& expected);

// Names the process at the other end of fd. A pipe alone can't tell of its end: the channel's
// processes hold each other's ends too. From then on SendData and ReceiveData of fd give up within
// a moment when that process has ended, but what it had sent before is still received. With
// lastMessage not empty, ReceiveData yields that text instead of failing, each time.
// The watch ends with UnwatchPeer; until then fd must stay open.
void WatchPeer(int fd, int pid, utf::string const& lastMessage);

// Ends the watch of fd and forgets what was read ahead from it.
void UnwatchPeer(int fd);

} // namespace lui::Utils
