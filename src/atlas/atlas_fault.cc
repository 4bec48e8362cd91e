#include "atlas/atlas_fault.h"

#include <mutex>

#include "atlas/place_file.h"
#include "platform/codepage.h"

namespace tarv {
namespace {

struct FaultSlot {
  std::mutex mutex;
  AtlasFault fault;
};

FaultSlot& Slot() {
  static FaultSlot slot;
  return slot;
}

thread_local int scope_depth = 0;

}  // namespace

void NoteAtlasFault(const std::string& file, std::int32_t code) {
  if (code >= 0) return;
  FaultSlot& slot = Slot();
  const std::lock_guard<std::mutex> lock(slot.mutex);
  if (slot.fault) return;
  slot.fault = AtlasFault{file, code, Utf8FromAnsi(LZERROR_Msg(code, AnsiFromUtf8(file)))};
}

AtlasFault LastAtlasFault() {
  FaultSlot& slot = Slot();
  const std::lock_guard<std::mutex> lock(slot.mutex);
  return slot.fault;
}

void ClearAtlasFault() {
  FaultSlot& slot = Slot();
  const std::lock_guard<std::mutex> lock(slot.mutex);
  slot.fault = AtlasFault{};
}

FaultScope::FaultScope() {
  if (scope_depth++ == 0) ClearAtlasFault();
}

FaultScope::~FaultScope() {
  --scope_depth;
}

}  // namespace tarv
