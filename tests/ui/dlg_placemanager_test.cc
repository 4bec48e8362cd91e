#include "ui/placemanager/dlg_placemanager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <memory>

#include "atlas/name_index.h"
#include "text/lz.h"
#include "ui/placemanager_fixture.h"

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
  std::vector<std::string> ListedNames() const {
    std::vector<std::string> names;
    for (const auto& item : Ctl("li_SuchOrte").items)
      names.push_back(item.substr(0, item.find('\t')));
    return names;
  }
  // Runs the new-place entry to step 3 from the place shown.
  void ToStep3(DlgPlacemanager& d) {
    d.bt_Action_Click(1);
    d.bt_OK_Click(1);
    if (d.Step() == 2) d.bt_OK_Click(1);
  }

  FakeView view_;
  std::unique_ptr<DlgPlacemanager> dialog_;
};

// ---- Loading ----

TEST_F(PlacemanagerModel, LoadsCaptionsCountryAndPlaceInGerman) {
  auto& d = Open("München", "d");
  EXPECT_EQ(d.Caption(), "Orteverwaltung");
  EXPECT_EQ(Ctl("cb_ABC").items.front(), "Alle");
  EXPECT_EQ(Ctl("cb_ABC").items.size(), 27U);
  EXPECT_TRUE(Ctl("rb_Eingabe_0").checked);
  EXPECT_EQ(Text("cb_Eingabe_13"), "Deutschland");
  EXPECT_EQ(Text("tb_Eingabe_14"), "D");
  EXPECT_EQ(Text("tb_Eingabe_16"), "MEZ");
  EXPECT_EQ(Text("tb_Eingabe_30"), "EUROPA");
  EXPECT_EQ(Text("tb_Eingabe_3"), "München");
  EXPECT_EQ(Text("tb_Eingabe_5"), "011E34' 30\"");
  EXPECT_EQ(Text("tb_Eingabe_6"), "48N08' 13\"");
  EXPECT_EQ(Text("tb_Eingabe_7"), "1");
  // The letter of the place filters the list, with the place selected.
  EXPECT_EQ(Ctl("cb_ABC").list_index, 'M' - 'A' + 1);
  EXPECT_THAT(ListedNames(), ElementsAre("München", "Münster"));
  EXPECT_EQ(Ctl("li_SuchOrte").list_index, 0);
  EXPECT_EQ(Text("lb_AnzOrte"), "2 Orte");
  EXPECT_FALSE(Ctl("lb_Definiert").visible);
  EXPECT_EQ(d.Index(), 4);
}

TEST_F(PlacemanagerModel, LoadsInEnglishAndPicksTheUsStatesForAUsCode) {
  CurrentAtlas().Language().SetLanguage(kLanguageEnglish);
  auto& d = Open("Los Angeles", "usca");
  EXPECT_EQ(d.Caption(), "Place manager");
  EXPECT_EQ(Text("bt_Action_1"), "&New Place");
  EXPECT_EQ(Ctl("cb_ABC").items.front(), "All");
  EXPECT_TRUE(Ctl("rb_Eingabe_1").checked);
  EXPECT_FALSE(Ctl("rb_Eingabe_0").checked);
  EXPECT_THAT(Ctl("cb_Eingabe_14").items, ElementsAre("USCA", "USNY"));
  EXPECT_EQ(Text("lb_AnzOrte"), "1 Place");
  EXPECT_EQ(Text("tb_Eingabe_5"), "118W14' 24\"");
}

TEST_F(PlacemanagerModel, HostsPlaceOutsideTheAtlasShowsAsGiven) {
  dialog_ = std::make_unique<DlgPlacemanager>(view_);
  dialog_->City("Atlantis");
  dialog_->CountryShort("D");
  dialog_->Longitude(-30.5F);
  dialog_->Latitude(35.25F);
  dialog_->Index(9);
  dialog_->Form_Load();
  EXPECT_EQ(Text("tb_Eingabe_3"), "Atlantis");
  EXPECT_EQ(Text("tb_Eingabe_5"), "030W30' 00\"");
  EXPECT_EQ(Ctl("li_SuchOrte").list_index, -1);
  EXPECT_EQ(Ctl("cb_ABC").list_index, 1);  // "A", which has Augsburg
  EXPECT_EQ(dialog_->Index(), 0);
  // Closing with OK hands back what the host gave.
  dialog_->bt_OK_Click(0);
  EXPECT_EQ(dialog_->City(), "Atlantis");
  EXPECT_FLOAT_EQ(dialog_->Longitude(), -30.5F);
  EXPECT_FALSE(dialog_->Canceled());
}

TEST_F(PlacemanagerModel, SuccessorCodeOfTheHostIsKept) {
  WriteCountry("YU", {testing::Place("Beograd", 20.46F, 44.8F)});
  auto& d = Open("Beograd", "SRB");
  EXPECT_EQ(Text("tb_Eingabe_14"), "YU");
  d.bt_OK_Click(0);
  EXPECT_EQ(d.CountryShort(), "SRB");
}

