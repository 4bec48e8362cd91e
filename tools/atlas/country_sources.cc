#include "atlas/country_sources.h"

#include <unicode/locid.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <set>

#include "atlas/name_key.h"
#include "tarvplaces/atlas_error.h"
#include "text/codepage.h"

namespace fs = std::filesystem;

namespace tarv::atlas {
namespace {

nlohmann::json ReadJson(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw AtlasError(path.string(), "cannot be opened for reading");
  try {
    return nlohmann::json::parse(std::string(std::istreambuf_iterator<char>(in), {}));
  } catch (const nlohmann::json::exception& e) {
    throw AtlasError(path.string(), std::string("is no JSON: ") + e.what());
  }
}

// The entries of one of iso-codes' lists ("3166-1", "3166-2").
const nlohmann::json& IsoList(const nlohmann::json& doc, const char* name, const fs::path& file) {
  if (!doc.contains(name) || !doc[name].is_array()) {
    throw AtlasError(file.string(), std::string("has no \"") + name + "\" list");
  }
  return doc[name];
}

std::string StringField(const nlohmann::json& entry, const char* field) {
  return entry.contains(field) && entry[field].is_string() ? entry[field].get<std::string>()
                                                           : std::string();
}

}  // namespace

std::map<std::string, std::string> TerritoryNames(const std::string& cldr_main,
                                                  const std::string& language) {
  const fs::path file = fs::path(cldr_main) / language / "territories.json";
  std::map<std::string, std::string> names;
  if (!fs::exists(file)) return names;
  const auto doc = ReadJson(file);
  const auto main = doc.find("main");
  if (main == doc.end() || !main->is_object() || main->empty()) {
    throw AtlasError(file.string(), "has no \"main\" object");
  }
  const auto& locale = main->begin().value();
  if (!locale.contains("localeDisplayNames") ||
      !locale["localeDisplayNames"].contains("territories")) {
    throw AtlasError(file.string(), "has no territory names");
  }
  for (const auto& [code, name] : locale["localeDisplayNames"]["territories"].items()) {
    if (name.is_string()) names[code] = name.get<std::string>();
  }
  return names;
}

std::string OwnLanguageOf(const std::string& iso2) {
  UErrorCode status = U_ZERO_ERROR;
  icu::Locale locale("und", iso2.c_str());
  locale.addLikelySubtags(status);
  if (U_FAILURE(status) || *locale.getLanguage() == '\0') return {};
  const std::string language = locale.getLanguage();
  const std::string script = locale.getScript();
  // CLDR's folders name the script only where a language has several.
  static const std::set<std::string> kByScript = {"zh-Hant", "zh-Hans", "sr-Latn", "sr-Cyrl",
                                                  "bs-Cyrl", "uz-Cyrl", "uz-Arab", "pa-Arab"};
  return kByScript.count(language + "-" + script) ? language + "-" + script : language;
}

std::vector<CountryNameEntry> CountryNameEntries(const std::vector<NamedCountry>& countries,
                                                 const std::string& iso_codes,
                                                 const std::string& cldr_main) {
  const fs::path part1 = fs::path(iso_codes) / "iso_3166-1.json";
  const fs::path part2 = fs::path(iso_codes) / "iso_3166-2.json";
  const auto countries_doc = ReadJson(part1);
  const auto subdivisions_doc = ReadJson(part2);
  std::map<std::string, std::string> alpha3;
  for (const auto& e : IsoList(countries_doc, "3166-1", part1))
    alpha3[StringField(e, "alpha_2")] = StringField(e, "alpha_3");

  // Where the atlas files each ISO country; the group USA for the USA.
  std::map<std::string, std::string> atlas_of;
  std::set<std::string> atlas_codes;
  for (const auto& c : countries) {
    atlas_codes.insert(c.code);
    for (const auto& iso : c.isos) {
      if (!c.us_state) atlas_of.try_emplace(iso, c.code);
    }
  }
  atlas_of["US"] = "USA";

  std::vector<CountryNameEntry> entries;
  std::set<std::string> written;
  auto add_iso = [&](const std::string& code, const std::string& iso) {
    if (!iso.empty() && written.insert(iso).second) entries.push_back({code, true, iso});
  };
  for (const auto& c : countries) {
    if (c.us_state) {
      add_iso(c.code, "US-" + c.code.substr(2));
      continue;
    }
    for (const auto& iso : c.isos)
      add_iso(c.code, iso);
    for (const auto& iso : c.isos)
      add_iso(c.code, alpha3[iso]);
  }
  add_iso("USA", "US");
  add_iso("USA", "USA");
  for (const auto& e : IsoList(subdivisions_doc, "3166-2", part2)) {
    const std::string code = StringField(e, "code");
    const auto dash = code.find('-');
    if (dash == std::string::npos) continue;
    const std::string country = code.substr(0, dash);
    const std::string part = code.substr(dash + 1);
    if (country == "US") {
      // A state, else an outlying area the atlas files as a country of its own.
      if (atlas_codes.count("US" + part) != 0) {
        add_iso("US" + part, code);
      } else if (const auto own = atlas_of.find(part); own != atlas_of.end()) {
        add_iso(own->second, code);
      }
    } else if (const auto filed = atlas_of.find(country); filed != atlas_of.end()) {
      add_iso(filed->second, code);
    }
  }

  // Names, language by language; each key names the first country it is
  // written for.
  std::set<std::string> named;
  auto add_names = [&](const std::string& code, const std::string& iso,
                       const std::map<std::string, std::string>& names) {
    for (auto it = names.lower_bound(iso); it != names.end() && it->first.rfind(iso, 0) == 0;
         ++it) {
      const bool own_form = it->first == iso || it->first.rfind(iso + "-alt-", 0) == 0;
      if (!own_form) continue;
      for (auto& key : NameKeysOfText(it->second)) {
        if (named.insert(key).second) entries.push_back({code, false, std::move(key)});
      }
    }
  };
  auto name_all = [&](const std::map<std::string, std::string>& names) {
    for (const auto& c : countries) {
      if (c.us_state) continue;
      for (const auto& iso : c.isos)
        add_names(c.code, iso, names);
    }
    add_names("USA", "US", names);
  };
  for (const auto& language : kCountryNameLanguages)
    name_all(TerritoryNames(cldr_main, language));
  std::map<std::string, std::map<std::string, std::string>> own_languages;
  for (const auto& c : countries) {
    if (c.us_state) continue;
    for (const auto& iso : c.isos) {
      const std::string language = OwnLanguageOf(iso);
      if (language.empty()) continue;
      auto [it, fresh] = own_languages.try_emplace(language);
      if (fresh) it->second = TerritoryNames(cldr_main, language);
      add_names(c.code, iso, it->second);
    }
  }
  return entries;
}

}  // namespace tarv::atlas
