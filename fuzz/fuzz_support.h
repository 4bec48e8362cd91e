// Shared by the fuzz targets and the seed writer: the framing of inputs that
// carry several parts, a scratch atlas folder per process, and a clean
// process state for every input.
#ifndef TARVPLACES_FUZZ_FUZZ_SUPPORT_H_
#define TARVPLACES_FUZZ_FUZZ_SUPPORT_H_

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace tarv::fuzz {

// Separates the parts of an input. Binary parts could hold it by chance; the
// split then only moves bytes from one part to the next.
inline constexpr std::string_view kPartMark = "\n--\n";

// The first `count` parts of `data`: split at the first `count - 1` marks,
// missing parts empty, further marks left in the last part.
std::vector<std::string_view> SplitParts(std::string_view data, std::size_t count);
std::string JoinParts(const std::vector<std::string>& parts);

// The lines of `text` split at "\n" (a final "\n" starts no line).
std::vector<std::string_view> Lines(std::string_view text);

// A folder of this process, created on first use and removed at exit: under
// /dev/shm where there is one and TMPDIR does not say otherwise, since the
// user-place writer flushes every file to disk.
class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::string str() const { return path_.string(); }
  // Writes `bytes` to `relative`, creating folders as needed, and dates the
  // file an hour back.
  void Write(const std::string& relative, std::string_view bytes) const;
  std::string Read(const std::string& relative) const;
  // Removes everything inside the folder.
  void Empty() const;

 private:
  std::filesystem::path path_;
};

ScratchFolder& Scratch();

// Starts an input as in a fresh process: no tables, no cached images, and a
// message sink that swallows what the component would show.
void BeginRun();

// BeginRun, an empty scratch folder holding "Country.dat" with the tests'
// sample countries (and the project's "Zones13.bin" when `with_zones`), the
// place folder pointing at it and the country table loaded.
void PrepareAtlas(bool with_zones);

// The bytes of the project's "Zones13.bin", built once from data/zones.tsv.
const std::string& ProjectZoneFile();

// Reports a broken invariant and aborts, which libFuzzer records as a crash.
[[noreturn]] void Fail(const char* file, int line, const char* condition);

}  // namespace tarv::fuzz

#define FUZZ_CHECK(condition) \
  ((condition) ? static_cast<void>(0) : ::tarv::fuzz::Fail(__FILE__, __LINE__, #condition))

#endif  // TARVPLACES_FUZZ_FUZZ_SUPPORT_H_
