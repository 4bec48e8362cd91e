#include "util/sort.h"

#include <gtest/gtest.h>

#include <string>

namespace tarv {
namespace {

TEST(Sort, TheWholeVectorWhenFirstEqualsLastElseTheRangeClamped) {
  // Texts compare by bytes, so accented initials follow Z.
  std::vector<std::string> names = {"Wien", "\xC4gypten", "Aachen", "M\xFCnchen", "Zug"};
  Sort(3, 3, names);
  EXPECT_EQ(names, (std::vector<std::string>{"Aachen", "M\xFCnchen", "Wien", "Zug", "\xC4gypten"}));
  std::vector<int> v = {9, 8, 7, 6, 5, 4};
  Sort(1, 4, v);
  EXPECT_EQ(v, (std::vector<int>{9, 5, 6, 7, 8, 4}));
  Sort(2, 99, v);
  EXPECT_EQ(v, (std::vector<int>{9, 5, 4, 6, 7, 8}));
  std::vector<int> none;
  Sort(0, 0, none);
  EXPECT_TRUE(none.empty());
}

}  // namespace
}  // namespace tarv
