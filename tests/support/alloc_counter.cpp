// Replaces the global operator new with one that counts.
#include "alloc_counter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace
{
std::atomic<long> g_allocations{0};
thread_local long t_allocations = 0;
}

long AllocationCount()
{
  return g_allocations.load(std::memory_order_relaxed);
}

long ThreadAllocationCount()
{
  return t_allocations;
}

void* operator new(std::size_t size)
{
  g_allocations.fetch_add(1, std::memory_order_relaxed);
  ++t_allocations;
  if (void* p = std::malloc(size ? size : 1))
    return p;
  throw std::bad_alloc();
}

void* operator new[](std::size_t size)
{
  return operator new(size);
}

void operator delete(void* p) noexcept
{
  std::free(p);
}

void operator delete[](void* p) noexcept
{
  std::free(p);
}

void operator delete(void* p, std::size_t) noexcept
{
  std::free(p);
}

void operator delete[](void* p, std::size_t) noexcept
{
  std::free(p);
}
