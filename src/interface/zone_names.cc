#include "interface/zone_names.h"

#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/tzfmt.h>
#include <unicode/tznames.h>
#include <unicode/unistr.h>

#include <map>
#include <memory>
#include <mutex>

namespace tarv {

std::string ZoneLongName(const std::string& iana, std::int64_t utc_seconds, bool daylight,
                         const std::string& locale) {
  // Loading a language's names takes milliseconds: once per language. ICU's
  // name objects load lazily inside, so calls share one lock.
  struct Language {
    std::unique_ptr<icu::TimeZoneNames> names;
    std::unique_ptr<icu::TimeZoneFormat> format;
  };
  static std::mutex mutex;
  static std::map<std::string, Language> by_locale;
  const std::lock_guard<std::mutex> lock(mutex);
  Language& language = by_locale[locale];
  if (!language.names) {
    const icu::Locale where(locale.c_str());
    UErrorCode status = U_ZERO_ERROR;
    language.names.reset(icu::TimeZoneNames::createInstance(where, status));
    if (U_FAILURE(status)) language.names.reset();
    if (!language.names) return {};
    // Without its data the location fallback is missing; the names still work.
    status = U_ZERO_ERROR;
    language.format.reset(icu::TimeZoneFormat::createInstance(where, status));
    if (U_FAILURE(status)) language.format.reset();
  }
  const icu::UnicodeString zone = icu::UnicodeString::fromUTF8(iana);
  const auto when = static_cast<UDate>(utc_seconds) * 1000.0;
  icu::UnicodeString name;
  language.names->getDisplayName(zone, daylight ? UTZNM_LONG_DAYLIGHT : UTZNM_LONG_STANDARD, when,
                                 name);
  if (name.isEmpty() && language.format) {
    // Zones CLDR gives no metazone then (Damascus since 2022) are named
    // after their country or city: "Syria Time".
    const std::unique_ptr<icu::TimeZone> tz(icu::TimeZone::createTimeZone(zone));
    icu::UnicodeString unknown;
    if (tz->getID(unknown) != icu::UnicodeString(UCAL_UNKNOWN_ZONE_ID)) {
      language.format->format(UTZFMT_STYLE_GENERIC_LOCATION, *tz, when, name);
    }
  }
  std::string utf8;
  name.toUTF8String(utf8);
  return utf8;
}

}  // namespace tarv
