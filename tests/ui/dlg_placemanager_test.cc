#include "ui/placemanager/dlg_placemanager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <tuple>

#include "atlas/name_index.h"
#include "ui/placemanager_fixture.h"
#include "ui/timetable/timetable_lines.h"

namespace tarv::ui {
namespace {

using ::testing::ElementsAre;

class FakeView final : public PlacemanagerView {
 public:
  void CloseWindow() override { ++closed; }
  void SetOwnerWindow(OwnerWindow owner) override { owners.push_back(owner); }
  void SelectText(const std::string& control) override { selected.push_back(control); }
  void SetFocus(const std::string& control) override { focus.push_back(control); }
  std::int16_t ChooseTimetable(const std::string& country, std::int16_t current,
                               std::int16_t /*record*/) override {
    chooser_calls.push_back(country + " " + std::to_string(current));
    return chooser_answer;
  }

  int closed = 0;
  std::vector<OwnerWindow> owners;
  std::vector<std::string> selected, focus, chooser_calls;
  std::int16_t chooser_answer = 0;
};

// What a search typed with Return lists and which place it loads.
struct SearchCase {
  const char* typed;
  std::vector<std::string> listed;
  const char* shown;  // nothing found: the place shown before stays
  std::int16_t timetable;
};

class PlacemanagerModel : public testing::DialogAtlasFixture {
 protected:
  DlgPlacemanager& Open(const std::string& city, const std::string& country,
                        bool new_mode = false) {
    dialog_ = std::make_unique<DlgPlacemanager>(view_);
    dialog_->City(city);
    dialog_->CountryShort(country);
    dialog_->NewMode(new_mode);
    dialog_->Form_Load();
    return *dialog_;
  }
  const ControlState& Ctl(const std::string& name) const { return dialog_->Control(name); }
  const std::string& Text(const std::string& name) const { return Ctl(name).text; }
  // Control names, each followed by the text it shows.
  void ExpectTexts(std::initializer_list<const char*> names_and_texts) const {
    for (auto it = names_and_texts.begin(); it != names_and_texts.end(); it += 2)
      EXPECT_EQ(Text(it[0]), it[1]) << it[0];
  }
  std::vector<std::string> Listed() const {
    std::vector<std::string> names;
    for (const auto& item : Ctl("li_SuchOrte").items)
      names.push_back(item.substr(0, item.find('\t')));
    return names;
  }
  std::tuple<std::int16_t, PanelGroup, bool, bool> State() const {
    return {dialog_->Step(), dialog_->Group(), dialog_->Editing(), dialog_->ChangesPending()};
  }
  void ExpectSearches(const std::vector<SearchCase>& cases) {
    for (const auto& c : cases) {
      SCOPED_TRACE(c.typed);
      dialog_->cb_Eingabe_KeyReturn(3, c.typed);
      const auto index = Ctl("li_SuchOrte").list_index;
      const std::string selected = index < 0 ? "" : Listed().at(static_cast<std::size_t>(index));
      EXPECT_EQ(std::tuple(Listed(), Text("tb_Eingabe_3"), dialog_->City(), dialog_->Timetable()),
                std::tuple(c.listed, c.shown, c.shown, c.timetable));
      EXPECT_EQ(selected, c.listed.empty() ? "" : c.shown);
    }
  }
  // The entry of a new place run to step 3 from the place shown.
  void ToStep3(DlgPlacemanager& d) {
    d.bt_Action_Click(1);
    d.bt_OK_Click(1);
    if (d.Step() == 2) d.bt_OK_Click(1);
  }
  // A place file that keeps the order places were added in (the builder's
  // files sort them).
  void WriteUnsorted(const std::vector<PlaceRecord>& records) {
    folder_.Write("D.dao", CompressSzdd(EncodePlaceFile(records)));
    folder_.Write("D.IDX", EncodePlaceIndex(records));
  }

