#include "atlas/user_places.h"

#ifdef _WIN32
#include <windows.h>
#endif
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <tuple>

#include "atlas/atlas_state.h"
#include "atlas/place_search.h"
#include "support/atlas_fixture.h"
#include "support/child_process.h"
#include "support/country_fixture.h"
#include "tarvplaces/atlas_error.h"
#include "text/codepage.h"
#include "util/text.h"

namespace tarv {
namespace {

using ::testing::ElementsAre;
using testing::Place;

class UserPlacesTest : public testing::AtlasFixture {
 protected:
  void SetUp() override {
    AtlasFixture::SetUp();
    WriteCountry("D", {Place("Berlin", 13.41F, 52.52F, 3)});
  }
  std::int16_t Add(const std::string& name, std::int32_t* number = nullptr) {
    std::int32_t record = 0;
    const auto result = AddCity(UserPlace{58, Place(name, 10, 50, 2), ""}, record);
    if (number != nullptr) *number = record;
    return result;
  }
  static std::int16_t Delete(const std::string& name) {
    return Delete_City(UserPlace{58, Place(name, 0, 0), ""});
  }
  static std::int32_t Found(const std::string& text) { return SearchandStorePlaces("D", text); }
  std::string UserFile() { return folder_.Read("USER/D.dao"); }
  std::string Index() { return folder_.Read("USER/D.IDX"); }
};

TEST_F(UserPlacesTest, RecordsStaySortedAndIndexedByFirstCharacter) {
  std::int32_t number = 0;
  EXPECT_EQ(Add("Zell", &number), -1);  // creates the folder, the file and the index
  EXPECT_EQ(number, -1);
  EXPECT_EQ(UserFile().size(), kPlaceRecordSize);
  EXPECT_EQ(Index(), std::string("Z\x01\x00\x00\x00", 5));
  Add("Bonn");
  Add("Aalen", &number);
  EXPECT_EQ(number, -1);
  Add("Bad Tölz");
  EXPECT_EQ(std::tuple(UserFile().substr(0, 5), UserFile().substr(38, 3)),
            std::tuple("Aalen", "Bad"));
  EXPECT_EQ(Index(), std::string("A\1\0\0\0B\2\0\0\0Z\4\0\0\0", 15));
  ASSERT_EQ(Found("Aalen"), 1);
  EXPECT_EQ(FoundPlaces()[0].RecordNo, -1);
  // An existing name, in any case, changes nothing and still succeeds.
  const std::string before = UserFile();
  EXPECT_EQ(Add("AALEN"), -1);
  EXPECT_EQ(UserFile(), before);
}

// Control characters become blanks, for deleting as for adding; long names are cut.
TEST_F(UserPlacesTest, NamesAreCleanedAlikeForAddingAndDeleting) {
  for (const auto& name :
       {std::string("Bonn"), std::string("Tab\tName\r\n"), std::string(200, 'x')})
    EXPECT_EQ(Add(name), -1) << name;
  const std::string file = UserFile();
  ASSERT_EQ(file.size(), 3 * kPlaceRecordSize);
  EXPECT_EQ(file.substr(38, 8), "Tab Name");
  EXPECT_EQ(file.find('\t'), std::string::npos);
  EXPECT_NE(file.find(std::string(28, 'x')), std::string::npos);
  EXPECT_EQ(Delete("Tab\tName\r\n"), -1);
  EXPECT_EQ(UserFile().substr(38, 9), "@Tab Name");
  EXPECT_EQ(Delete("  bonn"), -1);
  EXPECT_EQ(UserFile().substr(0, 5), "@Bonn");
}

TEST_F(UserPlacesTest, NamesAndCountriesThatCannotTakeAPlaceAreRefused) {
  // A first name beginning with the SZDD mark would make the file read as
  // compressed; one the code page cannot take could never be found.
  const std::string magic("SZDD\x88\xF0\x27\x33", 8);
  for (const std::string& name :
       {std::string(), std::string("   "), std::string("@Hidden"), magic + "dorf", "  " + magic,
        "Berlin" + std::string(1, kUnmappable)})
    EXPECT_EQ(Add(name), 0) << name;
  std::int32_t unused = 0;
  EXPECT_EQ(AddCity(UserPlace{4711, Place("Nowhere", 0, 0), ""}, unused), 0);
  // The six records closing the table have no file that any search reads.
  const auto& table = CurrentAtlas().countries;
  for (std::size_t k = table.size() - kContinentRecords; k < table.size(); ++k) {
    EXPECT_EQ(AddCity(UserPlace{table[k].CountryId, Place("Kontinentort", 10, 50), ""}, unused), 0)
        << table[k].CountryShort;
  }
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "USER"));
  EXPECT_EQ(Add("SZDD"), -1);  // only the whole mark is refused
  EXPECT_EQ(Found("SZDD"), 1);
  // The group lines before them are read like countries ("ATL").
  EXPECT_EQ(AddCity(UserPlace{904, Place("Inselort", -20, 40), ""}, unused), -1);
  EXPECT_EQ(SearchandStorePlaces("ATL", "Inselort"), 1);
}

