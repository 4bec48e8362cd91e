// The entry of a new place in three steps: a reference place nearby, its
// timetable when the country has timetables, then name and coordinates and,
// where the atlas has a zone map, the zone.
#include <algorithm>

#include "ui/placemanager/dlg_placemanager.h"
#include "util/text.h"

namespace tarv::ui {

void DlgPlacemanager::NewPlaceStep() {
  if (step_ == 0) {
    if (CurrentCountry() == nullptr || !LeavePlace()) return;
    action_ = 1;
    step_ = 1;
    new_timetable_ = place_.timetable;
    new_zone_.clear();
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
      ShowZoneChoice();
      EnterEdit(PanelGroup::kStep3);
      view_.SetFocus("tb_Eingabe_3");
      break;
  }
}

void DlgPlacemanager::CompleteNewPlace() {
  const std::string name = Trim(Control("tb_Eingabe_3").text);
  const auto [longitude, latitude] = NewPlaceCoordinates();
  bool written = false;
  if (name.empty()) {
    ReportPlaceRequired();
  } else {
    written = WritePlace(name, longitude, latitude, new_timetable_, new_zone_, "");
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

std::pair<double, double> DlgPlacemanager::NewPlaceCoordinates() const {
  return {ParseLongitude(Control("tb_Eingabe_5").text).value_or(0.0),
          ParseLatitude(Control("tb_Eingabe_6").text).value_or(0.0)};
}

void DlgPlacemanager::ShowZoneChoice() {
  const auto [longitude, latitude] = NewPlaceCoordinates();
  const auto choice = ZoneChoiceAt(longitude, latitude);
  ControlState& list = C("cb_Zone");
  ControlState& caption = C("lb_Zone");
  if (!choice) {
    // Without a zone map the place keeps its timetable, as it always did.
    map_zone_.clear();
    new_zone_.clear();
    list.items.clear();
    list.list_index = -1;
    list.text.clear();
    caption.text.clear();
  } else {
    map_zone_ = choice->map_zone;
    // A zone chosen stays when the coordinates move, unless the map gives
    // that very zone there: then the place follows the map.
    if (new_zone_ == map_zone_) new_zone_.clear();
    list.items = choice->zones;
    const std::string& shown = new_zone_.empty() ? map_zone_ : new_zone_;
    const auto at = std::find(list.items.begin(), list.items.end(), shown);
    list.list_index =
        at == list.items.end() ? -1 : static_cast<std::int32_t>(at - list.items.begin());
    list.text = shown;
    caption.text = Choose("Zone: ", "Zone: ") + map_zone_;
  }
  const bool visible = group_ == PanelGroup::kStep3 && !list.items.empty();
  list.visible = visible;
  caption.visible = visible;
}

void DlgPlacemanager::cb_Zone_Click(std::int32_t list_index) {
  const ControlState& list = Control("cb_Zone");
  if (step_ != 3 || list_index < 0 || static_cast<std::size_t>(list_index) >= list.items.size()) {
    return;
  }
  const std::string& chosen = list.items[static_cast<std::size_t>(list_index)];
  new_zone_ = chosen == map_zone_ ? std::string() : chosen;
  ShowZoneChoice();
}

}  // namespace tarv::ui
