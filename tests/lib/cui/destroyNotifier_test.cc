// SPDX-License-Identifier: GPL-2.0-or-later
#include "cui/destroyNotifier.hh"

#include "cui/weakPtr.hh"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

namespace cui {
namespace {

struct Listener : public sigc::trackable {
   void Hear() { ++heard; }
   int heard = 0;
};

TEST(DestroyNotifierTest, TellsOfItsEndOnce)
{
   int heard = 0;
   {
      DestroyNotifier notifier;
      notifier.destroyed.connect([&heard] { ++heard; });
      EXPECT_EQ(0, heard);
   }

   EXPECT_EQ(1, heard);
}

TEST(DestroyNotifierTest, TellsWhenADerivedObjectEndsThroughItsBase)
{
   struct Window : public DestroyNotifier {};
   int heard = 0;
   std::unique_ptr<DestroyNotifier> window = std::make_unique<Window>();
   window->destroyed.connect([&heard] { ++heard; });
   window.reset();

   EXPECT_EQ(1, heard);
   static_assert(!std::is_copy_constructible_v<DestroyNotifier>);
}

TEST(DestroyNotifierTest, MayEndWithoutListeners)
{
   auto listener = std::make_unique<Listener>();
   auto notifier = std::make_unique<DestroyNotifier>();
   sigc::connection const connection =
      notifier->destroyed.connect(sigc::mem_fun(*listener, &Listener::Hear));
   listener.reset();
   notifier.reset();

   EXPECT_FALSE(connection.connected());
}

TEST(DestroyNotifierTest, NoWeakPointerIsSetWhenItTellsOfItsEnd)
{
   auto notifier = std::make_unique<DestroyNotifier>();
   WeakPtr<DestroyNotifier> const pointer(notifier.get());
   bool wasSet = true;
   notifier->destroyed.connect([&] { wasSet = static_cast<bool>(pointer); });
   notifier.reset();

   EXPECT_FALSE(wasSet);
}

} // namespace
} // namespace cui
