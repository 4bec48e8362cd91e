// Which panels, controls and buttons each panel group of the place manager
// shows and enables, the guide line above the help line, and the action
// buttons' states.
#include "ui/placemanager/dlg_placemanager.h"
#include "ui/placemanager/placemanager_controls.h"
#include "util/text.h"

namespace tarv::ui {
namespace {

// Controls that choose the country or the place; usable while browsing and
// in the first step of a new place.
constexpr const char* kNavigation[] = {"rb_Eingabe_0",  "rb_Eingabe_1", "cb_Eingabe_13",
                                       "cb_Eingabe_14", "cb_Eingabe_3", "cb_ABC",
                                       "li_SuchOrte"};

}  // namespace

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
  // A new place's zone, where the atlas has a map to choose it by.
  const bool zone = group == PanelGroup::kStep3 && !Control("cb_Zone").items.empty();
  C("lb_Zone").visible = zone;
  C("cb_Zone").visible = zone;
}

void DlgPlacemanager::SetButtonsForGroup(PanelGroup group) {
  const bool browse = group == PanelGroup::kBrowse;
  const bool pending = group == PanelGroup::kPending;
  C("bt_OK_0").visible = browse || pending;
  C("bt_CANCEL_0").visible = browse || pending;
  C("bt_OK_1").visible = !browse;
  C("bt_CANCEL_1").visible = !browse;
  for (const int i : kActionButtons) {
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

}  // namespace tarv::ui
