// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/netlab/worker.hh"

#include <algorithm>
#include <chrono>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace netlab {

namespace {

using Clock = std::chrono::steady_clock;

int GetMillisecondsUntil(Clock::time_point time)
{
   auto const left = std::chrono::ceil<std::chrono::milliseconds>(time - Clock::now()).count();
   return left > 0 ? static_cast<int>(left) : 0;
}

void Work(int stop, int descriptor, std::function<void()> const& serve, int interval,
          std::function<void()> const& tick)
{
   auto next = Clock::now();
   for (;;) {
      pollfd watched[] = {{stop, POLLIN, 0}, {descriptor, POLLIN, 0}};
      poll(watched, 2, tick ? GetMillisecondsUntil(next) : -1);
      if (watched[0].revents) {
         return;
      }
      if (watched[1].revents) {
         serve();
      }
      if (tick && Clock::now() >= next) {
         // What was missed isn't made up for: a burst would overflow buffers.
         next = std::max(next + std::chrono::milliseconds(interval), Clock::now());
         tick();
      }
   }
}

} // namespace

Worker::Worker(int descriptor, std::function<void()> serve, int interval,
               std::function<void()> tick)
   : stop(eventfd(0, EFD_CLOEXEC)),
     thread([this, descriptor, interval, serve = std::move(serve), tick = std::move(tick)] {
        Work(stop.Get(), descriptor, serve, interval, tick);
     })
{}

Worker::~Worker()
{
   eventfd_write(stop.Get(), 1);
   thread.join();
}

} // namespace netlab
