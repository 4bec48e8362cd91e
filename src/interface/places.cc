#include "tarvplaces/places.h"

#include "atlas/country_table.h"
#include "atlas/process_state.h"
#include "atlas/zone_table.h"
#include "platform/codepage.h"

namespace tarv {
namespace {

// Codes and names arrive as UTF-8 and the tables hold Windows-1252.
std::string Ansi(const std::string& utf8) {
  return AnsiFromUtf8(utf8);
}
std::string Host(const std::string& ansi) {
  return Utf8FromAnsi(ansi);
}

}  // namespace

void classPlaces::CheckPlacePath() {
  std::string& folder = State().places_path;
  if (folder.empty() && FillPlacePath) FillPlacePath(folder);
}

std::string classPlaces::PlacePath() {
  CheckPlacePath();
  return State().places_path;
}

void classPlaces::PlacePath(const std::string& NewPlacePath) {
  State().places_path = NewPlacePath;
}

void classPlaces::FillCountryArray(std::vector<std::string>& Countries) {
  if (FillPlacePath) FillPlacePath(State().places_path);
  std::string country_file = "Country.dat";
  if (FillCountryFile) FillCountryFile(country_file);
  bool sort_file = true;
  if (SortCountryFile) SortCountryFile(sort_file);
  InitializeCountries("", country_file, sort_file, true);

  const auto& table = State().countries;
  Countries.clear();
  Countries.reserve(table.size());
  for (const auto& record : table)
    Countries.push_back(Host(CountryLine(record)));
}

std::int32_t classPlaces::GetCountryID(const std::string& CountryShort) {
  CheckPlacePath();
  return tarv::GetCountryID(Ansi(CountryShort));
}

std::int32_t classPlaces::GetCountryIndexOfID(std::int32_t CountryId) {
  return tarv::GetCountryIndexOfID(CountryId);
}

std::string classPlaces::GetInternalCountryAbbreviation(const std::string& CountryShort) {
  return Host(tarv::GetInternalCountryAbbreviation(Ansi(CountryShort)));
}

std::int32_t classPlaces::GetContinentID(const std::string& CountryShort) {
  return tarv::GetContinentID(Ansi(CountryShort));
}

bool classPlaces::HaveSeveralTimeZones(const std::string& CountryShort) {
  return tarv::HaveSeveralTimeZones(Ansi(CountryShort));
}

std::int32_t classPlaces::HaveTimetables(const std::string& CountryShort) {
  return tarv::HaveTimetables(Ansi(CountryShort));
}

void classPlaces::FillTimezoneArray(std::vector<std::string>& Zones) {
  CheckPlacePath();
  InitializeTimeZones("", "Zones13.bin");
  Zones.clear();
  for (const auto& zone : State().zones)
    Zones.push_back(Host(ZoneLine(zone)));
}

std::vector<std::string> classPlaces::GetTimezoneArray() {
  CheckPlacePath();
  if (InitializeTimeZones("", "Zones13.bin")) {
    timezone_array_.clear();
    for (std::size_t id = 0; id < kZoneCount; ++id) {
      timezone_array_.push_back(Host(tarv::GetTimeZoneListString(static_cast<std::int16_t>(id))));
    }
  }
  return timezone_array_;
}

std::int16_t classPlaces::GetTimezoneId(const std::string& TimezoneShort) {
  CheckPlacePath();
  InitializeTimeZones("", "Zones13.bin");
  return tarv::GetTimezoneId(Ansi(TimezoneShort));
}

std::string classPlaces::GetTimeZoneListString(std::int16_t ZoneId, double ZoneTime) {
  return Host(tarv::GetTimeZoneListString(ZoneId, ZoneTime));
}

TarvLanguage& classPlaces::LanguageComponent() {
  return State().Language();
}

std::int32_t classPlaces::Language() {
  return LanguageComponent().Language();
}

std::int32_t classPlaces::Language(const std::string& /*RessourceFile*/) {
  return Language();
}

void classPlaces::Language(std::int32_t NewValue) {
  LanguageComponent().SetLanguage(NewValue);
}

void classPlaces::Language(const std::string& RessourceFile, std::int32_t NewValue) {
  LanguageComponent().SetLanguage(NewValue);
  if (!RessourceFile.empty()) LanguageComponent().SetResourceFile(RessourceFile);
}

}  // namespace tarv