  FakeView view_;
  std::unique_ptr<DlgPlacemanager> dialog_;
};

TEST_F(PlacemanagerModel, LoadsCountryAndPlaceWithTheListOfItsLetter) {
  auto& d = Open("München", "d");
  EXPECT_EQ(std::tuple(d.Caption(), d.Index(), Ctl("rb_Eingabe_0").checked,
                       Ctl("lb_Definiert").visible, Ctl("li_SuchOrte").list_index),
            std::tuple("Orteverwaltung", 4, true, false, 0));
  ExpectTexts({"tb_Eingabe_13", "Deutschland", "tb_Eingabe_14", "D",
               "tb_Eingabe_16", "MEZ",         "tb_Eingabe_30", "EUROPA",
               "tb_Eingabe_3",  "München",     "tb_Eingabe_5",  "011E34' 30\"",
               "tb_Eingabe_6",  "48N08' 13\"", "tb_Eingabe_7",  "1",
               "cb_ABC",        "M",           "lb_AnzOrte",    "2 Orte"});
  EXPECT_THAT(Listed(), ElementsAre("München", "Münster"));
  // A letter without places switches to all; the place stays selected.
  d.cb_ABC_Click('X' - 'A' + 1);
  ExpectTexts({"cb_ABC", "Alle", "lb_AnzOrte", "6 Orte", "tb_Eingabe_3", "München"});
  EXPECT_EQ(Ctl("li_SuchOrte").list_index, 3);
}

TEST_F(PlacemanagerModel, LoadsInEnglishAndPicksTheUsStatesForAUsCode) {
  CurrentAtlas().Language().SetLanguage(kLanguageEnglish);
  auto& d = Open("Los Angeles", "usca");
  EXPECT_EQ(std::tuple(d.Caption(), Ctl("rb_Eingabe_1").checked, Ctl("rb_Eingabe_0").checked),
            std::tuple("Place manager", true, false));
  EXPECT_THAT(Ctl("cb_Eingabe_14").items, ElementsAre("USCA", "USNY"));
  ExpectTexts({"lb_AnzOrte", "1 Place", "tb_Eingabe_5", "118W14' 24\""});
}

TEST_F(PlacemanagerModel, HostsPlaceOutsideTheAtlasShowsAndReturnsAsGiven) {
  dialog_ = std::make_unique<DlgPlacemanager>(view_);
  dialog_->City("Atlantis");
  dialog_->CountryShort("D");
  dialog_->Longitude(-30.5F);
  dialog_->Latitude(35.25F);
  dialog_->Index(9);
  dialog_->Form_Load();
  ExpectTexts({"tb_Eingabe_3", "Atlantis", "tb_Eingabe_5", "030W30' 00\"", "cb_ABC", "A"});
  EXPECT_EQ(std::tuple(Ctl("li_SuchOrte").list_index, dialog_->Index()), std::tuple(-1, 0));
  dialog_->bt_OK_Click(0);
  EXPECT_EQ(std::tuple(dialog_->City(), dialog_->Longitude(), dialog_->Canceled()),
            std::tuple("Atlantis", -30.5F, false));
}

TEST_F(PlacemanagerModel, SuccessorCodeOfTheHostIsKept) {
  WriteCountry("YU", {testing::Place("Beograd", 20.46F, 44.8F)});
  auto& d = Open("Beograd", "SRB");
  EXPECT_EQ(Text("tb_Eingabe_14"), "YU");
  d.bt_OK_Click(0);
  EXPECT_EQ(d.CountryShort(), "SRB");
}

TEST_F(PlacemanagerModel, SearchWithReturnListsMatchesLoadsTheFirstAndKeepsAHistory) {
  auto& d = Open("München", "D");
  d.cb_Eingabe_KeyReturn(3, " b ");
  EXPECT_THAT(Listed(), ElementsAre("Berlin", "Bonn"));
  ExpectTexts({"tb_Eingabe_3", "Berlin", "cb_Eingabe_3", "b"});
  d.cb_Eingabe_KeyReturn(3, "M?nster");
  EXPECT_THAT(Listed(), ElementsAre("Münster"));
  EXPECT_THAT(Ctl("cb_Eingabe_3").items, ElementsAre("M?nster", "b"));
  d.cb_Eingabe_KeyReturn(3, "Xanten");
  EXPECT_TRUE(Listed().empty());
  ExpectTexts({"lb_AnzOrte", "0 Orte", "tb_Eingabe_3", "Münster"});  // the place stays
  d.cb_Eingabe_Click(3, 2);  // "b" again, after "Xanten" and "M?nster"
  EXPECT_THAT(Listed(), ElementsAre("Berlin", "Bonn"));
}

// The search field takes the wildcards its help line names: "*" inside a
// text and "[...]" sets, accents folded outside the sets as in the tool.
TEST_F(PlacemanagerModel, SearchTakesStarsInsideTheTextAndSets) {
  WriteCountry(
      "D", {testing::Place("Markneukirchen", 12.33F, 50.31F),
            testing::Place(AnsiFromUtf8("München"), 11.575F, 48.137F),
            testing::Place(AnsiFromUtf8("Münster"), 7.63F, 51.96F),
            testing::Place("Munster", 10.09F, 52.99F), testing::Place("Berlin", 13.405F, 52.52F)});
  Open("Berlin", "D");
  ExpectSearches({{"M*chen", {"Markneukirchen", "München"}, "Markneukirchen", 1},
                  {"M[uü]nchen", {"München"}, "München", 1},
                  {"M[ü]nster", {"Münster"}, "Münster", 1},
                  {"M[!ü]nster", {"Munster"}, "Munster", 1},
                  {"m[ua]nst?r", {"Munster"}, "Munster", 1},
                  {"Mu[n]ster", {"Munster", "Münster"}, "Munster", 1},
                  {"M[xy]*", {}, "Munster", 1}});
}

// Return on a whole name, in any case or in its letters only ("St*Gallen*"
// for "St. Gallen"), loads that place even where a longer name that begins
// with it comes first in the list; a beginning loads the first.
TEST_F(PlacemanagerModel, ReturnOnAWholeNameLoadsThatPlace) {
  WriteUnsorted({testing::Place(AnsiFromUtf8("Münchenbernsdorf"), 11.93F, 50.82F, 2),
                 testing::Place(AnsiFromUtf8("München"), 11.575F, 48.137F, 1),
                 testing::Place("St. Gallenkirch", 9.98F, 47.02F, 2),
                 testing::Place("St. Gallen", 9.37F, 47.42F, 1),
                 testing::Place("Berlin", 13.405F, 52.52F)});
  Open("Berlin", "D");
  ExpectSearches({{"München", {"Münchenbernsdorf", "München"}, "München", 1},
                  {" münchen ", {"Münchenbernsdorf", "München"}, "München", 1},
                  {"Münch", {"Münchenbernsdorf", "München"}, "Münchenbernsdorf", 2},
                  {"Münchenbernsdorf", {"Münchenbernsdorf"}, "Münchenbernsdorf", 2},
                  {"St*Gallen*", {"St. Gallenkirch", "St. Gallen"}, "St. Gallen", 1},
                  {"St*Gall*", {"St. Gallenkirch", "St. Gallen"}, "St. Gallenkirch", 2}});
}

// A typed search also lists the places known by the text as another of
// their names, in name order under their own names; the info line says so.
// The letter filter lists own names only.
TEST_F(PlacemanagerModel, SearchListsPlacesFoundByAnotherNameAndSaysSo) {
  // Records in file order: Augsburg 1, Berlin 2, Bonn 3, München 4, ...
  folder_.Write("D.NDX", CompressSzdd(EncodeNameIndex({{"munich", 4, 1500000},
                                                       {"munchen", 4, 1500000},
                                                       {"bonna", 3, 300000},
                                                       {"bonnaria", 1, 290000}},
                                                      6)));
  auto& d = Open("Berlin", "D");
  d.cb_Eingabe_KeyReturn(3, "Munich");
  EXPECT_THAT(Listed(), ElementsAre("München"));
  ExpectTexts({"tb_Eingabe_3", "München", "lb_InfoLine",
               "München: unter einem anderen seiner Namen gefunden, \u201EMunich\u201C; "
               "aufgeführt unter seinem eigenen."});
  // "Bonna" begins other names of Augsburg and Bonn, and Bonn's own.
  d.cb_Eingabe_KeyReturn(3, "Bonn");
  EXPECT_THAT(Listed(), ElementsAre("Augsburg", "Bonn"));
  EXPECT_EQ(Text("tb_Eingabe_3"), "Bonn");
  d.li_SuchOrte_Click(0);
  CurrentAtlas().Language().SetLanguage(kLanguageEnglish);
  d.li_SuchOrte_Click(0);
  EXPECT_EQ(Text("lb_InfoLine"),
            "Augsburg: found by another of its names, one beginning with \u201C"
            "Bonn\u201D; listed under its own.");
  // A place by its own name, spelled without its accent, needs no note.
  d.cb_Eingabe_KeyReturn(3, "Munchen");
  EXPECT_THAT(Listed(), ElementsAre("München"));
  EXPECT_NE(Text("lb_InfoLine").substr(0, 8), "München:");
  d.cb_ABC_Click(2);  // the letter B lists own names only
  EXPECT_THAT(Listed(), ElementsAre("Berlin", "Bonn"));
}

TEST_F(PlacemanagerModel, ClickInTheListLoadsThePlaceAndItsTimetableWithOrWithoutZones) {
  auto& d = Open("München", "D");
  ASSERT_EQ(Ctl("li_Zeittabelle").items.size(), 10U);
  EXPECT_EQ(std::tuple(Ctl("li_Zeittabelle").items[2], Ctl("ig_Sommerzeit").visible),
            std::tuple("31.03.1996 02.00  MET/S", true));
  d.li_Zeittabelle_Click(2);
  EXPECT_EQ(Text("lb_Zeittabelle_1"), "Ortszeit: Middle European Time, summer time  (MET/S)");
  d.ch_DatumZonen_Click(false);
  EXPECT_EQ(std::tuple(Ctl("li_Zeittabelle").items[2], Ctl("li_Zeittabelle").list_index),
            std::tuple("31.03.1996 02.00", 2));
  d.cb_ABC_Click(0);
  d.li_SuchOrte_Click(0);
  ExpectTexts({"tb_Eingabe_3", "Augsburg", "tb_Eingabe_7", "2"});
  EXPECT_THAT(Ctl("li_Zeittabelle").items, ElementsAre("davor gilt LMT", "01.04.1893 00.00"));
  EXPECT_EQ(std::tuple(Ctl("ig_Sommerzeit").visible, d.City(), d.Timetable()),
            std::tuple(false, "Augsburg", 2));
}

// Beside the timetable's number, the standard zone it ends on before 2000;
// the country's base zone for a timetable without entries; nothing where
// the country has no timetables.
TEST_F(PlacemanagerModel, TimetableFieldsShowNumberAndStandardZone) {
  WriteGermanTimetables();  // 1 Central European, 2 empty, 3 Eastern European
  auto& d = Open("Zwickau", "D");
  ExpectTexts({"tb_Eingabe_7", "3", "tb_Eingabe_4", "EET"});
  d.cb_Eingabe_KeyReturn(3, "München");
  ExpectTexts({"tb_Eingabe_7", "1", "tb_Eingabe_4", "MET"});
  d.cb_Eingabe_KeyReturn(3, "Augsburg");
  ExpectTexts({"tb_Eingabe_7", "2", "tb_Eingabe_4", "MEZ"});
  d.cb_Eingabe_KeyReturn(13, "Österreich");
  ExpectTexts({"tb_Eingabe_3", "Graz", "tb_Eingabe_7", "", "tb_Eingabe_4", ""});
}

TEST_F(PlacemanagerModel, InfoSaysWhereAPlaceFollowsItsOwnZoneHistory) {
  WriteBerlinsOwnHistory();
  Open("Berlin", "D");
  EXPECT_EQ(Text("lb_Zeittabelle_1"),
            "Eigene Zonengeschichte Test/Plain in 1996-2100 (weicht von Zeittabelle 1 ab)");
  Open("Bonn", "D");
  EXPECT_EQ(Text("lb_Zeittabelle_1"), "");
  // Where they agree, the line names the history the place's times come
  // from; a place that follows its timetable names none.
  PlaceData berlin;
  berlin.name = "Berlin";
  berlin.record = 2;
  EXPECT_EQ(ZoneSourceNote("D", berlin, AtlasLanguage()),
            "Zeiten: Test/Plain, tzdata 2025b, vor 1970 lückenhaft");
  berlin.record = 1;  // a place without a history of its own
  EXPECT_EQ(ZoneSourceNote("D", berlin, AtlasLanguage()), "");
}

TEST_F(PlacemanagerModel, CountryByNameOrCodeWithReturnOrByTheOptionButtons) {
  auto& d = Open("München", "D");
  d.cb_Eingabe_KeyReturn(13, "öst");
  ExpectTexts({"tb_Eingabe_13", "Österreich", "tb_Eingabe_3", "Graz"});
  EXPECT_THAT(Listed(), ElementsAre("Graz", "Wien"));
  EXPECT_EQ(d.CountryShort(), "A");
  // A US code switches the option buttons to the US states.
  d.cb_Eingabe_KeyReturn(14, "usc");
  EXPECT_EQ(std::tuple(Ctl("rb_Eingabe_1").checked, Text("cb_Eingabe_13")),
            std::tuple(true, "Kalifornien"));
  // An exact code beats a longer code it begins.
  d.rb_Eingabe_Click(0);
  EXPECT_THAT(Ctl("cb_Eingabe_14").items, ::testing::Not(::testing::Contains("USCA")));
  d.cb_Eingabe_KeyReturn(14, "d");
  EXPECT_EQ(Text("tb_Eingabe_13"), "Deutschland");
  // Nothing found: the combo boxes show the country again.
  d.cb_Eingabe_KeyReturn(13, "Xanadu");
  EXPECT_EQ(Text("cb_Eingabe_13"), "Deutschland");
  d.rb_Eingabe_Click(1);
  EXPECT_THAT(Ctl("cb_Eingabe_13").items, ElementsAre("Kalifornien", "New York"));
  EXPECT_EQ(std::tuple(Text("tb_Eingabe_3"), Ctl("ig_Land_1").visible),
            std::tuple("Los Angeles", true));
}

TEST_F(PlacemanagerModel, EscapeAndCancelKeyCancelCtrlShiftReturnClosesWithOk) {
  using D = DlgPlacemanager;
  const struct {
    std::int16_t key, shift;
    bool used, canceled;
  } cases[] = {{D::kKeyEscape, 0, true, true},
               {D::kKeyCancel, 0, true, true},
               {D::kKeyReturn, 0, false, false},
               {D::kKeyReturn, D::kCtrlMask, false, false},
               {D::kKeyReturn, D::kCtrlMask | D::kShiftMask, true, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.key << " " << c.shift);
    auto& d = Open("München", "D");
    view_.closed = 0;
    const bool used = d.Form_KeyDown(c.key, c.shift);
    EXPECT_EQ(std::tuple(used, view_.closed, d.Canceled(), d.City()),
              std::tuple(c.used, c.used ? 1 : 0, c.canceled, "München"));
  }
}

TEST_F(PlacemanagerModel, EscapeWhileEditingKeepsTheDialogAndTheEditOpen) {
  auto& d = Open("München", "D");
  d.bt_Action_Click(3);
  ASSERT_TRUE(d.Editing());
  d.tb_Eingabe_Change(3, "München-Ost");
  d.Form_KeyDown(DlgPlacemanager::kKeyEscape, 0);
  EXPECT_EQ(std::tuple(view_.closed, d.Editing(), d.Canceled(), Text("tb_Eingabe_3")),
            std::tuple(0, true, false, "München-Ost"));
  // The edit can still be confirmed and is written.
  d.bt_OK_Click(1);
  EXPECT_THAT(UserPlaces("D"), ElementsAre("München-Ost"));
}

TEST_F(PlacemanagerModel, ClosingAsksAboutPendingChangesCancellingDropsThem) {
  const struct {
    MsgAnswer answer;
    bool closes, written;
  } cases[] = {{MsgAnswer::kCancel, false, false},
               {MsgAnswer::kNo, true, false},
               {MsgAnswer::kYes, true, true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.answer));
    auto& d = Open("München", "D");
    d.tb_Eingabe_Change(6, "48.5");
    EXPECT_EQ(State(), std::tuple(0, PanelGroup::kPending, false, true));
    messages_.clear();
    answer_ = c.answer;
    EXPECT_EQ(d.Form_Unload(), c.closes);
    ASSERT_EQ(messages_.size(), 1U);
    EXPECT_EQ(
        std::tuple(messages_[0].text, messages_[0].title, messages_[0].style),
        std::tuple("Änderungen Ortedatenbank übernehmen?", "", kMsgYesNoCancel + kMsgQuestion));
    EXPECT_EQ(std::tuple(d.ChangesPending(), d.Closed(), UserPlaces("D").size()),
              std::tuple(!c.closes, c.closes, c.written ? 1U : 0U));
  }
  // Yes wrote the change as a user place, which shows now.
  EXPECT_THAT(UserPlaces("D"), ElementsAre("München"));
  EXPECT_EQ(std::tuple(Text("tb_Eingabe_6"), Ctl("lb_Definiert").visible),
            std::tuple("48N30' 00\"", true));
  // Cancelling the dialog drops a change without asking.
  auto& e = Open("Bonn", "D");
  e.tb_Eingabe_Change(3, "Bonn-Beuel");
  e.bt_CANCEL_Click(0);
  EXPECT_EQ(std::tuple(e.Canceled(), messages_.size()), std::tuple(true, 1U));
  EXPECT_THAT(UserPlaces("D"), ElementsAre("München"));
  // A close resets the new-place mode and gives the owner back its window.
  auto& f = Open("München", "D");
  f.SetOwner(77);
  f.NewMode(true);
  EXPECT_TRUE(f.Form_Unload());
  EXPECT_FALSE(f.NewMode());
  EXPECT_THAT(view_.owners, ElementsAre(77, 77));
}

TEST_F(PlacemanagerModel, OkWritesPendingChangesBeforeClosing) {
  auto& d = Open("Bonn", "D");
  d.tb_Eingabe_Change(3, "Bonn-Beuel");
  d.bt_OK_Click(0);
  EXPECT_EQ(std::tuple(view_.closed, messages_.size(), d.City()), std::tuple(1, 0U, "Bonn-Beuel"));
  EXPECT_THAT(UserPlaces("D"), ElementsAre("Bonn-Beuel"));
  EXPECT_LT(d.Index(), 0);
}

TEST_F(PlacemanagerModel, NewPlaceRunsThreeStepsAndWritesTheUserFile) {
  auto& d = Open("Augsburg", "D");
  d.bt_Action_Click(1);
  EXPECT_EQ(State(), std::tuple(1, PanelGroup::kStep1, true, false));
  EXPECT_EQ(std::tuple(d.Caption(), Text("bt_OK_1"), Ctl("tb_Eingabe_3").read_only,
                       Ctl("bt_OK_0").visible),
            std::tuple("Orteverwaltung", "&Weiter", true, false));
  d.li_SuchOrte_Click(0);  // the reference: Augsburg, timetable 2
  d.bt_OK_Click(1);
  EXPECT_EQ(
      std::tuple(d.Step(), d.Step2InUse(), Ctl("pn_Eingabe_3").visible, Ctl("bt_Action_5").visible),
      std::tuple(2, true, false, true));
  d.bt_OK_Click(1);
  EXPECT_EQ(d.Step(), 3);
  ExpectTexts({"bt_OK_1", "&Fertig", "tb_Eingabe_3", ""});
  EXPECT_EQ(view_.focus.back(), "tb_Eingabe_3");
  // No name: the entry goes on.
  d.bt_OK_Click(1);
  ASSERT_EQ(messages_.size(), 1U);
  EXPECT_EQ(std::tuple(messages_[0].text, messages_[0].style, d.Step(), d.Editing()),
            std::tuple("Es muß ein Ort eingegeben werden!", kMsgOkOnly, 3, true));
  d.tb_Eingabe_Change(3, "Gersthofen");
  d.tb_Eingabe_Change(5, "10E53");
  d.ChangeBreiteLaenge(5);
  d.tb_Eingabe_Change(6, "48.425");
  d.ChangeBreiteLaenge(6);
  EXPECT_EQ(Text("tb_Eingabe_6"), "48N25' 30\"");
  d.bt_OK_Click(1);
  EXPECT_EQ(State(), std::tuple(0, PanelGroup::kBrowse, false, false));
  EXPECT_THAT(UserPlaces("D"), ElementsAre("Gersthofen"));
  // The reference's timetable; not opened for a new place, it stays open.
  EXPECT_EQ(std::tuple(Ctl("lb_Definiert").visible, Text("tb_Eingabe_7"), view_.closed),
            std::tuple(true, "2", 0));
}

TEST_F(PlacemanagerModel, NewModeReturnsTheEnteredPlaceAndCloses) {
  auto& d = Open("München", "D", true);
  EXPECT_EQ(d.Step(), 1);
  ToStep3(d);
  d.tb_Eingabe_Change(3, "Garching");
  d.tb_Eingabe_Change(5, "11.65");
  d.bt_OK_Click(1);
  EXPECT_EQ(std::tuple(view_.closed, d.Canceled(), d.City(), d.CountryShort(), d.Timetable(),
                       d.NewMode()),
            std::tuple(1, false, "Garching", "D", 1, false));
  EXPECT_NEAR(d.Longitude(), 11.65, 1e-4);
  EXPECT_NEAR(d.Latitude(), 48.137, 1e-3);
  // Cancelled in the first step, it closes cancelled.
  auto& c = Open("München", "D", true);
  c.bt_CANCEL_Click(1);
  EXPECT_EQ(std::tuple(view_.closed, c.Canceled(), c.Editing()), std::tuple(2, true, false));
}

TEST_F(PlacemanagerModel, BackFromStep3SkipsStep2WithoutTimetables) {
  auto& d = Open("Wien", "A");
  ToStep3(d);
  EXPECT_FALSE(d.Step2InUse());
  d.bt_CANCEL_Click(1);
  EXPECT_EQ(std::tuple(d.Step(), d.Editing(), Text("tb_Eingabe_3")),
            std::tuple(1, true, "Wien"));  // the reference again
  auto& g = Open("München", "D");
  ToStep3(g);
  for (const int step : {2, 1, 0}) {
    g.bt_CANCEL_Click(1);
    EXPECT_EQ(g.Step(), step);
  }
  EXPECT_EQ(std::tuple(g.Editing(), view_.closed, g.Group()),
            std::tuple(false, 0, PanelGroup::kBrowse));
}

// The map gives Augsburg (10.9 east) Test/East, Bonn's longitude Test/West.
TEST_F(PlacemanagerModel, NewPlaceFollowsTheMapsZoneOrTheZoneChosen) {
  WriteZoneMap();
  auto& d = Open("Augsburg", "D");
  d.bt_Action_Click(1);
  EXPECT_FALSE(Ctl("cb_Zone").visible);
  ToStep3(d);
  const auto zone_step = [&] {
    return std::tuple(Text("lb_Zone"), Ctl("cb_Zone").list_index, d.NewPlaceZone());
  };
  EXPECT_EQ(std::tuple(Ctl("lb_Zone").visible, Ctl("cb_Zone").visible, Ctl("cb_Zone").items),
            std::tuple(true, true, std::vector<std::string>{"Test/East", "Test/West"}));
  EXPECT_EQ(zone_step(), std::tuple("Zone: Test/East", 0, ""));
  // The map's zone follows the coordinates typed; a zone chosen stays.
  d.tb_Eingabe_Change(5, "7E06");
  EXPECT_EQ(zone_step(), std::tuple("Zone: Test/West", 1, ""));
  d.cb_Zone_Click(0);
  EXPECT_EQ(zone_step(), std::tuple("Zone: Test/West", 0, "Test/East"));
  d.bt_CANCEL_Click(1);
  EXPECT_EQ(std::tuple(d.Step(), Ctl("lb_Zone").visible, Ctl("cb_Zone").visible),
            std::tuple(2, false, false));
  d.bt_OK_Click(1);
  EXPECT_EQ(zone_step(), std::tuple("Zone: Test/West", 0, "Test/East"));
  d.tb_Eingabe_Change(3, "Westort");
  d.bt_OK_Click(1);
  EXPECT_EQ(folder_.Read("USER/D.TZN"), "Westort\tTest/East\r\n");
  // The info line tells where the zone differs from the timetable (2: MET
  // from April 1893), for the zone named as for the map's.
  EXPECT_EQ(Text("lb_Zeittabelle_1"),
            "Eigene Zonengeschichte Test/East in 1850-1893 (weicht von Zeittabelle 2 ab)");
  ToStep3(d);
  d.tb_Eingabe_Change(3, "Westdorf");
  d.tb_Eingabe_Change(5, "7E06");
  d.cb_Zone_Click(0);
  d.cb_Zone_Click(1);  // the map's zone again: the place follows the map
  EXPECT_EQ(d.NewPlaceZone(), "");
  d.bt_OK_Click(1);
  EXPECT_EQ(folder_.Read("USER/D.TZN"), "Westort\tTest/East\r\n");
  EXPECT_EQ(Text("lb_Zeittabelle_1"),
            "Eigene Zonengeschichte Test/West in 1850-2100 (weicht von Zeittabelle 2 ab)");
}

TEST_F(PlacemanagerModel, WithoutAZoneMapTheNewPlaceStepsShowNoZone) {
  WriteBerlinsOwnHistory();  // histories, but no map
  auto& d = Open("Augsburg", "D");
  ToStep3(d);
  EXPECT_EQ(std::tuple(Ctl("lb_Zone").visible, Ctl("cb_Zone").visible, Ctl("cb_Zone").items.size()),
            std::tuple(false, false, 0U));
  d.tb_Eingabe_Change(3, "Gersthofen");
  d.bt_OK_Click(1);
  EXPECT_THAT(UserPlaces("D"), ElementsAre("Gersthofen"));
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "USER/D.TZN"));
  EXPECT_EQ(std::tuple(d.NewPlaceZone(), Text("lb_Zeittabelle_1")), std::tuple("", ""));
}

