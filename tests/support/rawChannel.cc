// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/rawChannel.hh"

#include <poll.h>
#include <unistd.h>

namespace test {

bool WriteMessage(int fd, std::string_view text)
{
   std::string message(text);
   message.push_back('\0');
   std::size_t sent = 0;
   while (sent < message.size()) {
      ssize_t const count = write(fd, message.data() + sent, message.size() - sent);
      if (count <= 0) {
         return false;
      }
      sent += static_cast<std::size_t>(count);
   }
   return true;
}

std::optional<std::string> ReadMessage(int fd, Milliseconds deadline)
{
   using Clock = std::chrono::steady_clock;
   auto const end = Clock::now() + deadline;
   std::string message;
   for (;;) {
      auto const left = std::chrono::duration_cast<Milliseconds>(end - Clock::now()).count();
      pollfd event{fd, POLLIN, 0};
      if (left <= 0 || poll(&event, 1, static_cast<int>(left)) <= 0) {
         return {};
      }
      // One byte at a time leaves the next message in the pipe.
      char byte;
      if (read(fd, &byte, 1) != 1) {
         return {};
      }
      if (byte == '\0') {
         return message;
      }
      message.push_back(byte);
   }
}

} // namespace test
