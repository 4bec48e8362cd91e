#include "interface/zone_names.h"

#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/tzfmt.h>
#include <unicode/tznames.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <vector>

namespace tarv {
namespace {

// ICU's name objects load lazily and take a process-wide lock on every
// call, so a zone's names are asked of ICU once per thread and period: the
// name stays the same for as long as the zone keeps its CLDR metazone, and
// each thread remembers those periods.
class IcuNames {
 public:
  static IcuNames& Instance() {
    static auto* const names = new IcuNames;  // ICU objects outlive static destructors
    return *names;
  }

  // The long name at `when` (ms since 1970) and the metazone then ("" for
  // none).
  std::pair<std::string, std::string> NameAt(const std::string& locale,
                                             const icu::UnicodeString& zone, UDate when,
                                             bool daylight) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Language* language = LanguageOf(locale);
    if (language == nullptr) return {};
    icu::UnicodeString name;
    language->names->getDisplayName(zone, daylight ? UTZNM_LONG_DAYLIGHT : UTZNM_LONG_STANDARD,
                                    when, name);
    if (name.isEmpty() && language->format) {
      // Zones CLDR gives no metazone then (Damascus since 2022) are named
      // after their country or city: "Syria Time".
      const std::unique_ptr<icu::TimeZone> tz(icu::TimeZone::createTimeZone(zone));
      icu::UnicodeString unknown;
      if (tz->getID(unknown) != icu::UnicodeString(UCAL_UNKNOWN_ZONE_ID)) {
        language->format->format(UTZFMT_STYLE_GENERIC_LOCATION, *tz, when, name);
      }
    }
    std::pair<std::string, std::string> result;
    name.toUTF8String(result.first);
    MetaZoneAt(*language, zone, when).toUTF8String(result.second);
    return result;
  }

  // The metazone of `zone` at `when`, "" for none.
  icu::UnicodeString MetaZone(const std::string& locale, const icu::UnicodeString& zone,
                              UDate when) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Language* language = LanguageOf(locale);
    return language == nullptr ? icu::UnicodeString() : MetaZoneAt(*language, zone, when);
  }

 private:
  struct Language {
    std::unique_ptr<icu::TimeZoneNames> names;
    std::unique_ptr<icu::TimeZoneFormat> format;
  };

  static icu::UnicodeString MetaZoneAt(const Language& language, const icu::UnicodeString& zone,
                                       UDate when) {
    icu::UnicodeString meta;
    language.names->getMetaZoneID(zone, when, meta);
    return meta;
  }

  // Loading a language's names takes milliseconds: once per language.
  Language* LanguageOf(const std::string& locale) {
    Language& language = by_locale_[locale];
    if (!language.names) {
      const icu::Locale where(locale.c_str());
      UErrorCode status = U_ZERO_ERROR;
      language.names.reset(icu::TimeZoneNames::createInstance(where, status));
      if (U_FAILURE(status)) language.names.reset();
      if (!language.names) return nullptr;
      // Without its data the location fallback is missing; the names still work.
      status = U_ZERO_ERROR;
      language.format.reset(icu::TimeZoneFormat::createInstance(where, status));
      if (U_FAILURE(status)) language.format.reset();
    }
    return &language;
  }

  std::mutex mutex_;
  std::map<std::string, Language> by_locale_;
};

// CLDR's metazone periods begin and end on whole minutes after 1970;
// the search for a period's ends looks this far at most.
constexpr double kMinuteMs = 60'000.0;
constexpr double kStepMs = 30.0 * 86'400'000.0;
constexpr double kEarliestMs = -4'000'000'000'000.0;  // 1843
constexpr double kLatestMs = 7'300'000'000'000.0;     // 2201