// A user place changed keeps the zone named for it; a zone the atlas does
// not know is refused.
TEST_F(PlacemanagerModel, ChangingAUserPlaceKeepsTheZoneNamedForIt) {
  WriteZoneMap();
  EXPECT_EQ(AddUserPlace("D", "Nirgends", 15.0, 50.0, 1, "Test/Nowhere"), 0);
  EXPECT_EQ(AddUserPlace("D", "Westort", 7.1, 50.7, 1, "Test/East"), -1);
  auto& d = Open("Westort", "D");
  d.bt_Action_Click(3);
  d.tb_Eingabe_Change(3, "Westheim");
  d.bt_OK_Click(1);
  EXPECT_THAT(UserPlaces("D"), ElementsAre("Westheim"));
  EXPECT_EQ(folder_.Read("USER/D.TZN"), "Westheim\tTest/East\r\n");
}

TEST_F(PlacemanagerModel, StepTwoChoosesAnotherTimetable) {
  auto& d = Open("München", "D");
  d.bt_Action_Click(1);
  d.bt_OK_Click(1);
  view_.chooser_answer = 3;
  d.bt_Action_Click(5);
  EXPECT_THAT(view_.chooser_calls, ElementsAre("D 1"));
  EXPECT_EQ(Text("tb_Eingabe_7"), "3");
  d.bt_OK_Click(1);
  d.tb_Eingabe_Change(3, "Freising");
  d.bt_OK_Click(1);
  EXPECT_THAT(UserPlaces("D"), ElementsAre("Freising"));
  EXPECT_EQ(d.Timetable(), 3);  // as read back from the user file
}

