// Everything the component holds for one atlas folder: the folder, its
// language, the country and zone tables, the places the last search found,
// and what every reader derives from the files (decoded indexes, histories,
// rules, grids). A host may open several atlases; each is one AtlasState.
//
// classPlaces works on the process's default atlas, as hosts of the classic
// interface expect (a second instance sees the folder and tables the first
// one loaded); tarv::Atlas and the C interface bind their own.
//
// Threads. The code of the atlas layer reads the atlas of its thread
// (CurrentAtlas): the default atlas, or the one an AtlasScope names. Many
// threads may read one atlas at once: the tables are loaded once under a lock
// and not changed afterwards by lookups, and the derived data is built under
// the locks of the caches that hold it. Reloading a table (FillCountryArray)
// and the zone-0 offset GetTimeZoneListString sets change what other threads
// read; only classPlaces does either, and it is meant for one thread.
#ifndef TARVPLACES_ATLAS_ATLAS_STATE_H_
#define TARVPLACES_ATLAS_ATLAS_STATE_H_

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "atlas/country_record.h"
#include "atlas/found_place.h"
#include "atlas/zone_record.h"
#include "platform/file_status.h"
#include "platform/per_thread.h"
#include "tarvplaces/language.h"
#include "text/lz.h"

namespace tarv {

class AtlasState {
 public:
  explicit AtlasState(std::string folder = "");
  ~AtlasState();
  AtlasState(const AtlasState&) = delete;
  AtlasState& operator=(const AtlasState&) = delete;

  // The atlas folder exactly as the host gave it (UTF-8); may lack its
  // trailing "\" and may be empty.
  std::string places_path;

  std::vector<CountryRecord> countries;
  std::atomic<bool> countries_loaded = false;

  std::vector<ZoneRecord> zones;
  std::atomic<bool> zones_loaded = false;

  // Held while a table is loaded: loading is once, whoever asks first.
  std::recursive_mutex tables_mutex;

  // A number no earlier load of the tables had, in this atlas or another,
  // for what derives from the tables.
  std::atomic<std::uint64_t> tables_version = 0;

  // Called by the loaders whenever they replace a table.
  void TablesChanged();

  // The expanded images of its files; none for the default atlas, whose
  // reads share the process's cache with code that reads outside any atlas.
  std::shared_ptr<ImageCache> images;

  // The places the last classPlaces search found, numbered from 0.
  std::vector<FoundPlace> found_places;

  // Held while the user's places of this atlas are written: one writer at a
  // time per atlas (other processes wait for the file locks).
  std::mutex write_mutex;

  // The atlas's language component: the default atlas's is the one
  // classPlaces::LanguageComponent hands out.
  TarvLanguage& Language() { return *language_; }

  // The atlas's USER folder as the scopes of its calls watch it (its change
  // counter tells them of other writers' changes).
  WatchedFolder& UserWatch();

  // What the readers derive from the files, one of each kind per atlas,
  // created on first use; `T` is default-constructible and guards itself.
  template <typename T>
  T& Derived() {
    static const std::size_t kSlot = NextDerivedSlot();
    void* made = derived_[kSlot].load(std::memory_order_acquire);
    if (made == nullptr) {
      made = MakeDerived(kSlot, []() -> std::shared_ptr<void> { return std::make_shared<T>(); });
    }
    return *static_cast<T*>(made);
  }

 private:
  static constexpr std::size_t kDerivedSlots = 32;
  static std::size_t NextDerivedSlot();
  void* MakeDerived(std::size_t slot, std::shared_ptr<void> (*make)());

  std::unique_ptr<TarvLanguage> language_;
  // One watch per folder the atlas had (only the default atlas's folder
  // changes); the newest is the one in use. Old ones stay for calls that
  // still hold them.
  struct Watch {
    std::string places_path;
    WatchedFolder folder;
  };
  std::atomic<Watch*> watch_ = nullptr;
  std::vector<std::unique_ptr<Watch>> watches_;
  std::mutex derived_mutex_;
  std::array<std::atomic<void*>, kDerivedSlots> derived_{};
  std::array<std::shared_ptr<void>, kDerivedSlots> owned_;
};

// The atlas the calls of this thread read: the innermost AtlasScope's, else
// the default atlas.
AtlasState& CurrentAtlas();

// The process's default atlas, which classPlaces uses.
AtlasState& DefaultAtlas();

// Makes `atlas` the current atlas of this thread while it lives. Scopes nest.
class AtlasScope {
 public:
  explicit AtlasScope(AtlasState& atlas);
  ~AtlasScope();
  AtlasScope(const AtlasScope&) = delete;
  AtlasScope& operator=(const AtlasScope&) = delete;

 private:
  AtlasState* outer_;
  ImageCacheScope images_;
};

// Answers derived from the current atlas's tables that this thread
// remembers for as long as the tables are the same (lookups ask the same
// codes over and over): one map per `Tag`, emptied when the tables change or
// it holds kMaxTableAnswers.
inline constexpr std::size_t kMaxTableAnswers = 4096;
template <typename Tag, typename Key, typename Value>
std::unordered_map<Key, Value>& TableAnswers() {
  struct Memo {
    std::uint64_t version = 0;
    std::unordered_map<Key, Value> answers;
  };
  Memo& memo = PerThread<Memo>();
  const std::uint64_t version = CurrentAtlas().tables_version;
  if (memo.version != version || memo.answers.size() >= kMaxTableAnswers) {
    memo.answers.clear();
    memo.version = version;
  }
  return memo.answers;
}

// Drops every table, setting and derived data of the default atlas, its
// language included, as in a fresh process. For tests and for hosts that
// switch atlases.
void ResetDefaultAtlas();

// The folder to read atlas files from: `path`, or the current atlas's folder
// when `path` is empty, with a "\" appended when it lacks one.
std::string AtlasFolder(std::string path);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_ATLAS_STATE_H_
