// What goes wrong with atlas files: the exceptions of the component, and the
// record of a file a lookup could not read.
#ifndef TARVPLACES_ATLAS_ERROR_H_
#define TARVPLACES_ATLAS_ERROR_H_

#include <cstdint>
#include <stdexcept>
#include <string>

namespace tarv {

// Thrown when an atlas file breaks a rule of its format. Frequent lookups
// never throw for missing data (they return 0 or an empty result); only data
// that is present but malformed does. what() reads
// "<file>: <rule that was broken>", e.g.
// "/atlas/Country.dat: line 7: fewer than 11 TAB-separated fields".
class AtlasError : public std::runtime_error {
 public:
  AtlasError(const std::string& file, const std::string& problem)
      : std::runtime_error(file + ": " + problem), file_(file), problem_(problem) {}

  // The path of the offending file as the component opened it.
  const std::string& file() const noexcept { return file_; }
  // What is wrong, without the file name.
  const std::string& problem() const noexcept { return problem_; }

 private:
  std::string file_;
  std::string problem_;
};

// Thrown when the component cannot write a file: the user's places, the text
// export. The atlas data is not at fault but the folder (read-only, full,
// gone); file() names the file that was to be written, which is unchanged.
// A host that catches AtlasError catches this too; one that catches it first
// can tell the user to check the folder rather than to rebuild the atlas.
class AtlasWriteError : public AtlasError {
 public:
  using AtlasError::AtlasError;
};

// A file a lookup could not read: damaged compressed data, an unknown
// compression mode, a file that cannot be opened. Lookups do not throw for
// it; they answer as if the file held nothing (0 places, "", no zone) after
// showing the LZ error message where the classic interface shows one. The
// host learns of it through classPlaces::LastAtlasFault.
struct AtlasFault {
  std::string File;       // the path as the component opened it (UTF-8)
  std::int32_t Code = 0;  // the LZ error code (negative); 0: no fault
  std::string Reason;     // the code's text, e.g. "corrupt compressed file format"

  explicit operator bool() const noexcept { return Code != 0; }
};

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_ERROR_H_
