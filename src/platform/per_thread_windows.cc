// Per-thread state in fiber-local slots. A slot's callback deletes what a
// thread left in it when the thread ends; the slots are freed (which runs the
// callback for every thread still holding a state) when the module's statics
// are destroyed, so that a host unloading tarvplaces.dll leaves no callback
// pointing into unloaded code.
#include <windows.h>

#include <mutex>
#include <system_error>
#include <vector>

#include "platform/per_thread.h"
#include "platform/windows_error.h"

namespace tarv::per_thread {
namespace {

void WINAPI DeleteHeld(void* held) {
  delete static_cast<Held*>(held);
}

class Slots {
 public:
  Slots() = default;
  Slots(const Slots&) = delete;
  Slots& operator=(const Slots&) = delete;
  ~Slots() {
    for (const DWORD slot : slots_)
      ::FlsFree(slot);
  }

  DWORD New() {
    const std::lock_guard<std::mutex> lock(mutex_);
    slots_.reserve(slots_.size() + 1);
    const DWORD slot = ::FlsAlloc(&DeleteHeld);
    if (slot == FLS_OUT_OF_INDEXES) {
      const DWORD error = ::GetLastError();
      throw std::system_error(static_cast<int>(error), std::system_category(),
                              "no fiber-local slot left: " + WindowsErrorText(error));
    }
    slots_.push_back(slot);
    return slot;
  }

 private:
  std::mutex mutex_;
  std::vector<DWORD> slots_;
};

Slots& AllSlots() {
  static Slots slots;
  return slots;
}

}  // namespace

std::uint32_t NewSlot() {
  return AllSlots().New();
}

Held* Get(std::uint32_t slot) noexcept {
  return static_cast<Held*>(::FlsGetValue(slot));
}

void Set(std::uint32_t slot, Held* held) {
  if (::FlsSetValue(slot, held) == 0) {
    const DWORD error = ::GetLastError();
    delete held;
    throw std::system_error(static_cast<int>(error), std::system_category(),
                            "cannot keep a thread's state: " + WindowsErrorText(error));
  }
}

}  // namespace tarv::per_thread
