#include "ui/placemanager/dlg_placemanager.h"

#include <algorithm>

#include "atlas/country_table.h"
#include "atlas/place_search.h"
#include "atlas/atlas_state.h"
#include "atlas/timetable.h"
#include "text/codepage.h"
#include "platform/message_box.h"
#include "tarvplaces/atlas_error.h"
#include "tarvplaces/places.h"
#include "ui/placemanager/help_texts.h"
#include "util/text.h"

namespace tarv::ui {
namespace {

constexpr int kTextBoxes[] = {3, 4, 5, 6, 7, 13, 14, 16, 30, 31};
constexpr int kReadOnlyTextBoxes[] = {4, 7, 13, 14, 16, 30, 31};
constexpr int kActions[] = {1, 2, 3, 5};
constexpr int kLetters = 26;
constexpr std::size_t kSearchHistory = 10;

// Controls that choose the country or the place; usable while browsing and
// in the first step of a new place.
constexpr const char* kNavigation[] = {"rb_Eingabe_0",  "rb_Eingabe_1", "cb_Eingabe_13",
                                       "cb_Eingabe_14", "cb_Eingabe_3", "cb_ABC",
                                       "li_SuchOrte"};

bool IsCoordinateField(std::int16_t index) {
  return index == 5 || index == 6;
}

bool IsPlaceField(std::int16_t index) {
  return index == 3 || IsCoordinateField(index);
}

// The first column of a place list item ("München\t011E34'...").
std::string ItemName(const std::string& item) {
  return item.substr(0, item.find('\t'));
}

// The letter filter's item of a name's index letter, 0 ("All") for names
// not starting with A to Z.
std::int32_t LetterItem(const std::string& name) {
  const std::string letter = GetLetter(AnsiFromUtf8(name));
  const char c = letter.empty() ? '\0' : letter[0];
  return c >= 'A' && c <= 'Z' ? c - 'A' + 1 : 0;
}

bool StartsWith(const std::string& text, const std::string& prefix) {
  return UCase(AnsiFromUtf8(text)).rfind(UCase(AnsiFromUtf8(prefix)), 0) == 0;
}

}  // namespace

DlgPlacemanager::DlgPlacemanager(PlacemanagerView& view) : view_(view) {
  CreateControls();
}

const std::vector<int>& DlgPlacemanager::PanelIndices() {
  static const std::vector<int> kPanels = {0, 13, 14, 3, 5, 15, 16};
  return kPanels;
}

void DlgPlacemanager::CreateControls() {
  for (const char* name : {"lb_Land", "cb_ABC", "li_SuchOrte", "lb_AnzOrte", "lb_Definiert",
                           "ig_Direction", "ig_Sommerzeit", "li_Zeittabelle", "ch_DatumZonen",
                           "lb_InfoGuide", "lb_InfoGuideBack", "lb_InfoLine"}) {
    Add(name);
  }
  for (int i = 0; i < 3; ++i)
    Add(Member("ig_Land", i));
  for (int i = 0; i < 2; ++i) {
    Add(Member("rb_Eingabe", i));
    Add(Member("lb_Zeittabelle", i));
    Add(Member("bt_OK", i));
    Add(Member("bt_CANCEL", i));
  }
  for (const int i : {3, 13, 14})
    Add(Member("cb_Eingabe", i));
  for (const int i : kTextBoxes)
    Add(Member("tb_Eingabe", i));
  for (const int i : kReadOnlyTextBoxes)
    C("tb_Eingabe", i).read_only = true;
  for (int i = 0; i < 7; ++i)
    Add(Member("lb_Eingabe", i));
  for (const int i : kActions)
    Add(Member("bt_Action", i));
  for (const int i : PanelIndices())
    Add(Member("pn_Eingabe", i));
  C("ch_DatumZonen").checked = true;
  C("lb_Definiert").visible = false;
  C("ig_Sommerzeit").visible = false;
  C("lb_InfoGuideBack").visible = false;
  C("bt_OK_1").visible = false;
  C("bt_CANCEL_1").visible = false;
}

// ---- Language ----

std::int32_t DlgPlacemanager::Language() const {
  return CurrentAtlas().Language().Language();
}

std::string DlgPlacemanager::Choose(const char* english, const char* german) const {
  return CurrentAtlas().Language().Choose(english, german);
}

void DlgPlacemanager::SetCaptions() {
  SetCaption(Choose("Place manager", "Orteverwaltung"));
  C("lb_Land").text = Choose("Country", "&Land");
  const std::pair<const char*, const char*> fields[] = {{"Cou&ntry", "La&nd"},
                                                        {"Description", "Beschreibung"},
                                                        {"Continent", "Kontin&ent"},
                                                        {"&Place", "&Ort"},
                                                        {"&Longitude", "L&änge"},
                                                        {"Latit&ude", "&Breite"},
                                                        {"Base timezone", "Basisze&itzone"}};
  for (int i = 0; i < 7; ++i)
    C("lb_Eingabe", i).text = Choose(fields[i].first, fields[i].second);
  C("lb_Zeittabelle_0").text = Choose("Timetable", "&Zeittabelle");
  C("bt_Action_1").text = Choose("&New Place", "Ort auf&nehmen");
  C("bt_Action_2").text = Choose("De&lete place", "Ort &löschen");
  C("bt_Action_3").text = Choose("C&hange place", "Ortsdaten &ändern");
  C("bt_Action_5").text = Choose("Select timetable", "Zeit&tabellenzugehörigkeit");
  C("bt_OK_0").text = "OK";
  C("bt_CANCEL_0").text = Choose("Cancel", "Abbruch");
  C("bt_OK_1").text = Choose("&Next", "&Weiter");
  C("bt_CANCEL_1").text = Choose("&Back", "Zurüc&k");
  C("rb_Eingabe_0").text = Choose("Other countries", "An&dere Länder");
  C("rb_Eingabe_1").text = Choose("US &states", "&USA-Bundesstaaten");
  C("lb_Definiert").text = Choose("User defined Place", "Selbst definierter Ort");
  C("ch_DatumZonen").text = Choose("With &zones", "&Mit Zonen");
}

void DlgPlacemanager::FillLetterFilter() {
  ControlState& abc = C("cb_ABC");
  abc.items = {Choose("All", "Alle")};
  for (char c = 'A'; c < 'A' + kLetters; ++c)
    abc.items.emplace_back(1, c);
  abc.list_index = 0;
  abc.text = abc.items[0];
}

// ---- Load and keys ----

void DlgPlacemanager::Form_Load() {
  EnsureTablesLoaded();
  SetCaptions();
  FillLetterFilter();
  const bool usa = IsUSA(GetInternalCountryAbbreviation(AnsiFromUtf8(country_short_)));
  C("rb_Eingabe", usa ? 1 : 0).checked = true;
  FillCountryLists(usa);
  std::int32_t country = 0;
  const std::string wanted = GetInternalCountryAbbreviation(AnsiFromUtf8(country_short_));
  for (std::size_t i = 0; i < countries_.size(); ++i) {
    if (TextEqual(AnsiFromUtf8(countries_[i].code), wanted)) country = static_cast<int>(i);
  }
  if (!countries_.empty()) SelectCountry(country);

  C("cb_ABC").list_index = LetterItem(city_);
  FillPlaceList();
  const auto place = FindPlace(CountryCode(), city_, index_, longitude_, latitude_);
  if (place) {
    ShowPlace(*place);
  } else {
    ShowUnlistedPlace();
  }
  UpdateActionButtons();
  if (new_mode_) bt_Action_Click(1);
}

bool DlgPlacemanager::Form_KeyDown(std::int16_t KeyCode, std::int16_t Shift) {
  if (KeyCode == kKeyEscape || KeyCode == kKeyCancel) {
    bt_CANCEL_Click(0);
    return true;
  }
  if (KeyCode == kKeyReturn && (Shift & kShiftMask) != 0 && (Shift & kCtrlMask) != 0) {
    bt_OK_Click(0);
    return true;
  }
  return false;
}

bool DlgPlacemanager::Form_Unload() {
  if (editing_) return false;
  try {
    if (changes_pending_) {
      const MsgAnswer answer = AskToSaveChanges();
      if (answer == MsgAnswer::kCancel) return false;
      if (answer == MsgAnswer::kYes && !UpdateOrt()) return false;
    }
  } catch (...) {
    // A close must not fail on an error of its own; the dialog simply closes.
  }
  changes_pending_ = false;
  new_mode_ = false;
  if (owner_ != 0) view_.SetOwnerWindow(owner_);
  closed_ = true;
  return true;
}

MsgAnswer DlgPlacemanager::AskToSaveChanges() const {
  return MsgBox(Choose("Save changes of places?", "Änderungen Ortedatenbank übernehmen?"),
                kMsgYesNoCancel + kMsgQuestion, "");
}

void DlgPlacemanager::ReportPlaceRequired() const {
  MsgBox(Choose("Please enter a place!", "Es muß ein Ort eingegeben werden!"), kMsgOkOnly, "");
}

bool DlgPlacemanager::CloseForm() {
  if (!Form_Unload()) return false;
  view_.CloseWindow();
  return true;
}

void DlgPlacemanager::SetOwner(OwnerWindow owner) {
  owner_ = owner;
  view_.SetOwnerWindow(owner);
}

// ---- Panel groups ----

void DlgPlacemanager::Show_PanelGroup(PanelGroup group) {
  group_ = group;
  SetCaption(Choose("Place Manager", "Orteverwaltung"));
  SetPanelsForGroup(group);
  SetButtonsForGroup(group);
  SetGuide(group);
  UpdateActionButtons();
}

void DlgPlacemanager::SetPanelsForGroup(PanelGroup group) {
  const bool later_step = group == PanelGroup::kStep2 || group == PanelGroup::kStep3;
  for (const int i : {0, 13, 14, 3})
    C("pn_Eingabe", i).visible = !later_step;
  const bool navigate =
      group == PanelGroup::kBrowse || group == PanelGroup::kPending || group == PanelGroup::kStep1;
  for (const char* name : kNavigation)
    C(name).enabled = navigate;
  const bool fields_editable = group != PanelGroup::kStep1 && group != PanelGroup::kStep2;
  for (const int i : {3, 5, 6})
    C("tb_Eingabe", i).read_only = !fields_editable;
}

void DlgPlacemanager::SetButtonsForGroup(PanelGroup group) {
  const bool browse = group == PanelGroup::kBrowse;
  const bool pending = group == PanelGroup::kPending;
  C("bt_OK_0").visible = browse || pending;
  C("bt_CANCEL_0").visible = browse || pending;
  C("bt_OK_1").visible = !browse;
  C("bt_CANCEL_1").visible = !browse;
  for (const int i : kActions) {
    C("bt_Action", i).visible = browse || pending || (group == PanelGroup::kStep2 && i == 5);
  }
  std::string& ok = C("bt_OK_1").text;
  std::string& cancel = C("bt_CANCEL_1").text;
  switch (group) {
    case PanelGroup::kBrowse:
      break;
    case PanelGroup::kPending:
      ok = Choose("Confirm changes", "Eingabe OK");
      cancel = Choose("Cancel Edit", "Eingabe abbrechen");
      break;
    case PanelGroup::kEdit:
      ok = Choose("&Confirm changes", "&Eingabe OK");
      cancel = Choose("Cancel changes", "&Abbrechen");
      break;
    case PanelGroup::kStep1:
      ok = Choose("&Next", "&Weiter");
      cancel = Choose("Cancel Edit", "Eingabe abbrechen");
      break;
    case PanelGroup::kStep2:
      ok = Choose("&Next", "&Weiter");
      cancel = Choose("&Back", "Zurüc&k");
      break;
    case PanelGroup::kStep3:
      ok = Choose("&Ready", "&Fertig");
      cancel = Choose("&Back", "Zurüc&k");
      break;
  }
}

void DlgPlacemanager::SetGuide(PanelGroup group) {
  std::string text;
  switch (group) {
    case PanelGroup::kBrowse:
      break;
    case PanelGroup::kPending:
      text = Choose(
          "The changes are not saved yet: \"Confirm changes\" saves them as a user defined place.",
          "Die Änderungen sind noch nicht gespeichert: \"Eingabe OK\" speichert sie als selbst "
          "definierten Ort.");
      break;
    case PanelGroup::kEdit:
      text = Choose(
          "Change the name or the coordinates of the place and confirm with \"Confirm changes\".",
          "Ändern Sie Namen oder Koordinaten des Ortes und bestätigen Sie mit \"Eingabe OK\".");
      break;
    case PanelGroup::kStep1:
      text = Choose("Step 1: Choose the country and a place near the new place as its reference.",
                    "Schritt 1: Wählen Sie das Land und einen Ort in der Nähe des neuen Ortes als "
                    "Bezugsort.");
      break;
    case PanelGroup::kStep2:
      text = Choose(
          "Step 2: The new place gets the timetable of the reference place; \"Select timetable\" "
          "chooses another one.",
          "Schritt 2: Der neue Ort erhält die Zeittabelle des Bezugsortes; mit "
          "\"Zeittabellenzugehörigkeit\" wählen Sie eine andere.");
      break;
    case PanelGroup::kStep3:
      text = Choose("Step 3: Enter the name and the coordinates of the new place.",
                    "Schritt 3: Geben Sie den Namen und die Koordinaten des neuen Ortes ein.");
      break;
  }
  C("lb_InfoGuide").text = text;
  C("lb_InfoGuideBack").visible = !text.empty();
}

void DlgPlacemanager::UpdateActionButtons() {
  const bool has_place = !place_.name.empty() || !Trim(Control("tb_Eingabe_3").text).empty();
  C("bt_Action_1").enabled = CurrentCountry() != nullptr;
  C("bt_Action_2").enabled = place_.IsUserPlace() && group_ == PanelGroup::kBrowse;
  C("bt_Action_3").enabled = has_place && group_ == PanelGroup::kBrowse;
  C("bt_Action_5").enabled =
      TimetableCount(CountryCode()) > 0 && (group_ == PanelGroup::kStep2 || has_place);
}

// ---- Countries ----

const CountryChoice* DlgPlacemanager::CurrentCountry() const {
  if (country_ < 0 || static_cast<std::size_t>(country_) >= countries_.size()) return nullptr;
  return &countries_[static_cast<std::size_t>(country_)];
}

std::string DlgPlacemanager::CountryCode() const {
  const CountryChoice* country = CurrentCountry();
  return country != nullptr ? country->code : std::string();
}

void DlgPlacemanager::FillCountryLists(bool usa) {
  countries_ = CountryChoices(usa);
  country_ = -1;
  ControlState& names = C("cb_Eingabe_13");
  ControlState& codes = C("cb_Eingabe_14");
  names.items.clear();
  codes.items.clear();
  for (const auto& country : countries_) {
    names.items.push_back(country.title);
    codes.items.push_back(country.code);
  }
  names.list_index = codes.list_index = -1;
  names.text.clear();
  codes.text.clear();
}

void DlgPlacemanager::SelectCountry(std::int32_t list_index) {
  if (list_index < 0 || static_cast<std::size_t>(list_index) >= countries_.size()) return;
  country_ = list_index;
  const CountryChoice& country = countries_[static_cast<std::size_t>(list_index)];
  C("cb_Eingabe_13").list_index = C("cb_Eingabe_14").list_index = list_index;
  C("cb_Eingabe_13").text = country.title;
  C("cb_Eingabe_14").text = country.code;
  C("tb_Eingabe_13").text = country.title;
  C("tb_Eingabe_14").text = country.code;
  C("tb_Eingabe_16").text = country.base_zone;
  C("tb_Eingabe_30").text = country.continent;
  C("tb_Eingabe_31").text = country.info;
  ShowCountryCode();
  const bool usa = Control("rb_Eingabe_1").checked;
  C("ig_Land_0").visible = !usa;
  C("ig_Land_1").visible = usa;
  C("ig_Land_2").visible = false;
}

// The host's code stays while it names the country shown ("RUS" for "SSR").
void DlgPlacemanager::ShowCountryCode() {
  const CountryChoice* country = CurrentCountry();
  if (country == nullptr) return;
  if (!TextEqual(GetInternalCountryAbbreviation(AnsiFromUtf8(country_short_)),
                 AnsiFromUtf8(country->code))) {
    country_short_ = country->code;
  }
}

// Exact code or title first, then the first beginning; the other option's
// list is searched too, so "USCA" typed among the other countries works.
bool DlgPlacemanager::FindCountry(const std::string& text, bool by_code) {
  const std::string wanted = Trim(text);
  if (wanted.empty()) return false;
  for (const bool usa_list : {Control("rb_Eingabe_1").checked, !Control("rb_Eingabe_1").checked}) {
    const auto choices = CountryChoices(usa_list);
    auto key = [by_code](const CountryChoice& c) { return by_code ? c.code : c.title; };
    auto it = std::find_if(choices.begin(), choices.end(), [&](const CountryChoice& c) {
      return TextEqual(AnsiFromUtf8(key(c)), AnsiFromUtf8(wanted));
    });
    if (it == choices.end()) {
      it = std::find_if(choices.begin(), choices.end(),
                        [&](const CountryChoice& c) { return StartsWith(key(c), wanted); });
    }
    if (it == choices.end()) continue;
    if (usa_list != Control("rb_Eingabe_1").checked) {
      C("rb_Eingabe_1").checked = usa_list;
      C("rb_Eingabe_0").checked = !usa_list;
      FillCountryLists(usa_list);
    }
    SelectCountry(static_cast<std::int32_t>(it - choices.begin()));
    return true;
  }
  return false;
}

// ---- Places ----

// The list by the letter filter; a letter without places switches to all.
void DlgPlacemanager::FillPlaceList() {
  ControlState& abc = C("cb_ABC");
  if (abc.list_index <= 0) {
    abc.list_index = 0;
    FillPlaceList("*");
  } else {
    FillPlaceList(abc.items[static_cast<std::size_t>(abc.list_index)]);
    if (Control("li_SuchOrte").items.empty()) {
      abc.list_index = 0;
      FillPlaceList("*");
    }
  }
  abc.text = abc.items[static_cast<std::size_t>(abc.list_index)];
}

void DlgPlacemanager::FillPlaceList(const std::string& search, bool by_other_names) {
  ControlState& list = C("li_SuchOrte");
  listed_by_other_name_.clear();
  listed_search_ = search;
  const std::int32_t count = CurrentCountry() != nullptr
                                 ? ListPlaces(CountryCode(), search, true, list,
                                              by_other_names ? &listed_by_other_name_ : nullptr)
                                 : 0;
  if (CurrentCountry() == nullptr) {
    list.items.clear();
    list.item_data.clear();
    list.list_index = -1;
  }
  C("lb_AnzOrte").text =
      std::to_string(count) + (count == 1 ? Choose(" Place", " Ort") : Choose(" Places", " Orte"));
  SelectListedPlace();
}

void DlgPlacemanager::SelectListedPlace() {
  ControlState& list = C("li_SuchOrte");
  list.list_index = -1;
  if (place_.record == 0) return;
  for (std::size_t i = 0; i < list.item_data.size(); ++i) {
    if (list.item_data[i] == place_.record &&
        TextEqual(AnsiFromUtf8(ItemName(list.items[i])), AnsiFromUtf8(place_.name))) {
      list.list_index = static_cast<std::int32_t>(i);
      return;
    }
  }
}

void DlgPlacemanager::ShowPlace(const PlaceData& place) {
  place_ = place;
  city_ = place.name;
  longitude_ = static_cast<float>(place.longitude);
  latitude_ = static_cast<float>(place.latitude);
  timetable_ = place.timetable;
  index_ = place.record;
  ShowCountryCode();
  C("tb_Eingabe_3").text = place.name;
  C("tb_Eingabe_5").text = good_longitude_ = LongitudeText(place.longitude);
  C("tb_Eingabe_6").text = good_latitude_ = LatitudeText(place.latitude);
  C("lb_Definiert").visible = place.IsUserPlace();
  // In the first step of a new place the place shown is its reference.
  if (step_ == 1) new_timetable_ = place.timetable;
  ShowTimetable(place.timetable);
  SelectListedPlace();
  UpdateActionButtons();
}

// The host's place when the atlas does not hold it: its own name and
// coordinates, nothing selected.
void DlgPlacemanager::ShowUnlistedPlace() {
  PlaceData place;
  place.name = city_;
  place.longitude = longitude_;
  place.latitude = latitude_;
  place.timetable = timetable_;
  ShowPlace(place);
}

void DlgPlacemanager::ShowTimetable(std::int16_t timetable) {
  shown_timetable_ = timetable;
  const bool with_zones = Control("ch_DatumZonen").checked;
  timetable_listing_ = timetable > 0 && TimetableCount(CountryCode()) > 0
                           ? ListTimetable(CountryCode(), timetable, with_zones, CurrentAtlas().Language())
                           : TimetableListing{};
  ControlState& list = C("li_Zeittabelle");
  list.items = timetable_listing_.items;
  list.list_index = -1;
  C("tb_Eingabe_7").text = timetable > 0 ? std::to_string(timetable) : std::string();
  C("tb_Eingabe_4").text =
      timetable_listing_.items.empty()
          ? std::string()
          : Utf8FromAnsi(GetRightTimeZone(AnsiFromUtf8(CountryCode()), timetable));
  // Browsing a database place whose own zone history differs from the
  // timetable: the line under the list says so.
  C("lb_Zeittabelle_1").text =
      step_ == 0 ? OwnHistoryNote(CountryCode(), place_.record, timetable, CurrentAtlas().Language())
                 : std::string();
  C("ig_Sommerzeit").visible =
      std::any_of(timetable_listing_.entries.begin(), timetable_listing_.entries.end(),
                  [](const TimetableEntryLine& e) { return e.summer_time; });
}

void DlgPlacemanager::LoadFirstListedPlace() {
  const ControlState& list = Control("li_SuchOrte");
  if (list.items.empty()) {
    ShowPlace(PlaceData{});
    return;
  }
  li_SuchOrte_Click(0);
}

void DlgPlacemanager::Fill_FORM_From_Disk() {
  const auto place = FindPlace(CountryCode(), place_.name, place_.record);
  if (place) {
    ShowPlace(*place);
  } else {
    ShowPlace(place_);
  }
}

bool DlgPlacemanager::FieldsDiffer() const {
  return Trim(Control("tb_Eingabe_3").text) != place_.name ||
         Control("tb_Eingabe_5").text != LongitudeText(place_.longitude) ||
         Control("tb_Eingabe_6").text != LatitudeText(place_.latitude) ||
         shown_timetable_ != place_.timetable;
}

// Before the fields show another place: pending changes are saved, dropped
// or keep the user where he is, as he answers.
bool DlgPlacemanager::LeavePlace() {
  if (!changes_pending_) return true;
  const MsgAnswer answer = AskToSaveChanges();
  if (answer == MsgAnswer::kCancel) return false;
  if (answer == MsgAnswer::kYes && !UpdateOrt()) return false;
  changes_pending_ = false;
  action_ = 0;
  Show_PanelGroup(PanelGroup::kBrowse);
  return true;
}

void DlgPlacemanager::Search(const std::string& text) {
  if (!LeavePlace()) return;
  const std::string search = Trim(text);
  ControlState& field = C("cb_Eingabe_3");
  field.text = search;
  if (!search.empty()) {
    auto& history = field.items;
    history.erase(std::remove(history.begin(), history.end(), search), history.end());
    history.insert(history.begin(), search);
    if (history.size() > kSearchHistory) history.resize(kSearchHistory);
  }
  field.list_index = -1;
  FillPlaceList(search.empty() ? "*" : search, true);
  const auto& items = Control("li_SuchOrte").items;
  if (items.empty()) return;
  // The list holds every place beginning with the text; a whole name typed
  // means that place, even where a longer name comes first ("München" and
  // "Münchenbernsdorf"). Otherwise the first place is loaded.
  const std::string wanted = AnsiFromUtf8(search);
  auto named = [&](bool letters_only) {
    return std::find_if(items.begin(), items.end(), [&](const std::string& item) {
      const std::string name = AnsiFromUtf8(ItemName(item));
      return letters_only ? CitiesAreMatching(name, wanted) : TextEqual(name, wanted);
    });
  };
  auto it = named(false);
  if (it == items.end()) it = named(true);
  li_SuchOrte_Click(it == items.end() ? 0 : static_cast<std::int32_t>(it - items.begin()));
}

// ---- Events of the lists and fields ----

void DlgPlacemanager::rb_Eingabe_Click(std::int16_t Index) {
  if ((Index != 0 && Index != 1) || Control(Member("rb_Eingabe", Index)).checked) return;
  if (!LeavePlace()) return;
  C("rb_Eingabe_1").checked = Index == 1;
  C("rb_Eingabe_0").checked = Index == 0;
  FillCountryLists(Index == 1);
  SelectCountry(0);
  FillPlaceList();
  LoadFirstListedPlace();
}

void DlgPlacemanager::cb_Eingabe_Click(std::int16_t Index, std::int32_t list_index) {
  if (Index == 3) {
    const auto& history = Control("cb_Eingabe_3").items;
    if (list_index >= 0 && static_cast<std::size_t>(list_index) < history.size()) {
      const std::string text = history[static_cast<std::size_t>(list_index)];  // Search reorders
      Search(text);
    }
    return;
  }
  if (Index != 13 && Index != 14) return;
  if (list_index == country_ || !LeavePlace()) return;
  SelectCountry(list_index);
  FillPlaceList();
  LoadFirstListedPlace();
}

void DlgPlacemanager::cb_Eingabe_KeyReturn(std::int16_t Index, const std::string& text) {
  if (Index == 3) {
    Search(text);
    return;
  }
  if (Index != 13 && Index != 14) return;
  const std::int32_t before = country_;
  const bool usa_before = Control("rb_Eingabe_1").checked;
  if (!LeavePlace() || !FindCountry(text, Index == 14)) {
    // Nothing found: the combo boxes show the current country again.
    if (const CountryChoice* country = CurrentCountry()) {
      C("cb_Eingabe_13").text = country->title;
      C("cb_Eingabe_14").text = country->code;
    }
    return;
  }
  if (country_ == before && usa_before == Control("rb_Eingabe_1").checked) return;
  FillPlaceList();
  LoadFirstListedPlace();
}

void DlgPlacemanager::cb_ABC_Click(std::int32_t list_index) {
  ControlState& abc = C("cb_ABC");
  if (list_index < 0 || static_cast<std::size_t>(list_index) >= abc.items.size()) return;
  abc.list_index = list_index;
  FillPlaceList();
}

void DlgPlacemanager::li_SuchOrte_Click(std::int32_t list_index) {
  const ControlState& list = Control("li_SuchOrte");
  if (list_index < 0 || static_cast<std::size_t>(list_index) >= list.items.size()) return;
  if (!LeavePlace()) return;
  const auto i = static_cast<std::size_t>(list_index);
  const auto record = static_cast<std::int16_t>(list.item_data[i]);
  const auto place = FindPlace(CountryCode(), ItemName(list.items[i]), record);
  if (!place) return;
  ShowPlace(*place);
  if (i < listed_by_other_name_.size() && listed_by_other_name_[i]) {
    // The search was for the beginning of names: the note says whether this
    // place bears the text typed as a whole name.
    const bool whole = KnownAs(CountryCode(), place->record, listed_search_);
    SetHilfeIndex(OtherNameNote(place->name, listed_search_ + (whole ? "" : "*"), Language()));
  }
}

void DlgPlacemanager::li_Zeittabelle_Click(std::int32_t list_index) {
  ControlState& list = C("li_Zeittabelle");
  if (list_index < -1 || list_index >= static_cast<std::int32_t>(list.items.size())) return;
  list.list_index = list_index;
  const TimetableEntryLine* entry =
      list_index >= 0 ? &timetable_listing_.entries[static_cast<std::size_t>(list_index)] : nullptr;
  C("lb_Zeittabelle_1").text = LocalTimeDescription(entry, CurrentAtlas().Language());
}

void DlgPlacemanager::ch_DatumZonen_Click(bool checked) {
  C("ch_DatumZonen").checked = checked;
  const std::int32_t selected = Control("li_Zeittabelle").list_index;
  ShowTimetable(shown_timetable_);
  if (selected >= 0) li_Zeittabelle_Click(selected);
}

void DlgPlacemanager::tb_Eingabe_Change(std::int16_t Index, const std::string& text) {
  const std::string name = Member("tb_Eingabe", Index);
  if (Controls().find(name) == Controls().end() || Control(name).read_only) return;
  C(name).text = text;
  if (!IsPlaceField(Index) || step_ != 0) return;
  changes_pending_ = FieldsDiffer();
  if (editing_) return;
  // Typing into the fields of a place starts a change that waits for
  // confirmation, without locking the dialog.
  if (changes_pending_ && action_ == 0) action_ = Index == 3 ? 3 : 4;
  if (!changes_pending_ && action_ != 5) action_ = 0;
  Show_PanelGroup(changes_pending_ ? PanelGroup::kPending : PanelGroup::kBrowse);
}

void DlgPlacemanager::tb_Eingabe_KeyReturn(std::int16_t Index) {
  if (IsCoordinateField(Index)) ChangeBreiteLaenge(Index);
}

void DlgPlacemanager::tb_Eingabe_LostFocus(std::int16_t Index) {
  if (IsCoordinateField(Index)) ChangeBreiteLaenge(Index);
}

void DlgPlacemanager::ChangeBreiteLaenge(std::int16_t index) {
  if (!IsCoordinateField(index)) return;
  const bool longitude = index == 5;
  const std::string& text = Control(Member("tb_Eingabe", index)).text;
  const auto value = longitude ? ParseLongitude(text) : ParseLatitude(text);
  std::string& good = longitude ? good_longitude_ : good_latitude_;
  if (value) good = longitude ? LongitudeText(*value) : LatitudeText(*value);
  if (good != text) tb_Eingabe_Change(index, good);
}

void DlgPlacemanager::SpinLaengeBreite(std::int16_t index, int minutes) {
  if (!IsCoordinateField(index) || Control(Member("tb_Eingabe", index)).read_only) return;
  const bool longitude = index == 5;
  const std::string& text = Control(Member("tb_Eingabe", index)).text;
  const auto value = longitude ? ParseLongitude(text) : ParseLatitude(text);
  if (!value) return;
  const double limit = longitude ? 180.0 : 90.0;
  const double moved = std::clamp(*value + minutes / 60.0, -limit, limit);
  std::string& good = longitude ? good_longitude_ : good_latitude_;
  good = longitude ? LongitudeText(moved) : LatitudeText(moved);
  tb_Eingabe_Change(index, good);
}

// ---- Buttons ----

void DlgPlacemanager::bt_OK_Click(std::int16_t Index) {
  if (Index == 0) {
    if (changes_pending_ && !UpdateOrt()) return;
    CloseForm();
    return;
  }
  if (step_ == 1 || step_ == 2) {
    if (step_ == 1) step2_ = TimetableCount(CountryCode()) > 0;
    ++step_;
    bt_Action_Click(action_);
    return;
  }
  const PanelGroup edited_in = group_;
  step_ = 0;
  Show_PanelGroup(PanelGroup::kBrowse);
  editing_ = false;
  CompleteAction(edited_in);
}

void DlgPlacemanager::bt_CANCEL_Click(std::int16_t Index) {
  if (Index == 0) {
    canceled_ = true;
    changes_pending_ = false;
    // A refused close (a place is being edited) cancels nothing.
    if (!CloseForm()) canceled_ = false;
    return;
  }
  if (step_ != 0) {
    if (step_ == 3 && !step2_) step_ = 2;
    const std::int16_t before = step_;
    --step_;
    if (before != 1) {
      bt_Action_Click(action_);
      return;
    }
  }
  Show_PanelGroup(PanelGroup::kBrowse);
  editing_ = false;
  action_ = 0;
  Fill_FORM_From_Disk();
  changes_pending_ = false;
  if (new_mode_) bt_CANCEL_Click(0);
}

void DlgPlacemanager::bt_Action_Click(std::int16_t Index) {
  try {
    switch (Index) {
      case 1:
        NewPlaceStep();
        break;
      case 2:
        DeletePlace();
        break;
      case 3:
      case 4:
        StartEdit(Index);
        break;
      case 5:
        SelectTimetable();
        break;
      default:
        break;
    }
  } catch (const AtlasError& e) {
    MsgBox(e.what(), kMsgCritical);
  }
}

void DlgPlacemanager::EnterEdit(PanelGroup group) {
  editing_ = true;
  Show_PanelGroup(group);
}

void DlgPlacemanager::NewPlaceStep() {
  if (step_ == 0) {
    if (CurrentCountry() == nullptr || !LeavePlace()) return;
    action_ = 1;
    step_ = 1;
    new_timetable_ = place_.timetable;
  }
  if (step_ == 2 && !step2_) step_ = 3;
  switch (step_) {
    case 1:
      Fill_FORM_From_Disk();
      EnterEdit(PanelGroup::kStep1);
      view_.SetFocus("li_SuchOrte");
      break;
    case 2:
      ShowTimetable(new_timetable_);
      EnterEdit(PanelGroup::kStep2);
      break;
    default:
      ShowTimetable(new_timetable_);
      C("tb_Eingabe_3").text.clear();
      C("lb_Definiert").visible = false;
      EnterEdit(PanelGroup::kStep3);
      view_.SetFocus("tb_Eingabe_3");
      break;
  }
}

void DlgPlacemanager::StartEdit(std::int16_t action) {
  if (editing_ || step_ != 0) return;
  action_ = action;
  EnterEdit(PanelGroup::kEdit);
  view_.SetFocus(action == 3 ? "tb_Eingabe_3" : "tb_Eingabe_5");
}

void DlgPlacemanager::DeletePlace() {
  if (!place_.IsUserPlace() || step_ != 0 || editing_) return;
  const std::string question =
      Choose("Delete the user defined place \"", "Den selbst definierten Ort \"") + place_.name +
      Choose("\"?", "\" löschen?");
  if (MsgBox(question, kMsgYesNo + kMsgQuestion, "") != MsgAnswer::kYes) return;
  classPlaces places;
  places.DeleteUserPlace(CountryCode(), place_.name);
  const std::string name = place_.name;
  place_ = PlaceData{};
  FillPlaceList();
  // The atlas's own place of that name, when there is one, shows again.
  if (const auto atlas_place = FindPlace(CountryCode(), name)) {
    ShowPlace(*atlas_place);
  } else {
    LoadFirstListedPlace();
  }
}

void DlgPlacemanager::SelectTimetable() {
  if (TimetableCount(CountryCode()) == 0) return;
  if (step_ == 2) {
    const std::int16_t chosen = view_.ChooseTimetable(CountryCode(), new_timetable_, 0);
    if (chosen > 0) {
      new_timetable_ = chosen;
      ShowTimetable(chosen);
    }
    return;
  }
  if (step_ != 0 || editing_) return;
  const std::int16_t chosen = view_.ChooseTimetable(CountryCode(), shown_timetable_, place_.record);
  if (chosen <= 0 || chosen == shown_timetable_) return;
  ShowTimetable(chosen);
  changes_pending_ = FieldsDiffer();
  if (changes_pending_) action_ = 5;
  Show_PanelGroup(changes_pending_ ? PanelGroup::kPending : PanelGroup::kBrowse);
}

// bt_OK 1 on the last step: the workflow in progress ends.
void DlgPlacemanager::CompleteAction(PanelGroup edited_in) {
  const std::int16_t action = action_;
  if (action == 1) {
    CompleteNewPlace();
    return;
  }
  // The fields still tell what was changed, even when an Escape cleared the
  // flag in between.
  changes_pending_ = changes_pending_ || FieldsDiffer();
  if (UpdateOrt()) {
    action_ = 0;
    return;
  }
  // Not written: the entry goes on.
  if (edited_in == PanelGroup::kEdit) {
    EnterEdit(PanelGroup::kEdit);
  } else {
    Show_PanelGroup(PanelGroup::kPending);
  }
}

void DlgPlacemanager::CompleteNewPlace() {
  const std::string name = Trim(Control("tb_Eingabe_3").text);
  const auto longitude = ParseLongitude(Control("tb_Eingabe_5").text);
  const auto latitude = ParseLatitude(Control("tb_Eingabe_6").text);
  bool written = false;
  if (name.empty()) {
    ReportPlaceRequired();
  } else {
    written = WritePlace(name, longitude.value_or(0.0), latitude.value_or(0.0), new_timetable_, "");
  }
  if (!written) {
    step_ = 3;
    EnterEdit(PanelGroup::kStep3);
    view_.SetFocus("tb_Eingabe_3");
    return;
  }
  action_ = 0;
  changes_pending_ = false;
  // The properties hold the new place now (ShowPlace), which a dialog
  // opened for a new place hands back.
  if (new_mode_) bt_OK_Click(0);
}

bool DlgPlacemanager::UpdateOrt() {
  if (!changes_pending_) return true;
  const std::string name = Trim(Control("tb_Eingabe_3").text);
  if (name.empty()) {
    ReportPlaceRequired();
    return false;
  }
  const double longitude = ParseLongitude(Control("tb_Eingabe_5").text).value_or(place_.longitude);
  const double latitude = ParseLatitude(Control("tb_Eingabe_6").text).value_or(place_.latitude);
  if (!WritePlace(name, longitude, latitude, shown_timetable_,
                  place_.IsUserPlace() ? place_.name : std::string())) {
    return false;
  }
  changes_pending_ = false;
  return true;
}

// Writes a user place, replacing the user place `replaced_user_name` (the
// one being changed) and, after asking, another user place of the new name.
bool DlgPlacemanager::WritePlace(const std::string& name, double longitude, double latitude,
                                 std::int16_t timetable, const std::string& replaced_user_name) {
  const std::string code = CountryCode();
  classPlaces places;
  try {
    const bool same = !replaced_user_name.empty() &&
                      TextEqual(AnsiFromUtf8(replaced_user_name), AnsiFromUtf8(name));
    if (!same && HasUserPlace(code, name)) {
      const std::string question = Choose("There is a user defined place \"",
                                          "Es gibt schon einen selbst definierten Ort \"") +
                                   name + Choose("\" already. Replace it?", "\". Ersetzen?");
      if (MsgBox(question, kMsgYesNo + kMsgQuestion, "") != MsgAnswer::kYes) return false;
      places.DeleteUserPlace(code, name);
    }
    if (!replaced_user_name.empty()) places.DeleteUserPlace(code, replaced_user_name);
    std::int32_t record = 0;
    if (places.AddUserPlace(code, name, longitude, latitude, timetable, &record) == 0) return false;
    // A letter filter switches to the new name's letter, so the place shows.
    if (Control("cb_ABC").list_index != 0) C("cb_ABC").list_index = LetterItem(name);
    place_ = PlaceData{};
    FillPlaceList();
    const auto written = FindPlace(code, name, static_cast<std::int16_t>(record));
    if (written) ShowPlace(*written);
    return written.has_value();
  } catch (const AtlasError& e) {
    MsgBox(Choose("The place could not be saved: ", "Der Ort konnte nicht gespeichert werden: ") +
               e.what(),
           kMsgCritical, "");
    return false;
  }
}

// ---- Help line ----

void DlgPlacemanager::SetHilfeIndex(std::int16_t key) {
  SetHilfeIndex(KeyedHelpText(key, Language()));
}

void DlgPlacemanager::SetHilfeIndex(const std::string& text) {
  C("lb_InfoLine").text = CurrentAtlas().Language().Choose(text, text);
}

void DlgPlacemanager::tb_Eingabe_GotFocus(std::int16_t Index) {
  const std::string name = Member("tb_Eingabe", Index);
  if (Controls().find(name) != Controls().end()) view_.SelectText(name);
  SetHilfeIndex(Index);
}

void DlgPlacemanager::cb_Eingabe_GotFocus(std::int16_t Index) {
  SetHilfeIndex(static_cast<std::int16_t>(-Index));
}

void DlgPlacemanager::li_Zeittabelle_GotFocus() {
  SetHilfeIndex(std::int16_t{-15});
}

void DlgPlacemanager::bt_Action_GotFocus(std::int16_t Index) {
  SetHilfeIndex(ActionHelpText(Index, Language()));
}

void DlgPlacemanager::bt_OK_GotFocus(std::int16_t Index) {
  // During a step the line keeps the step's own texts.
  if (step_ != 0) return;
  const Bilingual text = OkHelpText(Index);
  SetHilfeIndex(Choose(text.english, text.german));
}

void DlgPlacemanager::bt_CANCEL_GotFocus(std::int16_t Index) {
  if (step_ != 0) return;
  const Bilingual text = CancelHelpText(Index);
  SetHilfeIndex(Choose(text.english, text.german));
}

void DlgPlacemanager::cb_ABC_GotFocus() {
  SetHilfeIndex(LetterFilterHelpText(Language()));
}

void DlgPlacemanager::rb_Eingabe_GotFocus(std::int16_t Index) {
  const Bilingual text = OptionHelpText(Index);
  SetHilfeIndex(Choose(text.english, text.german));
}

void DlgPlacemanager::pn_Eingabe_MouseMove(std::int16_t Index) {
  SetHilfeIndex(static_cast<std::int16_t>(-Index));
}

}  // namespace tarv::ui
