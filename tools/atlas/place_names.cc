#include "atlas/place_names.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "platform/codepage.h"
#include "util/text.h"

namespace tarv::atlas {
namespace {

constexpr std::size_t kMinCut = 16;

bool IsLetter(char c) {
  const auto b = static_cast<unsigned char>(c);
  return (b >= 'a' && b <= 'z') || (b >= 'A' && b <= 'Z') || b == 0x8A || b == 0x8C || b == 0x8E ||
         b == 0x9A || b == 0x9C || b == 0x9E || b == 0x9F || (b >= 0xC0 && b != 0xD7 && b != 0xF7);
}

std::vector<std::string> Trigrams(const std::string& ansi) {
  const std::string padded = "^" + LCase(ansi) + "$";
  std::vector<std::string> grams;
  for (std::size_t i = 0; i + 3 <= padded.size(); ++i)
    grams.push_back(padded.substr(i, 3));
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

bool Qualifies(const std::string& utf8, const GeoPlace& city) {
  if (utf8.empty() || utf8.size() > 2 * kNameWidth || !IsAnsiRepresentable(utf8)) return false;
  const std::string ansi = AnsiFromUtf8(utf8);
  if (ansi.size() > kNameWidth || !IsLetter(ansi[0]) || AnsiUpper(ansi[0]) != ansi[0]) return false;
  if (ansi.find_first_of("0123456789()[]/,;\"") != std::string::npos) return false;
  const auto letters = std::count_if(ansi.begin(), ansi.end(), IsLetter);
  if (letters < 3 || UCase(ansi) == ansi) return false;
  return !TextEqual(ansi, AnsiFromUtf8(city.name)) && !TextEqual(ansi, city.ascii_name);
}

bool HasCyrillic(std::string_view utf8) {
  return utf8.size() >= 2 && (static_cast<unsigned char>(utf8[0]) == 0xD0 ||
                              static_cast<unsigned char>(utf8[0]) == 0xD1);
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

// The city's own Cyrillic name: the one most of its other Cyrillic names are
// spelling or case variants of (Москва beside Москве, Москвы, Масква).
std::string CentralCyrillicName(const GeoPlace& city) {
  std::vector<std::pair<std::string, std::u32string>> names;
  for (const auto& n : city.alternate_names) {
    if (HasCyrillic(n)) names.emplace_back(n, CodePoints(n));
  }
  std::string best;
  int best_neighbours = -1;
  std::size_t best_length = 0;
  for (const auto& [text, points] : names) {
    int neighbours = 0;
    for (const auto& other : names) {
      if (other.second != points && WithinOneEdit(points, other.second)) ++neighbours;
    }
    if (neighbours > best_neighbours ||
        (neighbours == best_neighbours && points.size() < best_length)) {
      best = text;
      best_neighbours = neighbours;
      best_length = points.size();
    }
  }
  return best;
}

bool WritesCyrillic(const std::string& country) {
  static const std::set<std::string> kCountries = {"RU", "UA", "BY", "BG", "KZ", "KG",
                                                   "TJ", "MK", "RS", "ME", "MN"};
  return kCountries.count(country) != 0;
}

}  // namespace

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
  const std::string& source = IsAnsiRepresentable(place.name) ? place.name : place.ascii_name;
  std::string name = CutName(Trim(AnsiFromUtf8(source)));
  if (std::none_of(name.begin(), name.end(), [](char c) { return IsLetter(c); })) {
    name = CutName(Trim(AnsiFromUtf8(place.ascii_name)));
  }
  return name;
}

AliasChooser::AliasChooser(const std::vector<GeoPlace>& places) {
  for (const auto& p : places) {
    const std::string ansi = AnsiFromUtf8(p.name);
    auto& grams = trigrams_[p.country];
    for (const auto& g : Trigrams(ansi)) {
      ++grams[g];
      ++trigram_totals_[p.country];
      ++trigrams_[""][g];
      ++trigram_totals_[""];
    }
    std::set<std::string> seen;
    for (const auto& w : Words(ansi)) {
      if (seen.insert(w).second) ++words_[p.country][w];
    }
  }
}

double AliasChooser::Typicality(const std::string& country, const std::string& name) const {
  const auto grams = Trigrams(AnsiFromUtf8(name));
  const auto it = trigrams_.find(country);
  if (it == trigrams_.end() || grams.empty()) return -100.0;
  const double total =
      trigram_totals_.at(country) + 0.5 * static_cast<double>(it->second.size() + 1);
  double sum = 0;
  for (const auto& g : grams) {
    const auto found = it->second.find(g);
    sum += std::log(((found == it->second.end() ? 0 : found->second) + 0.5) / total);
  }
  return sum / static_cast<double>(grams.size());
}

std::vector<std::string> AliasChooser::Aliases(const GeoPlace& city, std::size_t cap) const {
  std::set<std::string> romanized;
  if (WritesCyrillic(city.country)) {
    const std::string own = CentralCyrillicName(city);
    if (!own.empty()) romanized.insert(UCase(RomanizeCyrillic(own)));
  }
  struct Ranked {
    int used_as_word;
    bool transliteration;
    double typicality;
    std::string name;
  };
  std::vector<Ranked> ranked;
  std::set<std::string> seen;
  const auto words = words_.find(city.country);
  for (const auto& n : city.alternate_names) {
    if (!Qualifies(n, city)) continue;
    const std::string ansi = AnsiFromUtf8(n);
    if (!seen.insert(UCase(ansi)).second) continue;
    int used = 0;
    if (words != words_.end()) {
      const auto w = words->second.find(LCase(ansi));
      if (w != words->second.end()) used = w->second;
    }
    // Typical of the country and untypical of the world.
    const double typical = 2 * Typicality(city.country, n) - Typicality("", n);
    ranked.push_back({used, romanized.count(UCase(ansi)) != 0, typical, ansi});
  }
  std::sort(ranked.begin(), ranked.end(), [](const Ranked& a, const Ranked& b) {
    return std::tie(b.transliteration, b.used_as_word, b.typicality, a.name) <
           std::tie(a.transliteration, a.used_as_word, a.typicality, b.name);
  });
  std::vector<std::string> names;
  for (std::size_t i = 0; i < ranked.size() && names.size() < cap; ++i)
    names.push_back(ranked[i].name);
  return names;
}

std::string RomanizeCyrillic(std::string_view utf8) {
  // BGN/PCGN for Russian; "е" at the start of a word or after a vowel is "ye".
  static const char* const kLower[] = {
      "a", "b", "v", "g", "d", "e",  "zh", "z",  "i",  "y",    "k", "l", "m", "n", "o",  "p",
      "r", "s", "t", "u", "f", "kh", "ts", "ch", "sh", "shch", "",  "y", "",  "e", "yu", "ya"};
  std::string out;
  bool after_vowel_or_start = true;
  for (std::size_t i = 0; i < utf8.size();) {
    const auto b0 = static_cast<unsigned char>(utf8[i]);
    if ((b0 == 0xD0 || b0 == 0xD1) && i + 1 < utf8.size()) {
      const unsigned cp = ((b0 & 0x1FU) << 6) | (static_cast<unsigned char>(utf8[i + 1]) & 0x3FU);
      i += 2;
      bool upper = false;
      int index = -1;
      if (cp >= 0x410 && cp <= 0x42F) {
        upper = true;
        index = static_cast<int>(cp - 0x410);
      } else if (cp >= 0x430 && cp <= 0x44F) {
        index = static_cast<int>(cp - 0x430);
      } else if (cp == 0x401 || cp == 0x451) {
        upper = cp == 0x401;
        out += upper ? "Ye" : "ye";
        after_vowel_or_start = true;
        continue;
      }
      if (index < 0) continue;
      std::string latin = kLower[index];
      if (index == 5 && after_vowel_or_start) latin = "ye";
      if (upper && !latin.empty()) latin[0] = static_cast<char>(latin[0] - 32);
      out += latin;
      after_vowel_or_start =
          std::string_view("aeiouy").find(kLower[index][0]) != std::string_view::npos &&
          kLower[index][0] != '\0';
    } else {
      out += static_cast<char>(b0);
      after_vowel_or_start = b0 == ' ' || b0 == '-';
      ++i;
    }
  }
  return out;
}

}  // namespace tarv::atlas