TEST_F(PlacemanagerModel, ChangingAUserPlaceReplacesItCancellingRestoresIt) {
  auto& d = Open("München", "D");
  for (const char* longitude : {"11.6", "11.7"}) {
    d.bt_Action_Click(3);
    EXPECT_EQ(d.Group(), PanelGroup::kEdit);
    d.tb_Eingabe_Change(5, longitude);
    d.bt_OK_Click(1);
    EXPECT_THAT(UserPlaces("D"), ElementsAre("München"));
    EXPECT_TRUE(Ctl("lb_Definiert").visible);
  }
  EXPECT_EQ(Text("tb_Eingabe_5"), "011E42' 00\"");
  d.bt_Action_Click(3);
  d.tb_Eingabe_Change(3, "München-Mitte");
  d.bt_CANCEL_Click(1);
  EXPECT_EQ(std::tuple(d.Editing(), d.ChangesPending()), std::tuple(false, false));
  ExpectTexts({"tb_Eingabe_3", "München", "tb_Eingabe_5", "011E42' 00\""});
  EXPECT_THAT(UserPlaces("D"), ElementsAre("München"));
}

// Renaming to the name of another user place asks first; a name the user
// file cannot hold is refused before the place being changed is taken out:
// the place stays as it was.
TEST_F(PlacemanagerModel, RenamingAsksBeforeReplacingAndKeepsThePlaceOnARefusedName) {
  classPlaces().AddUserPlace("D", "Pasing", 11.46, 48.14, 1);
  auto& d = Open("München", "D");
  d.tb_Eingabe_Change(3, "Pasing");
  answer_ = MsgAnswer::kNo;
  d.bt_OK_Click(1);
  EXPECT_EQ(messages_.at(0).text,
            "Es gibt schon einen selbst definierten Ort \"Pasing\". Ersetzen?");
  EXPECT_EQ(std::tuple(d.Group(), d.ChangesPending()), std::tuple(PanelGroup::kPending, true));
  answer_ = MsgAnswer::kYes;
  d.bt_OK_Click(1);
  EXPECT_THAT(UserPlaces("D"), ElementsAre("Pasing"));
  EXPECT_EQ(Text("tb_Eingabe_5"), "011E34' 30\"");
  auto& p = Open("Pasing", "D");
  for (const std::string& name : {std::string(29, 'P'), std::string("Pasing \xF0\x9F\x98\x80")}) {
    messages_.clear();
    p.tb_Eingabe_Change(3, name);
    p.bt_OK_Click(1);
    ASSERT_EQ(messages_.size(), 1U) << name;
    EXPECT_EQ(messages_[0].text.rfind("Der Ort konnte nicht gespeichert werden: ", 0), 0U);
    EXPECT_THAT(UserPlaces("D"), ElementsAre("Pasing"));
  }
}