TEST_F(UserPlacesTest, DeleteMarksOnlyAUserRecordAndKeepsTheLength) {
  EXPECT_EQ(Delete("Berlin"), -1);  // a database place
  EXPECT_EQ(Found("Berlin"), 1);
  Add("Adorf");
  Add("Bonn");
  const std::string before = UserFile();
  EXPECT_EQ(Delete("Berlin"), -1);
  EXPECT_EQ(UserFile(), before);
  EXPECT_EQ(Delete("adorf"), -1);
  EXPECT_EQ(std::tuple(UserFile().size(), UserFile().substr(0, 6)),
            std::tuple(before.size(), "@Adorf"));
  EXPECT_EQ(std::tuple(Found("Adorf"), Found("Bonn")), std::tuple(0, 1));
  // The next addition drops it: deleted records do not pile up.
  Add("Aue");
  EXPECT_EQ(UserFile().size(), before.size());
  EXPECT_EQ(UserFile().find("@Adorf"), std::string::npos);
  EXPECT_EQ(Found("Aue"), 1);
  // A full-length name loses its last character to the mark.
  const std::string name(28, 'k');
  Add(name);
  Delete(name);
  EXPECT_NE(UserFile().find("@" + std::string(27, 'k')), std::string::npos);
  EXPECT_EQ(UserFile().find(name), std::string::npos);
}

// Index letters are names' own first characters, so "Ö" and "o" have runs
// apart from "O": every run folding to the searched letter is read, each record once.
TEST_F(UserPlacesTest, EveryRunOfALetterIsReadAndEachRecordOnce) {
  Add("Oberhausen");
  Add(AnsiFromUtf8("Ölberg"));
  EXPECT_EQ(Index(), std::string("O\1\0\0\0\326\2\0\0\0", 10));
  const auto names_of_o = [this] {
    PlaceList list;
    Read_Cp_Indexed_City(PlaceFile("D"), "O*", list, 1);
    return testing::Names(list);
  };
  EXPECT_THAT(names_of_o(), ElementsAre("Oberhausen", AnsiFromUtf8("Ölberg")));
  const std::vector<std::string> names = {"Überlingen-Nord", "Ärmelkanal", "Éze", "olpe"};
  for (const auto& name : names)
    ASSERT_EQ(Add(AnsiFromUtf8(name)), -1);
  Add("Ulm");
  Add("Zell");
  for (const auto& name : names) {
    ASSERT_EQ(Found(AnsiFromUtf8(name)), 1) << name;
    EXPECT_EQ(FoundPlaces()[0].Place.TrimmedName(), AnsiFromUtf8(name));
    EXPECT_LT(FoundPlaces()[0].RecordNo, 0);
  }
  EXPECT_THAT(names_of_o(), ElementsAre("Oberhausen", "olpe", AnsiFromUtf8("Ölberg")));
  // Typed without its accent, in small letters, or as a beginning.
  for (const std::string text : {"Olberg", "ölberg*", "ölberg", "OLBERG", "Uberlingen Nord"})
    EXPECT_EQ(Found(AnsiFromUtf8(text)), 1) << text;
  // Adding the name again in small letters is no new place.
  EXPECT_EQ(Add(AnsiFromUtf8("ölberg")), -1);
  EXPECT_EQ(Found(AnsiFromUtf8("Ölberg")), 1);
}

