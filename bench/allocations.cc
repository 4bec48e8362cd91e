#include "allocations.h"

#include <cstdlib>
#include <new>

namespace tarv::bench {
namespace {

thread_local std::uint64_t allocations = 0;

}  // namespace

std::uint64_t Allocations() {
  return allocations;
}

}  // namespace tarv::bench

// The other forms of new (nothrow, arrays) call this one.
void* operator new(std::size_t size) {
  ++tarv::bench::allocations;
  if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
  throw std::bad_alloc();
}

void operator delete(void* p) noexcept {
  std::free(p);
}

void operator delete(void* p, std::size_t) noexcept {
  std::free(p);
}
