// The names the atlas gives GeoNames places: Windows-1252, at most 28
// characters, one record per place under the name the place is written with
// in its own country, and the further names the name index files it under.
#ifndef TARVPLACES_TOOLS_ATLAS_PLACE_NAMES_H_
#define TARVPLACES_TOOLS_ATLAS_PLACE_NAMES_H_

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "atlas/geonames.h"

namespace tarv::atlas {

inline constexpr std::size_t kNameWidth = 28;

// Cuts a Windows-1252 name to 28 characters: at the last blank, hyphen or
// comma that keeps at least 16 characters, else hard at 28; trailing blanks,
// hyphens and commas are dropped. "Sankt Georgen an der Stiefing" (29)
// becomes "Sankt Georgen an der".
std::string CutName(std::string name);

// GeoNames' own name of the place in Windows-1252, transliterated where the
// code page lacks a character ("Łódź" gives "Lódz"), cut to 28 characters.
// The ASCII name stands in only when the transliteration leaves a character
// unmappable or no letter; "" when neither has a letter.
std::string AtlasName(const GeoPlace& place);

// How GeoNames ranks a populated place by its feature code: 0 for a capital
// (PPLC), 1 to 5 for the seat of an administrative division (PPLA to
// PPLA5), 7 for a section of a populated place (PPLX), 6 for every other
// place (the ranks of the name index, PlaceRank).
int FeatureRank(std::string_view feature_code);

// An airport or other code among GeoNames' names ("MUC", "BJS"): up to four
// capitals and nothing else. Nobody means a birth place by it, and as a key
// it would only shadow real names, so the name index leaves it out.
bool IsCodeName(std::string_view ansi);

enum class Script { kNone, kLatin, kCyrillic, kGreek, kOther };

// The script of a UTF-8 name: that of its first letter outside the Latin
// blocks, else Latin when it has a letter, else kNone.
Script ScriptOf(std::string_view utf8);

// Chooses the local name of each place and the keys of its other names.
//
// The local name, by the script of the country:
//  - Russia writes Cyrillic, Greece and Cyprus Greek, and for these the
//    systematic romanisations (BGN/PCGN, UNGEGN) are what their own maps
//    print. The place's own native name is the one most of its names in that
//    script are one-letter variants of (Москва beside Москве, Москвы). Its
//    transliteration replaces GeoNames' name unless GeoNames' name already
//    romanises one of the place's names in that script (keys at most one
//    edit in six apart: "Yekaterinburg" for Екатеринбург, even where the
//    former Свердловск has more variants). A Latin alternate name with the
//    transliteration's key is preferred to the bare transliteration, for its
//    spelling ("Athína").
//  - Other countries written in other scripts (Arabic, Han, Thai, Ukrainian
//    and Bulgarian Cyrillic, ...) and the English-speaking countries keep
//    GeoNames' names: those are the national romanisations or the English
//    names already, and their Latin alternate names are mostly former names.
//  - In the other Latin-script countries an alternate Latin name replaces
//    GeoNames' name when it scores higher by a margin (0.75; 2.75 for places
//    under 100,000 inhabitants, which seldom have exonyms). The score adds
//    how typical the name's letter triples are of the country's place names
//    against the world's (mean log ratio), how much the place's names in
//    other scripts, romanised, resemble it (those languages borrow the local
//    name as it sounds: ミュンヘン, Мюнхен), and log(1 + other place names of
//    the country built on it as a word: "Wiener Neustadt"). A shorter or
//    longer form of GeoNames' name ("Clermont" for "Clermont-Ferrand") does
//    not count as another name; an ending of up to two letters does
//    ("Milano" for "Milan"). Brussels, named in two languages, stays
//    "Brussels" unless one of its names wins this way: no language of a
//    bilingual country is preferred by hand.
// A candidate qualifies when it is written in Latin letters, transliterates
// without loss, starts with a capital letter, has at least four letters, no
// digits, brackets, slashes, commas or semicolons, is not written in capitals
// throughout (codes such as "MUC"), fits 28 characters and is not the name
// of other places of the country (mostly a former name shared with
// villages; a place of 100,000 or more may share it with one).
class PlaceNamer {
 public:
  // Learns the letter sequences and words of every country's place names.
  explicit PlaceNamer(const std::vector<GeoPlace>& places);

  // The place's local name, cut to 28 characters; AtlasName(place) when no
  // rule replaces it.
  std::string LocalName(const GeoPlace& place) const;

  // The name-index keys of a place whose record is named `local_name`: the
  // NameKeysOf of that name, and the keys a search gives GeoNames' name, its
  // ASCII name and every alternate name as they are written
  // (NameKeysOfText: romanised, or in a script nothing romanises, its own
  // folded letters). A name written in two scripts joined by " - "
  // ("Khartún - الخرطوم") is filed under each half too. Names holding a
  // character that is part of no name, codes of up to four capitals ("MUC")
  // and keys longer than 255 bytes are left out. Each key once.
  std::vector<std::string> IndexKeys(const GeoPlace& place, const std::string& local_name) const;

  // AnsiFromUtf8 of `utf8`. What goes through ICU is remembered per text:
  // the same alternate names recur across places, and ICU is the slow part
  // of the build.
  std::string Ansi(const std::string& utf8) const;

 private:
  double Typicality(const std::string& country, const std::string& utf8) const;
  // What speaks for a name being the one the country uses.
  struct Evidence {
    double typicality = 0;  // mean log ratio of its letter triples, country to world
    double support = 0;     // likeness to the place's names in other scripts (0 to 1)
    int uses = 0;           // other place names of the country built on it
    double Score() const;
  };
  Evidence Weigh(const GeoPlace& place, const std::string& utf8, const std::string& ansi,
                 bool is_main, const std::vector<std::string>& script_keys) const;
  bool Qualifies(const std::string& utf8, const std::string& ansi) const;
  std::string NativeName(const GeoPlace& place, Script script, const std::string& main) const;

  // country -> trigram of lower-case code points -> count; "" for the world.
  std::unordered_map<std::string, std::unordered_map<std::uint64_t, int>> trigrams_;
  std::unordered_map<std::string, double> trigram_totals_;
  // country -> lower-case word -> number of places whose name holds it.
  std::unordered_map<std::string, std::map<std::string, int>> words_;
  // country -> NameKey of a GeoNames name -> places of that name.
  std::unordered_map<std::string, std::unordered_map<std::string, int>> name_keys_;
  mutable std::unordered_map<std::string, std::string> ansi_;
};

}  // namespace tarv::atlas

#endif  // TARVPLACES_TOOLS_ATLAS_PLACE_NAMES_H_
