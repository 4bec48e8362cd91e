#include "support/temp_folder.h"

#include <atomic>
#include <fstream>
#include <iterator>
#include <random>

#include "atlas/process_state.h"

namespace fs = std::filesystem;

namespace tarv::testing {

TempFolder::TempFolder() {
  static std::atomic<unsigned> counter{0};
  std::random_device seed;
  const auto name = "tarvplaces-test-" + std::to_string(seed()) + "-" + std::to_string(++counter);
  path_ = fs::temp_directory_path() / name;
  fs::create_directories(path_);
}

TempFolder::~TempFolder() {
  std::error_code ec;
  fs::permissions(path_, fs::perms::owner_all, fs::perm_options::add, ec);
  fs::remove_all(path_, ec);
}

fs::path TempFolder::Write(const std::string& relative, const std::string& bytes) const {
  const fs::path file = path_ / relative;
  fs::create_directories(file.parent_path());
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return file;
}

std::string TempFolder::Read(const std::string& relative) const {
  std::ifstream in(path_ / relative, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void AtlasTest::SetUp() {
  ResetProcessState();
  SetMessageSink([this](const Message& m) {
    messages_.push_back(m);
    return MsgAnswer::kOk;
  });
}

void AtlasTest::TearDown() {
  SetMessageSink(nullptr);
  ResetProcessState();
}

}  // namespace tarv::testing
