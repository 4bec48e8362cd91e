#include "atlas/process_state.h"

#include <atomic>

#include "atlas/atlas_fault.h"
#include "platform/file_status.h"

namespace tarv {

void ProcessState::TablesChanged() {
  static std::atomic<std::uint64_t> versions{0};
  tables_version = ++versions;
  country_ids.clear();
  continent_ids.clear();
  country_indexes.clear();
  zone_ids.clear();
}

ProcessState& State() {
  static ProcessState state;
  return state;
}

void ResetProcessState() {
  State() = ProcessState();
  ClearAtlasFault();
  ForgetFileStatuses();
}

std::string AtlasFolder(std::string path) {
  if (path.empty()) path = State().places_path;
  if (path.empty() || path.back() != '\\') path += '\\';
  return path;
}

}  // namespace tarv
