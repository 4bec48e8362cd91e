#include "platform/whole_file.h"

namespace tarv {

const char* WholeFileProblem(WholeFile result) {
  switch (result) {
    case WholeFile::kRead:
      return "";
    case WholeFile::kMissing:
      return "does not exist";
    case WholeFile::kNotRegular:
      return "is not a regular file";
    case WholeFile::kUnreadable:
      break;
  }
  return "cannot be opened for reading";
}

}  // namespace tarv
