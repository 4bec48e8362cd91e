#include "atlas/world_search.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <queue>
#include <unordered_map>

#include "atlas/atlas_fault.h"
#include "atlas/atlas_state.h"
#include "atlas/country_table.h"
#include "atlas/place_file.h"
#include "atlas/place_search.h"
#include "platform/file_status.h"
#include "platform/per_thread.h"
#include "text/lz.h"
#include "util/text.h"

namespace tarv {
namespace {

struct IndexedCountry {
  std::string code;
  std::string file;  // its database place file
  std::shared_ptr<const NameIndex> index;
};

// Every key of every country's name index in one sorted list.
struct WorldIndex {
  struct Ref {
    std::uint16_t country;  // into countries
    std::uint32_t entry;    // into its index's entries
  };
  std::vector<IndexedCountry> countries;
  std::vector<Ref> keys;

  std::string_view KeyOf(const Ref& ref) const {
    return countries[ref.country].index->KeyAt(ref.entry);
  }
};

// Merges the countries' sorted entries (each index is sorted by key).
std::vector<WorldIndex::Ref> MergedKeys(const std::vector<IndexedCountry>& countries) {
  using Cursor = WorldIndex::Ref;
  auto key = [&countries](const Cursor& c) { return countries[c.country].index->KeyAt(c.entry); };
  auto later = [&key](const Cursor& a, const Cursor& b) {
    const auto ka = key(a);
    const auto kb = key(b);
    return ka != kb ? ka > kb : a.country > b.country;
  };
  std::priority_queue<Cursor, std::vector<Cursor>, decltype(later)> heads(later);
  std::size_t total = 0;
  for (std::size_t c = 0; c < countries.size(); ++c) {
    total += countries[c].index->size();
    if (countries[c].index->size() > 0) heads.push({static_cast<std::uint16_t>(c), 0});
  }
  std::vector<Cursor> merged;
  merged.reserve(total);
  while (!heads.empty()) {
    Cursor c = heads.top();
    heads.pop();
    merged.push_back(c);
    if (++c.entry < countries[c.country].index->size()) heads.push(c);
  }
  return merged;
}

// What the world search reads, found once per look at the files: the world
// index, the countries without a name index, and the user files.
struct WorldFiles {
  std::shared_ptr<const WorldIndex> index;
  std::vector<std::string> unindexed;  // codes of the countries without a name index
  struct UserFile {
    std::string code;
    std::shared_ptr<const std::string> image;
  };
  std::vector<UserFile> users;
};

// The database place files of the table's countries, by code.
std::vector<std::pair<std::string, std::string>> PlaceFiles() {
  std::vector<std::pair<std::string, std::string>> files;
  const auto& table = CurrentAtlas().countries;
  for (std::size_t i = 1; i + kContinentRecords < table.size(); ++i) {
    const std::string code = GetInternalCountryAbbreviation(table[i].CountryShort);
    const bool seen = std::any_of(files.begin(), files.end(),
                                  [&code](const auto& f) { return TextEqual(f.first, code); });
    if (!seen) files.emplace_back(code, GetCompressedPlaceFile(code));
  }
  return files;
}

// The last world index built, shared by every thread.
class WorldIndexes {
 public:
  std::shared_ptr<const WorldIndex> Get(std::vector<IndexedCountry> countries) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const bool same = current_ && current_->countries.size() == countries.size() &&
                      std::equal(countries.begin(), countries.end(), current_->countries.begin(),
                                 [](const auto& a, const auto& b) {
                                   return a.index == b.index && a.code == b.code;
                                 });
    if (!same) {
      auto fresh = std::make_shared<WorldIndex>();
      fresh->keys = MergedKeys(countries);
      fresh->countries = std::move(countries);
      current_ = std::move(fresh);
    }
    return current_;
  }

