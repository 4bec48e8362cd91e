// The one exception type of the component: broken atlas data.
#ifndef TARVPLACES_ATLAS_ERROR_H_
#define TARVPLACES_ATLAS_ERROR_H_

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

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_ERROR_H_