// The last instant from `from` towards `limit` (either direction) that still
// has `meta`: monthly steps, then halving to the minute.
UDate PeriodEnd(IcuNames& icu, const std::string& locale, const icu::UnicodeString& zone,
                const icu::UnicodeString& meta, UDate from, UDate limit) {
  const double step = limit > from ? kStepMs : -kStepMs;
  UDate inside = from;
  UDate outside = limit;
  for (UDate at = from + step; (step > 0 ? at < limit : at > limit); at += step) {
    if (icu.MetaZone(locale, zone, at) != meta) {
      outside = at;
      break;
    }
    inside = at;
  }
  if (outside == limit) return limit;
  while (std::abs(outside - inside) > kMinuteMs) {
    const UDate middle = inside + (outside - inside) / 2;
    (icu.MetaZone(locale, zone, middle) == meta ? inside : outside) = middle;
  }
  return inside;
}

struct Period {
  UDate first = 0;
  UDate last = 0;
  std::string name;
};

// (locale, IANA zone, daylight), hashed and compared alike whether held as
// strings or viewed.
using Key = std::tuple<std::string, std::string, bool>;
using KeyView = std::tuple<std::string_view, std::string_view, bool>;
struct KeyHash {
  using is_transparent = void;
  std::size_t operator()(const KeyView& key) const noexcept {
    const std::hash<std::string_view> hash;
    return hash(std::get<0>(key)) * 31 + hash(std::get<1>(key)) * 2 + (std::get<2>(key) ? 1 : 0);
  }
  std::size_t operator()(const Key& key) const noexcept {
    return (*this)(KeyView{std::get<0>(key), std::get<1>(key), std::get<2>(key)});
  }
};
struct KeyEqual {
  using is_transparent = void;
  template <typename A, typename B>
  bool operator()(const A& a, const B& b) const noexcept {
    return std::get<2>(a) == std::get<2>(b) && std::get<1>(a) == std::get<1>(b) &&
           std::get<0>(a) == std::get<0>(b);
  }
};

}  // namespace

std::string ZoneLongName(const std::string& iana, std::int64_t utc_seconds, bool daylight,
                         const std::string& locale) {
  const auto when = static_cast<UDate>(utc_seconds) * 1000.0;
  auto find = [when](const std::vector<Period>& periods) -> const Period* {
    for (const Period& period : periods) {
      if (when >= period.first && when <= period.last) return &period;
    }
    return nullptr;
  };
  // Each thread asks its own copy; a period one thread found serves all, so
  // a short-lived thread does not search ICU again. A warm answer builds no
  // key.
  thread_local std::unordered_map<Key, std::vector<Period>, KeyHash, KeyEqual> known;
  auto entry = known.find(KeyView{locale, iana, daylight});
  if (entry == known.end())
    entry = known.emplace(Key{locale, iana, daylight}, std::vector<Period>{}).first;
  const Key& key = entry->first;
  std::vector<Period>& mine = entry->second;
  if (const Period* period = find(mine)) return period->name;
  static std::shared_mutex shared_mutex;
  static auto* const shared = new std::map<Key, std::vector<Period>>;
  {
    const std::shared_lock<std::shared_mutex> lock(shared_mutex);
    if (const auto it = shared->find(key); it != shared->end()) {
      if (const Period* period = find(it->second)) {
        mine.push_back(*period);
        return period->name;
      }
    }
  }
  IcuNames& icu = IcuNames::Instance();
  const icu::UnicodeString zone = icu::UnicodeString::fromUTF8(iana);
  auto [name, meta_utf8] = icu.NameAt(locale, zone, when, daylight);
  const icu::UnicodeString meta = icu::UnicodeString::fromUTF8(meta_utf8);
  if (when < kEarliestMs || when > kLatestMs) return name;
  const Period period{PeriodEnd(icu, locale, zone, meta, when, kEarliestMs),
                      PeriodEnd(icu, locale, zone, meta, when, kLatestMs), name};
  mine.push_back(period);
  const std::unique_lock<std::shared_mutex> lock(shared_mutex);
  (*shared)[key].push_back(period);
  return name;
}

}  // namespace tarv