TEST_F(PlacemanagerModel, DeleteOnlyUserPlacesAfterConfirmation) {
  auto& d = Open("Berlin", "D");
  EXPECT_FALSE(Ctl("bt_Action_2").enabled);
  d.bt_Action_Click(2);
  EXPECT_TRUE(messages_.empty());
  classPlaces().AddUserPlace("D", "Berlin", 13.5, 52.5, 1);
  auto& u = Open("Berlin", "D");
  EXPECT_EQ(std::tuple(Ctl("lb_Definiert").visible, Ctl("bt_Action_2").enabled),
            std::tuple(true, true));
  answer_ = MsgAnswer::kNo;
  u.bt_Action_Click(2);
  EXPECT_EQ(messages_.at(0).text, "Den selbst definierten Ort \"Berlin\" löschen?");
  EXPECT_THAT(UserPlaces("D"), ElementsAre("Berlin"));
  answer_ = MsgAnswer::kYes;
  u.bt_Action_Click(2);
  EXPECT_TRUE(UserPlaces("D").empty());
  // The atlas's Berlin shows again.
  EXPECT_EQ(std::tuple(Ctl("lb_Definiert").visible, Text("tb_Eingabe_5")),
            std::tuple(false, "013E24' 18\""));
}

TEST_F(PlacemanagerModel, ChosenTimetableWaitsForConfirmation) {
  auto& d = Open("Bonn", "D");
  view_.chooser_answer = 2;
  d.bt_Action_Click(5);
  EXPECT_THAT(view_.chooser_calls, ElementsAre("D 1"));
  EXPECT_EQ(State(), std::tuple(0, PanelGroup::kPending, false, true));
  EXPECT_EQ(Text("tb_Eingabe_7"), "2");
  d.bt_OK_Click(1);
  EXPECT_THAT(UserPlaces("D"), ElementsAre("Bonn"));
  EXPECT_EQ(d.Timetable(), 2);
  // A cancelled chooser changes nothing.
  view_.chooser_answer = 0;
  d.bt_Action_Click(5);
  EXPECT_FALSE(d.ChangesPending());
}

