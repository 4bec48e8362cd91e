#include "atlas/place_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <limits>

#include "atlas/atlas_fault.h"
#include "atlas/nearest_place.h"
#include "atlas/place_file_writer.h"
#include "platform/file_status.h"
#include "platform/paths.h"
#include "support/atlas_fixture.h"
#include "support/fault_text.h"
#include "text/bytes.h"
#include "text/codepage.h"
#include "text/lz.h"

namespace tarv {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using testing::Names;
using testing::Place;

std::vector<std::int16_t> Numbers(const PlaceList& list) {
  std::vector<std::int16_t> records;
  for (const auto& ref : list.refs)
    records.push_back(ref.RecordNo);
  return records;
}

class PlaceFileTest : public testing::AtlasFixture {
 protected:
  void SetUp() override {
    AtlasFixture::SetUp();
    WriteCountry("D",
                 {Place("M\xFCnchen", 11.57549F, 48.13743F, 1), Place("Aachen", 6.08F, 50.77F, 2),
                  Place("Bach", 9.0F, 48.0F), Place("Bad Aibling", 12.0F, 47.86F),
                  Place("Berlin", 13.41F, 52.52F, 3), Place("Zwickau", 12.5F, 50.72F)});
    WriteCountry("CH", {Place("St. Gallen G.C.", 9.37F, 47.42F), Place("St Gallen", 9.3F, 47.4F)});
  }
  PlaceList ReadAll(const std::string& code) {
    PlaceList list;
    EXPECT_GE(Read_Cp_ORTE(PlaceFile(code), list), 0);
    return list;
  }
  PlaceList Search(const std::string& code, const std::string& text, std::int16_t mode = 0) {
    PlaceList list;
    const std::int32_t found = Read_Cp_Indexed_City(PlaceFile(code), text, list, mode);
    EXPECT_EQ(found, static_cast<std::int32_t>(list.size()));
    return list;
  }
  // The malformed file a search or a nearest place lookup notes ("" for none).
  std::string SearchFault(const std::string& code, const std::string& text,
                          PlaceList* list = nullptr) {
    PlaceList own;
    return MalformedFileOf(
        [&] { Read_Cp_Indexed_City(PlaceFile(code), text, list ? *list : own, 0); });
  }
  std::string NearestFault(const std::string& code) {
    return MalformedFileOf([&] { FindNearestPlace(code, 15.4, 47.1, 0.0); });
  }
};

TEST(PlaceRecord, FieldsSitAtTheirByteOffsets) {
  const auto p = Place("Wien", 16.37F, 48.21F, -2);
  const std::string bytes = EncodePlaceRecord(p);
  ASSERT_EQ(bytes.size(), kPlaceRecordSize);
  EXPECT_EQ(std::tuple(bytes.substr(0, 28), DecodeInt16(bytes, 28), DecodeFloat32(bytes, 30),
                       DecodeFloat32(bytes, 34)),
            std::tuple("Wien" + std::string(24, ' '), -2, 16.37F, 48.21F));
  EXPECT_EQ(DecodePlaceRecord(bytes).TrimmedName(), "Wien");
}

TEST_F(PlaceFileTest, FileNamesFollowTheInternalCodeAndStayInThePlaceFolder) {
  EXPECT_EQ(IndexPathOf("C:\\Atlas\\D.dao"), "C:\\Atlas\\D.IDX");
  EXPECT_EQ(Get_UserFile("C:\\Atlas\\D.dao"), "C:\\Atlas\\USER\\D.dao");
  const std::string folder = folder_.str() + "\\";
  EXPECT_EQ(GetCompressedPlaceFile("rus"), folder + "SSR.dao");
  EXPECT_EQ(GetCompressedPlaceFile("europa"), folder + "europa");
  EXPECT_EQ(GetCompressedPlaceFile(""), folder);
  // Codes that would leave the folder are unknown countries; a control
  // character (a NUL above all) would cut the path short.
  for (const std::string& code :
       {std::string("..\\D"), std::string("../D"), std::string("a\\b"), std::string("C:D"),
        std::string(".."), std::string("D.dao\0X", 7), std::string("D\x01"), std::string("D\n")}) {
    EXPECT_EQ(GetCompressedPlaceFile(code), folder) << code;
    std::vector<std::string> files;
    std::vector<PlaceRef> refs;
    EXPECT_EQ(Get_CompressedFiles(code, files, refs), 0U) << code;
  }
}

TEST_F(PlaceFileTest, ReadAllGivesUserPlacesFirstNegativelyNumberedAndSkipsDeletedOnes) {
  EXPECT_THAT(Names(ReadAll("D")),
              ElementsAre("Aachen", "Bach", "Bad Aibling", "Berlin", "M\xFCnchen", "Zwickau"));
  // A deleted record's number is not reused.
  WriteUserFile("D", {Place("@dorf", 1, 1), Place("Adorf", 12.26F, 50.32F),
                      Place("Berlin", 13.0F, 52.0F, 2)});
  const auto list = ReadAll("D");
  EXPECT_THAT(Numbers(list), ElementsAre(-2, -3, 1, 2, 3, 4, 5, 6));
  EXPECT_EQ(list.places[0].TrimmedName(), "Adorf");
  // The same name in both files is found twice.
  EXPECT_THAT(Names(Search("D", "berlin")), ElementsAre("Berlin", "Berlin"));
  // No file: no places (the place folder itself for an unknown code).
  EXPECT_EQ(ReadAll("F").size(), 0U);
  EXPECT_EQ(ReadAll("Xanadu").size(), 0U);
}

TEST_F(PlaceFileTest, SearchesForTheNameItsBeginningOrAPattern) {
  const struct {
    const char* code;
    std::string text;
    std::int16_t mode;
    std::vector<std::string> names;
  } cases[] = {
      // Whole names ignore case, blanks, signs and trailing stops.
      {"D", "M\xDCNCHEN", 0, {"M\xFCnchen"}},
      {"D", "  Bad-Aibling.. ", 0, {"Bad Aibling"}},
      {"D", "Munchen", 0, {}},  // accents count without the pattern
      {"D", "", 0, {}},
      {"D", "*", 0, {}},
      // Beginnings; one longer than the name matches through its letters.
      {"D", "ba*", 0, {"Bach", "Bad Aibling"}},
      {"D", "Bach            xx*", 0, {}},
      {"D", "Bach                            *", 0, {"Bach"}},
      // Patterns fold accents.
      {"D", "Munchen", 1, {"M\xFCnchen"}},
      {"D", "MUNCHEN", 1, {"M\xFCnchen"}},
      {"D", "M?nch*", 1, {"M\xFCnchen"}},
      {"D", "M**chen", 1, {"M\xFCnchen"}},
      {"D", "*ckau", 1, {"Zwickau"}},
      {"D", "Bad (Aibling)", 1, {"Bad Aibling"}},
      // "_" is looked up under A, whose run ends with the first record of B;
      // the last run reads to the end of the file.
      {"D", "_Bach", 0, {"Bach"}},
      {"D", "_Berlin", 0, {}},
      {"D", "Zwickau", 0, {"Zwickau"}},
      // The abbreviation G.C. keeps its full stop.
      {"CH", "St. Gallen G.C.", 0, {"St. Gallen G.C."}},
      {"CH", "st. gallen g.c", 0, {"St. Gallen G.C."}},
      {"CH", "St. Gallen", 0, {"St Gallen"}},
      {"CH", "St.Gallen", 1, {"St Gallen"}},
  };
  for (const auto& c : cases)
    EXPECT_EQ(Names(Search(c.code, c.text, c.mode)), c.names) << c.text << " mode " << c.mode;
}

TEST_F(PlaceFileTest, WholeNameSearchFindsEverySpellingInItsRunInRecordOrder) {
  WriteCountry("A", {Place("Sankt Anton", 10.3F, 47.1F), Place("St. Anton", 11.0F, 47.0F),
                     Place("Salzburg", 13.0F, 47.8F), Place("sankt-anton", 12.0F, 47.5F),
                     Place("Tamsweg", 13.8F, 47.1F), Place("Sankt Anton", 14.0F, 46.9F)});
  const PlaceList found = Search("A", "SanktAnton");
  ASSERT_THAT(Names(found), ElementsAre("Sankt Anton", "Sankt Anton", "sankt-anton"));
  EXPECT_LT(found.refs[0].RecordNo, found.refs[1].RecordNo);
  EXPECT_LT(found.refs[1].RecordNo, found.refs[2].RecordNo);
  // Another run's letter asks another index; both answer from one image,
  // also within one call, which keeps the runs it found.
  WatchedFolder user(folder_.str() + "\\USER", NativePath);
  const StatScope one_call(user);
  EXPECT_THAT(Names(Search("A", "Tamsweg")), ElementsAre("Tamsweg"));
  EXPECT_THAT(Names(Search("A", "St Anton")), ElementsAre("St. Anton"));
}

TEST_F(PlaceFileTest, FoldedIndexLettersReadOneRunPerLetter) {
  // The writer files "Ö" under O, so the index has one run per letter and
  // each search reads that run and the first record of the next.
  WriteCountry("A", {Place(AnsiFromUtf8("Ötztal"), 10.9F, 47.2F), Place("Obertauern", 13.6F, 47.3F),
                     Place("Ort", 13.8F, 47.9F), Place(AnsiFromUtf8("Übelbach"), 15.2F, 47.2F),
                     Place("Perg", 14.6F, 48.2F), Place("Ulrichsberg", 13.9F, 48.7F)});
  EXPECT_EQ(folder_.Read("A.IDX").size(), 3 * kIndexEntrySize);
  // "?" looks for the Z run, which is absent: record 1 only, not "Übelbach".
  const std::pair<std::string, std::vector<std::int16_t>> kCases[] = {
      {"Otztal", {3}}, {"O*", {1, 2, 3}}, {"?b*", {1}}, {"U*", {5, 6}}, {"P*", {4}}};
  for (const auto& [text, numbers] : kCases)
    EXPECT_EQ(Numbers(Search("A", text, 1)), numbers) << text;
  EXPECT_THAT(Numbers(Search("A", AnsiFromUtf8("Ötztal"))), ElementsAre(3));
}

TEST_F(PlaceFileTest, GroupsReadDatabaseBeforeUserFileInTableOrder) {
  WriteCountry("A", {Place("Bregenz", 9.7F, 47.5F)});
  WriteUserFile("A", {Place("Bludenz", 9.8F, 47.2F)});
  WriteUserFile("D", {Place("Bonn", 7.1F, 50.7F)});
  const PlaceList list = Search("EUROPA", "B*");
  EXPECT_THAT(Names(list),
              ElementsAre("Bach", "Bad Aibling", "Berlin", "Bonn", "Bregenz", "Bludenz"));
  EXPECT_EQ(std::tuple(list.refs[3].Country, list.refs[3].RecordNo, list.refs[4].Country),
            std::tuple("D", -1, "A"));
}

TEST_F(PlaceFileTest, GroupsAreFoundByTheirNameInEitherLanguageOfTheTable) {
  WriteCountry("J", {Place("Kyoto", 135.8F, 35.0F), Place("Kobe", 135.2F, 34.7F)});
  for (const std::int32_t language : {kLanguageGerman, kLanguageEnglish}) {
    CurrentAtlas().Language().SetLanguage(language);
    InitializeCountries("", "Country.dat", false, true);  // continents in that language
    const bool german = language == kLanguageGerman;
    EXPECT_THAT(Names(Search(german ? "ASIEN" : "ASIA", "K*")), ElementsAre("Kobe", "Kyoto"));
    EXPECT_THAT(Names(Search(german ? "EUROPA" : "EUROPE", "K*")), ElementsAre()) << language;
  }
}

TEST_F(PlaceFileTest, CityDataTakesTheNamedPlaceOfItsFileOrTheUserPlaceFirst) {
  WriteUserFile("D", {Place("Berlin", 13.0F, 52.0F, 2)});
  const std::string file = PlaceFile("D");
  const auto found = [](bool user_first, const std::string& in, const char* name) {
    PlaceRecord p;
    const bool ok = user_first ? FindPlaceUserFirst(in, name, p) : Get_City_Data(in, name, p);
    return ok ? p.TrimmedName() + " " + std::to_string(p.Timetable) : "none";
  };
  // The user's place first, else the database's; names compare by letters only.
  const std::tuple<bool, std::string, const char*, const char*> kCases[] = {
      {false, Get_UserFile(file), "berlin", "Berlin 2"},
      {false, file, "Berlin.", "Berlin 3"},
      {false, file, "Ber*", "none"},
      {false, file, "Bern", "none"},
      {true, file, "BERLIN.", "Berlin 2"},
      {true, file, "Zwickau", "Zwickau 1"},
      {true, file, "Berl*", "none"},
      {true, file, "Bad-Aibling", "none"}};
  for (const auto& [user_first, in, name, want] : kCases)
    EXPECT_EQ(found(user_first, in, name), want) << name;
}

// The table's own texts are checked where the readers' faults carry them.
TEST(LzErrorMessages, CodesOutsideTheTableNameTheFile) {
  EXPECT_EQ(LZERROR_Msg(-9, "D.dao"), "Unbekannter Fehler beim Lesen der Datei D.dao");
}

// A place file, user file or index that cannot be expanded is an error for
// every reader, never fewer places: each returns the code and notes the
// file as the call's fault, and none shows a message itself (the
// interfaces tell the fault). The atlas's own files are always compressed:
// a plain one was overwritten by something else (user files are plain).
TEST_F(PlaceFileTest, AnUnreadableFileFailsEveryReaderNamingIt) {
  WriteUserFile("D", {Place("Zeitz", 12.1F, 51.05F)});
  // Each file as written, and the bytes of its first `keep` (0: plain records).
  const std::tuple<std::string, std::string, bool, std::size_t> kCases[] = {
      {"D.dao", "D.dao", false, 20},
      {"D.dao", "D.dao", false, 0},
      {"USER/D.dao", "USER\\D.dao", true, 20},
      {"D.IDX", "D.IDX", true, 16}};
  for (const auto& [file, path, compress, keep] : kCases) {
    SCOPED_TRACE(file + " " + std::to_string(keep));
    const std::string whole = folder_.Read(file);
    folder_.Write(file, keep == 0 ? EncodePlaceFile({Place("Aachen", 6.08F, 50.77F)})
                                  : (compress ? CompressSzdd(whole) : whole).substr(0, keep));
    messages_.clear();
    const std::string named = folder_.str() + "\\" + path;
    PlaceList list;
    if (file != "D.IDX") {  // reading all places needs no index
      ClearAtlasFault();
      EXPECT_EQ(Read_Cp_ORTE(PlaceFile("D"), list), LZERROR_READ);
      EXPECT_EQ(std::tuple(LastAtlasFaultReader(), LastAtlasFault().Reason, LastAtlasFault().File),
                std::tuple("Read_Cp_Orte", "corrupt compressed file format", named));
    }
    for (const char* text : {"Zwickau", "Aachen", "Z*"}) {
      ClearAtlasFault();
      EXPECT_EQ(Read_Cp_Indexed_City(PlaceFile("D"), text, list, 0), LZERROR_READ) << text;
      EXPECT_EQ(Read_Cp_Indexed_City(PlaceFile("EUROPA"), text, list, 1), LZERROR_READ) << text;
      EXPECT_EQ(std::pair(LastAtlasFault().File, LastAtlasFault().Code),
                std::pair(named, LZERROR_READ));
    }
    PlaceRecord place;
    EXPECT_FALSE(Get_City_Data(PlaceFile("D"), "Aachen", place));
    EXPECT_TRUE(messages_.empty());
    folder_.Write(file, whole);
  }
}

// Records the format cannot hold would be answered as they are: a place at
// 400 degrees, a timetable the country does not have, a file cut in a
// record. Each is a fault naming the file, for every reader.
TEST_F(PlaceFileTest, RecordsTheFormatCannotHoldAreAFaultNamingTheFile) {
  const PlaceRecord graz = Place("Graz", 15.44F, 47.07F, 1);
  const std::string file = folder_.str() + "\\A.dao";
  // The component writes a file only with places in it.
  const std::pair<std::string, std::string> cases[] = {
      {"", "holds no record"},
      {EncodePlaceFile({graz, Place("Wien", 2, 2)}) + "Linz", "4 bytes after the last whole"},
      {EncodePlaceFile({graz, Place("Wien", 400.0F, 48.2F)}), "record 2: coordinates 400"},
      {EncodePlaceFile({graz, Place("Wien", 16.4F, std::numeric_limits<float>::quiet_NaN())}),
       "record 2: coordinates"},
      {EncodePlaceFile({Place("Wien", 16.4F, 48.2F, 999)}), "record 1: timetable 999"},
      {std::string(38 * 50 + 7, '\x9F'), "7 bytes after"}};
  for (const auto& [bytes, why] : cases) {
    folder_.Write("A.dao", CompressSzdd(bytes));
    PlaceList list;
    EXPECT_EQ(MalformedFileOf([&] {
                EXPECT_LT(Read_Cp_ORTE(PlaceFile("A"), list), 0);
              }).rfind(file + ": " + why, 0),
              0U)
        << why;
    EXPECT_NE(SearchFault("A", "Graz"), "");
    EXPECT_NE(NearestFault("A"), "");
  }
  // A deleted record is not a place: what it holds is not checked.
  folder_.Write("A.dao",
                CompressSzdd(EncodePlaceFile({graz, Place("@gone", 999.0F, 999.0F, 999)})));
  EXPECT_EQ(MalformedFileOf([&] { EXPECT_EQ(ReadAll("A").size(), 1U); }), "");
  // A folder (or FIFO, or device) where the file belongs is not "no places".
  std::filesystem::remove(folder_.path() / "A.dao");
  std::filesystem::create_directory(folder_.path() / "A.dao");
  EXPECT_EQ(SearchFault("A", "Graz"), file + ": is not a regular file");
  EXPECT_EQ(NearestFault("A"), file + ": is not a regular file");
}

// A database index that does not say what its records say would find
// nothing or the wrong places ("Z*" listing Saarbrücken): it is damage. A
// user index is derived data and is not read at all.
TEST_F(PlaceFileTest, AnIndexThatDisagreesWithItsRecords) {
  const auto index = [](char first, std::int32_t at, char second, std::int32_t then) {
    std::string bytes(1, first);
    AppendInt32(bytes, at);
    bytes += second;
    AppendInt32(bytes, then);
    return bytes;
  };
  const std::vector<PlaceRecord> places = {Place("Graz", 1, 1), Place("Linz", 3, 3),
                                           Place("Wien", 2, 2)};
  folder_.Write("A.dao", CompressSzdd(EncodePlaceFile(places)));
  for (const std::string& bad : {index('G', -5, 'W', 99), index('W', 3, 'G', 1),
                                 index('G', 1, 'L', 2).substr(0, 7), std::string()}) {
    folder_.Write("A.IDX", bad);
    PlaceList list;
    EXPECT_THAT(SearchFault("A", "Wien", &list), HasSubstr("A.IDX: does not match the records of"));
    EXPECT_TRUE(list.places.empty());
  }
  std::filesystem::remove(folder_.path() / "A.IDX");
  EXPECT_THAT(SearchFault("A", "Wien"), HasSubstr("A.IDX: is missing"));
  folder_.Write("A.IDX", EncodePlaceIndex(places));
  EXPECT_THAT(Names(Search("A", "Wien")), ElementsAre("Wien"));
  // Missing, empty, garbage or stale: the user's places are found all the same.
  WriteUserFile("A", {Place("Aigen", 13.1F, 47.5F), Place("Zell", 12.8F, 47.3F)});
  for (const std::string& user_index :
       {std::string("\xFF garbage"), std::string(), index('A', 1, 'Q', 9)}) {
    folder_.Write("USER/A.IDX", user_index);
    EXPECT_THAT(Names(Search("A", "Zell")), ElementsAre("Zell"));
    EXPECT_THAT(Names(Search("A", "Z*", 1)), ElementsAre("Zell"));
  }
  std::filesystem::remove(folder_.path() / "USER" / "A.IDX");
  EXPECT_THAT(Names(Search("A", "Aigen")), ElementsAre("Aigen"));
}

}  // namespace
}  // namespace tarv
