#include "atlas/place_search.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <optional>

#include "atlas/atlas_state.h"
#include "atlas/country_table.h"
#include "atlas/name_index.h"
#include "atlas/name_key.h"
#include "atlas/name_match.h"
#include "atlas/nearest_place.h"
#include "atlas/timetable.h"
#include "atlas/zone_table.h"
#include "platform/file_status.h"
#include "platform/per_thread.h"
#include "text/codepage.h"
#include "util/degrees.h"

namespace tarv {
namespace {

// The zone a host gets with a found place: the standard zone its timetable
// ends on (the country's base zone where it has no history). Kept per
// country and timetable for as long as the files and tables are the same.
std::int32_t ZoneOfPlace(std::string_view code, std::int16_t timetable) {
  struct Known {
    std::string code;
    std::int16_t timetable;
    std::int32_t id;
  };
  std::vector<Known>& known = PerThread<std::vector<Known>>();
  thread_local std::uint64_t known_call = 0;
  thread_local std::uint64_t known_tables = 0;
  const std::uint64_t call = CallNumber();
  if (call == 0 || call != known_call || CurrentAtlas().tables_version != known_tables) {
    known.clear();
    known_call = call;
    known_tables = CurrentAtlas().tables_version;
  }
  for (const auto& k : known) {
    if (k.timetable == timetable && k.code == code) return k.id;
  }
  const std::string country(code);
  const std::int32_t id = RightTimeZoneId(country, timetable);
  if (call != 0 && known.size() < 4096) known.push_back({country, timetable, id});
  return id;
}

}  // namespace

void MakeFoundPlaces(const PlaceList& list, std::string_view default_code,
                     std::vector<FoundPlace>& found, const std::vector<PlaceWeight>& weights,
                     const std::vector<bool>& other_names) {
  found.resize(list.size());
  for (std::size_t i = 0; i < list.size(); ++i) {
    FoundPlace& f = found[i];
    const std::string_view country =
        list.refs[i].Country.empty() ? default_code : std::string_view(list.refs[i].Country);
    f.Country.assign(country);
    f.Place = list.places[i];
    f.RecordNo = list.refs[i].RecordNo;
    f.Longitude = f.Place.Longitude;
    f.Latitude = f.Place.Latitude;
    f.ZoneId = ZoneOfPlace(country, f.Place.Timetable);
    f.Population = i < weights.size() ? weights[i].population : 0;
    f.OtherName = i < other_names.size() && other_names[i];
  }
}

namespace {

// The places a whole name finds, ranked: what the place files found by the
// places' own names (`list`, in file order) and what the name index found,
// each place once. User places come first; then the database places whose
// name, or other name, has the typed key; then those the place files' looser
// test let in, which ignores digits ("Sector 3" for "Sector 1"); each group
// most prominent first, file order among equals.
struct Ranked {
  PlaceList list;
  std::vector<PlaceWeight> weights;
  std::vector<bool> other_names;
};

// Kept from call to call for its room, as the found-place list is.
const Ranked& RankWholeName(const PlaceList& own, const PlaceList& indexed,
                            const std::vector<PlaceWeight>& indexed_weights,
                            const NameQuery& query) {
  enum Group { kUser, kKeyed, kLoose };
  struct Candidate {
    std::size_t from;  // into own, then into indexed
    PlaceWeight weight;
    Group group;
    bool other_name;
  };
  struct Scratch {
    std::vector<Candidate> candidates;
    Ranked ranked;
  };
  Scratch& scratch = PerThread<Scratch>();
  std::vector<Candidate>& candidates = scratch.candidates;
  candidates.clear();
  const auto own_weights = WeightsOf(own.refs);
  for (std::size_t i = 0; i < own.size(); ++i) {
    const Group group = own.refs[i].RecordNo < 0               ? kUser
                        : OwnNameAnswers(own.places[i], query) ? kKeyed
                                                               : kLoose;
    candidates.push_back({i, own_weights[i], group, false});
  }
  for (std::size_t i = 0; i < indexed.size(); ++i) {
    const PlaceRef& ref = indexed.refs[i];
    const auto known = std::find_if(own.refs.begin(), own.refs.end(), [&ref](const PlaceRef& r) {
      return r.RecordNo == ref.RecordNo && TextEqual(r.Country, ref.Country);
    });
    if (known != own.refs.end()) {
      // Found loosely by its own name, and by the key too.
      candidates[static_cast<std::size_t>(known - own.refs.begin())].group = kKeyed;
      continue;
    }
    candidates.push_back(
        {own.size() + i, indexed_weights[i], kKeyed, !OwnNameAnswers(indexed.places[i], query)});
  }
  // File order (`from`) among equals.
  std::sort(candidates.begin(), candidates.end(), [](const Candidate& a, const Candidate& b) {
    if (a.group != b.group) return a.group < b.group;
    if (a.group != kUser && a.weight.Prominence() != b.weight.Prominence())
      return a.weight.Prominence() > b.weight.Prominence();
    return a.from < b.from;
  });
  Ranked& ranked = scratch.ranked;
  ranked.list.clear();
  ranked.weights.clear();
  ranked.other_names.clear();
  for (const auto& c : candidates) {
    const bool is_own = c.from < own.size();
    const PlaceList& from = is_own ? own : indexed;
    const std::size_t at = is_own ? c.from : c.from - own.size();
    ranked.list.Add(from.places[at], from.refs[at]);
    ranked.weights.push_back(c.weight);
    ranked.other_names.push_back(c.other_name);
  }
  return ranked;
}

// The two parts of a text that reads as coordinates, or nullopt.
std::optional<std::pair<std::string, std::string>> CoordinateParts(std::string_view text) {
  std::vector<std::string> parts;
  std::string current;
  for (const char c : text) {
    if (c == ' ' || c == ';' || c == '\t') {
      if (!current.empty()) parts.push_back(std::move(current));
      current.clear();
    } else {
      current += c;
    }
  }
  if (!current.empty()) parts.push_back(std::move(current));
  if (parts.size() == 1 && std::count(parts[0].begin(), parts[0].end(), ',') == 1 &&
      parts[0].find('.') != std::string::npos) {
    const auto comma = parts[0].find(',');
    parts = {parts[0].substr(0, comma), parts[0].substr(comma + 1)};
  }
  if (parts.size() != 2) return std::nullopt;
  for (const auto& part : parts) {
    if (part.find_first_of("0123456789") == std::string::npos) return std::nullopt;
    for (const char c : part) {
      if (IsNumber(c) ||
          std::string_view("NSEWOnsewo+-'\"\xB0").find(c) != std::string_view::npos) {
        continue;
      }
      return std::nullopt;
    }
  }
  return std::make_pair(parts[0], parts[1]);
}

bool HasLetterOf(const std::string& part, std::string_view letters) {
  return part.find_first_of(letters) != std::string::npos;
}

// The box around the places of a country's file pair, widened by a margin
// for places the atlas lacks near its borders; nullopt without places.
struct Extent {
  double west, east, south, north;
  bool Holds(double longitude, double latitude) const {
    return longitude >= west && longitude <= east && latitude >= south && latitude <= north;
  }
};

std::optional<Extent> ExtentOf(std::string_view code) {
  constexpr double kMarginDegrees = 0.5;
  PlaceList list;
  if (Read_Cp_ORTE(GetCompressedPlaceFile(code), list) <= 0) return std::nullopt;
  Extent e{180.0, -180.0, 90.0, -90.0};
  bool any = false;
  for (const auto& p : list.places) {
    if (!std::isfinite(p.Longitude) || !std::isfinite(p.Latitude)) continue;
    e.west = std::min(e.west, static_cast<double>(p.Longitude));
    e.east = std::max(e.east, static_cast<double>(p.Longitude));
    e.south = std::min(e.south, static_cast<double>(p.Latitude));
    e.north = std::max(e.north, static_cast<double>(p.Latitude));
    any = true;
  }
  if (!any) return std::nullopt;
  return Extent{e.west - kMarginDegrees, e.east + kMarginDegrees, e.south - kMarginDegrees,
                e.north + kMarginDegrees};
}

// Hemisphere letters say which part is which. Without them, the reading
// (latitude first or longitude first) that lies inside the country's extent
// counts, latitude first when both do; when neither does there is no place
// to name, rather than the nearest one of a far corner.
std::optional<NearestPlace> NearestToCoordinates(std::string_view code, std::string_view text) {
  const auto parts = CoordinateParts(text);
  if (!parts) return std::nullopt;
  auto [first, second] = *parts;
  const bool lettered = HasLetterOf(first, "NSEWOnsewo") || HasLetterOf(second, "NSEWOnsewo");
  if (HasLetterOf(first, "EWOewo") || HasLetterOf(second, "NSns")) std::swap(first, second);
  double latitude = SignedDecOfString(first);
  // "O" (Ost) contains no minus sign of its own; "W" and "S" do.
  double longitude = SignedDecOfString(second);
  if (!lettered) {
    const auto extent = ExtentOf(code);
    if (!extent) return std::nullopt;
    const bool as_typed = std::fabs(latitude) <= 90.0 && extent->Holds(longitude, latitude);
    const bool swapped = std::fabs(longitude) <= 90.0 && extent->Holds(latitude, longitude);
    if (!as_typed && !swapped) return std::nullopt;
    if (!as_typed) std::swap(latitude, longitude);
  }
  if (std::fabs(latitude) > 90.0 || std::fabs(longitude) > 180.0) return std::nullopt;
  return FindNearestPlace(code, longitude, latitude, 0.0);
}

}  // namespace

// The most places a search keeps room for between calls.
constexpr std::size_t kKeptRoom = 4096;

std::int32_t SearchandStorePlaces(std::string_view code, std::string_view search,
                                  const NameQuery* query) {
  return SearchPlaces(code, search, query, CurrentAtlas().found_places);
}

std::int32_t SearchPlaces(std::string_view code, std::string_view search, const NameQuery* query,
                          std::vector<FoundPlace>& found_places) {
  auto StoreFound = [&found_places](const PlaceList& list, std::string_view default_code,
                                    const std::vector<PlaceWeight>& weights = {},
                                    const std::vector<bool>& other_names = {}) {
    MakeFoundPlaces(list, default_code, found_places, weights, other_names);
  };
  const std::string mapped = GetInternalCountryAbbreviation(code);
  const std::string file = GetCompressedPlaceFile(mapped);
  const std::string text = Trim(search);
  // Kept from call to call for its room: a warm search allocates nothing per
  // place it finds.
  PlaceList& list = PerThread<PlaceList>();
  list.clear();
  // A file that cannot be read makes the search find nothing rather than
  // what the other files hold: the reader noted it as the call's fault.
  auto failed = [&](std::int32_t result) {
    if (result >= 0) return false;
    StoreFound(PlaceList{}, mapped);
    return true;
  };
  if (text == "*") {
    if (failed(Read_Cp_ORTE(file, list))) return 0;
    StoreFound(list, mapped);
    const auto found = static_cast<std::int32_t>(list.size());
    list = PlaceList{};
    return found;
  }
  // First the exact or prefix search; a trailing "?" asks for the beginning.
  std::string first = text;
  while (!first.empty() && first.back() == '?')
    first.pop_back();
  if (first.size() != text.size()) first += '*';
  if (failed(Read_Cp_Indexed_City(file, first, list, 0))) return 0;
  if (list.size() == 0 && failed(Read_Cp_Indexed_City(file, text, list, 1))) return 0;
  const std::optional<NameQuery> own_query =
      query ? std::optional<NameQuery>(*query) : NameQueryOf(first);
  const bool whole_name = text.find_first_of("*?[") == std::string::npos;
  if (whole_name && own_query) {
    // The place people mean may be known by this name without bearing it.
    struct Scratch {
      PlaceList indexed;
      std::vector<PlaceWeight> weights;
    };
    Scratch& scratch = PerThread<Scratch>();
    PlaceList& indexed = scratch.indexed;
    std::vector<PlaceWeight>& weights = scratch.weights;
    indexed.clear();
    weights.clear();
    SearchNameIndex(mapped, *own_query, indexed, &weights);
    // The one place found by its own name and by nothing else: nothing to
    // rank.
    const bool alone = list.size() == 1 && indexed.size() == 1 &&
                       indexed.refs[0].RecordNo == list.refs[0].RecordNo &&
                       TextEqual(indexed.refs[0].Country,
                                 list.refs[0].Country.empty() ? mapped : list.refs[0].Country);
    if (alone) {
      StoreFound(list, mapped, weights);
      return 1;
    }
    if (indexed.size() > 0 || list.size() > 1) {
      const Ranked& ranked = RankWholeName(list, indexed, weights, *own_query);
      StoreFound(ranked.list, mapped, ranked.weights, ranked.other_names);
      return static_cast<std::int32_t>(ranked.list.size());
    }
  } else if (list.size() == 0 && own_query) {
    // Other names (exonyms, transcriptions, other scripts) of beginnings
    // only when the place files' own names found nothing.
    std::vector<PlaceWeight> weights;
    SearchNameIndex(mapped, *own_query, list, &weights);
    std::vector<bool> other_names;
    for (const auto& place : list.places)
      other_names.push_back(!OwnNameAnswers(place, *own_query));
    StoreFound(list, mapped, weights, other_names);
    return static_cast<std::int32_t>(list.size());
  }
  if (list.size() == 0) {
    if (const auto nearest = NearestToCoordinates(mapped, text)) {
      list.Add(nearest->place, nearest->ref);
    }
  }
  StoreFound(list, mapped, WeightsOf(list.refs));
  const auto found = static_cast<std::int32_t>(list.size());
  if (list.places.capacity() > kKeptRoom) list = PlaceList{};  // "*" over a continent
  return found;
}

const std::vector<FoundPlace>& FoundPlaces() {
  return CurrentAtlas().found_places;
}

std::int32_t SearchPlacesInForm(PlaceListControl& control, std::string_view search,
                                std::string_view code, std::int32_t& places_found,
                                std::int32_t& places_added, const NameQuery* query) {
  const std::string mapped = GetInternalCountryAbbreviation(code);
  places_found = SearchandStorePlaces(mapped, search, query);
  control.Clear();
  const bool group = GetContinentID(mapped) != 0;
  auto& found = CurrentAtlas().found_places;
  for (places_added = 0; places_added < places_found; ++places_added) {
    FoundPlace& f = found[static_cast<std::size_t>(places_added)];
    const std::string name = f.Place.TrimmedName();
    f.Place.SetName(name);
    control.AddItem(group ? name + " (" + f.Country + ")" : name);
    control.ItemData(control.NewIndex(), places_added);
  }
  return places_found;
}

namespace {

// The closing bracket of a "[...]" set opened at `open`, or npos when the
// "[" stands for itself.
std::size_t SetEnd(std::string_view text, std::size_t open) {
  return text[open] == '[' ? text.find(']', open + 1) : std::string_view::npos;
}

bool HasSet(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (SetEnd(text, i) != std::string_view::npos) return true;
  }
  return false;
}

// The accent-folding pattern of a text with sets, as the pattern search
// builds it (letters folded up to the first "*" or "?", blanks, brackets,
// full stops and commas dropped), but with every set taken as typed: the
// pattern search would fold the letters inside a set too and so break it.
std::string PatternWithSets(std::string_view text) {
  std::string pattern;
  bool wildcard_seen = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (const std::size_t end = SetEnd(text, i); end != std::string_view::npos) {
      pattern += text.substr(i, end - i + 1);
      i = end;
      continue;
    }
    if (std::string_view(" ().,").find(c) != std::string_view::npos) continue;
    if (c == '*' || c == '?') wildcard_seen = true;
    pattern += wildcard_seen ? std::string(1, c) : GetSearchString("]" + std::string(1, c));
  }
  return pattern;
}

