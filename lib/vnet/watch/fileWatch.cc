// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/watch/fileWatch.hh"

#include "base/log.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <sys/inotify.h>

namespace vnet::watch {

namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t changes = IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_CREATE |
                                  IN_DELETE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

} // namespace

FileWatch::FileWatch(std::string file)
   : path(std::move(file)), descriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
   if (!descriptor.IsOpen()) {
      LogV(LOG_SEVERITY_WARNING, "watch %s: %s\n", path.c_str(), std::strerror(errno));
      return;
   }
   Watch();
}

// The folder of the path itself, and the one that a link leads to.
void FileWatch::Watch()
{
   for (auto const& [watch, name] : names) {
      inotify_rm_watch(descriptor.Get(), watch);
   }
   names.clear();
   WatchOne(path);
   std::error_code error;
   auto const target = fs::weakly_canonical(path, error);
   if (!error && target != path) {
      WatchOne(target);
   }
}

void FileWatch::WatchOne(std::string const& file)
{
   auto const folder = fs::path(file).parent_path();
   int const watch = inotify_add_watch(descriptor.Get(), folder.c_str(), changes);
   // A folder that isn't there yet comes with a new link to it.
   if (watch >= 0) {
      names[watch] = fs::path(file).filename();
   }
}

// What concerns the folder itself has no name, and so has a queue that ran over.
bool FileWatch::Concerns(int watch, std::string const& name) const
{
   auto const found = names.find(watch);
   return name.empty() || (found != names.end() && found->second == name);
}

bool FileWatch::Read()
{
   alignas(inotify_event) char buffer[4096];
   bool changed = false;
   for (;;) {
      ssize_t const got = read(descriptor.Get(), buffer, sizeof buffer);
      if (got <= 0) {
         break;
      }
      for (ssize_t at = 0; at < got;) {
         auto const* event = reinterpret_cast<inotify_event const*>(buffer + at);
         bool const ended = (event->mask & IN_IGNORED) != 0;
         changed |= !ended && Concerns(event->wd, event->len > 0 ? event->name : "");
         at += static_cast<ssize_t>(sizeof *event + event->len);
      }
   }
   if (changed) {
      Watch();
   }
   return changed;
}

} // namespace vnet::watch
