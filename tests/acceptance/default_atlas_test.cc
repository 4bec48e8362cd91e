// The default atlas built from open data, checked against the data it was
// built from: GeoNames for where places are, the machine's tzdata for which
// offset held there.
#include <gtest/gtest.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/tzfmt.h>
#include <unicode/tznames.h>
#include <unicode/unistr.h>

#include <chrono>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <tuple>

#include "atlas/atlas_builder.h"
#include "atlas/atlas_state.h"
#include "atlas/geonames.h"
#include "atlas/place_file.h"
#include "atlas/posix_tz.h"
#include "atlas/timetable.h"
#include "atlas/zone_history.h"
#include "export/text_export.h"
#include "geonames_atlas_fixture.h"
#include "text/codepage.h"
#include "text/lz.h"
#include "support/atlas_fixture.h"
#include "tarvplaces/atlas.h"
#include "tarvplaces/places.h"
#include "util/julian.h"
#include "util/serial_date.h"
#include "util/text.h"

namespace tarv {
namespace {

using atlas::GeoPlace;

using testing::AtlasCodeOf;
using testing::JulianAt;
const std::string& kAtlas = testing::kDefaultAtlas;

class DefaultAtlasTest : public testing::GeoNamesAtlasTest {
 protected:
  const Atlas atlas_{kAtlas};
  static const GeoPlace& ById(std::int64_t id) {
    for (const auto& p : *places_) {
      if (p.id == id) return p;
    }
    throw std::runtime_error("no GeoNames place " + std::to_string(id));
  }
};

TEST_F(DefaultAtlasTest, FamousPlacesAreFoundWhereGeoNamesPutsThem) {
  const struct {
    const char* name;
    const char* code;
    std::int64_t geonames_id;
  } kPlaces[] = {{"München", "D", 2867714},     {"Wien", "A", 2761369},
                 {"Köln", "D", 2886242},        {"Paris", "F", 2988507},
                 {"New York", "USNY", 5128581}, {"Los Angeles", "USCA", 5368361},
                 {"Sydney", "AUS", 2147714},    {"Tokyo", "J", 1850147},
                 {"Moskva", "SSR", 524901},     {"Rio de Janeiro", "BR", 3451190},
                 {"Praha", "CZ", 3067696},      {"Warszawa", "PL", 756135},
                 {"Genève", "CH", 2660646},     {"Milano", "I", 3173435},
                 {"Lisboa", "P", 2267057}};
  for (const auto& c : kPlaces) {
    double lon = 0;
    double lat = 0;
    EXPECT_GE(places.GetPlaceData(c.name, c.code, &lon, &lat), 1) << c.name;
    const GeoPlace& truth = ById(c.geonames_id);
    EXPECT_NEAR(lon, truth.longitude, 0.05) << c.name;
    EXPECT_NEAR(lat, truth.latitude, 0.05) << c.name;
    // The nearest place to the city's own coordinates is the city.
    const std::string line = places.GetNearestPlace(c.code, truth.longitude, truth.latitude);
    const auto tab = line.find('\t');
    ASSERT_NE(tab, std::string::npos) << c.name;
    EXPECT_NEAR(std::stod(line.substr(tab + 1)), truth.longitude, 1e-4) << c.name;
  }
}

// These tests read tzdata through the C library, which Windows' lacks; the
// Linux suite runs them.
#ifndef _WIN32

// tzdata as the C library reads it (not the builder's reader): the offset in
// seconds at a UTC instant in an IANA zone, and whether it is local mean time.
struct LibcZone {
  long offset = 0;
  bool lmt = false;
};

void UseZone(const std::string& zone) {
  static std::string current;
  if (zone == current) return;
  current = zone;
  setenv("TZ", (":" + zone).c_str(), 1);
  tzset();
}

LibcZone LibcAtUtc(const std::string& zone, std::int64_t utc) {
  UseZone(zone);
  const auto t = static_cast<std::time_t>(utc);
  std::tm tm{};
  localtime_r(&t, &tm);
  return {tm.tm_gmtoff, std::string(tm.tm_zone) == "LMT"};
}

// The zone at a local wall-clock time (noon: never a skipped or repeated one).
LibcZone LibcAtLocal(const std::string& zone, int year, int month, int day, int hour) {
  UseZone(zone);
  std::tm tm{};
  tm.tm_year = year - 1900;
  tm.tm_mon = month - 1;
  tm.tm_mday = day;
  tm.tm_hour = hour;
  tm.tm_isdst = -1;
  const std::time_t t = std::mktime(&tm);
  return LibcAtUtc(zone, t);
}

// The element of the found-place list that is the GeoNames place itself: the
// one of its name at its coordinates; its name as the atlas stores it is
// found through the nearest place when GeoNames' name is not it (a name cut
// to 28 characters, a local name).
std::optional<std::int32_t> FindPlace(classPlaces& places, const GeoPlace& p,
                                      const std::string& code) {
  auto at_coordinates = [&](const std::string& name) -> std::optional<std::int32_t> {
    const auto found = places.GetPlaceDataX(name, code);
    for (std::int32_t i = 0; i < found; ++i) {
      const auto f = places.GetPlaceDataOfId(i);
      if (std::fabs(std::stod(f[2]) - p.longitude) < 1e-4 &&
          std::fabs(std::stod(f[3]) - p.latitude) < 1e-4) {
        return i;
      }
    }
    return std::nullopt;
  };
  if (auto i = at_coordinates(IsAnsiRepresentable(p.name) ? p.name : p.ascii_name)) return i;
  const std::string line = places.GetNearestPlace(code, p.longitude, p.latitude, 0.001);
  return at_coordinates(TrimRight(line.substr(0, line.find('\t'))));
}

// The GeoNames place itself as the public interface gives it, with its zone
// at the local time `when`.
std::optional<PlaceInfo> PlaceAt(const Atlas& atlas, const GeoPlace& p, const std::string& code,
                                 const LocalTime& when) {
  auto at_coordinates = [&](const std::string& name) -> std::optional<PlaceInfo> {
    for (auto& found : atlas.Search(name, code, when)) {
      if (std::fabs(found.Longitude - p.longitude) < 1e-4 &&
          std::fabs(found.Latitude - p.latitude) < 1e-4) {
        return std::move(found);
      }
    }
    return std::nullopt;
  };
  if (auto found = at_coordinates(p.name)) return found;
  if (auto found = at_coordinates(p.ascii_name)) return found;
  const auto nearest = atlas.Nearest(code, p.longitude, p.latitude, 0.001);
  return nearest ? at_coordinates(nearest->Name) : std::nullopt;
}

// Local wall-clock seconds since 1970 as a local time.
LocalTime LocalTimeOfSeconds(std::int64_t local) {
  using std::chrono::days;
  using std::chrono::floor;
  using std::chrono::seconds;
  const std::chrono::sys_seconds at{seconds{local}};
  const auto day = floor<days>(at);
  const std::chrono::year_month_day date{day};
  const std::chrono::hh_mm_ss time{at - day};
  return {static_cast<int>(date.year()),
          static_cast<int>(unsigned{date.month()}),
          static_cast<int>(unsigned{date.day()}),
          static_cast<int>(time.hours().count()),
          static_cast<int>(time.minutes().count()),
          static_cast<int>(time.seconds().count())};
}

struct Sample {
  GeoPlace place;
  std::string code;
};

// Random places of the default atlas (every country, every zone), each once.
std::vector<Sample> RandomPlaces(const std::vector<GeoPlace>& all, std::size_t count,
                                 std::mt19937& rng) {
  std::vector<Sample> sample;
  std::uniform_int_distribution<std::size_t> pick(0, all.size() - 1);
  std::set<std::size_t> taken;
  while (sample.size() < count) {
    const std::size_t i = pick(rng);
    const std::string code = AtlasCodeOf(all[i]);
    if (code.empty() || !taken.insert(i).second) continue;
    sample.push_back({all[i], code});
  }
  return sample;
}

// At a random local noon of the years for each place: the offset and the
// local-mean-time flag of the atlas against the C library's.
void ExpectAgreement(classPlaces& places, const std::vector<Sample>& sample, int first_year,
                     int last_year, std::mt19937& rng) {
  std::uniform_int_distribution<int> year(first_year, last_year);
  std::uniform_int_distribution<int> day(0, 364);
  std::size_t agree = 0;
  std::vector<std::string> disagree;
  for (const auto& [p, code] : sample) {
    const CalendarTime date = CalendarOfSerial(SerialOfDate(year(rng), 1, 1 + day(rng)));
    const auto element = FindPlace(places, p, code);
    if (!element) {
      disagree.push_back(p.name + " (" + code + ") not found");
      continue;
    }
    bool lmt = false;
    double hours = 0;
    places.GetPlaceDataOfId(*element, JulianAt(date.year, date.month, date.day, 12), &lmt, &hours);
    const LibcZone truth = LibcAtLocal(p.timezone, date.year, date.month, date.day, 12);
    const bool same = lmt == truth.lmt && (lmt || std::lround(hours * 3600.0) == truth.offset);
    agree += same;
    if (!same) {
      disagree.push_back(
          p.name + " (" + code + ", " + p.timezone + ") " +
          DateTimeText(SerialOfDate(date.year, date.month, date.day)) + ": " +
          (lmt ? "LMT" : std::to_string(hours)) + " h, tzdata " +
          (truth.lmt ? "LMT" : std::to_string(static_cast<double>(truth.offset) / 3600.0)));
    }
  }
  std::cout << "zone agreement with tzdata " << first_year << "-" << last_year << ": " << agree
            << " of " << sample.size() << "\n";
  EXPECT_EQ(agree, sample.size()) << ::testing::PrintToString(disagree);
}

TEST_F(DefaultAtlasTest, EveryPlaceHasTheOffsetsOfItsOwnZone) {
  std::mt19937 rng(2026);
  const auto sample = RandomPlaces(*places_, 3000, rng);
  ExpectAgreement(places, sample, 1900, 1999, rng);
  ExpectAgreement(places, sample, 2000, 2037, rng);
  ExpectAgreement(places, sample, 2038, 2100, rng);
}

// The timetables, which user places follow, keep the history of their zone:
// for the sampled places whose zone a timetable keeps, that timetable gives
// tzdata's offsets through 2037 (later years follow the rule of its last
// ones).
TEST_F(DefaultAtlasTest, TimetablesKeepTheHistoryOfTheirZone) {
  std::mt19937 rng(2027);
  const auto sample = RandomPlaces(*places_, 3000, rng);
  std::uniform_int_distribution<int> year(1900, 2037);
  std::uniform_int_distribution<int> day(0, 364);
  std::size_t asked = 0;
  std::vector<std::string> wrong;
  for (const auto& [p, code] : sample) {
    const CalendarTime date = CalendarOfSerial(SerialOfDate(year(rng), 1, 1 + day(rng)));
    const double noon = SerialOfDate(date.year, date.month, date.day) + 0.5;
    const auto element = FindPlace(places, p, code);
    ASSERT_TRUE(element) << p.name;
    const std::int16_t timetable =
        places.HaveTimetables(code) > 0
            ? static_cast<std::int16_t>(std::stoi(places.GetPlaceDataOfId(*element)[4]))
            : std::int16_t{0};
    const auto kept = TimetableHistoryAt(code, timetable, noon);
    if (!kept || kept->zone_name != p.timezone) continue;  // a merged history
    ++asked;
    const auto at = ZoneAt(code, timetable, noon);
    ASSERT_TRUE(at) << p.name;
    const LibcZone truth = LibcAtLocal(p.timezone, date.year, date.month, date.day, 12);
    const bool lmt = at->zone_id == 0;
    if (lmt != truth.lmt || (!lmt && std::lround(at->zone.TZDif * 3600.0F) != truth.offset)) {
      wrong.push_back(p.name + " (" + code + " " + std::to_string(timetable) + ", " + p.timezone +
                      ") " + DateTimeText(noon) + ": " + Trim(at->zone.TZShort) + ", tzdata " +
                      (truth.lmt ? "LMT" : std::to_string(truth.offset)));
    }
  }
  std::cout << "timetables against tzdata 1900-2037: " << asked - wrong.size() << " of " << asked
            << "\n";
  EXPECT_GT(asked, 2900U);
  EXPECT_TRUE(wrong.empty()) << ::testing::PrintToString(wrong);
}

// A change of offset in `zone` within `year` (UTC instant, old and new
// offsets), found by the C library day by day and then to the second.
struct Change {
  std::int64_t at;
  long before;
  long after;
};
std::optional<Change> ChangeInYear(const std::string& zone, int year, std::mt19937& rng) {
  const std::int64_t start =
      static_cast<std::int64_t>(std::llround((SerialOfDate(year, 1, 1) - 25569.0) * 86400.0));
  std::vector<std::int64_t> days;
  LibcZone previous = LibcAtUtc(zone, start);
  for (int d = 1; d <= 366; ++d) {
    const LibcZone now = LibcAtUtc(zone, start + d * 86400LL);
    if (now.offset != previous.offset && !now.lmt && !previous.lmt) days.push_back(d);
    previous = now;
  }
  if (days.empty()) return std::nullopt;
  const std::int64_t d = days[std::uniform_int_distribution<std::size_t>(0, days.size() - 1)(rng)];
  std::int64_t low = start + (d - 1) * 86400;  // still the old offset
  std::int64_t high = start + d * 86400;       // already the new one
  const long before = LibcAtUtc(zone, low).offset;
  while (high - low > 1) {
    const std::int64_t mid = low + (high - low) / 2;
    (LibcAtUtc(zone, mid).offset == before ? low : high) = mid;
  }
  return Change{high, before, LibcAtUtc(zone, high).offset};
}

TEST_F(DefaultAtlasTest, ChangesOfOffsetAreWhereTzdataPutsThem) {
  std::mt19937 rng(25);
  const auto sample = RandomPlaces(*places_, 3000, rng);
  std::uniform_int_distribution<std::size_t> pick(0, sample.size() - 1);
  std::uniform_int_distribution<int> year(1900, 2100);
  std::size_t checked = 0;
  std::vector<std::string> wrong;
  for (int tries = 0; checked < 300 && tries < 20000; ++tries) {
    const auto& [p, code] = sample[pick(rng)];
    const auto change = ChangeInYear(p.timezone, year(rng), rng);
    if (!change) continue;
    ++checked;
    // Local wall-clock seconds: a minute before the earlier reading of the
    // change, a minute after the later one, and the middle of the hour the
    // clocks skipped or repeated.
    const std::int64_t early = change->at + std::min(change->before, change->after);
    const std::int64_t late = change->at + std::max(change->before, change->after);
    auto report = [&](std::int64_t local) {
      return PlaceAt(atlas_, p, code, LocalTimeOfSeconds(local));
    };
    const auto before = report(early - 60);
    const auto after = report(late + 60);
    const auto middle = report((early + late) / 2);
    ASSERT_TRUE(before && after && middle) << p.name;
    const std::string what = p.name + " (" + code + ", " + p.timezone + ") " +
                             std::to_string(change->at) + " " + std::to_string(change->before) +
                             " -> " + std::to_string(change->after) + ": ";
    if (std::lround(before->Zone.UtcOffsetHours * 3600) != change->before ||
        std::lround(after->Zone.UtcOffsetHours * 3600) != change->after) {
      wrong.push_back(what + "offsets " + std::to_string(before->Zone.UtcOffsetHours) + ", " +
                      std::to_string(after->Zone.UtcOffsetHours));
    }
    const LocalTimeKind expected =
        change->after > change->before ? LocalTimeKind::kSkipped : LocalTimeKind::kRepeated;
    if (middle->LocalTime != expected || before->LocalTime != LocalTimeKind::kNormal ||
        after->LocalTime != LocalTimeKind::kNormal) {
      wrong.push_back(what + "kinds " + LocalTimeName(before->LocalTime) + " " +
                      LocalTimeName(middle->LocalTime) + " " + LocalTimeName(after->LocalTime));
    }
  }
  std::cout << "changes of offset checked: " << checked << ", wrong " << wrong.size() << "\n";
  EXPECT_EQ(checked, 300U);
  EXPECT_TRUE(wrong.empty()) << ::testing::PrintToString(wrong);
}

// CLDR's English long name of an IANA zone at a UTC instant (seconds), read
// through ICU: the daylight name while ICU's data has daylight time there;
// where CLDR maps no metazone then, the zone's location name ("Turkey
// Time"), which ICU itself shows for it.
std::string CldrName(const std::string& zone, std::int64_t utc) {
  static const std::unique_ptr<icu::TimeZoneNames> names = [] {
    UErrorCode status = U_ZERO_ERROR;
    return std::unique_ptr<icu::TimeZoneNames>(
        icu::TimeZoneNames::createInstance(icu::Locale::getEnglish(), status));
  }();
  const icu::UnicodeString id = icu::UnicodeString::fromUTF8(zone);
  const std::unique_ptr<icu::TimeZone> tz(icu::TimeZone::createTimeZone(id));
  const auto when = static_cast<UDate>(utc) * 1000.0;
  std::int32_t raw = 0;
  std::int32_t dst = 0;
  UErrorCode status = U_ZERO_ERROR;
  tz->getOffset(when, false, raw, dst, status);
  icu::UnicodeString name;
  names->getDisplayName(id, dst != 0 ? UTZNM_LONG_DAYLIGHT : UTZNM_LONG_STANDARD, when, name);
  if (name.isEmpty()) {
    status = U_ZERO_ERROR;
    const std::unique_ptr<icu::TimeZoneFormat> format(
        icu::TimeZoneFormat::createInstance(icu::Locale::getEnglish(), status));
    if (format) format->format(UTZFMT_STYLE_GENERIC_LOCATION, *tz, when, name);
  }
  std::string utf8;
  name.toUTF8String(utf8);
  return utf8;
}

TEST_F(DefaultAtlasTest, MostPeopleReadTheNameCldrGivesTheirZone) {
  std::vector<Sample> largest;
  for (const auto& p : *places_) {
    if (const std::string code = AtlasCodeOf(p); !code.empty()) largest.push_back({p, code});
  }
  std::partial_sort(
      largest.begin(), largest.begin() + 1000, largest.end(),
      [](const Sample& a, const Sample& b) { return a.place.population > b.place.population; });
  largest.resize(1000);
  for (const auto& [year, month, day] : {std::tuple{1980, 7, 1}, std::tuple{2020, 1, 15}}) {
    double all = 0;
    double same = 0;
    std::vector<std::pair<double, std::string>> others;
    for (const auto& [p, code] : largest) {
      const auto report = PlaceAt(atlas_, p, code, LocalTime{year, month, day, 12, 0, 0});
      ASSERT_TRUE(report) << p.name;
      const LibcZone truth = LibcAtLocal(p.timezone, year, month, day, 12);
      const std::int64_t utc =
          DaysOfCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day)) * 86400 +
          12 * 3600 - truth.offset;
      const std::string cldr = CldrName(p.timezone, utc);
      const auto population = static_cast<double>(p.population);
      all += population;
      if (report->Zone.Name == cldr) {
        same += population;
      } else {
        others.emplace_back(population, p.name + " (" + code + ", " + p.timezone +
                                            "): " + report->Zone.Abbreviation + " \"" +
                                            report->Zone.Name + "\", CLDR \"" + cldr + "\"");
      }
    }
    std::sort(others.rbegin(), others.rend());
    std::cout << year << ": the zone table's name is CLDR's for " << 100.0 * same / all
              << "% of the people of the 1,000 most populous places; the others:\n";
    for (const auto& [population, line] : others)
      std::cout << "  " << static_cast<std::int64_t>(population) << " " << line << "\n";
    EXPECT_GE(same / all, 0.95) << year;
  }
}