 private:
  std::mutex mutex_;
  std::shared_ptr<const WorldIndex> current_;
};

WorldIndexes& Indexes() {
  return CurrentAtlas().Derived<WorldIndexes>();
}

// The files as they are now; a file that cannot be read is noted as the
// call's fault and ends the search (false).
bool LookAtFiles(WorldFiles& files) {
  std::vector<IndexedCountry> countries;
  files.unindexed.clear();
  files.users.clear();
  for (auto& [code, file] : PlaceFiles()) {
    std::int32_t error = 0;
    const std::string user = Get_UserFile(file);
    auto image = ExistingImage(user, error);
    if (error != 0) {
      NoteAtlasFault(user, error);
      return false;
    }
    if (image) files.users.push_back({code, std::move(image)});
    if (!ExistingImage(file, error, Packing::kSzdd)) {
      if (error != 0) {
        NoteAtlasFault(file, error);
        return false;
      }
      continue;
    }
    if (auto index = NameIndexOf(file)) {
      countries.push_back({code, file, std::move(index)});
    } else {
      files.unindexed.push_back(code);
    }
  }
  files.index = Indexes().Get(std::move(countries));
  return true;
}

// The files of this call: looked at again when the look at the disk is new.
const WorldFiles* CurrentFiles() {
  struct Memo {
    std::uint64_t call = 0;
    std::uint64_t tables = 0;
    std::string folder;
    WorldFiles files;
  };
  Memo& memo = PerThread<Memo>();
  const std::uint64_t call = CallNumber();
  if (call != 0 && call == memo.call && memo.tables == CurrentAtlas().tables_version &&
      memo.folder == CurrentAtlas().places_path && memo.files.index) {
    return &memo.files;
  }
  memo.call = 0;
  if (!LookAtFiles(memo.files)) return nullptr;
  memo.call = call;
  memo.tables = CurrentAtlas().tables_version;
  memo.folder = CurrentAtlas().places_path;
  return &memo.files;
}

struct Hit {
  PlaceRecord place;
  PlaceRef ref;
  PlaceWeight weight;
  bool other_name = false;
};

// Typing ahead, people mostly type the name the atlas lists a place under: a
// place that only another of its names begins as typed counts a twentieth
// ("Par" lists Paris, Paranaque and Paraná before Perth, which Hindi calls
// "partha"; "Mün" München before Mumbai), and comes first only when it is
// that much bigger ("Mosc" still gives Moskva before Moscow, Idaho).
constexpr double kOtherBeginningWeight = 0.05;

double Score(double prominence, bool other_name, bool beginning) {
  return beginning && other_name ? prominence * kOtherBeginningWeight : prominence;
}

// The order of places found: user places first, in the order found; then
// the others by their score, most prominent first.
bool Before(const Hit& a, const Hit& b, bool beginning) {
  const bool ua = a.ref.RecordNo < 0;
  const bool ub = b.ref.RecordNo < 0;
  if (ua != ub) return ua;
  if (ua) return false;
  return Score(a.weight.Prominence(), a.other_name, beginning) >
         Score(b.weight.Prominence(), b.other_name, beginning);
}

// Ranks the places found (Before) and puts the first `limit` into `found`.
void RankAndStore(std::vector<Hit>& hits, std::size_t limit, bool beginning,
                  std::vector<FoundPlace>& found) {
  std::stable_sort(hits.begin(), hits.end(),
                   [beginning](const Hit& a, const Hit& b) { return Before(a, b, beginning); });
  if (hits.size() > limit) hits.resize(limit);
  PlaceList list;
  std::vector<PlaceWeight> weights;
  std::vector<bool> other_names;
  for (auto& h : hits) {
    list.Add(h.place, std::move(h.ref));
    weights.push_back(h.weight);
    other_names.push_back(h.other_name);
  }
  MakeFoundPlaces(list, "", found, weights, other_names);
}

// The places of the world index under `query`, the first `limit` of them in
// that order (and some more, for deleted records).
void AddIndexed(const WorldIndex& world, const NameQuery& query, std::size_t limit,
                std::vector<Hit>& hits) {
  auto first = std::lower_bound(
      world.keys.begin(), world.keys.end(), query.key,
      [&world](const WorldIndex::Ref& r, std::string_view k) { return world.KeyOf(r) < k; });
  struct Candidate {
    std::uint16_t country;
    std::int32_t record;
    double prominence;
    bool own_name;
  };
  std::vector<Candidate> candidates;
  std::unordered_map<std::uint32_t, std::size_t> seen;
  for (auto it = first; it != world.keys.end(); ++it) {
    const std::string_view key = world.KeyOf(*it);
    if (query.prefix ? key.substr(0, query.key.size()) != query.key : key != query.key) break;
    const NameIndex& index = *world.countries[it->country].index;
    const std::int32_t record = index.RecordAt(it->entry);
    const bool own = index.OwnNameAt(it->entry);
    const auto [at, fresh] = seen.try_emplace(
        static_cast<std::uint32_t>(it->country) << 16 | static_cast<std::uint32_t>(record),
        candidates.size());
    if (!fresh) {
      candidates[at->second].own_name = candidates[at->second].own_name || own;
      continue;
    }
    candidates.push_back({it->country, record, index.ProminenceOf(record), own});
  }
  const std::size_t wanted = std::min(candidates.size(), 2 * limit + 8);
  const bool beginning = query.prefix;
  std::partial_sort(candidates.begin(), candidates.begin() + static_cast<std::ptrdiff_t>(wanted),
                    candidates.end(), [beginning](const Candidate& a, const Candidate& b) {
                      const double sa = Score(a.prominence, !a.own_name, beginning);
                      const double sb = Score(b.prominence, !b.own_name, beginning);
                      if (sa != sb) return sa > sb;
                      return std::tie(a.country, a.record) < std::tie(b.country, b.record);
                    });
  candidates.resize(wanted);
  for (const auto& c : candidates) {
    const IndexedCountry& country = world.countries[c.country];
    // The image the index was checked against: no look at the disk per call.
    const auto& image = country.index->PlaceImage();
    if (!image) continue;
    const auto at = static_cast<std::size_t>(c.record - 1) * kPlaceRecordSize;
    if (at + kPlaceRecordSize > image->size()) continue;
    const PlaceRecord place = DecodePlaceRecord(std::string_view(*image).substr(at));
    if (place.IsDeleted()) continue;
    hits.push_back({place,
                    {country.code, static_cast<std::int16_t>(c.record)},
                    {country.index->Population(c.record), country.index->Rank(c.record)},
                    !c.own_name && !OwnNameAnswers(place, query)});
  }
}

// The user places of every country whose name answers `query`.
void AddUserPlaces(const WorldFiles& files, const NameQuery& query, std::vector<Hit>& hits) {
  for (const auto& user : files.users) {
    const std::string_view bytes = *user.image;
    for (std::size_t at = 0, n = 1; at + kPlaceRecordSize <= bytes.size() && n <= kMaxPlaceRecords;
         at += kPlaceRecordSize, ++n) {
      const PlaceRecord place = DecodePlaceRecord(bytes.substr(at));
      if (place.IsDeleted() || !OwnNameAnswers(place, query)) continue;
      hits.push_back({place, {user.code, static_cast<std::int16_t>(-static_cast<int>(n))}, {}});
    }
  }
}

// The places of `codes` that the place files' own search finds for `text`
// (whole name, prefix or pattern, as SearchandStorePlaces reads it), user
// places among them when `with_user_places`. False when a file cannot be
// read.
bool AddFromPlaceFiles(const std::vector<std::string>& codes, const std::string& text, bool pattern,
                       bool with_user_places, std::vector<Hit>& hits) {
  for (const auto& code : codes) {
    PlaceList list;
    const std::string file = GetCompressedPlaceFile(code);
    std::int32_t read = Read_Cp_Indexed_City(file, text, list, pattern ? 1 : 0);
    if (read == 0 && !pattern) read = Read_Cp_Indexed_City(file, text, list, 1);
    if (read < 0) return false;
    const auto weights = WeightsOf(list.refs);
    for (std::size_t i = 0; i < list.size(); ++i) {
      if (list.refs[i].RecordNo < 0 && !with_user_places) continue;
      hits.push_back({list.places[i], list.refs[i], weights[i]});
    }
  }
  return true;
}

}  // namespace

