#include "export/text_export.h"

#include <gtest/gtest.h>
#ifndef _WIN32
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <csignal>
#include <filesystem>
#include <limits>

#include "interface/export_phrase.h"
#include "support/atlas_fixture.h"
#include "tarvplaces/atlas_error.h"
#include "tarvplaces/places.h"

namespace tarv {
namespace {

using testing::At;
using testing::Place;

class TextExportTest : public testing::AtlasFixture {
 protected:
  void SetUp() override {
    AtlasFixture::SetUp();
    // Germany has timetables and a user place; Austria has neither.
    WriteCountry("D", {Place("Berlin", 13.41F, 52.52F, 3), Place("Aachen", 6.08F, 50.77F, 1)});
    WriteUserFile("D", {Place("Adorf", 12.5F, 50.25F, 2), Place("@gone", 1, 1)});
    WriteCountry("A", {Place("Wien", 16.37F, 48.21F, 0)});
    WriteTimetables(
        "ttx.dao",
        {{58, {{{At(1893, 4, 1), Zone("MET")}}, {}, {{At(1900, 1, 1, 12, 30), Zone("EET")}}}}});
  }
  std::string File(const std::string& name) { return folder_.Read(name); }
  std::string AllFiles() {
    return File("Cities.txt") + File("Countries.txt") + File("Zones.txt") + File("Timetable.txt");
  }
  // Where the export stops, "file: problem", or "exported".
  std::string ExportFault() {
    try {
      ExportPlaces("");
    } catch (const AtlasError& e) {
      return e.file() + ": " + e.problem();
    }
    return "exported";
  }
  void ExpectNoTemporaryFiles() {
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
      EXPECT_NE(entry.path().extension(), ".~~~") << "temporary file left behind";
    }
  }
};

TEST_F(TextExportTest, CitiesListAtlasThenUserPlacesPerCountry) {
  ExportPlaces("");
  const std::string cities = File("Cities.txt");
  EXPECT_EQ(cities.substr(0, 48), "Country\tCity\tLongitude\tLatitude\tTimetable\tUser\r\n");
  const std::string aachen = "D\tAachen" + std::string(22, ' ') + "\t6.08\t50.77\t1\t0\r\n";
  const std::string adorf = "D\tAdorf" + std::string(23, ' ') + "\t12.5\t50.25\t2\t1\r\n";
  const std::string wien = "A\tWien" + std::string(24, ' ') + "\t16.37\t48.21\t0\t0\r\n";
  EXPECT_NE(cities.find(aachen), std::string::npos);
  EXPECT_LT(cities.find("Berlin"), cities.find(adorf));  // atlas places before user places
  EXPECT_NE(cities.find(wien), std::string::npos);
  EXPECT_EQ(cities.find("gone"), std::string::npos);  // deleted
}

TEST_F(TextExportTest, TwoExportsGiveTheSameFiles) {
  folder_.Write("Cities.txt", "X\tLine of an old export\r\n");
  ExportPlaces("");
  EXPECT_EQ(File("Cities.txt").find("old export"), std::string::npos);
  const std::string first = AllFiles();
  ExportPlaces("");
  EXPECT_EQ(AllFiles(), first);
}

TEST_F(TextExportTest, CountriesZonesAndTimetablesKeepTheirLayout) {
  const auto counts = ExportPlaces("");
  EXPECT_EQ(counts.countries, 12U);  // 17 lines less the five groups
  EXPECT_EQ(counts.zones, 287U);
  const std::string countries = File("Countries.txt");
  EXPECT_EQ(countries.substr(0, 3), "Id\t");
  EXPECT_NE(countries.find("\r\n1\t58\tDeutschland\tD\tMEZ\tEUROPA\t"), std::string::npos);
  const std::string zones = File("Zones.txt");
  EXPECT_NE(zones.find("\r\n2\t2\tMET         \tMiddle European Time" + std::string(25, ' ') +
                       "\t1\tN\t"),
            std::string::npos);
  // Three timetables of Germany, each from the 1700 entry; Austria has none.
  // (France and the others in the table list their timetables with the 1700
  // entry alone: this atlas has no section for them.)
  const std::string timetables = File("Timetable.txt");
  const std::string germany =
      "CountryId\tTimetable\tRunningId\tTZIndex\tDate\r\n"
      "58\t1\t1\t0\t01.01.1700 00:00\r\n"
      "58\t1\t2\t2\t01.04.1893 00:00\r\n"
      "58\t2\t1\t0\t01.01.1700 00:00\r\n"
      "58\t3\t1\t0\t01.01.1700 00:00\r\n"
      "58\t3\t2\t3\t01.01.1900 12:30\r\n";
  EXPECT_EQ(timetables.substr(0, germany.size()), germany);
  EXPECT_EQ(timetables.find("\n11\t"), std::string::npos);
}

TEST_F(TextExportTest, ExportWantsThePassPhraseAndReportsAnEmptyPlaceFolder) {
  classPlaces places;
  places.Export("tarv&orte");
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "Cities.txt"));
  places.Export(ExportPassPhrase());
  EXPECT_TRUE(std::filesystem::exists(folder_.path() / "Cities.txt"));
  CurrentAtlas().places_path.clear();
  places.Export(ExportPassPhrase());
  ASSERT_EQ(messages_.size(), 1U);
  EXPECT_EQ(std::tuple(messages_[0].text, messages_[0].style),
            std::tuple("g_PlacesPath ist nicht gefüllt", kMsgInformation));
}