// The parts of a child's argument, "a|b|c".
std::vector<std::string> ArgumentParts(std::string_view argument) {
  const auto parts = Split(argument, '|');
  return {parts.begin(), parts.end()};
}

// In another process, "folder|first|last|log": adds "P<i>" for i in
// [first, last), logging each number whose addition returned.
int AddMany(const std::string& argument) {
  const auto parts = ArgumentParts(argument);
  if (parts.size() != 4) return 2;
  CurrentAtlas().places_path = parts[0];
  std::ofstream out(parts[3], std::ios::app);
  for (int i = std::stoi(parts[1]); i < std::stoi(parts[2]); ++i) {
    std::int32_t number = 0;
    if (AddCity(UserPlace{58, Place("P" + std::to_string(i), 1, 1), ""}, number) == -1)
      out << i << std::endl;
  }
  return 0;
}
const testing::ChildWorkRegistration kAddMany("add-many", AddMany);

// When the writer is killed: the first after this many microseconds, each
// next one later. A process takes longer to start on Windows.
#ifdef _WIN32
constexpr int kFirstKillUs = 300'000;
constexpr int kKillStepUs = 150'000;
#else
constexpr int kFirstKillUs = 7'000;
constexpr int kKillStepUs = 23'000;
#endif

std::set<std::string> NamesIn(const std::string& file) {
  std::set<std::string> names;
  for (std::size_t at = 0; at + kPlaceRecordSize <= file.size(); at += kPlaceRecordSize)
    names.insert(DecodePlaceRecord(file.substr(at, kPlaceRecordSize)).TrimmedName());
  return names;
}

TEST_F(UserPlacesTest, KilledWriterLeavesAValidFileWithEveryReturnedPlace) {
  const std::string log = (folder_.path() / "returned.log").string();
  for (int round = 0; round < 5; ++round) {
    // A loop of 500 additions, killed at different points.
    const auto range = std::to_string(round * 1000) + "|" + std::to_string(round * 1000 + 500);
    testing::ChildProcess child("add-many", folder_.str() + "|" + range + "|" + log);
    std::this_thread::sleep_for(std::chrono::microseconds(kFirstKillUs + kKillStepUs * round));
    child.Kill();
    const std::string file = UserFile();
    ASSERT_EQ(file.size() % kPlaceRecordSize, 0U);
    const auto names = NamesIn(file);
    std::ifstream in(log);
    for (std::string line; std::getline(in, line);)
      EXPECT_TRUE(names.count("P" + line)) << "P" << line << " was reported added but is missing";
  }
  // Killed writers left at most one temporary file, which the next takes over.
  auto listing = [this] {
    std::set<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path() / "USER"))
      files.insert(entry.path().filename().string());
    return files;
  };
  EXPECT_LE(listing().size(), 4U);
  EXPECT_EQ(Add("Final"), -1);
  EXPECT_EQ(listing(), (std::set<std::string>{"Changes.cnt", "D.IDX", "D.dao"}));
}

TEST_F(UserPlacesTest, ConcurrentWritersLoseNoPlace) {
  const std::string log = (folder_.path() / "returned.log").string();
  testing::ChildProcess first("add-many", folder_.str() + "|0|60|" + log);
  testing::ChildProcess second("add-many", folder_.str() + "|100|160|" + log);
  EXPECT_EQ(first.Wait(), 0);
  EXPECT_EQ(second.Wait(), 0);
  EXPECT_EQ(NamesIn(UserFile()).size(), 120U);
}