// ---- Lists ----

TEST_F(PlacemanagerModel, LetterWithoutPlacesSwitchesToAll) {
  auto& d = Open("München", "D");
  d.cb_ABC_Click('B' - 'A' + 1);
  EXPECT_THAT(ListedNames(), ElementsAre("Berlin", "Bonn"));
  d.cb_ABC_Click('X' - 'A' + 1);
  EXPECT_EQ(Ctl("cb_ABC").list_index, 0);
  EXPECT_EQ(Text("cb_ABC"), "Alle");
  EXPECT_EQ(ListedNames().size(), 6U);
  EXPECT_EQ(Text("lb_AnzOrte"), "6 Orte");
  // The place shown stays and stays selected.
  EXPECT_EQ(Text("tb_Eingabe_3"), "München");
  EXPECT_EQ(Ctl("li_SuchOrte").list_index, 3);
}

TEST_F(PlacemanagerModel, SearchWithReturnListsMatchesAndLoadsTheFirst) {
  auto& d = Open("München", "D");
  d.cb_Eingabe_KeyReturn(3, " b ");
  EXPECT_THAT(ListedNames(), ElementsAre("Berlin", "Bonn"));
  EXPECT_EQ(Text("tb_Eingabe_3"), "Berlin");
  EXPECT_EQ(Text("cb_Eingabe_3"), "b");
  d.cb_Eingabe_KeyReturn(3, "M?nster");
  EXPECT_THAT(ListedNames(), ElementsAre("Münster"));
  EXPECT_THAT(Ctl("cb_Eingabe_3").items, ElementsAre("M?nster", "b"));
  d.cb_Eingabe_KeyReturn(3, "Xanten");
  EXPECT_TRUE(ListedNames().empty());
  EXPECT_EQ(Text("lb_AnzOrte"), "0 Orte");
  EXPECT_EQ(Text("tb_Eingabe_3"), "Münster");  // nothing found: the place stays
  d.cb_Eingabe_Click(3, 2);                    // "b" again, after "Xanten" and "M?nster"
  EXPECT_THAT(ListedNames(), ElementsAre("Berlin", "Bonn"));
}

// The search field takes the wildcards its help line names: "*" inside a
// text and "[...]" sets, accents folded outside the sets as in the tool.
TEST_F(PlacemanagerModel, SearchTakesStarsInsideTheTextAndSets) {
  WriteCountry(
      "D", {testing::Place("Markneukirchen", 12.33F, 50.31F),
            testing::Place(AnsiFromUtf8("München"), 11.575F, 48.137F),
            testing::Place(AnsiFromUtf8("Münster"), 7.63F, 51.96F),
            testing::Place("Munster", 10.09F, 52.99F), testing::Place("Berlin", 13.405F, 52.52F)});
  auto& d = Open("Berlin", "D");
  d.cb_Eingabe_KeyReturn(3, "M*chen");
  EXPECT_THAT(ListedNames(), ElementsAre("Markneukirchen", "München"));
  EXPECT_EQ(Text("tb_Eingabe_3"), "Markneukirchen");
  d.cb_Eingabe_KeyReturn(3, "M[uü]nchen");
  EXPECT_THAT(ListedNames(), ElementsAre("München"));
  EXPECT_EQ(Text("tb_Eingabe_3"), "München");
  d.cb_Eingabe_KeyReturn(3, "M[ü]nster");
  EXPECT_THAT(ListedNames(), ElementsAre("Münster"));
  d.cb_Eingabe_KeyReturn(3, "M[!ü]nster");
  EXPECT_THAT(ListedNames(), ElementsAre("Munster"));
  // Outside the set, before any "*", letters fold their accents.
  d.cb_Eingabe_KeyReturn(3, "m[ua]nst?r");
  EXPECT_THAT(ListedNames(), ElementsAre("Munster"));
  d.cb_Eingabe_KeyReturn(3, "Mu[n]ster");
  EXPECT_THAT(ListedNames(), ElementsAre("Munster", "Münster"));
  d.cb_Eingabe_KeyReturn(3, "M[xy]*");
  EXPECT_TRUE(ListedNames().empty());
  EXPECT_EQ(Text("tb_Eingabe_3"), "Munster");  // nothing found: the place stays
}