std::int32_t SearchAllCountries(std::string_view search, std::int32_t limit, const NameQuery* query,
                                std::vector<FoundPlace>& found) {
  const auto wanted = static_cast<std::size_t>(std::clamp(limit, 0, kWorldSearchLimit));
  std::string text = Trim(search);
  // A trailing "?" asks for the beginning, as in one country.
  const bool questioned = !text.empty() && text.back() == '?';
  while (!text.empty() && text.back() == '?')
    text.pop_back();
  if (questioned) text += '*';
  std::vector<Hit> hits;
  if (wanted == 0 || text.empty() || text == "*") {
    found.clear();
    return 0;
  }
  const WorldFiles* files = CurrentFiles();
  if (files == nullptr) {
    found.clear();
    return 0;
  }
  const std::optional<NameQuery> asked =
      query ? std::optional<NameQuery>(*query) : NameQueryOf(text);
  bool read = true;
  if (asked) {
    AddUserPlaces(*files, *asked, hits);
    AddIndexed(*files->index, *asked, wanted, hits);
    read = AddFromPlaceFiles(files->unindexed, text, false, false, hits);
  } else {
    // A pattern: every country's place files.
    std::vector<std::string> all;
    for (const auto& [code, file] : PlaceFiles())
      all.push_back(code);
    read = AddFromPlaceFiles(all, text, true, true, hits);
  }
  if (!read) {
    found.clear();
    return 0;
  }
  RankAndStore(hits, wanted, asked && asked->prefix, found);
  return static_cast<std::int32_t>(found.size());
}

}  // namespace tarv
