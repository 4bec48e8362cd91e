#include "atlas/place_search.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <optional>

#include "atlas/atlas_fault.h"
#include "atlas/atlas_state.h"
#include "atlas/country_table.h"
#include "atlas/name_index.h"
#include "atlas/name_key.h"
#include "atlas/name_match.h"
#include "atlas/nearest_place.h"
#include "atlas/timetable.h"
#include "atlas/typed_coordinates.h"
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
  const std::uint64_t faults_before = FaultNotes();
  const std::int32_t id = RightTimeZoneId(country, timetable);
  // A zone the timetables could not give is not one to answer again.
  if (call != 0 && known.size() < 4096 && FaultNotes() == faults_before) {
    known.push_back({country, timetable, id});
  }
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
// most prominent first, file order among equals. Among user places, whose
// names are compared letters-only, the one spelled as typed comes first
// ("Testort 2" before "Testort 1").
struct Ranked {
  PlaceList list;
  std::vector<PlaceWeight> weights;
  std::vector<bool> other_names;
};

// Kept from call to call for its room, as the found-place list is.
const Ranked& RankWholeName(const PlaceList& own, const PlaceList& indexed,
                            const std::vector<PlaceWeight>& indexed_weights, const NameQuery& query,
                            std::string_view typed) {
  enum Group { kUser, kKeyed, kLoose };
  struct Candidate {
    std::size_t from;  // into own, then into indexed
    PlaceWeight weight;
    Group group;
    bool other_name;
    bool as_typed = false;  // a user place spelled as typed
  };
  struct Scratch {
    std::vector<Candidate> candidates;
    Ranked ranked;
  };
  Scratch& scratch = PerThread<Scratch>();
  std::vector<Candidate>& candidates = scratch.candidates;
  candidates.clear();
  // The name as the place files compare it: without its closing full stops.
  std::string_view stops_off = typed;
  while (!stops_off.empty() && stops_off.back() == '.')
    stops_off.remove_suffix(1);
  const std::string wanted = Trim(stops_off);
  const auto own_weights = WeightsOf(own.refs);
  for (std::size_t i = 0; i < own.size(); ++i) {
    const Group group = own.refs[i].RecordNo < 0               ? kUser
                        : OwnNameAnswers(own.places[i], query) ? kKeyed
                                                               : kLoose;
    const bool as_typed = group == kUser && TextEqual(own.places[i].TrimmedName(), wanted);
    candidates.push_back({i, own_weights[i], group, false, as_typed});
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
    if (a.as_typed != b.as_typed) return a.as_typed;
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
      const Ranked& ranked = RankWholeName(list, indexed, weights, *own_query, text);
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

}  // namespace tarv
