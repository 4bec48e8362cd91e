#include "ui/timetable/dlg_place_timetable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "atlas/atlas_state.h"
#include "ui/placemanager_fixture.h"

namespace tarv::ui {
namespace {

using ::testing::ElementsAre;

class TimetableChooser : public testing::DialogAtlasFixture {
 protected:
  DlgPlaceTimetable& Open(const std::string& country, std::int16_t timetable,
                          std::int16_t record = 0) {
    dialog_ = std::make_unique<DlgPlaceTimetable>(CurrentAtlas().Language());
    dialog_->Country(country);
    dialog_->Timetable(timetable);
    dialog_->Record(record);
    dialog_->OnClose([this] { ++closed_; });
    dialog_->Form_Load();
    return *dialog_;
  }
  const ControlState& Ctl(const std::string& name) const { return dialog_->Control(name); }

  std::unique_ptr<DlgPlaceTimetable> dialog_;
  int closed_ = 0;
};

TEST_F(TimetableChooser, ListsTheTimetablesAndHighlightsTheCurrent) {
  auto& d = Open("D", 2);
  EXPECT_EQ(d.Caption(), "Auswahl für eine Zeittabelle für einen Ort");
  EXPECT_EQ(Ctl("Label1").text, "Zeittabelle");
  EXPECT_THAT(Ctl("li_TT_Nr").items,
              ElementsAre("1. Zeittabelle", "2. Zeittabelle", "3. Zeittabelle"));
  EXPECT_EQ(Ctl("li_TT_Nr").list_index, 1);
  EXPECT_THAT(Ctl("li_Zeittabelle").items, ElementsAre("davor gilt LMT", "01.04.1893 00.00  MET"));
  EXPECT_EQ(Ctl("lb_Zeittabelle").text, "Keine Auswahl");
}

// OK gives the highlighted timetable: the current one, the first for a
// number outside the list, none where the country has no timetables.
TEST_F(TimetableChooser, OkGivesTheHighlightedNumberAndCancelZero) {
  const struct {
    const char* country;
    std::int16_t current;
    std::size_t entries;  // a timetable without entries shows the LMT line alone
    const char* ok;
  } cases[] = {{"D", 3, 1, "3"}, {"D", 9, 10, "1"}, {"A", 1, 0, "0"}};
  for (const auto& c : cases) {
    Open(c.country, c.current).bt_OK_Click();
    EXPECT_EQ(Ctl("li_Zeittabelle").items.size(), c.entries) << c.current;
    EXPECT_EQ(SelectedTimetable(), c.ok) << c.current;
  }
  EXPECT_EQ(closed_, 3);
  auto& d = Open("D", 3);
  d.li_TT_Nr_Click(0);
  d.bt_OK_Click();
  EXPECT_EQ(SelectedTimetable(), "1");
  Open("D", 3).bt_CANCEL_Click();
  EXPECT_EQ(SelectedTimetable(), "0");
}

TEST_F(TimetableChooser, EnglishTextsAndTheDescriptionOfTheEntryClicked) {
  CurrentAtlas().Language().SetLanguage(kLanguageEnglish);
  auto& d = Open("D", 2);
  EXPECT_EQ(d.Caption(), "Select a timetable");
  EXPECT_EQ(Ctl("li_TT_Nr").items[0], "1. Timetable");
  EXPECT_EQ(Ctl("li_Zeittabelle").items[0], "before is LMT");
  const std::pair<std::int32_t, const char*> clicks[] = {
      {1, "Local time: Middle European Time  (MET)"},
      {0, "Local time: Local Mean Time  (LMT)"},
      {-1, "No choice"}};
  for (const auto& [row, text] : clicks) {
    d.li_Zeittabelle_Click(row);
    EXPECT_EQ(Ctl("lb_Zeittabelle").text, text) << row;
  }
}

TEST_F(TimetableChooser, SaysWhereThePlaceFollowsItsOwnZoneHistory) {
  WriteBerlinsOwnHistory();
  auto& d = Open("D", 1, 2);
  EXPECT_EQ(Ctl("lb_EigeneZonen").text,
            "Eigene Zonengeschichte Test/Plain in 1996-2100 (weicht von Zeittabelle 1 ab)");
  d.li_TT_Nr_Click(1);
  EXPECT_EQ(Ctl("lb_EigeneZonen").text, "");
  // A user place, or a place without its own zone, has nothing to say.
  for (const int record : {-1, 1}) {
    d.Record(static_cast<std::int16_t>(record));
    d.li_TT_Nr_Click(0);
    EXPECT_EQ(Ctl("lb_EigeneZonen").text, "") << record;
  }
}

// The generic US zones are written with the state's letters.
TEST_F(TimetableChooser, UsGenericZonesTakeTheStatesBaseZone) {
  auto zones = testing::ProjectZoneTable();
  zones[284].TZShort = "ST";
  zones[285].TZShort = "DT";
  zones[285].TZType = 'S';
  zones[286].TZShort = "WT";
  folder_.Write("Zones13.bin", EncodeZoneFile(zones));
  CurrentAtlas().zones_loaded = false;
  InitializeTimeZones("", "Zones13.bin");
  WriteTimetables("TTUSA.dao", {{200,
                                 {{{testing::At(1883, 11, 18, 12), 284},
                                   {testing::At(1918, 3, 31, 2), 285},
                                   {testing::At(1942, 2, 9, 2), 286}}}}});
  auto& d = Open("USCA", 1);
  EXPECT_TRUE(d.IsUSA());
  EXPECT_THAT(Ctl("li_Zeittabelle").items,
              ElementsAre("davor gilt LMT", "18.11.1883 12.00  PST", "31.03.1918 02.00  PDT",
                          "09.02.1942 02.00  PWT"));
  d.li_Zeittabelle_Click(2);
  EXPECT_EQ(Ctl("lb_Zeittabelle").text, "Ortszeit: Pacific Daylight Time  (PDT)");
  // Without zones the lines are dates only.
  const auto listing = ListTimetable("USCA", 1, false, CurrentAtlas().Language());
  EXPECT_EQ(listing.items[1], "18.11.1883 12.00");
  EXPECT_TRUE(listing.entries[2].summer_time);
}

}  // namespace
}  // namespace tarv::ui
