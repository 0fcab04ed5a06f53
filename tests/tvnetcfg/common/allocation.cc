// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/allocation.hh"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local bool refuse = false;

} // namespace

namespace netcfg::common {

NoMemory::NoMemory()
{
   refuse = true;
}

NoMemory::~NoMemory()
{
   refuse = false;
}

} // namespace netcfg::common

void* operator new(std::size_t size)
{
   void* const memory = refuse ? nullptr : std::malloc(size ? size : 1);
   if (!memory) {
      throw std::bad_alloc();
   }
   return memory;
}

void operator delete(void* memory) noexcept
{
   std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
   std::free(memory);
}