// Return on a whole name loads that place even where a longer name that
// begins with it comes first in the list; a beginning loads the first.
TEST_F(PlacemanagerModel, ReturnOnAWholeNameLoadsThatPlace) {
  // A longer name before the whole one, as in a file that keeps the order
  // places were added in (the builder's files sort them).
  const std::vector<PlaceRecord> records = {
      testing::Place(AnsiFromUtf8("Münchenbernsdorf"), 11.93F, 50.82F, 2),
      testing::Place(AnsiFromUtf8("München"), 11.575F, 48.137F, 1),
      testing::Place("Berlin", 13.405F, 52.52F)};
  std::ofstream(folder_.path() / "D.dao", std::ios::binary)
      << CompressSzdd(EncodePlaceFile(records));
  std::ofstream(folder_.path() / "D.IDX", std::ios::binary) << EncodePlaceIndex(records);
  auto& d = Open("Berlin", "D");
  d.cb_Eingabe_KeyReturn(3, "München");
  EXPECT_THAT(ListedNames(), ElementsAre("Münchenbernsdorf", "München"));
  EXPECT_EQ(Text("tb_Eingabe_3"), "München");
  EXPECT_EQ(Ctl("li_SuchOrte").list_index, 1);
  EXPECT_EQ(d.City(), "München");
  EXPECT_EQ(d.Timetable(), 1);
  d.cb_Eingabe_KeyReturn(3, " münchen ");  // any case, blanks around
  EXPECT_EQ(Text("tb_Eingabe_3"), "München");
  d.cb_Eingabe_KeyReturn(3, "Münch");
  EXPECT_THAT(ListedNames(), ElementsAre("Münchenbernsdorf", "München"));
  EXPECT_EQ(Text("tb_Eingabe_3"), "Münchenbernsdorf");
  EXPECT_EQ(Ctl("li_SuchOrte").list_index, 0);
  d.cb_Eingabe_KeyReturn(3, "Münchenbernsdorf");
  EXPECT_THAT(ListedNames(), ElementsAre("Münchenbernsdorf"));
  EXPECT_EQ(Text("tb_Eingabe_3"), "Münchenbernsdorf");
}

// A pattern that gives a whole name in its letters ("St*Gallen*" for "St.
// Gallen") loads that place, not the longer name listed first; one that
// gives no whole name loads the first.
TEST_F(PlacemanagerModel, ReturnOnAWholeNameInItsLettersLoadsThatPlace) {
  const std::vector<PlaceRecord> records = {testing::Place("St. Gallenkirch", 9.98F, 47.02F, 2),
                                            testing::Place("St. Gallen", 9.37F, 47.42F, 1),
                                            testing::Place("Berlin", 13.405F, 52.52F)};
  std::ofstream(folder_.path() / "D.dao", std::ios::binary)
      << CompressSzdd(EncodePlaceFile(records));
  std::ofstream(folder_.path() / "D.IDX", std::ios::binary) << EncodePlaceIndex(records);
  auto& d = Open("Berlin", "D");
  d.cb_Eingabe_KeyReturn(3, "St*Gallen*");
  EXPECT_THAT(ListedNames(), ElementsAre("St. Gallenkirch", "St. Gallen"));
  EXPECT_EQ(Text("tb_Eingabe_3"), "St. Gallen");
  EXPECT_EQ(d.Timetable(), 1);
  d.cb_Eingabe_KeyReturn(3, "St*Gall*");
  EXPECT_THAT(ListedNames(), ElementsAre("St. Gallenkirch", "St. Gallen"));
  EXPECT_EQ(Text("tb_Eingabe_3"), "St. Gallenkirch");
}

TEST_F(PlacemanagerModel, ClickInTheListLoadsThePlaceAndItsTimetable) {
  auto& d = Open("Bonn", "D");
  d.cb_ABC_Click(0);
  d.li_SuchOrte_Click(0);
  EXPECT_EQ(Text("tb_Eingabe_3"), "Augsburg");
  EXPECT_EQ(Text("tb_Eingabe_7"), "2");
  EXPECT_THAT(Ctl("li_Zeittabelle").items, ElementsAre("davor gilt LMT", "01.04.1893 00.00  MET"));
  EXPECT_FALSE(Ctl("ig_Sommerzeit").visible);
  EXPECT_EQ(d.City(), "Augsburg");
  EXPECT_EQ(d.Timetable(), 2);
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
  EXPECT_THAT(ListedNames(), ElementsAre("München"));
  EXPECT_EQ(Text("tb_Eingabe_3"), "München");
  EXPECT_EQ(Text("lb_InfoLine"),
            "München: unter einem anderen seiner Namen gefunden, \u201EMunich\u201C; "
            "aufgeführt unter seinem eigenen.");
  // "Bonna" begins other names of Augsburg and Bonn, and Bonn's own.
  d.cb_Eingabe_KeyReturn(3, "Bonn");
  EXPECT_THAT(ListedNames(), ElementsAre("Augsburg", "Bonn"));
  EXPECT_EQ(Text("tb_Eingabe_3"), "Bonn");
  d.li_SuchOrte_Click(0);
  CurrentAtlas().Language().SetLanguage(kLanguageEnglish);
  d.li_SuchOrte_Click(0);
  EXPECT_EQ(Text("lb_InfoLine"),
            "Augsburg: found by another of its names, one beginning with \u201C"
            "Bonn\u201D; listed under its own.");
  // A place by its own name, spelled without its accent, needs no note.
  d.cb_Eingabe_KeyReturn(3, "Munchen");
  EXPECT_THAT(ListedNames(), ElementsAre("München"));
  EXPECT_NE(Text("lb_InfoLine").substr(0, 8), "München:");
  d.cb_ABC_Click(2);  // the letter B lists own names only
  EXPECT_THAT(ListedNames(), ElementsAre("Berlin", "Bonn"));
}

