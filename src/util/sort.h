// The shared in-place sort: a non-recursive quicksort.
#ifndef TARVPLACES_UTIL_SORT_H_
#define TARVPLACES_UTIL_SORT_H_

#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

namespace tarv {

// Sorts `items` ascending by `less`, in place. With first == last the whole
// vector is sorted, otherwise the positions first..last (inclusive, clamped
// to the vector). The pivot is the middle element; pending sub-ranges wait on
// an explicit stack instead of the call stack, and the larger half is always
// deferred, so the stack never holds more than log2(n) + 1 ranges. Not
// stable: callers that need a fixed order for equal keys put the old
// position into the key.
template <typename T, typename Less = std::less<T>>
void Sort(std::size_t first, std::size_t last, std::vector<T>& items, Less less = Less()) {
  if (items.empty()) return;
  if (first == last) {
    first = 0;
    last = items.size() - 1;
  }
  if (last >= items.size()) last = items.size() - 1;
  if (first >= last) return;

  // Signed positions: the inner scans may step one below the range.
  using Index = std::ptrdiff_t;
  std::vector<std::pair<Index, Index>> pending;
  pending.reserve(64);
  pending.emplace_back(static_cast<Index>(first), static_cast<Index>(last));
  while (!pending.empty()) {
    auto [lo, hi] = pending.back();
    pending.pop_back();
    while (lo < hi) {
      const T pivot = items[static_cast<std::size_t>(lo + (hi - lo) / 2)];
      Index i = lo;
      Index j = hi;
      while (i <= j) {
        while (less(items[static_cast<std::size_t>(i)], pivot))
          ++i;
        while (less(pivot, items[static_cast<std::size_t>(j)]))
          --j;
        if (i <= j) {
          std::swap(items[static_cast<std::size_t>(i)], items[static_cast<std::size_t>(j)]);
          ++i;
          --j;
        }
      }
      // Defer the larger side and go on with the smaller one.
      if (j - lo < hi - i) {
        if (i < hi) pending.emplace_back(i, hi);
        hi = j;
      } else {
        if (lo < j) pending.emplace_back(lo, j);
        lo = i;
      }
    }
  }
}

}  // namespace tarv

#endif  // TARVPLACES_UTIL_SORT_H_
