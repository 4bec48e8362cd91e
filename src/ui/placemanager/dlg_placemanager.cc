// The model's core: its controls, loading and closing, and the routing of
// the controls' events to the parts that handle them (countries, places,
// panels, editing, the new-place steps, the help line).
#include "ui/placemanager/dlg_placemanager.h"

#include "platform/message_box.h"
#include "tarvplaces/atlas_error.h"
#include "text/codepage.h"
#include "ui/placemanager/help_texts.h"
#include "ui/placemanager/placemanager_controls.h"
#include "util/text.h"

namespace tarv::ui {
namespace {

constexpr int kTextBoxes[] = {3, 4, 5, 6, 7, 13, 14, 16, 30, 31};
constexpr int kReadOnlyTextBoxes[] = {4, 7, 13, 14, 16, 30, 31};

}  // namespace

DlgPlacemanager::DlgPlacemanager(PlacemanagerView& view) : view_(view) {
  CreateControls();
}

const std::vector<int>& DlgPlacemanager::PanelIndices() {
  static const std::vector<int> kPanels = {0, 13, 14, 3, 5, 15, 16};
  return kPanels;
}

void DlgPlacemanager::CreateControls() {
  for (const char* name :
       {"lb_Land", "cb_ABC", "li_SuchOrte", "lb_AnzOrte", "lb_Definiert", "ig_Direction",
        "ig_Sommerzeit", "li_Zeittabelle", "ch_DatumZonen", "lb_InfoGuide", "lb_InfoGuideBack",
        "lb_InfoLine", "lb_Zone", "cb_Zone"}) {
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
  for (const int i : kActionButtons)
    Add(Member("bt_Action", i));
  for (const int i : PanelIndices())
    Add(Member("pn_Eingabe", i));
  C("ch_DatumZonen").checked = true;
  C("lb_Definiert").visible = false;
  C("ig_Sommerzeit").visible = false;
  C("lb_InfoGuideBack").visible = false;
  C("lb_Zone").visible = false;
  C("cb_Zone").visible = false;
  C("bt_OK_1").visible = false;
  C("bt_CANCEL_1").visible = false;
}

// ---- Language ----

std::int32_t DlgPlacemanager::Language() const {
  return AtlasLanguage().Language();
}

std::string DlgPlacemanager::Choose(const char* english, const char* german) const {
  return AtlasLanguage().Choose(english, german);
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

// ---- Load and keys ----

void DlgPlacemanager::Form_Load() {
  EnsureTablesLoaded();
  SetCaptions();
  FillLetterFilter();
  const std::string wanted = InternalCountryCode(country_short_);
  const bool usa = IsUsState(wanted);
  C("rb_Eingabe", usa ? 1 : 0).checked = true;
  FillCountryLists(usa);
  std::int32_t country = 0;
  for (std::size_t i = 0; i < countries_.size(); ++i) {
    if (TextEqual(AnsiFromUtf8(countries_[i].code), AnsiFromUtf8(wanted))) {
      country = static_cast<int>(i);
    }
  }
  if (!countries_.empty()) SelectCountry(country);

  C("cb_ABC").list_index = LetterFilterItem(city_);
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

bool DlgPlacemanager::CloseForm() {
  if (!Form_Unload()) return false;
  view_.CloseWindow();
  return true;
}

void DlgPlacemanager::SetOwner(OwnerWindow owner) {
  owner_ = owner;
  view_.SetOwnerWindow(owner);
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
  const auto place = FindPlace(CountryCode(), PlaceNameOfItem(list.items[i]), record);
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
  C("lb_Zeittabelle_1").text = LocalTimeDescription(entry, AtlasLanguage());
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
  // A new place's zone follows its coordinates as they are typed.
  if (step_ == 3 && IsCoordinateField(Index)) ShowZoneChoice();
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

}  // namespace tarv::ui
