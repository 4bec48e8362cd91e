// Per-thread state whose destructor runs when its thread ends.
//
// On POSIX this is C++'s thread_local. mingw-w64 emulates thread_local: one
// thread-exit hook frees a thread's variables and a later one runs their
// destructors on the freed memory (a change counter unmapped at a stale
// address took the program's own code with it). On Windows each state is a
// heap object in a fiber-local slot instead, deleted by the slot's callback
// when the thread ends, or for every thread when the module is unloaded.
#ifndef TARVPLACES_PLATFORM_PER_THREAD_H_
#define TARVPLACES_PLATFORM_PER_THREAD_H_

#include <cstdint>
#include <memory>

namespace tarv {

#ifdef _WIN32
namespace per_thread {

// What a slot holds: deleted through this base by the slot's callback.
struct Held {
  virtual ~Held() = default;
};

template <typename T>
struct HeldState final : Held {
  T state{};
};

// A new slot of the process; throws std::system_error when none is left.
std::uint32_t NewSlot();
Held* Get(std::uint32_t slot) noexcept;
// Takes ownership; throws std::system_error (and deletes `held`) on failure.
void Set(std::uint32_t slot, Held* held);

}  // namespace per_thread
#endif

// This thread's T, value-initialized on its first use in the thread. T names
// the state: give each use a type of its own, or uses share one state.
template <typename T>
T& PerThread() {
#ifdef _WIN32
  static const std::uint32_t slot = per_thread::NewSlot();
  if (per_thread::Held* held = per_thread::Get(slot)) {
    return static_cast<per_thread::HeldState<T>*>(held)->state;
  }
  auto fresh = std::make_unique<per_thread::HeldState<T>>();
  T& state = fresh->state;
  per_thread::Set(slot, fresh.release());
  return state;
#else
  thread_local T state{};
  return state;
#endif
}

// A copy of `shared` with a reference count of its own, for a thread's memo
// of something all threads share: copies of it on this thread then touch no
// count that another thread writes as well (threads writing one count take
// turns with the cache line it is in, a cost on every copy).
template <typename T>
std::shared_ptr<T> WithOwnCount(std::shared_ptr<T> shared) {
  if (!shared) return shared;
  T* const object = shared.get();
  return std::shared_ptr<T>(std::make_shared<std::shared_ptr<T>>(std::move(shared)), object);
}

}  // namespace tarv

#endif  // TARVPLACES_PLATFORM_PER_THREAD_H_
