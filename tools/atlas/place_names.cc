#include "atlas/place_names.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "atlas/name_key.h"
#include "text/codepage.h"
#include "util/text.h"

namespace tarv::atlas {
namespace {

constexpr std::size_t kMinCut = 16;
// Characters of abbreviations and notes ("zh/m", "Praha 1"), not of names.
constexpr const char* kNotInNames = "0123456789()[]/,;\"";
// How much more local an alternate name must look than GeoNames' name (in
// the units of Score: mean log-probability per letter triple) to replace it.
constexpr double kMargin = 0.75;
// Weight of the likeness to the place's names in other scripts.
constexpr double kSupport = 3.0;
// Letter triples a country has seen this many times weigh as much as the
// world's figure for them (smoothing for small countries).
constexpr double kBackoff = 50.0;
// Weight of log(1 + other places whose names are built on the name).
constexpr double kWordWeight = 1.0;
constexpr std::size_t kMaxKey = 255;
// Letters a word may add to a name and still be built on it ("Wiener").
constexpr std::size_t kWordEnding = 3;
// A replacement has at least four letters: three-letter alternate names are
// abbreviations and clipped forms ("Nis" for Nice).
constexpr std::size_t kMinReplacement = 4;
// Places smaller than this seldom have an exonym; an alternate name of theirs
// is mostly a former name, a dialect name or a variant.
constexpr std::int64_t kFamousPopulation = 100000;
// GeoNames' name is kept when its letter triples are at least this typical
// of the country: exonyms ("Munich", "Prague", "Lisbon") look foreign.
constexpr double kAtHome = 0.5;
// How much more typical a replacement must be than GeoNames' name.
constexpr double kMoreAtHome = 1.0;
// A replacement's least likeness to the names in other scripts: some
// language borrowed it ("Wien" in Βιέννη). A state's name ("Ceará" for
// Fortaleza) or a dialect name has none.
constexpr double kMinSupport = 0.02;

bool IsLetter(char c) {
  const auto b = static_cast<unsigned char>(c);
  return (b >= 'a' && b <= 'z') || (b >= 'A' && b <= 'Z') || b == 0x8A || b == 0x8C || b == 0x8E ||
         b == 0x9A || b == 0x9C || b == 0x9E || b == 0x9F || (b >= 0xC0 && b != 0xD7 && b != 0xF7);
}

bool HasLetter(const std::string& ansi) {
  return std::any_of(ansi.begin(), ansi.end(), IsLetter);
}

std::u32string CodePoints(std::string_view utf8) {
  std::u32string out;
  for (std::size_t i = 0; i < utf8.size();) {
    const auto b = static_cast<unsigned char>(utf8[i]);
    const int length = b < 0x80 ? 1 : (b >> 5) == 6 ? 2 : (b >> 4) == 14 ? 3 : 4;
    char32_t cp = length == 1 ? b : b & (0x7F >> length);
    for (int k = 1; k < length && i + static_cast<std::size_t>(k) < utf8.size(); ++k) {
      cp = (cp << 6) | (static_cast<unsigned char>(utf8[i + static_cast<std::size_t>(k)]) & 0x3F);
    }
    out.push_back(cp);
    i += static_cast<std::size_t>(length);
  }
  return out;
}

// Lower case for the Latin blocks place names use; other letters stay.
char32_t LowerLatin(char32_t c) {
  if ((c >= 'A' && c <= 'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7)) return c + 32;
  const bool even = c % 2 == 0;
  if ((c >= 0x100 && c <= 0x137 && even) || (c >= 0x139 && c <= 0x148 && !even) ||
      (c >= 0x14A && c <= 0x177 && even) || (c >= 0x179 && c <= 0x17E && !even) ||
      (c >= 0x1E00 && c <= 0x1EFF && even)) {
    return c + 1;
  }
  return c;
}

bool IsLatinLetter(char32_t c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
         (c >= 0xC0 && c <= 0x24F && c != 0xD7 && c != 0xF7) || (c >= 0x1E00 && c <= 0x1EFF) ||
         (c >= 0x2C60 && c <= 0x2C7F) || (c >= 0xA720 && c <= 0xA7FF);
}

// Signs that occur in names of any script: combining accents, modifier
// letters (ʻ ʼ), general punctuation, format characters.
bool IsNeutral(char32_t c) {
  return c < 0x370 || (c >= 0x2000 && c <= 0x206F) || (c >= 0xFE00 && c <= 0xFE0F) || c == 0xFEFF;
}

std::vector<std::uint64_t> Trigrams(std::string_view utf8) {
  std::u32string points = U"^";
  for (const char32_t c : CodePoints(utf8))
    points += LowerLatin(c);
  points += U"$";
  std::vector<std::uint64_t> grams;
  for (std::size_t i = 0; i + 3 <= points.size(); ++i) {
    grams.push_back((std::uint64_t{points[i]} << 42) | (std::uint64_t{points[i + 1]} << 21) |
                    points[i + 2]);
  }
  return grams;
}

std::vector<std::string> Words(const std::string& ansi) {
  std::vector<std::string> words;
  std::string word;
  for (const char c : ansi + " ") {
    if (IsLetter(c) || ((c == '-' || c == '\'') && !word.empty())) {
      word += AnsiLower(c);
    } else if (!word.empty()) {
      while (!word.empty() && (word.back() == '-' || word.back() == '\''))
        word.pop_back();
      if (!word.empty()) words.push_back(word);
      word.clear();
    }
  }
  return words;
}

bool WithinOneEdit(const std::u32string& a, const std::u32string& b) {
  if (a.size() > b.size()) return WithinOneEdit(b, a);
  if (b.size() - a.size() > 1) return false;
  std::size_t i = 0;
  while (i < a.size() && a[i] == b[i])
    ++i;
  if (a.size() == b.size())
    return a.substr(i + (i < a.size() ? 1 : 0)) == b.substr(i + (i < b.size() ? 1 : 0));
  return a.substr(i) == b.substr(i + 1);
}

std::size_t EditDistance(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j)
    row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t above = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
      diagonal = above;
    }
  }
  return row[b.size()];
}

// The script whose systematic romanisation the country's own maps use.
Script NativeScriptOf(const std::string& country) {
  if (country == "RU") return Script::kCyrillic;
  if (country == "GR" || country == "CY") return Script::kGreek;
  return Script::kNone;
}

// Countries written in another script than Latin: GeoNames names their
// places by national romanisations, and their Latin alternate names are
// older names and other romanisations. Countries whose own language is
// English: their alternate names are mostly former names, and GeoNames'
// name is the English one.
bool JudgesLatinNames(const std::string& country) {
  static const std::set<std::string> kOthers = {
      // Cyrillic, Greek, Armenian, Georgian
      "RU", "BY", "UA", "BG", "MK", "KZ", "KG", "TJ", "MN", "GR", "CY", "AM", "GE",
      // Arabic, Persian, Hebrew
      "AE", "BH", "DZ", "EG", "IQ", "JO", "KW", "LB", "LY", "MA", "OM", "PS", "QA", "SA", "SD",
      "SY", "TN", "YE", "IR", "AF", "PK", "IL", "MR",
      // South, South-East and East Asia, Ethiopia and Eritrea
      "IN", "NP", "BD", "LK", "BT", "MV", "TH", "LA", "KH", "MM", "CN", "TW", "HK", "MO", "JP",
      "KR", "KP", "ET", "ER",
      // English the own or an official language (Canada's French names are
      // GeoNames' names already)
      "US", "GB", "AU", "NZ", "IE", "CA", "NG", "GH", "KE", "UG", "TZ", "ZA", "ZM", "ZW", "MW",
      "BW", "NA", "LS", "SZ", "SL", "LR", "GM", "CM", "JM", "TT", "BB", "BS", "BZ", "GY", "PH",
      "SG", "MY", "FJ", "PG", "SB", "VU", "MT"};
  return kOthers.count(country) == 0;
}

// How much the place's names in other scripts, romanised, look like `key`
// (0 to 1): those languages mostly borrow the local name as it sounds
// (ミュンヘン, Мюнхен for München; ローマ, 로마 for Roma).
double Support(const std::string& key, const std::vector<std::string>& keys) {
  if (keys.empty()) return 0;
  double sum = 0;
  for (const auto& k : keys) {
    const double length = static_cast<double>(std::max(k.size(), key.size()));
    sum += std::max(0.0, 1.0 - 2.0 * static_cast<double>(EditDistance(k, key)) / length);
  }
  return sum / static_cast<double>(keys.size());
}

}  // namespace

