// SPDX-License-Identifier: GPL-2.0-or-later
#include "cui/signal.hh"

#include <gtest/gtest.h>

#include <memory>

namespace cui {
namespace {

struct Listener : public sigc::trackable {
   void Hear() { ++heard; }
   int heard = 0;
};

TEST(SignalTest, ReachesEveryConnectedSlot)
{
   Signal signal;
   int first = 0;
   int second = 0;
   signal.connect([&first] { ++first; });
   signal.connect([&second] { ++second; });
   signal.emit();
   signal.emit();

   EXPECT_EQ(2, first);
   EXPECT_EQ(2, second);
}

TEST(SignalTest, TheConnectionCutsAndBlocks)
{
   Signal signal;
   int heard = 0;
   sigc::connection connection = signal.connect([&heard] { ++heard; });

   connection.block();
   signal.emit();
   EXPECT_EQ(0, heard);
   connection.unblock();
   signal.emit();
   EXPECT_EQ(1, heard);
   connection.disconnect();
   signal.emit();
   EXPECT_EQ(1, heard);
   EXPECT_FALSE(connection.connected());
}

TEST(SignalTest, ADeadListenerIsForgotten)
{
   Signal signal;
   auto listener = std::make_unique<Listener>();
   sigc::connection const connection = signal.connect(sigc::mem_fun(*listener, &Listener::Hear));
   signal.emit();
   EXPECT_EQ(1, listener->heard);
   listener.reset();
   signal.emit();

   EXPECT_FALSE(connection.connected());
}

} // namespace
} // namespace cui