TEST_F(PlacemanagerModel, InfoSaysWhereAPlaceFollowsItsOwnZoneHistory) {
  WriteBerlinsOwnHistory();
  Open("Berlin", "D");
  EXPECT_EQ(Text("lb_Zeittabelle_1"),
            "Eigene Zonengeschichte Test/Plain in 1996-2100 (weicht von Zeittabelle 1 ab)");
  Open("Bonn", "D");
  EXPECT_EQ(Text("lb_Zeittabelle_1"), "");
}

TEST_F(PlacemanagerModel, TimetableListShowsDatesWithOrWithoutZones) {
  auto& d = Open("München", "D");
  const auto& items = Ctl("li_Zeittabelle").items;
  ASSERT_EQ(items.size(), 10U);
  EXPECT_EQ(items[2], "31.03.1996 02.00  MET/S");
  EXPECT_TRUE(Ctl("ig_Sommerzeit").visible);
  d.li_Zeittabelle_Click(2);
  EXPECT_EQ(Text("lb_Zeittabelle_1"), "Ortszeit: Middle European Time, summer time  (MET/S)");
  d.ch_DatumZonen_Click(false);
  EXPECT_EQ(Ctl("li_Zeittabelle").items[2], "31.03.1996 02.00");
  EXPECT_EQ(Ctl("li_Zeittabelle").list_index, 2);
}

// Beside the timetable's number, the standard zone it ends on before 2000;
// the country's base zone for a timetable without entries; nothing where
// the country has no timetables.
TEST_F(PlacemanagerModel, TimetableFieldsShowNumberAndStandardZone) {
  WriteGermanTimetables();  // 1 Central European, 2 empty, 3 Eastern European
  auto& d = Open("Zwickau", "D");
  EXPECT_EQ(Text("tb_Eingabe_7"), "3");
  EXPECT_EQ(Text("tb_Eingabe_4"), "EET");
  d.cb_Eingabe_KeyReturn(3, "München");
  EXPECT_EQ(Text("tb_Eingabe_7"), "1");
  EXPECT_EQ(Text("tb_Eingabe_4"), "MET");
  d.cb_Eingabe_KeyReturn(3, "Augsburg");
  EXPECT_EQ(Text("tb_Eingabe_7"), "2");
  EXPECT_EQ(Text("tb_Eingabe_4"), "MEZ");
  d.cb_Eingabe_KeyReturn(13, "Österreich");
  EXPECT_EQ(Text("tb_Eingabe_3"), "Graz");
  EXPECT_EQ(Text("tb_Eingabe_7"), "");
  EXPECT_EQ(Text("tb_Eingabe_4"), "");
}

TEST_F(PlacemanagerModel, CountryByNameOrCodeWithReturn) {
  auto& d = Open("München", "D");
  d.cb_Eingabe_KeyReturn(13, "öst");
  EXPECT_EQ(Text("tb_Eingabe_13"), "Österreich");
  EXPECT_THAT(ListedNames(), ElementsAre("Graz", "Wien"));
  EXPECT_EQ(Text("tb_Eingabe_3"), "Graz");
  EXPECT_EQ(d.CountryShort(), "A");
  // A US code switches the option buttons to the US states.
  d.cb_Eingabe_KeyReturn(14, "usc");
  EXPECT_TRUE(Ctl("rb_Eingabe_1").checked);
  EXPECT_EQ(Text("cb_Eingabe_13"), "Kalifornien");
  // An exact code beats a longer code it begins.
  d.rb_Eingabe_Click(0);
  d.cb_Eingabe_KeyReturn(14, "d");
  EXPECT_EQ(Text("tb_Eingabe_13"), "Deutschland");
  // Nothing found: the combo boxes show the country again.
  d.cb_Eingabe_KeyReturn(13, "Xanadu");
  EXPECT_EQ(Text("cb_Eingabe_13"), "Deutschland");
}

TEST_F(PlacemanagerModel, OptionButtonsSwitchTheCountryList) {
  auto& d = Open("München", "D");
  d.rb_Eingabe_Click(1);
  EXPECT_THAT(Ctl("cb_Eingabe_13").items, ElementsAre("Kalifornien", "New York"));
  EXPECT_EQ(Text("tb_Eingabe_3"), "Los Angeles");
  EXPECT_TRUE(Ctl("ig_Land_1").visible);
  d.rb_Eingabe_Click(0);
  EXPECT_EQ(
      std::count(Ctl("cb_Eingabe_14").items.begin(), Ctl("cb_Eingabe_14").items.end(), "USCA"), 0);
}

// ---- Keys and closing ----