// The places of `file` matching a pattern with sets: the pattern search for
// what precedes the first set (it reads the same index run and finds every
// place the whole pattern can match), narrowed by the whole pattern.
// Returns the reader's negative LZ error code, else 0.
std::int32_t ReadWithSets(const std::string& file, const std::string& text, PlaceList& list) {
  PlaceList candidates;
  std::size_t first_set = 0;
  while (SetEnd(text, first_set) == std::string_view::npos)
    ++first_set;
  const std::int32_t read =
      Read_Cp_Indexed_City(file, text.substr(0, first_set) + '*', candidates, 1);
  if (read < 0) return read;
  const WildcardPattern pattern(PatternWithSets(text));
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    if (pattern.Matches(GetCleanString(candidates.places[i].TrimmedName()))) {
      list.Add(candidates.places[i], candidates.refs[i]);
    }
  }
  return 0;
}

// Adds to `list` (a country's or group's places in file order) the places the
// name index finds for `query` that it lacks, each in its place of that
// order: after its country's user places, among its database places by
// record number. Returns, item by item, whether it came by another name.
std::vector<bool> AddPlacesOfOtherNames(std::string_view code, const NameQuery& query,
                                        PlaceList& list) {
  PlaceList indexed;
  SearchNameIndex(code, query, indexed);
  std::vector<bool> other(list.size(), false);
  for (std::size_t i = 0; i < indexed.size(); ++i) {
    const PlaceRef& ref = indexed.refs[i];
    auto same_country = [&ref](const PlaceRef& r) { return TextEqual(r.Country, ref.Country); };
    if (std::any_of(list.refs.begin(), list.refs.end(), [&](const PlaceRef& r) {
          return r.RecordNo == ref.RecordNo && same_country(r);
        })) {
      continue;
    }
    // The first database place of its country after it, else the end of its
    // country's places, else the end.
    std::size_t at = list.size();
    bool country_seen = false;
    for (std::size_t k = 0; k < list.size(); ++k) {
      if (!same_country(list.refs[k])) {
        if (country_seen) {
          at = k;
          break;
        }
        continue;
      }
      country_seen = true;
      if (list.refs[k].RecordNo > ref.RecordNo) {
        at = k;
        break;
      }
      at = k + 1;
    }
    list.places.insert(list.places.begin() + static_cast<std::ptrdiff_t>(at), indexed.places[i]);
    list.refs.insert(list.refs.begin() + static_cast<std::ptrdiff_t>(at), ref);
    other.insert(other.begin() + static_cast<std::ptrdiff_t>(at),
                 !OwnNameAnswers(indexed.places[i], query));
  }
  return other;
}

}  // namespace

