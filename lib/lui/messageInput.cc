// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/messageInput.hh"

#include <cstring>
#include <exception>
#include <unistd.h>

namespace lui {

MessageInput::Result MessageInput::Take(utf::string& text)
{
   char const* const start = chunk.data() + begin;
   std::size_t const available = end - begin;
   auto const* const nul = static_cast<char const*>(std::memchr(start, 0, available));
   std::size_t const count = nul ? static_cast<std::size_t>(nul - start) : available;
   Append(start, count);
   begin += nul ? count + 1 : count;
   return nul ? Finish(text) : Result::INCOMPLETE;
}

ssize_t MessageInput::ReadFrom(int fd)
{
   ssize_t const count = read(fd, chunk.data(), chunk.size());
   begin = 0;
   end = count > 0 ? static_cast<std::size_t>(count) : 0;
   return count;
}

void MessageInput::DropIncomplete()
{
   message = {};
   dropping = false;
}

void MessageInput::Append(char const* bytes, std::size_t count) noexcept
{
   if (dropping) {
      return;
   }
   try {
      message.append(bytes, count);
   } catch (std::exception const&) { // no memory, or longer than any string
      message = {};
      dropping = true;
   }
}

MessageInput::Result MessageInput::Finish(utf::string& text)
{
   Result result = dropping ? Result::DROPPED : Result::COMPLETE;
   try {
      if (!dropping) {
         text = utf::string(message.data(), message.size());
      }
   } catch (std::exception const&) {
      result = Result::DROPPED;
   }
   DropIncomplete();
   return result;
}

} // namespace lui