TEST_F(PlacemanagerModel, EscapeCancelsCtrlShiftReturnClosesWithOkReturnAloneDoesNothing) {
  for (const std::int16_t key : {DlgPlacemanager::kKeyEscape, DlgPlacemanager::kKeyCancel}) {
    auto& d = Open("München", "D");
    view_.closed = 0;
    EXPECT_TRUE(d.Form_KeyDown(key, 0));
    EXPECT_TRUE(d.Canceled());
    EXPECT_EQ(view_.closed, 1);
  }
  view_.closed = 0;
  auto& d = Open("München", "D");
  EXPECT_FALSE(d.Form_KeyDown(DlgPlacemanager::kKeyReturn, 0));
  EXPECT_FALSE(d.Form_KeyDown(DlgPlacemanager::kKeyReturn, DlgPlacemanager::kCtrlMask));
  EXPECT_EQ(view_.closed, 0);
  EXPECT_TRUE(d.Form_KeyDown(DlgPlacemanager::kKeyReturn,
                             DlgPlacemanager::kCtrlMask | DlgPlacemanager::kShiftMask));
  EXPECT_EQ(view_.closed, 1);
  EXPECT_FALSE(d.Canceled());
  EXPECT_EQ(d.City(), "München");
}

TEST_F(PlacemanagerModel, EscapeWhileEditingKeepsTheDialogAndTheEditOpen) {
  auto& d = Open("München", "D");
  d.bt_Action_Click(3);
  ASSERT_TRUE(d.Editing());
  d.tb_Eingabe_Change(3, "München-Ost");
  d.Form_KeyDown(DlgPlacemanager::kKeyEscape, 0);
  EXPECT_EQ(view_.closed, 0);
  EXPECT_TRUE(d.Editing());
  EXPECT_FALSE(d.Canceled());
  EXPECT_EQ(Text("tb_Eingabe_3"), "München-Ost");
  // The edit can still be confirmed and is written.
  d.bt_OK_Click(1);
  EXPECT_THAT(UserPlaces("D"), ElementsAre("München-Ost"));
}

TEST_F(PlacemanagerModel, ClosingWithPendingChangesAsks) {
  auto& d = Open("München", "D");
  d.tb_Eingabe_Change(5, "11.6");
  ASSERT_TRUE(d.ChangesPending());
  EXPECT_FALSE(d.Editing());
  EXPECT_EQ(d.Group(), PanelGroup::kPending);

  answer_ = MsgAnswer::kCancel;
  EXPECT_FALSE(d.Form_Unload());
  ASSERT_EQ(messages_.size(), 1U);
  EXPECT_EQ(messages_[0].text, "Änderungen Ortedatenbank übernehmen?");
  EXPECT_EQ(messages_[0].title, "");
  EXPECT_EQ(messages_[0].style, kMsgYesNoCancel + kMsgQuestion);
  EXPECT_TRUE(d.ChangesPending());
  EXPECT_FALSE(d.Closed());

  answer_ = MsgAnswer::kNo;
  EXPECT_TRUE(d.Form_Unload());
  EXPECT_TRUE(UserPlaces("D").empty());
  EXPECT_FALSE(d.ChangesPending());

  // Yes writes the change as a user place.
  CurrentAtlas().Language().SetLanguage(kLanguageEnglish);
  auto& e = Open("München", "D");
  e.tb_Eingabe_Change(6, "48.5");
  answer_ = MsgAnswer::kYes;
  EXPECT_TRUE(e.Form_Unload());
  EXPECT_EQ(messages_.back().text, "Save changes of places?");
  EXPECT_THAT(UserPlaces("D"), ElementsAre("München"));
  classPlaces places;
  double latitude = 0;
  places.GetPlaceData("München", "D", nullptr, &latitude);
  EXPECT_NEAR(latitude, 48.5, 1e-4);  // the user place wins
}

TEST_F(PlacemanagerModel, UnloadResetsNewModeAndRestoresTheOwner) {
  auto& d = Open("München", "D");
  d.SetOwner(77);
  d.NewMode(true);
  EXPECT_TRUE(d.Form_Unload());
  EXPECT_FALSE(d.NewMode());
  EXPECT_THAT(view_.owners, ElementsAre(77, 77));
}

TEST_F(PlacemanagerModel, OkWritesPendingChangesBeforeClosing) {
  auto& d = Open("Bonn", "D");
  d.tb_Eingabe_Change(3, "Bonn-Beuel");
  d.bt_OK_Click(0);
  EXPECT_EQ(view_.closed, 1);
  EXPECT_TRUE(messages_.empty());
  EXPECT_THAT(UserPlaces("D"), ElementsAre("Bonn-Beuel"));
  EXPECT_EQ(d.City(), "Bonn-Beuel");
  EXPECT_LT(d.Index(), 0);
}

// ---- New place ----

