// The shared in-place sort of a range of a vector.
#ifndef TARVPLACES_UTIL_SORT_H_
#define TARVPLACES_UTIL_SORT_H_

#include <algorithm>
#include <cstddef>
#include <functional>
#include <vector>

namespace tarv {

// Sorts `items` ascending by `less`, in place. With first == last the whole
// vector is sorted, otherwise the positions first..last (inclusive, clamped
// to the vector). Not stable: callers that need a fixed order for equal keys
// put the old position into the key.
template <typename T, typename Less = std::less<T>>
void Sort(std::size_t first, std::size_t last, std::vector<T>& items, Less less = Less()) {
  if (items.empty()) return;
  if (first == last) {
    first = 0;
    last = items.size() - 1;
  }
  if (last >= items.size()) last = items.size() - 1;
  if (first >= last) return;
  std::sort(items.begin() + static_cast<std::ptrdiff_t>(first),
            items.begin() + static_cast<std::ptrdiff_t>(last) + 1, less);
}

}  // namespace tarv

#endif  // TARVPLACES_UTIL_SORT_H_
