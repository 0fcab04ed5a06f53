// SPDX-License-Identifier: GPL-2.0-or-later
// A pointer that goes null when its object dies.
#pragma once

#include "cui/error.hh"

namespace cui {

// T derives from sigc::trackable. Owns nothing. Its own address is the key of its callback, so
// copies register for themselves.
template <typename T>
class WeakPtr {
public:
   WeakPtr() = default;
   explicit WeakPtr(T* object) { *this = object; }
   WeakPtr(WeakPtr const& other) { *this = other.object; }
   ~WeakPtr() { *this = nullptr; }

   WeakPtr& operator=(WeakPtr const& other) { return *this = other.object; }

   WeakPtr& operator=(T* other)
   {
      if (other == object) {
         return *this;
      }
      if (object) {
         object->remove_destroy_notify_callback(this);
      }
      object = other;
      if (object) {
         object->add_destroy_notify_callback(this, &WeakPtr::OnDestroyNotify);
      }
      return *this;
   }

   explicit operator bool() const { return object != nullptr; }
   // The object, or null.
   T* get() const { return object; }

   // These throw NullPointerError if the object is gone.
   T* operator->() const { return Checked(); }
   T& operator*() const { return *Checked(); }

private:
   static void* OnDestroyNotify(void* data)
   {
      static_cast<WeakPtr*>(data)->object = nullptr;
      return nullptr;
   }

   T* Checked() const
   {
      if (!object) {
         Throw(NullPointerError());
      }
      return object;
   }

   T* object = nullptr;
};

} // namespace cui