// Country codes that Windows reads as devices ("NUL.dao" is the null device
// in any folder): the addition stores nothing, or fails with a message
// naming the file, instead of writing into the device.
#ifdef _WIN32
TEST_F(UserPlacesTest, DeviceNamesAsCodesNeverWriteIntoADevice) {
  auto lines = testing::SampleCountryLines();
  const std::vector<std::pair<int, std::string>> devices = {
      {301, "CON"}, {302, "NUL"}, {303, "COM1"}, {304, "LPT1"}};
  // Among the countries, before the group lines that end the table.
  for (const auto& [id, code] : devices)
    lines.insert(lines.begin() + 12,
                 testing::CountryDatLine(id, "Ger\xE4t " + code, code, "MEZ", "EUROPA", 4));
  folder_.Write("Country.dat", testing::JoinCrLf(lines));
  InitializeCountries("", "Country.dat", false, /*force_reload=*/true);
  for (const auto& [id, code] : devices) {
    SCOPED_TRACE(code);
    ASSERT_EQ(
        CurrentAtlas().countries[static_cast<std::size_t>(GetCountryIndexOfID(id))].CountryShort,
        code);
    EXPECT_EQ(SearchandStorePlaces(code, "Testort"), 0);
    std::int32_t number = 0;
    // Not stored (0, no user file can be named so) or refused naming the file.
    try {
      EXPECT_EQ(
          AddCity(UserPlace{static_cast<std::int16_t>(id), Place("Testort", 1, 1), ""}, number), 0);
    } catch (const AtlasWriteError& e) {
      EXPECT_NE(e.file().find(code + ".dao"), std::string::npos) << e.file();
      EXPECT_NE(e.problem().find("reserved for a device"), std::string::npos) << e.problem();
    }
    EXPECT_EQ(SearchandStorePlaces(code, "Testort"), 0);
  }
  // Refused before anything was written: not even the USER folder exists.
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "USER"));
}
#endif

// Another program holding the user file open: where the system lets a file
// that is open be replaced (POSIX), the place is added; where it does not
// (Windows renames over no open file, whatever the holder shares), the
// addition fails after a few seconds with a message naming the file, which
// keeps its places.
int HoldFile(const std::string& argument) {
  const auto parts = ArgumentParts(argument);
  if (parts.size() != 3) return 2;
#ifdef _WIN32
  const DWORD share = FILE_SHARE_READ | (parts[2] == "share-delete" ? FILE_SHARE_DELETE : 0);
  const HANDLE file = ::CreateFileW(std::filesystem::u8path(parts[0]).c_str(), GENERIC_READ, share,
                                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return 3;
#else
  std::ifstream file(parts[0], std::ios::binary);
  if (!file) return 3;
#endif
  std::ofstream(parts[1]) << "open";
  std::this_thread::sleep_for(std::chrono::seconds(20));  // until killed
  return 0;
}
const testing::ChildWorkRegistration kHoldFile("hold-file", HoldFile);

TEST_F(UserPlacesTest, UserFileHeldOpenByAnotherProgramIsReplacedOrFailsClearly) {
  ASSERT_EQ(Add("Adorf"), -1);
  for (const std::string sharing : {"share-delete", "no-share-delete"}) {
    SCOPED_TRACE(sharing);
    const std::string before = UserFile();
    const auto marker = folder_.path() / ("held-" + sharing);
    testing::ChildProcess holder("hold-file", (folder_.path() / "USER" / "D.dao").string() + "|" +
                                                  marker.string() + "|" + sharing);
    for (int i = 0; i < 500 && !std::filesystem::exists(marker); ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    ASSERT_TRUE(std::filesystem::exists(marker));
    const std::string name = "Ort " + sharing;
#ifdef _WIN32
    try {
      Add(name);
      ADD_FAILURE() << "the file was replaced while another program held it";
    } catch (const AtlasWriteError& e) {
      EXPECT_NE(e.file().find("D.dao"), std::string::npos) << e.file();
    }
    holder.Kill();
    EXPECT_EQ(UserFile(), before);
    EXPECT_FALSE(std::filesystem::exists(folder_.path() / "USER" / "D.~~~"));
    EXPECT_EQ(SearchandStorePlaces("D", name), 0);
#else
    EXPECT_EQ(Add(name), -1);
    holder.Kill();
    EXPECT_EQ(Found(name), 1);
#endif
  }
}

}  // namespace
}  // namespace tarv
