#include "util/sort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace tarv {
namespace {

// Texts compare by bytes, so accented initials follow Z.
TEST(Sort, SortsWholeVectorWhenFirstEqualsLast) {
  std::vector<std::string> v = {"Wien", "\xC4gypten", "Aachen", "M\xFCnchen", "Zug", "Berlin"};
  Sort(3, 3, v);
  EXPECT_EQ(
      v, (std::vector<std::string>{"Aachen", "Berlin", "M\xFCnchen", "Wien", "Zug", "\xC4gypten"}));
}

TEST(Sort, SortsOnlyTheGivenRange) {
  std::vector<int> v = {9, 8, 7, 6, 5, 4};
  Sort(1, 4, v);
  EXPECT_EQ(v, (std::vector<int>{9, 5, 6, 7, 8, 4}));
}

TEST(Sort, AgreesWithStdSortOnRandomAndAdversarialInput) {
  std::mt19937 rng(42);
  for (std::size_t n : {0U, 1U, 2U, 3U, 17U, 1000U}) {
    std::vector<int> random(n), sorted_in(n), equal(n, 7), descending(n);
    for (std::size_t i = 0; i < n; ++i) {
      random[i] = static_cast<int>(rng() % 50);
      sorted_in[i] = static_cast<int>(i);
      descending[i] = static_cast<int>(n - i);
    }
    for (auto v : {random, sorted_in, equal, descending}) {
      auto expected = v;
      std::sort(expected.begin(), expected.end());
      Sort(0, 0, v);
      EXPECT_EQ(v, expected) << "n=" << n;
    }
  }
}

}  // namespace
}  // namespace tarv