TEST_F(PlacemanagerModel, NewPlaceRunsThreeStepsAndWritesTheUserFile) {
  auto& d = Open("Augsburg", "D");
  d.bt_Action_Click(1);
  EXPECT_EQ(d.Step(), 1);
  EXPECT_TRUE(d.Editing());
  EXPECT_EQ(d.Caption(), "Orteverwaltung");
  EXPECT_EQ(Text("bt_OK_1"), "&Weiter");
  EXPECT_TRUE(Ctl("tb_Eingabe_3").read_only);
  EXPECT_FALSE(Ctl("bt_OK_0").visible);
  d.li_SuchOrte_Click(0);  // the reference: Augsburg, timetable 2
  d.bt_OK_Click(1);
  EXPECT_EQ(d.Step(), 2);
  EXPECT_TRUE(d.Step2InUse());
  EXPECT_FALSE(Ctl("pn_Eingabe_3").visible);
  EXPECT_TRUE(Ctl("bt_Action_5").visible);
  d.bt_OK_Click(1);
  EXPECT_EQ(d.Step(), 3);
  EXPECT_EQ(Text("bt_OK_1"), "&Fertig");
  EXPECT_EQ(Text("tb_Eingabe_3"), "");
  EXPECT_EQ(view_.focus.back(), "tb_Eingabe_3");

  // No name: the entry goes on.
  d.bt_OK_Click(1);
  ASSERT_EQ(messages_.size(), 1U);
  EXPECT_EQ(messages_[0].text, "Es muß ein Ort eingegeben werden!");
  EXPECT_EQ(messages_[0].style, kMsgOkOnly);
  EXPECT_EQ(d.Step(), 3);
  EXPECT_TRUE(d.Editing());

  d.tb_Eingabe_Change(3, "Gersthofen");
  d.tb_Eingabe_Change(5, "10E53");
  d.ChangeBreiteLaenge(5);
  d.tb_Eingabe_Change(6, "48.425");
  d.ChangeBreiteLaenge(6);
  EXPECT_EQ(Text("tb_Eingabe_6"), "48N25' 30\"");
  d.bt_OK_Click(1);
  EXPECT_EQ(d.Step(), 0);
  EXPECT_FALSE(d.Editing());
  EXPECT_THAT(UserPlaces("D"), ElementsAre("Gersthofen"));
  EXPECT_TRUE(Ctl("lb_Definiert").visible);
  EXPECT_EQ(Text("tb_Eingabe_7"), "2");  // the reference's timetable
  EXPECT_EQ(view_.closed, 0);            // not opened for a new place: stays open
  EXPECT_EQ(d.Group(), PanelGroup::kBrowse);
}

TEST_F(PlacemanagerModel, NewModeReturnsTheEnteredPlaceAndCloses) {
  auto& d = Open("München", "D", true);
  EXPECT_EQ(d.Step(), 1);
  EXPECT_EQ(d.Caption(), "Orteverwaltung");
  ToStep3(d);
  d.tb_Eingabe_Change(3, "Garching");
  d.tb_Eingabe_Change(5, "11.65");
  d.bt_OK_Click(1);
  EXPECT_EQ(view_.closed, 1);
  EXPECT_FALSE(d.Canceled());
  EXPECT_EQ(d.City(), "Garching");
  EXPECT_EQ(d.CountryShort(), "D");
  EXPECT_NEAR(d.Longitude(), 11.65, 1e-4);
  EXPECT_NEAR(d.Latitude(), 48.137, 1e-3);
  EXPECT_EQ(d.Timetable(), 1);
  EXPECT_FALSE(d.NewMode());
  // Cancelled in the first step, it closes cancelled.
  auto& c = Open("München", "D", true);
  c.bt_CANCEL_Click(1);
  EXPECT_EQ(view_.closed, 2);
  EXPECT_TRUE(c.Canceled());
  EXPECT_FALSE(c.Editing());
}

TEST_F(PlacemanagerModel, BackFromStep3SkipsStep2WithoutTimetables) {
  auto& d = Open("Wien", "A");
  ToStep3(d);
  EXPECT_FALSE(d.Step2InUse());
  d.bt_CANCEL_Click(1);
  EXPECT_EQ(d.Step(), 1);
  EXPECT_TRUE(d.Editing());
  EXPECT_EQ(Text("tb_Eingabe_3"), "Wien");  // the reference again

  auto& g = Open("München", "D");
  ToStep3(g);
  g.bt_CANCEL_Click(1);
  EXPECT_EQ(g.Step(), 2);
  g.bt_CANCEL_Click(1);
  EXPECT_EQ(g.Step(), 1);
  g.bt_CANCEL_Click(1);
  EXPECT_EQ(g.Step(), 0);
  EXPECT_FALSE(g.Editing());
  EXPECT_EQ(view_.closed, 0);
  EXPECT_EQ(g.Group(), PanelGroup::kBrowse);
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
  EXPECT_EQ(Text("tb_Eingabe_7"), "3");
  std::int16_t timetable = 0;
  classPlaces().HaveTimetables("D", "Freising", &timetable);
  EXPECT_EQ(timetable, 3);
}

// ---- Change, delete, timetable ----