TEST_F(TextExportTest, FullDiskFailsClearlyAndKeepsTheOldFiles) {
  ExportPlaces("");
  const std::string before = File("Cities.txt") + File("Zones.txt");
#ifdef _WIN32
  GTEST_SKIP() << "Windows has no limit on a file's size to stand for a full disk";
#else
  // A child whose files may not grow past 1 KiB stands for a full disk.
  const pid_t child = fork();
  if (child == 0) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{1024, 1024};
    setrlimit(RLIMIT_FSIZE, &limit);
    try {
      ExportPlaces("");
    } catch (const AtlasError& e) {
      _exit(e.file().ends_with("Zones.txt") && dynamic_cast<const AtlasWriteError*>(&e) ? 3 : 4);
    }
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 3);  // an AtlasWriteError naming the file
  EXPECT_EQ(File("Cities.txt") + File("Zones.txt"), before);
  ExpectNoTemporaryFiles();
#endif
}

// A file the export cannot read stops it, naming the file: leaving its
// places or entries out would export a smaller atlas as if it were whole.
// The old export stays as it was.
TEST_F(TextExportTest, UnreadableFileStopsTheExportAndKeepsTheOldFiles) {
  ExportPlaces("");
  const std::string before = AllFiles();
  const std::string places = folder_.Read("D.dao");
  const std::string user = folder_.Read("USER/D.dao");
  const std::string timetables = folder_.Read("ttx.dao");
  const std::string corrupt = "corrupt compressed file format";
  const std::tuple<std::string, std::string, std::string> kCases[] = {
      {"D.dao", places.substr(0, places.size() - 1), corrupt},
      {"D.dao", places.substr(0, 8) + "B" + places.substr(9),
       "compression algorithm not recognized"},
      {"USER\\D.dao", CompressSzdd(user).substr(0, 20), corrupt},
      {"ttx.dao", timetables.substr(0, timetables.size() - 2), corrupt}};
  for (const auto& [file, bytes, problem] : kCases) {
    SCOPED_TRACE(file);
    folder_.Write(file == "USER\\D.dao" ? "USER/D.dao" : file, bytes);
    EXPECT_EQ(ExportFault(), folder_.str() + "\\" + file + ": " + problem);
    EXPECT_EQ(AllFiles(), before);
    ExpectNoTemporaryFiles();
    folder_.Write("D.dao", places);
    folder_.Write("USER/D.dao", user);
    folder_.Write("ttx.dao", timetables);
  }
  // An entry that is no date.
  WriteTimetables("ttx.dao", {{58,
                               {{{At(1893, 4, 1), Zone("MET")}},
                                {{At(1900, 1, 1), Zone("MET")},
                                 {std::numeric_limits<double>::quiet_NaN(), Zone("MET")}}}}});
  EXPECT_EQ(ExportFault().rfind(folder_.str() + "\\ttx.dao: country 58, timetable 2, entry 3: ", 0),
            0U);
  EXPECT_EQ(AllFiles(), before);
}

}  // namespace
}  // namespace tarv