TEST_F(PlacemanagerModel, MovingToAnotherPlaceWithPendingChangesAsks) {
  auto& d = Open("Bonn", "D");
  // Typing back the old text leaves nothing pending.
  d.tb_Eingabe_Change(3, "Bon");
  EXPECT_TRUE(d.ChangesPending());
  d.tb_Eingabe_Change(3, "Bonn");
  EXPECT_EQ(State(), std::tuple(0, PanelGroup::kBrowse, false, false));
  d.tb_Eingabe_Change(3, "Bonn-Nord");
  answer_ = MsgAnswer::kCancel;
  d.li_SuchOrte_Click(0);
  EXPECT_EQ(Text("tb_Eingabe_3"), "Bonn-Nord");
  answer_ = MsgAnswer::kNo;
  d.li_SuchOrte_Click(0);
  EXPECT_EQ(Text("tb_Eingabe_3"), "Berlin");
  EXPECT_EQ(State(), std::tuple(0, PanelGroup::kBrowse, false, false));
  EXPECT_TRUE(UserPlaces("D").empty());
}

// Typed as degrees or decimals, rewritten in degree notation; an unreadable
// or out-of-range text gets the last good value back. The spin moves by arc
// minutes, stops at the pole and gives a good value too.
TEST_F(PlacemanagerModel, CoordinatesAreReadRangeCheckedAndSpun) {
  auto& d = Open("Bonn", "D");
  d.SpinLaengeBreite(6, 1);
  EXPECT_EQ(std::tuple(Text("tb_Eingabe_6"), d.ChangesPending()), std::tuple("50N44' 48\"", true));
  const struct {
    std::int16_t field;
    const char* typed;
    std::function<void()> done;
    const char* shown;
  } cases[] = {{5, "-7.5", [&] { d.ChangeBreiteLaenge(5); }, "007W30' 00\""},
               {5, "200", [&] { d.tb_Eingabe_LostFocus(5); }, "007W30' 00\""},
               {6, "north", [&] { d.tb_Eingabe_KeyReturn(6); }, "50N44' 48\""},
               {6, "50 43 48", [&] { d.ChangeBreiteLaenge(6); }, "50N43' 48\""},
               {6, "89.99", [&] { d.SpinLaengeBreite(6, 10); }, "90N00' 00\""}};
  for (const auto& c : cases) {
    d.tb_Eingabe_Change(c.field, c.typed);
    c.done();
    EXPECT_EQ(Text(FormModel::Member("tb_Eingabe", c.field)), c.shown) << c.typed;
  }
}

