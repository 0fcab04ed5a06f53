// SPDX-License-Identifier: GPL-2.0-or-later
// Cuts what a descriptor yields into messages.
#pragma once

#include "utf/string.hh"

#include <array>
#include <string>
#include <sys/types.h>

namespace lui {

// The bytes that were read and not yet handed out. Each byte is looked at once.
class MessageInput {
public:
   enum class Result {
      INCOMPLETE, // all is taken, and the message's NUL hasn't come yet
      COMPLETE,   // a message is in text
      DROPPED,    // a message came to its end, but there was no memory for it
   };

   // Takes the next message out of what was read.
   Result Take(utf::string& text);

   // Reads on, once all was taken: read(2) of one chunk, with its result and errno.
   ssize_t ReadFrom(int fd);

   // Drops the beginning of a message that won't come to its end.
   void DropIncomplete();

private:
   void Append(char const* bytes, std::size_t count) noexcept;
   Result Finish(utf::string& text);

   std::array<char, 65536> chunk; // as much as a pipe holds
   std::size_t begin = 0;
   std::size_t end = 0;
   std::string message; // up to where the chunk begins
   bool dropping = false;
};

} // namespace lui
