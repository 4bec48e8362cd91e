// The entry of a new place in three steps: a reference place nearby, its
// timetable when the country has timetables, then name and coordinates.
#include "ui/placemanager/dlg_placemanager.h"
#include "util/text.h"

namespace tarv::ui {

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

}  // namespace tarv::ui
