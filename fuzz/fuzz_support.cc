#include "fuzz_support.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "atlas/country_table.h"
#include "atlas/atlas_state.h"
#include "text/lz.h"
#include "support/country_fixture.h"
#include "support/zone_fixture.h"
#include "tarvplaces/message_sink.h"

namespace fs = std::filesystem;

namespace tarv::fuzz {

std::vector<std::string_view> SplitParts(std::string_view data, std::size_t count) {
  std::vector<std::string_view> parts;
  while (parts.size() + 1 < count) {
    const auto mark = data.find(kPartMark);
    if (mark == std::string_view::npos) break;
    parts.push_back(data.substr(0, mark));
    data.remove_prefix(mark + kPartMark.size());
  }
  parts.push_back(data);
  parts.resize(count);
  return parts;
}

std::string JoinParts(const std::vector<std::string>& parts) {
  std::string data;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (i > 0) data += kPartMark;
    data += parts[i];
  }
  return data;
}

std::vector<std::string_view> Lines(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const auto end = text.find('\n');
    lines.push_back(text.substr(0, end));
    if (end == std::string_view::npos) break;
    text.remove_prefix(end + 1);
  }
  return lines;
}

ScratchFolder::ScratchFolder() {
  std::error_code ec;
  fs::path base = "/dev/shm";
  if (std::getenv("TMPDIR") != nullptr || !fs::is_directory(base, ec) ||
      ::access("/dev/shm", W_OK) != 0) {
    base = fs::temp_directory_path();
  }
  path_ = base / ("tarvplaces-fuzz-" + std::to_string(::getpid()));
  fs::remove_all(path_, ec);
  fs::create_directories(path_);
}

ScratchFolder::~ScratchFolder() {
  std::error_code ec;
  fs::remove_all(path_, ec);
}

void ScratchFolder::Write(const std::string& relative, std::string_view bytes) const {
  const fs::path file = path_ / relative;
  fs::create_directories(file.parent_path());
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  // An hour old, as atlas files are: the image cache trusts only files that
  // have not just been written, and every input would be read again.
  fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(1));
}

std::string ScratchFolder::Read(const std::string& relative) const {
  std::ifstream in(path_ / relative, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void ScratchFolder::Empty() const {
  for (const auto& entry : fs::directory_iterator(path_))
    fs::remove_all(entry.path());
}

ScratchFolder& Scratch() {
  static ScratchFolder folder;
  return folder;
}

void BeginRun() {
  ResetDefaultAtlas();
  ClearExpandedImages();
  SetMessageSink([](const Message&) { return MsgAnswer::kOk; });
}

void PrepareAtlas(bool with_zones) {
  BeginRun();
  Scratch().Empty();
  Scratch().Write("Country.dat", testing::JoinCrLf(testing::SampleCountryLines()));
  if (with_zones) Scratch().Write("Zones13.bin", ProjectZoneFile());
  CurrentAtlas().places_path = Scratch().str();
  InitializeCountries("", "Country.dat", false, false);
}

const std::string& ProjectZoneFile() {
  static const std::string bytes = testing::ProjectZoneFile();
  return bytes;
}

void Fail(const char* file, int line, const char* condition) {
  std::fprintf(stderr, "%s:%d: invariant broken: %s\n", file, line, condition);
  std::abort();
}

}  // namespace tarv::fuzz
