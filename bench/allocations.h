// Counts the allocations of this program (operator new is replaced in it), so
// that benchmarks can report how many a call makes.
#ifndef TARVPLACES_BENCH_ALLOCATIONS_H_
#define TARVPLACES_BENCH_ALLOCATIONS_H_

#include <cstdint>

namespace tarv::bench {

// Allocations through operator new on this thread so far.
std::uint64_t Allocations();

}  // namespace tarv::bench

#endif  // TARVPLACES_BENCH_ALLOCATIONS_H_
