// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/poll.h"

#include <glib-unix.h>
#include <map>
#include <utility>

namespace {

// The id of one source in GLib's default main context; 0 is none.
class Source {
public:
   Source() = default;
   explicit Source(guint id) : id(id) {}
   Source(Source&& other) noexcept : id(std::exchange(other.id, 0)) {}
   Source& operator=(Source&& other) noexcept
   {
      std::swap(id, other.id);
      return *this;
   }
   ~Source()
   {
      if (id != 0) {
         g_source_remove(id);
      }
   }

private:
   guint id = 0;
};

struct Watch {
   PollCallback callback;
   void* data;
   Source source; // none until the polling has joined the main loop
};

struct Polling {
   bool joined = false;
   std::map<int, Watch> watches;
};

// Never destroyed: GLib's main context, which the sources belong to, isn't either.
Polling& State()
{
   static auto& state = *new Polling;
   return state;
}

gboolean OnReady(gint fd, GIOCondition, gpointer)
{
   // The watch is taken out first, so that the callback may ask for the next one.
   auto node = State().watches.extract(fd);
   node.mapped().callback(fd, node.mapped().data);
   return G_SOURCE_REMOVE;
}

// The conditions beyond G_IO_IN come unasked: a source that didn't take them would spin.
Source Join(int fd)
{
   auto conditions = static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR | G_IO_NVAL);
   return Source(g_unix_fd_add(fd, conditions, OnReady, nullptr));
}

} // namespace

void Poll_InitGtk(void)
{
   if (std::exchange(State().joined, true)) {
      return;
   }
   for (auto& [fd, watch] : State().watches) {
      watch.source = Join(fd);
   }
}

void Poll_Exit(void)
{
   State().watches.clear();
   State().joined = false;
}

bool Poll_CallbackOnce(int fd, PollCallback callback, void* data)
{
   if (fd < 0 || !callback) {
      return false;
   }
   State().watches.erase(fd);
   State().watches.emplace(fd, Watch{callback, data, State().joined ? Join(fd) : Source()});
   return true;
}

void Poll_CallbackRemove(int fd)
{
   State().watches.erase(fd);
}