TEST_F(PlacemanagerModel, ChangingAUserPlaceReplacesIt) {
  auto& d = Open("München", "D");
  d.bt_Action_Click(3);
  EXPECT_EQ(d.Group(), PanelGroup::kEdit);
  EXPECT_EQ(Text("bt_OK_1"), "&Eingabe OK");
  EXPECT_EQ(Text("bt_CANCEL_1"), "&Abbrechen");
  d.tb_Eingabe_Change(5, "11.6");
  d.bt_OK_Click(1);
  EXPECT_THAT(UserPlaces("D"), ElementsAre("München"));
  EXPECT_TRUE(Ctl("lb_Definiert").visible);
  d.bt_Action_Click(3);
  d.tb_Eingabe_Change(5, "11.7");
  d.bt_OK_Click(1);
  EXPECT_THAT(UserPlaces("D"), ElementsAre("München"));
  EXPECT_EQ(Text("tb_Eingabe_5"), "011E42' 00\"");
}

TEST_F(PlacemanagerModel, CancellingAnEditRestoresThePlaceFromDisk) {
  auto& d = Open("Berlin", "D");
  d.bt_Action_Click(3);
  d.tb_Eingabe_Change(3, "Berlin-Mitte");
  d.bt_CANCEL_Click(1);
  EXPECT_FALSE(d.Editing());
  EXPECT_FALSE(d.ChangesPending());
  EXPECT_EQ(Text("tb_Eingabe_3"), "Berlin");
  EXPECT_TRUE(UserPlaces("D").empty());
}

TEST_F(PlacemanagerModel, RenamingToAnExistingUserPlaceAsksFirst) {
  classPlaces().AddUserPlace("D", "Pasing", 11.46, 48.14, 1);
  auto& d = Open("München", "D");
  d.tb_Eingabe_Change(3, "Pasing");
  answer_ = MsgAnswer::kNo;
  d.bt_OK_Click(1);
  EXPECT_EQ(messages_.at(0).text,
            "Es gibt schon einen selbst definierten Ort \"Pasing\". Ersetzen?");
  EXPECT_EQ(d.Group(), PanelGroup::kPending);
  EXPECT_TRUE(d.ChangesPending());
  answer_ = MsgAnswer::kYes;
  d.bt_OK_Click(1);
  EXPECT_THAT(UserPlaces("D"), ElementsAre("Pasing"));
  EXPECT_EQ(Text("tb_Eingabe_5"), "011E34' 30\"");
}

