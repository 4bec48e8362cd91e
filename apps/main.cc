// tarvplaces: the atlas from the command line. Every command is a thin driver
// of the public classPlaces members.
//
// Exit status: 0 something was found, 1 nothing was found, 2 bad usage or
// unreadable data (with a one-line message on stderr).
#include <CLI/CLI.hpp>
#include <cstdlib>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tarvplaces/places.h"

#ifndef TARV_DEFAULT_ATLAS
#define TARV_DEFAULT_ATLAS ""
#endif

namespace {

using nlohmann::json;

constexpr int kFound = 0;
constexpr int kNotFound = 1;
constexpr int kUsage = 2;

struct Options {
  std::string atlas;
  std::string lang = "en";
  bool json = false;
};

std::vector<std::string> SplitTabs(const std::string& line) {
  std::vector<std::string> fields;
  std::stringstream in(line);
  std::string field;
  while (std::getline(in, field, '\t'))
    fields.push_back(field);
  if (!line.empty() && line.back() == '\t') fields.emplace_back();
  return fields;
}

json CountryJson(const std::vector<std::string>& f, std::size_t index) {
  return json{{"index", index},
              {"id", std::stoi(f.at(0))},
              {"title", f.at(1)},
              {"code", f.at(2)},
              {"zone", f.at(3)},
              {"continent", f.at(4)},
              {"continent_id", std::stoi(f.at(9))}};
}

// Opens the atlas or explains how to get one.
bool OpenAtlas(tarv::classPlaces& places, const Options& options) {
  const std::filesystem::path folder = options.atlas;
  if (options.atlas.empty() || !std::filesystem::exists(folder / "Country.dat")) {
    std::cerr << "tarvplaces: no atlas at \"" << options.atlas
              << "\": pass --atlas DIR or set TARV_ATLAS to a folder holding Country.dat\n";
    return false;
  }
  places.PlacePath(options.atlas);
  places.Language(options.lang == "de" ? tarv::kLanguageGerman : tarv::kLanguageEnglish);
  return true;
}

int RunCountries(const Options& options) {
  tarv::classPlaces places;
  if (!OpenAtlas(places, options)) return kUsage;
  places.SortCountryFile = [](bool& sort) { sort = true; };
  std::vector<std::string> lines;
  places.FillCountryArray(lines);
  json list = json::array();
  // The last six entries are the continent records, not countries.
  const std::size_t countries_end = lines.size() > 7 ? lines.size() - 6 : 1;
  for (std::size_t i = 1; i < countries_end; ++i)
    list.push_back(CountryJson(SplitTabs(lines[i]), i));
  if (options.json) {
    std::cout << list.dump(2) << '\n';
  } else {
    std::cout << std::left << std::setw(6) << "Id" << std::setw(8) << "Code" << std::setw(8)
              << "Zone"
              << "Title\n";
    for (const auto& c : list) {
      std::cout << std::left << std::setw(6) << c["id"].get<int>() << std::setw(8)
                << c["code"].get<std::string>() << std::setw(8) << c["zone"].get<std::string>()
                << c["title"].get<std::string>() << '\n';
    }
  }
  return list.empty() ? kNotFound : kFound;
}

int RunCountry(const Options& options, const std::string& code) {
  tarv::classPlaces places;
  if (!OpenAtlas(places, options)) return kUsage;
  std::vector<std::string> lines;
  places.FillCountryArray(lines);  // loads the table in the file's sorted order
  const auto id = places.GetCountryID(code);
  const auto index = places.GetCountryIndexOfID(id);
  if (id == 0 || index <= 0 || static_cast<std::size_t>(index) >= lines.size()) {
    if (options.json) std::cout << "null\n";
    std::cerr << "tarvplaces: no country matches \"" << code
              << "\": run \"tarvplaces countries\" for the list\n";
    return kNotFound;
  }
  json c = CountryJson(SplitTabs(lines[static_cast<std::size_t>(index)]),
                       static_cast<std::size_t>(index));
  const std::string internal = places.GetInternalCountryAbbreviation(c["code"].get<std::string>());
  c["several_zones"] = places.HaveSeveralTimeZones(internal);
  c["timetables"] = places.HaveTimetables(internal);
  c["usa"] =
      internal.size() >= 2 && (internal.substr(0, 2) == "US" || internal.substr(0, 2) == "us");
  if (options.json) {
    std::cout << c.dump(2) << '\n';
  } else {
    std::cout << "Country      " << c["title"].get<std::string>() << " ("
              << c["code"].get<std::string>() << ")\nNumber       " << c["id"].get<int>()
              << "\nZone         " << c["zone"].get<std::string>() << "\nContinent    "
              << c["continent"].get<std::string>() << "\nSeveral zones "
              << (c["several_zones"].get<bool>() ? "yes" : "no") << "\nTimetables   "
              << c["timetables"].get<int>() << '\n';
  }
  return kFound;
}

int RunZones(const Options& options) {
  tarv::classPlaces places;
  if (!OpenAtlas(places, options)) return kUsage;
  std::vector<std::string> lines;
  places.FillTimezoneArray(lines);
  json list = json::array();
  for (std::size_t id = 0; id < lines.size(); ++id) {
    const auto f = SplitTabs(lines[id]);
    if (f.size() < 7) continue;
    auto trim = [](std::string s) {
      s.erase(s.find_last_not_of(' ') + 1);
      return s;
    };
    list.push_back(json{{"zone_id", id},
                        {"zone", trim(f[0])},
                        {"zone_name", trim(f[1])},
                        {"utc_offset", std::stod(f[2])},
                        {"kind", f[3]}});
  }
  if (options.json) {
    std::cout << list.dump(2) << '\n';
  } else {
    for (const auto& z : list) {
      std::cout << std::right << std::setw(4) << z["zone_id"].get<int>() << "  " << std::left
                << std::setw(13) << z["zone"].get<std::string>() << std::setw(9)
                << z["utc_offset"].get<double>() << z["kind"].get<std::string>() << "  "
                << z["zone_name"].get<std::string>() << '\n';
    }
  }
  return list.size() > 1 ? kFound : kNotFound;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"tarvplaces: places, coordinates and time-zone history from the TarvPlaces atlas"};
  app.require_subcommand(1);
  Options options;
  if (const char* env = std::getenv("TARV_ATLAS"); env != nullptr && *env != '\0') {
    options.atlas = env;
  } else {
    options.atlas = TARV_DEFAULT_ATLAS;
  }
  app.add_option("--atlas", options.atlas,
                 "atlas folder (default: $TARV_ATLAS or the built atlas)");
  app.add_option("--lang", options.lang, "language of texts: en or de")
      ->check(CLI::IsMember({"en", "de"}));
  app.add_flag("--json", options.json, "print JSON");

  int status = kFound;
  auto* countries = app.add_subcommand("countries", "list the countries of the atlas");
  countries->callback([&] { status = RunCountries(options); });

  std::string code;
  auto* country = app.add_subcommand("country", "look up a country by code, title or prefix");
  country->add_option("CODE", code, "country code or title, e.g. D, usca, Deu")->required();
  country->callback([&] { status = RunCountry(options, code); });

  auto* zones = app.add_subcommand("zones", "list the zone table");
  zones->callback([&] { status = RunZones(options); });

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    const int code_or_help = app.exit(e);
    return code_or_help == 0 ? 0 : kUsage;
  } catch (const tarv::AtlasError& e) {
    std::cerr << "tarvplaces: unreadable atlas: " << e.what() << '\n';
    return kUsage;
  }
  return status;
}
