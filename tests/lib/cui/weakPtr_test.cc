// SPDX-License-Identifier: GPL-2.0-or-later
#include "cui/weakPtr.hh"

#include <gtest/gtest.h>
#include <sigc++/sigc++.h>

#include <memory>
#include <optional>
#include <vector>

namespace cui {
namespace {

// A trackable that keeps account of its callbacks. WeakPtr names the class it points at, so these
// stand before sigc's own.
struct Watched : public sigc::trackable {
   explicit Watched(int value = 0) : value(value) {}

   void add_destroy_notify_callback(void* data, void* (*function)(void*)) const
   {
      keys.push_back(data);
      sigc::trackable::add_destroy_notify_callback(data, function);
   }
   void remove_destroy_notify_callback(void* data) const
   {
      std::erase(keys, data);
      ++removals;
      sigc::trackable::remove_destroy_notify_callback(data);
   }

   int value;
   mutable std::vector<void*> keys;
   mutable int removals = 0;
};

using Keys = std::vector<void*>;

TEST(WeakPtrTest, IsNullAtFirst)
{
   WeakPtr<Watched> const pointer;

   EXPECT_FALSE(pointer);
   EXPECT_EQ(nullptr, pointer.get());
}

TEST(WeakPtrTest, LeadsToItsObject)
{
   Watched object(7);
   WeakPtr<Watched> const pointer(&object);

   EXPECT_TRUE(pointer);
   EXPECT_EQ(&object, pointer.get());
   EXPECT_EQ(7, pointer->value);
   EXPECT_EQ(&object, &*pointer);
}

TEST(WeakPtrTest, GoesNullWhenItsObjectDies)
{
   auto object = std::make_unique<Watched>();
   WeakPtr<Watched> const pointer(object.get());
   object.reset();

   EXPECT_FALSE(pointer);
   EXPECT_EQ(nullptr, pointer.get());
}

TEST(WeakPtrTest, AssigningANewObjectLeavesNoCallbackOnTheOldOne)
{
   auto old = std::make_unique<Watched>();
   Watched fresh;
   WeakPtr<Watched> pointer(old.get());
   pointer = &fresh;

   EXPECT_EQ(Keys{}, old->keys);
   EXPECT_EQ(Keys{&pointer}, fresh.keys);
   old.reset();
   EXPECT_EQ(&fresh, pointer.get());
}

TEST(WeakPtrTest, AssigningTheHeldObjectDoesNothing)
{
   auto object = std::make_unique<Watched>();
   WeakPtr<Watched> pointer(object.get());
   pointer = object.get();

   EXPECT_EQ(Keys{&pointer}, object->keys);
   EXPECT_EQ(0, object->removals);
   object.reset();
   EXPECT_FALSE(pointer);
}

TEST(WeakPtrTest, AssigningNullLetsGo)
{
   Watched object;
   WeakPtr<Watched> pointer(&object);
   pointer = nullptr;

   EXPECT_FALSE(pointer);
   EXPECT_EQ(Keys{}, object.keys);
}

TEST(WeakPtrTest, TakesANewObjectAfterTheFirstOneDied)
{
   auto old = std::make_unique<Watched>(1);
   WeakPtr<Watched> pointer(old.get());
   old.reset();
   Watched fresh(2);
   pointer = &fresh;

   ASSERT_TRUE(pointer);
   EXPECT_EQ(2, pointer->value);
   EXPECT_EQ(Keys{&pointer}, fresh.keys);
}

TEST(WeakPtrTest, ItsEndRemovesTheCallbackAndLeavesTheObjectAlive)
{
   Watched object(3);
   {
      WeakPtr<Watched> const pointer(&object);
      ASSERT_EQ(1u, object.keys.size());
   }

   EXPECT_EQ(Keys{}, object.keys);
   EXPECT_EQ(3, object.value);
}

TEST(WeakPtrTest, ItsEndAfterTheObjectsEndIsQuiet)
{
   auto object = std::make_unique<Watched>();
   std::optional<WeakPtr<Watched>> pointer(object.get());
   object.reset();
   pointer.reset();

   EXPECT_FALSE(pointer.has_value());
}

TEST(WeakPtrTest, ACopyRegistersForItself)
{
   auto object = std::make_unique<Watched>();
   WeakPtr<Watched> const first(object.get());
   WeakPtr<Watched> const second(first);
   WeakPtr<Watched> third;
   third = second;

   EXPECT_EQ(
      (Keys{const_cast<WeakPtr<Watched>*>(&first), const_cast<WeakPtr<Watched>*>(&second), &third}),
      object->keys);
   object.reset();
   EXPECT_FALSE(first || second || third);
}

TEST(WeakPtrTest, AnEndedCopyLeavesTheOthersRegistered)
{
   auto object = std::make_unique<Watched>();
   WeakPtr<Watched> const first(object.get());
   std::optional<WeakPtr<Watched>> copy(first);
   copy.reset();
   object.reset();

   EXPECT_FALSE(first);
}

TEST(WeakPtrTest, CopyingANullOneGivesNull)
{
   Watched object;
   WeakPtr<Watched> const null;
   WeakPtr<Watched> pointer(&object);
   pointer = null;

   EXPECT_FALSE(pointer);
   EXPECT_FALSE(WeakPtr<Watched>(null));
   EXPECT_EQ(Keys{}, object.keys);
}

TEST(WeakPtrTest, AssigningToItselfKeepsTheObject)
{
   Watched object;
   WeakPtr<Watched> pointer(&object);
   WeakPtr<Watched> const& same = pointer;
   pointer = same;

   EXPECT_EQ(&object, pointer.get());
   EXPECT_EQ(Keys{&pointer}, object.keys);
}

TEST(WeakPtrTest, ManyInAGrowingVectorAllGoNull)
{
   auto object = std::make_unique<Watched>();
   std::vector<WeakPtr<Watched>> pointers;
   for (int i = 0; i < 100; ++i) {
      pointers.emplace_back(object.get());
   }
   EXPECT_EQ(100u, object->keys.size());
   object.reset();

   for (WeakPtr<Watched> const& pointer : pointers) {
      EXPECT_FALSE(pointer);
   }
}

TEST(WeakPtrTest, FollowingANullOneThrowsNullPointerError)
{
   WeakPtr<Watched> const pointer;
   EXPECT_THROW(*pointer, NullPointerError);
   try {
      pointer->value = 1;
      FAIL() << "nothing was thrown";
   } catch (Error const& error) {
      EXPECT_STREQ("Null pointer dereference", error.what());
   }
}

TEST(WeakPtrTest, FollowingADeadObjectThrows)
{
   auto object = std::make_unique<Watched>();
   WeakPtr<Watched> const pointer(object.get());
   object.reset();

   EXPECT_THROW(*pointer, NullPointerError);
}

TEST(WeakPtrTest, AskingForNullDoesntThrow)
{
   WeakPtr<Watched> const pointer;

   EXPECT_NO_THROW(EXPECT_FALSE(pointer));
   EXPECT_NO_THROW(pointer.get());
}

} // namespace
} // namespace cui