#else

TEST_F(DefaultAtlasTest, ZonesAgreeWithTzdataAsTheCLibraryReadsIt) {
  GTEST_SKIP() << "the Windows C library reads no tzdata; the Linux suite compares the zones";
}

#endif  // _WIN32

// Every number a counted country offers is a real history, and no place
// carries one beyond its country's count.
TEST_F(DefaultAtlasTest, CountedCountriesHaveExactlyTheirCountOfTimetables) {
  std::vector<std::string> countries;
  places.FillCountryArray(countries);
  std::size_t counted = 0;
  for (std::size_t i = 1; i < countries.size(); ++i) {
    const auto f = Split(countries[i], '\t');
    ASSERT_GE(f.size(), 3U) << countries[i];
    const std::string code = Trim(std::string(f[2]));
    const std::int32_t count = places.HaveTimetables(code);
    if (count == 0) continue;
    ++counted;
    for (std::int32_t t = 1; t <= count; ++t) {
      EXPECT_GT(places.GetTimeTableArray(code, static_cast<std::int16_t>(t)).size(), 1U)
          << code << " timetable " << t << " is empty";
    }
    EXPECT_EQ(places.GetTimeTableArray(code, static_cast<std::int16_t>(count + 1)).size(), 1U)
        << code;
    std::int32_t error = 0;
    const auto image = ExpandedImage(kAtlas + "/" + code + ".dao", error);
    if (!image) continue;  // a counted code without places (a state GeoNames has none in)
    for (std::size_t at = 0; at + kPlaceRecordSize <= image->size(); at += kPlaceRecordSize) {
      const PlaceRecord r = DecodePlaceRecord(std::string_view(*image).substr(at));
      EXPECT_TRUE(r.Timetable >= 1 && r.Timetable <= count)
          << code << " " << r.TrimmedName() << " has timetable " << r.Timetable;
    }
  }
  EXPECT_GT(counted, 80U);
}

