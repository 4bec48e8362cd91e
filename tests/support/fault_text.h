// A reader's fault as AtlasError::what() would read it: "<file>: <problem>",
// or "" when the reader succeeded.
#ifndef TARVPLACES_TESTS_SUPPORT_FAULT_TEXT_H_
#define TARVPLACES_TESTS_SUPPORT_FAULT_TEXT_H_

#include <optional>
#include <string>

#include "atlas/atlas_fault.h"

namespace tarv {

template <typename T>
std::string FaultText(const ReadResult<T>& result) {
  return result ? std::string() : result.fault().file + ": " + result.fault().problem;
}

inline std::string FaultText(const std::optional<FileFault>& fault) {
  return fault ? fault->file + ": " + fault->problem : std::string();
}

// The malformed file one call of `body` notes, as FaultText gives it: ""
// when it notes none.
template <typename Body>
std::string MalformedFileOf(Body&& body) {
  const FaultScope call;
  body();
  return FaultText(LastMalformedFile());
}

}  // namespace tarv

#endif  // TARVPLACES_TESTS_SUPPORT_FAULT_TEXT_H_
