#include "atlas/place_list.h"

#include <algorithm>

#include "atlas/atlas_state.h"
#include "atlas/country_table.h"
#include "atlas/name_index.h"
#include "atlas/name_match.h"
#include "atlas/place_file.h"
#include "atlas/place_search.h"
#include "text/codepage.h"
#include "util/degrees.h"
#include "util/text.h"

namespace tarv {

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