// The help line shows the text of the control with the focus or the mouse,
// in that text's language rule: the dialog's own texts are English for the
// languages 1 and 3, Choose's texts German for 2 only. During a step the
// OK and cancel buttons keep the step's line.
TEST_F(PlacemanagerModel, HelpLineFollowsFocusAndMouseInEachTextsLanguage) {
  auto& d = Open("München", "D");
  const struct {
    std::int32_t language;
    std::function<void()> act;
    std::string text;  // what the line begins with; "" for an empty line
  } cases[] = {
      {3, [&] { d.tb_Eingabe_GotFocus(14); }, "This is the shortcut of the actual country. (Can"},
      {1, [&] { d.cb_Eingabe_GotFocus(13); }, "To search a country, type the beginning"},
      {4, [&] { d.cb_Eingabe_GotFocus(14); },
       "Zum Auswählen eines Landes, geben Sie den Anfang der"},
      {-1, [&] { d.pn_Eingabe_MouseMove(3); }, "Zum Suchen eines Ortes im aktuellen L"},
      {2, [&] { d.li_Zeittabelle_MouseMove(); }, "Klicken Sie auf einen Eintrag und"},
      {0, [&] { d.bt_CANCEL_GotFocus(0); }, "Closes the Place Manager."},
      {2, [&] { d.bt_CANCEL_MouseMove(1); }, "Hier können Sie die Bearbeitung"},
      {2, [&] { d.bt_OK_GotFocus(0); }, "Hier wird der Ortemanager geschlossen."},
      {0, [&] { d.bt_OK_MouseMove(1); }, "Confirm the changes"},
      {0, [&] { d.rb_Eingabe_MouseMove(1); }, "Shows all the states of the USA"},
      {2, [&] { d.rb_Eingabe_GotFocus(0); }, "Zeigt in der Länderliste alle Länder außer"},
      {0, [&] { d.bt_Action_MouseMove(2); }, "Hier können Sie den aktuellen Ort löschen. - Nur"},
      {1, [&] { d.bt_Action_GotFocus(1); }, "Here you can create a new place"},
      {3, [&] { d.bt_Action_GotFocus(5); }, "Here you can select a matching timezone table"},
      {1, [&] { d.bt_Action_GotFocus(3); }, ""},
      {0, [&] { d.cb_ABC_GotFocus(); }, "Klicken Sie auf einen Buchstaben. "},
      {2,
       [&] {
         d.bt_Action_Click(1);
         d.cb_Eingabe_GotFocus(3);
         d.bt_OK_MouseMove(1);
         d.bt_CANCEL_GotFocus(1);
       },
       "Zum Suchen eines Ortes im aktuellen L"}};
  for (const auto& c : cases) {
    CurrentAtlas().Language().SetLanguage(c.language);
    c.act();
    const std::string& line = Text("lb_InfoLine");
    EXPECT_TRUE(c.text.empty() ? line.empty() : line.rfind(c.text, 0) == 0) << line;
  }
}

// Every text box says in its help whether it can be changed, in both
// rules; the focus selects its text.
TEST_F(PlacemanagerModel, HelpOfEveryReadOnlyFieldSaysSo) {
  auto& d = Open("München", "D");
  for (const std::int32_t language : {kLanguageGerman, kLanguageEnglish}) {
    CurrentAtlas().Language().SetLanguage(language);
    for (const auto& [name, state] : d.Controls()) {
      if (name.rfind("tb_Eingabe_", 0) != 0) continue;
      d.tb_Eingabe_GotFocus(static_cast<std::int16_t>(std::stoi(name.substr(11))));
      EXPECT_EQ(view_.selected.back(), name);
      const std::string& line = Text("lb_InfoLine");
      const bool says = line.find(" (Kann nicht bearbeitet werden).") != std::string::npos ||
                        line.find(" (Can not be changed).") != std::string::npos;
      EXPECT_EQ(says, state.read_only && !line.empty()) << name << ": " << line;
    }
  }
}

}  // namespace
}  // namespace tarv::ui