bool IsCodeName(std::string_view ansi) {
  return !ansi.empty() && ansi.size() <= 4 &&
         std::all_of(ansi.begin(), ansi.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
}

std::string CutName(std::string name) {
  if (name.size() > kNameWidth) {
    const auto cut = name.find_last_of(" -,", kNameWidth);
    name.resize(cut != std::string::npos && cut >= kMinCut ? cut : kNameWidth);
  }
  while (!name.empty() && (name.back() == ' ' || name.back() == '-' || name.back() == ',')) {
    name.pop_back();
  }
  return name;
}

std::string AtlasName(const GeoPlace& place) {
  std::string name = Trim(AnsiFromUtf8(place.name));
  if (name.find(kUnmappable) != std::string::npos || !HasLetter(name)) {
    name = Trim(AnsiFromUtf8(place.ascii_name));
    if (name.find(kUnmappable) != std::string::npos || !HasLetter(name)) return "";
  }
  return CutName(std::move(name));
}

int FeatureRank(std::string_view feature_code) {
  if (feature_code == "PPLC") return 0;
  if (feature_code == "PPLX") return 7;
  if (feature_code == "PPLA") return 1;
  if (feature_code.size() == 5 && feature_code.substr(0, 4) == "PPLA" && feature_code[4] >= '2' &&
      feature_code[4] <= '5') {
    return feature_code[4] - '0';
  }
  return 6;
}

Script ScriptOf(std::string_view utf8) {
  bool latin = false;
  for (const char32_t c : CodePoints(utf8)) {
    if (IsLatinLetter(c)) {
      latin = true;
    } else if ((c >= 0x400 && c <= 0x52F) || (c >= 0x1C80 && c <= 0x1C8F)) {
      return Script::kCyrillic;
    } else if ((c >= 0x370 && c <= 0x3FF) || (c >= 0x1F00 && c <= 0x1FFF)) {
      return Script::kGreek;
    } else if (!IsNeutral(c)) {
      return Script::kOther;
    }
  }
  return latin ? Script::kLatin : Script::kNone;
}

PlaceNamer::PlaceNamer(const std::vector<GeoPlace>& places) {
  auto& world = trigrams_[""];
  for (const auto& p : places) {
    auto& grams = trigrams_[p.country];
    for (const auto g : Trigrams(p.name)) {
      ++grams[g];
      ++world[g];
      trigram_totals_[p.country] += 1;
      trigram_totals_[""] += 1;
    }
    ++name_keys_[p.country][NameKey(Ansi(p.name))];
    std::set<std::string> seen;
    for (const auto& w : Words(Ansi(p.name))) {
      if (seen.insert(w).second) ++words_[p.country][w];
    }
  }
}

std::string PlaceNamer::Ansi(const std::string& utf8) const {
  if (IsAnsiRepresentable(utf8)) return AnsiFromUtf8(utf8);
  auto [it, fresh] = ansi_.try_emplace(utf8);
  if (fresh) it->second = AnsiFromUtf8(utf8);
  return it->second;
}

double PlaceNamer::Typicality(const std::string& country, const std::string& utf8) const {
  const auto grams = Trigrams(utf8);
  const auto it = trigrams_.find(country);
  const auto& world = trigrams_.at("");
  if (it == trigrams_.end() || grams.empty()) return 0;
  const double world_total = trigram_totals_.at("") + 0.5 * static_cast<double>(world.size() + 1);
  const double country_total = trigram_totals_.at(country) + kBackoff;
  double sum = 0;
  for (const auto g : grams) {
    const auto w = world.find(g);
    const double in_world = ((w == world.end() ? 0 : w->second) + 0.5) / world_total;
    const auto c = it->second.find(g);
    const double in_country =
        ((c == it->second.end() ? 0 : c->second) + kBackoff * in_world) / country_total;
    sum += std::log(in_country / in_world);
  }
  return sum / static_cast<double>(grams.size());
}

PlaceNamer::Evidence PlaceNamer::Weigh(const GeoPlace& place, const std::string& utf8,
                                       const std::string& ansi, bool is_main,
                                       const std::vector<std::string>& script_keys) const {
  Evidence e;
  e.typicality = Typicality(place.country, utf8);
  e.support = Support(NameKey(ansi), script_keys);
  const auto words = words_.find(place.country);
  if (words != words_.end() && ansi.find(' ') == std::string::npos) {
    // Other place names built on it: "Wiener Neustadt" on "Wien".
    const std::string lower = LCase(ansi);
    for (auto w = words->second.lower_bound(lower);
         w != words->second.end() && w->first.compare(0, lower.size(), lower) == 0; ++w) {
      if (w->first.size() <= lower.size() + kWordEnding) e.uses += w->second;
    }
    // GeoNames' name counts its own place once; only other places vouch.
    if (is_main) --e.uses;
    e.uses = std::max(e.uses, 0);
  }
  return e;
}

double PlaceNamer::Evidence::Score() const {
  return typicality + kWordWeight * std::log1p(uses) + kSupport * support;
}

bool PlaceNamer::Qualifies(const std::string& utf8, const std::string& ansi) const {
  if (ansi.empty() || ansi.size() > kNameWidth || ScriptOf(utf8) != Script::kLatin) return false;
  if (ansi.find(kUnmappable) != std::string::npos) return false;
  if (!IsLetter(ansi[0]) || AnsiUpper(ansi[0]) != ansi[0]) return false;
  if (ansi.find_first_of(kNotInNames) != std::string::npos) return false;
  const auto letters = std::count_if(ansi.begin(), ansi.end(), IsLetter);
  return letters >= 3 && UCase(ansi) != ansi;
}

std::string PlaceNamer::NativeName(const GeoPlace& place, Script script,
                                   const std::string& main) const {
  std::vector<std::pair<const std::string*, std::u32string>> names;
  for (const auto& n : place.alternate_names) {
    if (ScriptOf(n) == script) names.emplace_back(&n, CodePoints(n));
  }
  // The name most of the others are spelling or case variants of.
  const std::string* own = nullptr;
  int best_neighbours = -1;
  std::size_t best_length = 0;
  for (const auto& [text, points] : names) {
    int neighbours = 0;
    for (const auto& other : names) {
      if (other.second != points && WithinOneEdit(points, other.second)) ++neighbours;
    }
    if (neighbours > best_neighbours ||
        (neighbours == best_neighbours && points.size() < best_length)) {
      own = text;
      best_neighbours = neighbours;
      best_length = points.size();
    }
  }
  if (own == nullptr) return "";
  // GeoNames' name romanises one of them already (a former name may be the
  // most varied one: Свердловск beside Екатеринбург).
  const std::string main_key = NameKey(main);
  for (const auto& [text, points] : names) {
    const std::string key = NameKey(Ansi(*text));
    if (EditDistance(key, main_key) * 6 <= std::max<std::size_t>(key.size(), 6)) return "";
  }
  const std::string romanised = Trim(Ansi(*own));
  if (romanised.find(kUnmappable) != std::string::npos || !HasLetter(romanised) ||
      romanised.find_first_of(kNotInNames) != std::string::npos) {
    return "";
  }
  const std::string key = NameKey(romanised);
  std::string spelled;
  for (const auto& n : place.alternate_names) {
    const std::string ansi = Trim(Ansi(n));
    if (!Qualifies(n, ansi) || NameKey(ansi) != key) continue;
    if (ansi == romanised) return ansi;
    if (spelled.empty()) spelled = ansi;
  }
  return spelled.empty() ? romanised : spelled;
}

std::string PlaceNamer::LocalName(const GeoPlace& place) const {
  const std::string main = AtlasName(place);
  if (main.empty()) return main;
  const Script native = NativeScriptOf(place.country);
  if (native != Script::kNone) {
    const std::string own = NativeName(place, native, main);
    if (own.empty()) return main;
    // A small place's name in its script that is not a respelling of
    // GeoNames' name is mostly another place's merged in ("Ursk" beside
    // "Барит"): keep GeoNames' name.
    const std::string own_key = NameKey(own);
    const std::string main_key = NameKey(main);
    if (place.population < kFamousPopulation &&
        EditDistance(own_key, main_key) * 3 > std::max(own_key.size(), main_key.size())) {
      return main;
    }
    return CutName(own);
  }
  if (!JudgesLatinNames(place.country)) return main;
  if (place.population < kFamousPopulation) return main;
  const std::string main_key = NameKey(main);
  const auto names = name_keys_.find(place.country);
  std::vector<std::string> keys;
  for (const auto& n : place.alternate_names) {
    const Script script = ScriptOf(n);
    if (script == Script::kLatin || script == Script::kNone) continue;
    const std::string ansi = Ansi(n);
    if (ansi.find(kUnmappable) == std::string::npos) keys.push_back(NameKey(ansi));
  }
  std::sort(keys.begin(), keys.end());
  keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
  const Evidence main_evidence = Weigh(place, place.name, main, true, keys);
  // A name that looks at home in its country is the local one already.
  if (main_evidence.typicality >= kAtHome) return main;
  double best_score = main_evidence.Score() + kMargin;
  std::string best;
  for (const auto& n : place.alternate_names) {
    const std::string ansi = Trim(Ansi(n));
    if (!Qualifies(n, ansi)) continue;
    const std::string key = NameKey(ansi);
    if (key.size() < kMinReplacement) continue;
    // The name of other places of the country is mostly a former name this
    // place shares with villages ("Akköy"), not what tells it apart; a
    // large city may share its name with one village ("Bucuresti").
    const auto others = names->second.find(key);
    if (others != names->second.end() && others->second > 1) continue;
    // A shorter or longer form of GeoNames' name ("Clermont" for
    // "Clermont-Ferrand", "Sens-sur-Yonne" for "Sens") is the same name, not
    // a more local one; an ending ("Milano" for "Milan") is not a form.
    if (main_key.find(key) != std::string::npos ||
        (key.find(main_key) != std::string::npos && key.size() > main_key.size() + 2)) {
      continue;
    }
    const Evidence e = Weigh(place, n, ansi, false, keys);
    // Clearly more at home than GeoNames' name, and borrowed by some
    // language of another script: a regional or dialect name ("Nissa",
    // "Sciorenza") is neither.
    if (e.typicality < main_evidence.typicality + kMoreAtHome || e.support < kMinSupport) continue;
    const double score = e.Score();
    if (score > best_score || (score == best_score && !best.empty() && ansi < best)) {
      best_score = score;
      best = ansi;
    }
  }
  return best.empty() ? main : best;
}

std::vector<std::string> PlaceNamer::IndexKeys(const GeoPlace& place,
                                               const std::string& local_name) const {
  std::vector<std::string> names = {place.name, place.ascii_name};
  for (const auto& n : place.alternate_names) {
    names.push_back(n);
    // GeoNames writes some names in two scripts at once.
    const auto dash = n.find(" - ");
    if (dash != std::string::npos && n.find(" - ", dash + 3) == std::string::npos &&
        ScriptOf(n.substr(0, dash)) != ScriptOf(n.substr(dash + 3))) {
      names.push_back(n.substr(0, dash));
      names.push_back(n.substr(dash + 3));
    }
  }
  // Greek typed without its accents romanises otherwise ("ευ" is "ev",
  // "έυ" is "éy"): both forms are filed.
  const std::size_t typed = names.size();
  for (std::size_t i = 0; i < typed; ++i) {
    if (ScriptOf(names[i]) != Script::kGreek) continue;
    std::string plain = Utf8WithoutDiacritics(names[i]);
    if (plain != names[i]) names.push_back(std::move(plain));
  }
  std::vector<std::string> keys = NameKeysOf(local_name);
  for (const auto& utf8 : names) {
    const std::string name = Trim(utf8);
    const std::string ansi = Trim(Ansi(name));
    if (IsCodeName(ansi)) continue;
    for (auto& key : NameKeysOfText(name, ansi))
      keys.push_back(std::move(key));
  }
  std::erase_if(keys, [](const std::string& key) { return key.empty() || key.size() > kMaxKey; });
  std::sort(keys.begin(), keys.end());
  keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
  return keys;
}

}  // namespace tarv::atlas
