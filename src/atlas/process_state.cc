#include "atlas/process_state.h"

namespace tarv {

ProcessState& State() {
  static ProcessState state;
  return state;
}

void ResetProcessState() {
  State() = ProcessState();
}

std::string AtlasFolder(std::string path) {
  if (path.empty()) path = State().places_path;
  if (path.empty() || path.back() != '\\') path += '\\';
  return path;
}

}  // namespace tarv