// A name the user file cannot hold is refused before the place being
// changed is taken out: the place stays as it was.
TEST_F(PlacemanagerModel, RenamingToANameThatCannotBeStoredKeepsThePlace) {
  classPlaces().AddUserPlace("D", "Pasing", 11.46, 48.14, 1);
  auto& d = Open("Pasing", "D");
  for (const std::string& name : {std::string(29, 'P'), std::string("Pasing \xF0\x9F\x98\x80")}) {
    messages_.clear();
    d.tb_Eingabe_Change(3, name);
    d.bt_OK_Click(1);
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
  EXPECT_TRUE(Ctl("lb_Definiert").visible);
  EXPECT_TRUE(Ctl("bt_Action_2").enabled);
  answer_ = MsgAnswer::kNo;
  u.bt_Action_Click(2);
  EXPECT_EQ(messages_.at(0).text, "Den selbst definierten Ort \"Berlin\" löschen?");
  EXPECT_THAT(UserPlaces("D"), ElementsAre("Berlin"));
  answer_ = MsgAnswer::kYes;
  u.bt_Action_Click(2);
  EXPECT_TRUE(UserPlaces("D").empty());
  // The atlas's Berlin shows again.
  EXPECT_FALSE(Ctl("lb_Definiert").visible);
  EXPECT_EQ(Text("tb_Eingabe_5"), "013E24' 18\"");
}

TEST_F(PlacemanagerModel, ChosenTimetableWaitsForConfirmation) {
  auto& d = Open("Bonn", "D");
  view_.chooser_answer = 2;
  d.bt_Action_Click(5);
  EXPECT_THAT(view_.chooser_calls, ElementsAre("D 1"));
  EXPECT_TRUE(d.ChangesPending());
  EXPECT_FALSE(d.Editing());
  EXPECT_EQ(Text("bt_OK_1"), "Eingabe OK");
  EXPECT_EQ(Text("bt_CANCEL_1"), "Eingabe abbrechen");
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
  d.tb_Eingabe_Change(3, "Bonn-Nord");
  answer_ = MsgAnswer::kCancel;
  d.li_SuchOrte_Click(0);
  EXPECT_EQ(Text("tb_Eingabe_3"), "Bonn-Nord");
  answer_ = MsgAnswer::kNo;
  d.li_SuchOrte_Click(0);
  EXPECT_EQ(Text("tb_Eingabe_3"), "Berlin");
  EXPECT_FALSE(d.ChangesPending());
  EXPECT_EQ(d.Group(), PanelGroup::kBrowse);
  EXPECT_TRUE(UserPlaces("D").empty());
}

TEST_F(PlacemanagerModel, TypingBackTheOldTextLeavesNothingPending) {
  auto& d = Open("Bonn", "D");
  d.tb_Eingabe_Change(3, "Bon");
  EXPECT_TRUE(d.ChangesPending());
  d.tb_Eingabe_Change(3, "Bonn");
  EXPECT_FALSE(d.ChangesPending());
  EXPECT_EQ(d.Group(), PanelGroup::kBrowse);
}

// ---- Coordinates ----

TEST_F(PlacemanagerModel, CoordinatesAreReadAsDegreesOrDecimalsAndRangeChecked) {
  auto& d = Open("Bonn", "D");
  d.tb_Eingabe_Change(5, "-7.5");
  d.ChangeBreiteLaenge(5);
  EXPECT_EQ(Text("tb_Eingabe_5"), "007W30' 00\"");
  d.tb_Eingabe_Change(5, "200");
  d.tb_Eingabe_LostFocus(5);
  EXPECT_EQ(Text("tb_Eingabe_5"), "007W30' 00\"");
  d.tb_Eingabe_Change(6, "north");
  d.tb_Eingabe_KeyReturn(6);
  EXPECT_EQ(Text("tb_Eingabe_6"), "50N43' 48\"");
  d.tb_Eingabe_Change(6, "50 43 48");
  d.ChangeBreiteLaenge(6);
  EXPECT_EQ(Text("tb_Eingabe_6"), "50N43' 48\"");
}

TEST_F(PlacemanagerModel, SpinMovesByArcMinutesWithinRange) {
  auto& d = Open("Bonn", "D");
  d.SpinLaengeBreite(6, 1);
  EXPECT_EQ(Text("tb_Eingabe_6"), "50N44' 48\"");
  EXPECT_TRUE(d.ChangesPending());
  d.tb_Eingabe_Change(6, "89.99");
  d.SpinLaengeBreite(6, 10);
  EXPECT_EQ(Text("tb_Eingabe_6"), "90N00' 00\"");
}

// ---- Help line ----

// The help line takes each text in its component's language rule: the
// dialog's own texts read language 0 as German, Choose's as English.
TEST_F(PlacemanagerModel, HelpLineFollowsFocusAndMouseInEachTextsLanguage) {
  auto& d = Open("München", "D");
  const struct {
    std::int32_t language;
    std::function<void()> act;
    std::string text;  // what the line begins with; "" for an empty line
  } cases[] = {
      {0, [&] { d.tb_Eingabe_GotFocus(3); }, "Hier können Sie den aktuellen Ort verändern."},
      {2, [&] { d.tb_Eingabe_GotFocus(3); }, "Hier können Sie den aktuellen Ort verändern."},
      {3, [&] { d.tb_Eingabe_GotFocus(14); },
       "This is the shortcut of the actual country. (Can not be changed)."},
      {3, [&] { d.tb_Eingabe_GotFocus(7); }, ""},
      {0, [&] { d.bt_CANCEL_GotFocus(0); }, "Closes the Place Manager."},
      {0, [&] { d.rb_Eingabe_MouseMove(1); }, "Shows all the states of the USA"},
      {0, [&] { d.bt_Action_MouseMove(2); }, "Hier können Sie den aktuellen Ort löschen. - Nur"},
      {0, [&] { d.cb_ABC_GotFocus(); }, "Klicken Sie auf einen Buchstaben. "},
      {2, [&] { d.pn_Eingabe_MouseMove(3); }, "Zum Suchen eines Ortes im aktuellen L"},
      {2, [&] { d.li_Zeittabelle_GotFocus(); }, "Klicken Sie auf einen Eintrag und"},
      {2, [&] { d.bt_OK_GotFocus(0); }, "Hier wird der Ortemanager geschlossen."},
      {2, [&] { d.SetHilfeIndex(std::string("frei")); }, "frei"}};
  for (const auto& c : cases) {
    CurrentAtlas().Language().SetLanguage(c.language);
    c.act();
    const std::string& line = Text("lb_InfoLine");
    if (c.text.empty()) {
      EXPECT_EQ(line, "");
    } else {
      EXPECT_EQ(line.rfind(c.text, 0), 0U) << line;
    }
  }
  EXPECT_THAT(view_.selected, ::testing::Contains("tb_Eingabe_14"));  // focus selects the text
  d.cb_Eingabe_GotFocus(14);
  EXPECT_NE(Text("lb_InfoLine").find("Länderkennung"), std::string::npos);
}

TEST_F(PlacemanagerModel, DuringAStepOkAndCancelKeepTheLine) {
  auto& d = Open("München", "D");
  d.bt_Action_Click(1);
  d.cb_Eingabe_GotFocus(3);
  const std::string before = Text("lb_InfoLine");
  ASSERT_FALSE(before.empty());
  d.bt_OK_MouseMove(1);
  d.bt_CANCEL_GotFocus(1);
  EXPECT_EQ(Text("lb_InfoLine"), before);
}

}  // namespace
}  // namespace tarv::ui