std::size_t LinesOf(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::size_t lines = 0;
  for (std::string line; std::getline(in, line);)
    ++lines;
  return lines;
}

TEST_F(DefaultAtlasTest, ExportedFilesHoldWhatTheAtlasHolds) {
  const auto out = std::filesystem::temp_directory_path() / "tarvplaces-export-check";
  std::filesystem::remove_all(out);
  std::filesystem::create_directories(out);
  ExportPlaces("", out.string());

  std::size_t places_in_files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(kAtlas)) {
    const std::string name = entry.path().filename().string();
    if (entry.path().extension() != ".dao" || name == "ttx.dao" || name == "TTUSA.dao") continue;
    std::int32_t error = 0;
    const auto image = ExpandedImage(entry.path().string(), error);
    ASSERT_TRUE(image) << name;
    places_in_files += image->size() / kPlaceRecordSize;
  }
  std::vector<std::string> countries;
  places.FillCountryArray(countries);
  std::size_t timetable_entries = 0;
  const std::size_t real_countries = countries.size() - 1 - 11;
  for (std::size_t i = 1; i <= real_countries; ++i) {
    const std::string code =
        countries[i].substr(countries[i].find('\t', countries[i].find('\t') + 1) + 1);
    const std::string short_code = code.substr(0, code.find('\t'));
    for (std::int32_t t = 1; t <= places.HaveTimetables(short_code); ++t) {
      timetable_entries +=
          places.GetTimeTableArray(short_code, static_cast<std::int16_t>(t)).size();
    }
  }
  EXPECT_EQ(LinesOf(out / "Countries.txt") - 1, real_countries);
  EXPECT_EQ(LinesOf(out / "Cities.txt") - 1, places_in_files);
  EXPECT_EQ(LinesOf(out / "Zones.txt") - 1, 287U);
  EXPECT_EQ(LinesOf(out / "Timetable.txt") - 1, timetable_entries);
  std::filesystem::remove_all(out);
}

}  // namespace
}  // namespace tarv
