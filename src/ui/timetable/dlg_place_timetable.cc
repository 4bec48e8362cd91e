#include "ui/timetable/dlg_place_timetable.h"

#include "tarvplaces/places.h"
#include "ui/placemanager/atlas_access.h"

namespace tarv::ui {

std::string& SelectedTimetable() {
  static std::string selected = "0";
  return selected;
}

DlgPlaceTimetable::DlgPlaceTimetable(const TarvLanguage& language) : language_(language) {
  SetCaption("Auswahl für eine Zeittabelle für einen Ort");
  Add("Label1").text = "Zeittabelle";
  Add("li_TT_Nr");
  Add("li_Zeittabelle");
  Add("lb_Zeittabelle");
  Add("lb_EigeneZonen");
  Add("bt_OK").text = "OK";
  Add("bt_CANCEL").text = "Abbruch";
}

bool DlgPlaceTimetable::IsUSA() const {
  return IsUsState(country_);
}

void DlgPlaceTimetable::Form_Load() {
  SetCaption(language_.Choose("Select a timetable", "Auswahl für eine Zeittabelle für einen Ort"));
  C("Label1").text = language_.Choose("Timetable", "Zeittabelle");
  C("bt_CANCEL").text = language_.Choose("Cancel", "Abbruch");

  classPlaces places;
  const std::int32_t count = places.HaveTimetables(country_);
  ControlState& list = C("li_TT_Nr");
  list.items.clear();
  const std::string word = language_.Choose(". Timetable", ". Zeittabelle");
  for (std::int32_t i = 1; i <= count; ++i)
    list.items.push_back(std::to_string(i) + word);
  if (count == 0) {
    li_TT_Nr_Click(-1);
    return;
  }
  li_TT_Nr_Click(timetable_ >= 1 && timetable_ <= count ? timetable_ - 1 : 0);
}

void DlgPlaceTimetable::li_TT_Nr_Click(std::int32_t list_index) {
  ControlState& list = C("li_TT_Nr");
  if (list_index >= static_cast<std::int32_t>(list.items.size())) return;
  list.list_index = list_index;
  const auto timetable = static_cast<std::int16_t>(list_index + 1);
  listing_ =
      list_index < 0 ? TimetableListing{} : ListTimetable(country_, timetable, true, language_);
  ControlState& entries = C("li_Zeittabelle");
  entries.items = listing_.items;
  entries.list_index = -1;
  C("lb_Zeittabelle").text = LocalTimeDescription(nullptr, language_);
  C("lb_EigeneZonen").text =
      list_index < 0 ? std::string() : OwnHistoryNote(country_, record_, timetable, language_);
}

void DlgPlaceTimetable::li_Zeittabelle_Click(std::int32_t list_index) {
  ControlState& entries = C("li_Zeittabelle");
  if (list_index < -1 || list_index >= static_cast<std::int32_t>(entries.items.size())) return;
  entries.list_index = list_index;
  const TimetableEntryLine* entry =
      list_index >= 0 ? &listing_.entries[static_cast<std::size_t>(list_index)] : nullptr;
  C("lb_Zeittabelle").text = LocalTimeDescription(entry, language_);
}

void DlgPlaceTimetable::bt_OK_Click() {
  SelectedTimetable() = std::to_string(Control("li_TT_Nr").list_index + 1);
  Unload();
}

void DlgPlaceTimetable::bt_CANCEL_Click() {
  SelectedTimetable() = "0";
  Unload();
}

void DlgPlaceTimetable::Unload() {
  closed_ = true;
  if (close_) close_();
}

}  // namespace tarv::ui