std::int32_t Fill_SuchOrtListe(std::string_view code, std::string& search,
                               PlaceListControl& control, bool prefix,
                               std::vector<bool>* other_names, const NameQuery* query) {
  const std::string mapped = GetInternalCountryAbbreviation(code);
  search = Trim(search);
  std::string text = search;
  // A "*" before the end is a wildcard inside the name, not "the beginning".
  const auto star = text.find('*');
  const bool pattern = text.find_first_of("?[") != std::string::npos ||
                       (star != std::string::npos && star + 1 < text.size());
  if (prefix && !pattern && (text.empty() || text.back() != '*')) text += '*';
  const std::string file = GetCompressedPlaceFile(mapped);
  PlaceList list;
  std::int32_t result = 0;
  if (text == "*") {
    result = Read_Cp_ORTE(file, list);
  } else if (HasSet(text)) {
    result = ReadWithSets(file, text, list);
  } else {
    result = Read_Cp_Indexed_City(file, text, list, pattern ? 1 : 0);
  }
  if (result < 0) list = PlaceList{};  // noted as the call's fault
  std::vector<bool> by_other_name(list.size(), false);
  if (result >= 0 && other_names != nullptr && text != "*" && !pattern) {
    if (const auto asked = query ? std::optional<NameQuery>(*query) : NameQueryOf(text)) {
      by_other_name = AddPlacesOfOtherNames(mapped, *asked, list);
    }
  }
  if (other_names != nullptr) *other_names = by_other_name;
  control.Clear();
  const bool group = GetContinentID(mapped) != 0;
  for (std::size_t i = 0; i < list.size(); ++i) {
    const auto& place = list.places[i];
    std::string item = place.TrimmedName() + '\t' +
                       DegreeStringOfDec(place.Longitude, kLongitudeFlags) + '\t' +
                       DegreeStringOfDec(place.Latitude, kLatitudeFlags);
    if (group) item += '\t' + list.refs[i].Country;
    control.AddItem(item);
    control.ItemData(control.NewIndex(), list.refs[i].RecordNo);
  }
  return static_cast<std::int32_t>(list.size());
}

}  // namespace tarv
