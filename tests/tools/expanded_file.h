// The expanded bytes of a file the builder wrote, for tests that decode it.
#ifndef TARVPLACES_TESTS_TOOLS_EXPANDED_FILE_H_
#define TARVPLACES_TESTS_TOOLS_EXPANDED_FILE_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "text/lz.h"

namespace tarv::testing {

inline std::string ExpandedFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  std::int32_t error = 0;
  std::string expanded = ExpandSzdd(bytes, error);
  EXPECT_EQ(error, 0) << path;
  return expanded;
}

}  // namespace tarv::testing

#endif  // TARVPLACES_TESTS_TOOLS_EXPANDED_FILE_H_
