// The default atlas built from open data, checked against the data it was
// built from: GeoNames for where places are, tzdata for which offset held
// there. tzdata is read by glibc from the very TZif files the builder read
// (the machine's tzdata package, 2025b when this was written; the failure
// messages name the release in use), never by the builder's own reader.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/tzfmt.h>
#include <unicode/tznames.h>
#include <unicode/unistr.h>

#include <cmath>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <tuple>

#include "atlas/atlas_state.h"
#include "atlas/place_file.h"
#include "atlas/posix_tz.h"
#include "atlas/timetable.h"
#include "atlas/zone_history.h"
#include "atlas/zone_map.h"
#include "export/text_export.h"
#include "geonames_atlas_fixture.h"
#include "support/atlas_fixture.h"
#include "support/temp_folder.h"
#include "tarvplaces/atlas.h"
#include "text/lz.h"
#include "tools/machine_tzdata.h"
#include "util/serial_date.h"

namespace tarv {
namespace {

using atlas::GeoPlace;
using testing::AtlasCodeOf;
using testing::JulianAt;
const std::string& kAtlas = testing::kDefaultAtlas;

class DefaultAtlasTest : public testing::GeoNamesAtlasTest {
 protected:
  const Atlas atlas_{kAtlas};
};

// Windows' C library reads no tzdata; the Linux suite compares the zones.
#ifndef _WIN32

using testing::kZoneinfo;
using testing::LibcZone;

// The tzdata release compared with (tzdata.zi's first line, "# version
// 2025b"), and whether it was installed after the atlas was built from the
// release before: a difference may then be the update's, not a fault.
std::string TzdataNote() {
  std::ifstream in(kZoneinfo + "/tzdata.zi");
  std::string note;
  std::getline(in, note);
  struct stat tzdata {};
  struct stat atlas {};
  if (stat((kZoneinfo + "/tzdata.zi").c_str(), &tzdata) == 0 &&
      stat((kAtlas + "/Zones.hst").c_str(), &atlas) == 0 && tzdata.st_ctime > atlas.st_mtime)
    note += ", installed after the atlas was built: rebuild it (scripts/build-atlas.sh)";
  return "tzdata " + note + " in " + kZoneinfo + "\n";
}

class DefaultAtlasZones : public DefaultAtlasTest {
 protected:
  testing::LibcZones tzdata_;
};

// The GeoNames place itself as the public interface gives it, with its zone
// at the local time `when`: the place of its name at its coordinates, the
// name as the atlas stores it (a local name, cut to 28 characters) found
// through the nearest place.
std::optional<PlaceInfo> PlaceAt(const Atlas& atlas, const GeoPlace& p, const std::string& code,
                                 const std::optional<LocalTime>& when = std::nullopt) {
  auto at_coordinates = [&](const std::string& name) -> std::optional<PlaceInfo> {
    for (auto& found : atlas.Search(name, code, when))
      if (std::fabs(found.Longitude - p.longitude) < 1e-4 &&
          std::fabs(found.Latitude - p.latitude) < 1e-4)
        return std::move(found);
    return std::nullopt;
  };
  if (auto found = at_coordinates(p.name)) return found;
  if (auto found = at_coordinates(p.ascii_name)) return found;
  const auto nearest = atlas.Nearest(code, p.longitude, p.latitude, 0.001);
  return nearest ? at_coordinates(nearest->Name) : std::nullopt;
}

// The same as an element of the classic found-place list.
std::optional<std::int32_t> FindPlace(const Atlas& atlas, classPlaces& places, const GeoPlace& p,
                                      const std::string& code) {
  const auto place = PlaceAt(atlas, p, code);
  const auto found = place ? places.GetPlaceDataX(place->Name, code) : 0;
  for (std::int32_t i = 0; i < found; ++i) {
    const auto f = places.GetPlaceDataOfId(i);
    if (std::fabs(std::stod(f[2]) - p.longitude) < 1e-4 &&
        std::fabs(std::stod(f[3]) - p.latitude) < 1e-4)
      return i;
  }
  return std::nullopt;
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
  for (std::set<std::size_t> taken; sample.size() < count;) {
    const std::size_t i = pick(rng);
    if (const std::string code = AtlasCodeOf(all[i]); !code.empty() && taken.insert(i).second)
      sample.push_back({all[i], code});
  }
  return sample;
}

// At a random local noon of each place: the offset and local-mean-time flag
// the atlas gives the place (its own history), and those of the timetable it
// files it under where that keeps the place's zone (not a merged history).
// Timetables end with 2037; later years follow the rule of their last ones.
// The place's zone is GeoNames' unless the zone boundaries gave it another
// of its country's (the zone map's acceptance check holds that choice
// against the boundaries); those stay few.
TEST_F(DefaultAtlasZones, EveryPlaceAndItsTimetableHaveTheOffsetsOfItsOwnZone) {
  std::mt19937 rng(2026);
  const auto sample = RandomPlaces(*places_, 3000, rng);
  std::vector<std::string> zones;
  std::size_t not_geonames = 0;
  for (const auto& [p, code] : sample) {
    const auto place = PlaceAt(atlas_, p, code, LocalTime{});
    zones.push_back(place && !place->Iana.empty() ? place->Iana : p.timezone);
    not_geonames += zones.back() != p.timezone;
  }
  EXPECT_LT(not_geonames, sample.size() / 100);
  std::uniform_int_distribution<int> day(0, 364);
  for (const auto& [first, last] : {std::pair{1900, 1999}, {2000, 2037}, {2038, 2100}}) {
    std::uniform_int_distribution<int> year(first, last);
    std::size_t timetables = 0;
    std::vector<std::string> wrong;
    for (std::size_t i = 0; i < sample.size(); ++i) {
      const auto& [p, code] = sample[i];
      const std::string& zone = zones[i];
      const CalendarTime date = CalendarOfSerial(SerialOfDate(year(rng), 1, 1 + day(rng)));
      const double noon = SerialOfDate(date.year, date.month, date.day) + 0.5;
      const LibcZone truth = tzdata_.AtLocal(zone, date.year, date.month, date.day, 12);
      const std::string what = p.name + " (" + code + ", " + zone + ") " + DateTimeText(noon);
      auto expect = [&](const std::string& source, bool lmt, double hours) {
        if (lmt == truth.lmt() && (lmt || std::lround(hours * 3600.0) == truth.offset)) return;
        wrong.push_back(what + " " + source + ": " + (lmt ? "LMT" : std::to_string(hours)) +
                        " h, tzdata " + truth.abbreviation + " " + std::to_string(truth.offset));
      };
      const auto element = FindPlace(atlas_, places, p, code);
      if (!element) {
        wrong.push_back(what + ": not found");
        continue;
      }
      bool lmt = false;
      double hours = 0;
      const auto fields = places.GetPlaceDataOfId(
          *element, JulianAt(date.year, date.month, date.day, 12), &lmt, &hours);
      expect("place", lmt, hours);
      if (date.year > 2037) continue;
      const auto timetable =
          static_cast<std::int16_t>(places.HaveTimetables(code) > 0 ? std::stoi(fields.at(4)) : 0);
      const auto kept = TimetableHistoryAt(code, timetable, noon);
      if (!kept || kept->zone_name != zone) continue;
      ++timetables;
      const auto at = ZoneAt(code, timetable, noon);
      ASSERT_TRUE(at) << what;
      expect("timetable " + std::to_string(timetable), at->zone_id == 0, at->zone.TZDif);
    }
    std::cout << first << "-" << last << ": " << sample.size() << " places, " << timetables
              << " timetables keeping their zone; wrong " << wrong.size() << "\n";
    EXPECT_TRUE(wrong.empty()) << TzdataNote() << ::testing::PrintToString(wrong);
    EXPECT_TRUE(last > 2037 || timetables > 2900) << timetables;
  }
}

// A change of offset in `zone` within `year`, found by glibc day by day and
// then to the second.
struct Change {
  std::int64_t at;
  long before, after;
};
std::optional<Change> ChangeInYear(testing::LibcZones& tzdata, const std::string& zone, int year,
                                   std::mt19937& rng) {
  const auto start = static_cast<std::int64_t>(DaysOfCivil(year, 1, 1) * 86400);
  std::vector<std::int64_t> days;
  LibcZone previous = tzdata.AtUtc(zone, start);
  for (int d = 1; d <= 366; ++d) {
    const LibcZone now = tzdata.AtUtc(zone, start + d * 86400LL);
    if (now.offset != previous.offset && !now.lmt() && !previous.lmt()) days.push_back(d);
    previous = now;
  }
  if (days.empty()) return std::nullopt;
  const std::int64_t d = days[std::uniform_int_distribution<std::size_t>(0, days.size() - 1)(rng)];
  std::int64_t low = start + (d - 1) * 86400;  // still the old offset
  std::int64_t high = start + d * 86400;       // already the new one
  const long before = tzdata.AtUtc(zone, low).offset;
  while (high - low > 1) {
    const std::int64_t mid = low + (high - low) / 2;
    (tzdata.AtUtc(zone, mid).offset == before ? low : high) = mid;
  }
  return Change{high, before, tzdata.AtUtc(zone, high).offset};
}

// A minute before the earlier reading of a change, a minute after the later
// one, and in the middle of the hour the clocks skipped or repeated, which
// tells both readings or the gap.
TEST_F(DefaultAtlasZones, ChangesOfOffsetAreWhereTzdataPutsThem) {
  std::mt19937 rng(25);
  const auto sample = RandomPlaces(*places_, 3000, rng);
  std::uniform_int_distribution<std::size_t> pick(0, sample.size() - 1);
  std::uniform_int_distribution<int> year(1900, 2100);
  std::size_t checked = 0;
  std::vector<std::string> wrong;
  for (int tries = 0; checked < 300 && tries < 20000; ++tries) {
    const auto& [p, code] = sample[pick(rng)];
    // The zone the atlas gives the place (the boundaries' where they decide).
    const auto own = PlaceAt(atlas_, p, code, LocalTime{});
    const std::string zone = own && !own->Iana.empty() ? own->Iana : p.timezone;
    const auto change = ChangeInYear(tzdata_, zone, year(rng), rng);
    if (!change) continue;
    ++checked;
    const std::int64_t early = change->at + std::min(change->before, change->after);
    const std::int64_t late = change->at + std::max(change->before, change->after);
    auto report = [&](std::int64_t local) {  // wall-clock seconds since 1970
      const auto t = static_cast<std::time_t>(local);
      std::tm tm{};
      gmtime_r(&t, &tm);
      return PlaceAt(atlas_, p, code,
                     LocalTime{tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min,
                               tm.tm_sec});
    };
    const auto [before, middle, after] =
        std::tuple(report(early - 60), report((early + late) / 2), report(late + 60));
    ASSERT_TRUE(before && after && middle) << p.name;
    const auto kind =
        change->after > change->before ? LocalTimeKind::kSkipped : LocalTimeKind::kRepeated;
    const auto seconds = [](const auto& r) { return std::lround(r->Zone.UtcOffsetHours * 3600); };
    const auto text = [&](const auto& r) {
      return std::to_string(seconds(r)) + " " + LocalTimeName(r->LocalTime);
    };
    // The middle tells both clocks: the two readings of a repeated time,
    // earlier first, or the gap of a skipped one, to the second.
    auto at_second = [](const LocalTime& t) {
      return static_cast<std::int64_t>(DaysOfCivil(t.Year, static_cast<unsigned>(t.Month),
                                                   static_cast<unsigned>(t.Day))) *
                 86400 +
             t.Hour * 3600 + t.Minute * 60 + t.Second;
    };
    const bool told =
        kind == LocalTimeKind::kSkipped
            ? middle->Readings.empty() && middle->Gap && at_second(middle->Gap->From) == early &&
                  at_second(middle->Gap->To) == late &&
                  std::lround(middle->Gap->OffsetBeforeHours * 3600) == change->before &&
                  std::lround(middle->Gap->OffsetAfterHours * 3600) == change->after
            : !middle->Gap && middle->Readings.size() == 2 &&
                  std::lround(middle->Readings[0].Zone.UtcOffsetHours * 3600) == change->before &&
                  std::lround(middle->Readings[1].Zone.UtcOffsetHours * 3600) == change->after &&
                  middle->Readings[0].Zone.Id == middle->Zone.Id;
    if (seconds(before) != change->before || seconds(after) != change->after ||
        before->LocalTime != LocalTimeKind::kNormal || after->LocalTime != LocalTimeKind::kNormal ||
        middle->LocalTime != kind || !told) {
      wrong.push_back(p.name + " (" + zone + ") at " + std::to_string(change->at) + " " +
                      std::to_string(change->before) + " -> " + std::to_string(change->after) +
                      ": " + text(before) + ", " + text(middle) + (told ? "" : " untold") + ", " +
                      text(after));
    }
  }
  std::cout << "changes of offset checked: " << checked << ", wrong " << wrong.size() << "\n";
  EXPECT_EQ(checked, 300U);
  EXPECT_TRUE(wrong.empty()) << TzdataNote() << ::testing::PrintToString(wrong);
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
  std::int32_t raw = 0, dst = 0;
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

TEST_F(DefaultAtlasZones, MostPeopleReadTheNameCldrGivesTheirZone) {
  std::vector<Sample> largest;
  for (const auto& p : *places_) {
    if (const std::string code = AtlasCodeOf(p); !code.empty()) largest.push_back({p, code});
  }
  std::partial_sort(
      largest.begin(), largest.begin() + 1000, largest.end(),
      [](const Sample& a, const Sample& b) { return a.place.population > b.place.population; });
  largest.resize(1000);
  for (const auto& [year, month, day] : {std::tuple{1980, 7, 1}, std::tuple{2020, 1, 15}}) {
    double all = 0, same = 0;
    std::vector<std::pair<double, std::string>> others;
    for (const auto& [p, code] : largest) {
      const auto report = PlaceAt(atlas_, p, code, LocalTime{year, month, day, 12, 0, 0});
      ASSERT_TRUE(report) << p.name;
      const std::int64_t utc =
          DaysOfCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day)) * 86400 +
          12 * 3600 - tzdata_.AtLocal(p.timezone, year, month, day, 12).offset;
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

#endif  // _WIN32

// Every number a counted country offers is a real history, and no place
// carries one beyond its country's count.
TEST_F(DefaultAtlasTest, CountedCountriesHaveExactlyTheirCountOfTimetables) {
  std::size_t counted = 0;
  for (const CountryInfo& country : atlas_.Countries()) {
    const std::string& code = country.Code;
    const std::int32_t count = places.HaveTimetables(code);
    if (country.IsGroup || count == 0) continue;
    ++counted;
    for (std::int32_t t = 1; t <= count; ++t)
      EXPECT_GT(places.GetTimeTableArray(code, static_cast<std::int16_t>(t)).size(), 1U)
          << code << " timetable " << t << " is empty";
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

// One line per place of the files, per country (not the continents, the
// USA or the lines that gather islands), per zone of the table and per entry
// of every timetable, below the line of headings.
TEST_F(DefaultAtlasTest, ExportedFilesHoldWhatTheAtlasHolds) {
  const testing::TempFolder out;
  ExportPlaces("", out.str());
  std::size_t places_in_files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(kAtlas)) {
    const std::string name = entry.path().filename().string();
    if (entry.path().extension() != ".dao" || name == "ttx.dao" || name == "TTUSA.dao") continue;
    std::int32_t error = 0;
    const auto image = ExpandedImage(entry.path().string(), error);
    ASSERT_TRUE(image) << name;
    places_in_files += image->size() / kPlaceRecordSize;
  }
  std::size_t countries = 0, timetable_entries = 0;
  for (const CountryInfo& country : atlas_.Countries()) {
    if (country.IsGroup || country.Iso.empty()) continue;  // the lines that gather islands
    ++countries;
    for (std::int16_t t = 1; t <= country.Timetables; ++t)
      timetable_entries += places.GetTimeTableArray(country.Code, t).size();
  }
  const auto lines = [&](const char* file) {  // below the headings
    std::ifstream in(out.path() / file, std::ios::binary);
    return static_cast<std::size_t>(std::count(std::istreambuf_iterator<char>(in), {}, '\n')) - 1;
  };
  EXPECT_EQ(std::tuple(lines("Countries.txt"), lines("Cities.txt"), lines("Zones.txt"),
                       lines("Timetable.txt")),
            std::tuple(countries, places_in_files, CurrentAtlas().zones.size(), timetable_entries));
}

#ifndef _WIN32  // PlaceAt and RandomPlaces live with the C library's zone tests
// The zones near a place, against the map itself: points on rings around
// the place, 100 m apart out to 5 km, each asked which zone holds it. A
// place is near a zone line keeping another clock when some point within
// 5 km lies in a zone with another offset at the instant asked. Where the
// two disagree the rings are drawn 10 m apart before it counts; the
// builder's simplification leaves slivers of open sea (under 500 m wide)
// between neighbouring zones, which the atlas does not count as sea.
TEST_F(DefaultAtlasZones, NearZoneLinesAgreeWithTheMapAroundThePlace) {
  auto read = [](const std::string& file) {
    std::ifstream in(kAtlas + "/" + file, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::int32_t error = 0;
    return ExpandSzdd(bytes, error);
  };
  if (!std::filesystem::exists(kAtlas + "/" + kZoneMapFile)) GTEST_SKIP() << "no zone map";
  const ZoneHistories histories(read(kZoneHistoryFile), kZoneHistoryFile, 4096);
  const ZoneMap map(read(kZoneMapFile), kZoneMapFile, histories.size());
  std::map<std::string, std::uint16_t> number;
  for (std::size_t i = 0; i < histories.size(); ++i)
    number[histories[i].name] = static_cast<std::uint16_t>(i);
  constexpr double kMetersPerDegree = 6'371'008.8 * 3.14159265358979323846 / 180.0;
  // The nearest sampled point whose zone keeps another clock: its zone, metres.
  auto sampled = [&](double lon, double lat, std::int32_t offset, std::int64_t utc, double step,
                     int bearings) -> std::optional<std::pair<std::string, double>> {
    for (double r = step; r <= kNearZoneMeters; r += step) {
      for (int b = 0; b < bearings; ++b) {
        const double angle = 2 * 3.14159265358979323846 * b / bearings;
        const double x = lon + r * std::sin(angle) / (kMetersPerDegree * std::cos(lat * 0.0174533));
        const double y = lat + r * std::cos(angle) / kMetersPerDegree;
        if (std::fabs(y) > 90) continue;
        const auto zone = map.ZoneAt(x > 180 ? x - 360 : (x < -180 ? x + 360 : x), y);
        if (zone && histories.AtUtc(*zone, utc).utc_offset != offset)
          return std::pair(histories[*zone].name, r);
      }
    }
    return std::nullopt;
  };
  std::mt19937 rng(33);
  const auto sample = RandomPlaces(*places_, 1000, rng);
  const LocalTime when{2020, 1, 15, 12, 0, 0};
  std::size_t near = 0, agree = 0, slivers = 0;
  std::vector<std::string> wrong;
  for (const auto& [p, code] : sample) {
    const auto place = PlaceAt(atlas_, p, code, when);
    ASSERT_TRUE(place) << p.name;
    if (!number.count(place->Iana)) continue;
    const auto offset = static_cast<std::int32_t>(std::lround(place->Zone.UtcOffsetHours * 3600));
    const std::int64_t utc = (DaysOfCivil(2020, 1, 15) * 86400 + 12 * 3600) - offset;
    const bool flagged = !place->NearbyZones.empty();
    auto found = sampled(place->Longitude, place->Latitude, offset, utc, 100, 72);
    if (flagged != found.has_value())
      found = sampled(place->Longitude, place->Latitude, offset, utc, 10, 720);
    near += flagged;
    if (flagged == found.has_value()) {
      ++agree;
    } else if (found && found->first.starts_with("Etc/")) {
      ++slivers;
    } else {
      wrong.push_back(p.name + " (" + code + ", " + place->Iana + "): atlas " +
                      (flagged ? place->NearbyZones[0].Iana : std::string("nothing")) + ", map " +
                      (found ? found->first + " at " + std::to_string(found->second) + " m"
                             : std::string("nothing")));
    }
  }
  std::cout << sample.size() << " places: " << near << " near a zone keeping another clock on "
            << "2020-01-15; " << agree << " agree with the map sampled around them, " << slivers
            << " see only a sliver of open sea, " << wrong.size() << " disagree\n";
  EXPECT_TRUE(wrong.empty()) << ::testing::PrintToString(wrong);
}
#endif  // _WIN32

}  // namespace
}  // namespace tarv
