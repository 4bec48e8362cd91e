// Changing the places: typed changes that wait for confirmation, the edit of
// name and coordinates, the choice of a timetable, deleting a user place,
// and writing the user place that the changes and a new place become.
#include <algorithm>

#include "platform/message_box.h"
#include "tarvplaces/atlas.h"
#include "tarvplaces/atlas_error.h"
#include "tarvplaces/places.h"
#include "text/codepage.h"
#include "ui/placemanager/dlg_placemanager.h"
#include "ui/placemanager/placemanager_controls.h"
#include "util/text.h"

namespace tarv::ui {

void DlgPlacemanager::EnterEdit(PanelGroup group) {
  editing_ = true;
  Show_PanelGroup(group);
}

void DlgPlacemanager::StartEdit(std::int16_t action) {
  if (editing_ || step_ != 0) return;
  action_ = action;
  EnterEdit(PanelGroup::kEdit);
  view_.SetFocus(action == 3 ? "tb_Eingabe_3" : "tb_Eingabe_5");
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

MsgAnswer DlgPlacemanager::AskToSaveChanges() const {
  return MsgBox(Choose("Save changes of places?", "Änderungen Ortedatenbank übernehmen?"),
                kMsgYesNoCancel + kMsgQuestion, "");
}

void DlgPlacemanager::ReportPlaceRequired() const {
  MsgBox(Choose("Please enter a place!", "Es muß ein Ort eingegeben werden!"), kMsgOkOnly, "");
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

bool DlgPlacemanager::UpdateOrt() {
  if (!changes_pending_) return true;
  const std::string name = Trim(Control("tb_Eingabe_3").text);
  if (name.empty()) {
    ReportPlaceRequired();
    return false;
  }
  const double longitude = ParseLongitude(Control("tb_Eingabe_5").text).value_or(place_.longitude);
  const double latitude = ParseLatitude(Control("tb_Eingabe_6").text).value_or(place_.latitude);
  // A changed user place keeps the zone the user named for it.
  const bool user_place = place_.IsUserPlace();
  if (!WritePlace(name, longitude, latitude, shown_timetable_,
                  user_place ? NamedZoneOfUserPlace(CountryCode(), place_.name) : std::string(),
                  user_place ? place_.name : std::string())) {
    return false;
  }
  changes_pending_ = false;
  return true;
}

// The letters a place file's name field holds.
constexpr std::size_t kNameLetters = 28;

// Writes a user place following `zone` ("" for the map's), replacing the
// user place `replaced_user_name` (the one being changed, which follows that
// zone too) and, after asking, another user place of the new name.
bool DlgPlacemanager::WritePlace(const std::string& name, double longitude, double latitude,
                                 std::int16_t timetable, const std::string& zone,
                                 const std::string& replaced_user_name) {
  const std::string code = CountryCode();
  classPlaces places;
  // What the addition would refuse is refused before anything is deleted:
  // the place being changed must not go for a name that cannot be stored.
  std::string refusal = WhyNotStorable(name, "name");
  if (refusal.empty() && Trim(AnsiFromUtf8(name)).size() > kNameLetters) {
    refusal = Choose("the name is longer than the 28 letters a place name holds",
                     "der Name ist länger als die 28 Buchstaben eines Ortsnamens");
  }
  if (!refusal.empty()) {
    MsgBox(Choose("The place could not be saved: ", "Der Ort konnte nicht gespeichert werden: ") +
               refusal,
           kMsgExclamation, "");
    return false;
  }
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
    const PlaceData replaced = place_;
    if (!replaced_user_name.empty()) places.DeleteUserPlace(code, replaced_user_name);
    std::int32_t record = 0;
    if (AddUserPlace(code, name, longitude, latitude, timetable, zone, &record) == 0) {
      // Refused after all: the changed place comes back as it was.
      if (!replaced_user_name.empty()) {
        AddUserPlace(code, replaced_user_name, replaced.longitude, replaced.latitude,
                     replaced.timetable, zone);
      }
      return false;
    }
    // A letter filter switches to the new name's letter, so the place shows.
    if (Control("cb_ABC").list_index != 0) C("cb_ABC").list_index = LetterFilterItem(name);
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

}  // namespace tarv::ui
