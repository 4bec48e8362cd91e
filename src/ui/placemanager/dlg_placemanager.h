// DlgPlacemanager: the place manager ("Orteverwaltung") without a toolkit.
//
// The model holds the dialog's properties, its state (edit step, changes
// pending, editing) and the state of every control under its classic name
// ("tb_Eingabe_3", "bt_OK_1"); a view shows the controls and forwards the
// user's events to the handlers below, named as the controls' events are.
// All texts are UTF-8; languages follow the language component of the
// process (see help_texts.h for the two rules).
//
// Controls, by panel (pn_Eingabe_N):
//   0  rb_Eingabe_0 (other countries), rb_Eingabe_1 (US states), ig_Land_0..2
//   13 lb_Land, cb_Eingabe_13 (country by name)
//   14 cb_Eingabe_14 (country by short code)
//   3  cb_Eingabe_3 (place search, its items the texts searched before),
//      cb_ABC (letter filter), li_SuchOrte (places), lb_AnzOrte (count)
//   5  lb_Eingabe_3/tb_Eingabe_3 (name), lb_Eingabe_4/tb_Eingabe_5
//      (longitude), lb_Eingabe_5/tb_Eingabe_6 (latitude), lb_Definiert,
//      ig_Direction, lb_Zone/cb_Zone (a new place's zone: the map's at the
//      coordinates and the zone chosen; shown in step 3 with a zone map)
//   15 lb_Zeittabelle_0, tb_Eingabe_7 (timetable number), tb_Eingabe_4 (the
//      place's standard zone), li_Zeittabelle, lb_Zeittabelle_1 (the zone of
//      the clicked entry), ch_DatumZonen (dates with zones), ig_Sommerzeit
//   16 lb_Eingabe_0/tb_Eingabe_13 (country), tb_Eingabe_14 (code),
//      lb_Eingabe_2/tb_Eingabe_30 (continent), lb_Eingabe_6/tb_Eingabe_16
//      (base zone), lb_Eingabe_1/tb_Eingabe_31 (description)
// and outside the panels bt_Action_1, _2, _3, _5, bt_OK_0, bt_OK_1,
// bt_CANCEL_0, bt_CANCEL_1, lb_InfoGuideBack with lb_InfoGuide, lb_InfoLine.
//
// Workflows (bt_Action index): 1 new place in three steps (a reference place
// nearby, its timetable when the country has timetables, name and
// coordinates, and its zone where the atlas has a zone map); 2 delete a user place after a
// confirmation; 3 change name or coordinates (4 when started by typing a coordinate), which creates
// a user place that takes priority over the atlas's; 5 choose the timetable with DlgPlaceTimetable.
// Typing into the name or coordinate fields marks changes pending without entering the edit, so the
// user may still move on or close and is asked what to do with them.
#ifndef TARVPLACES_UI_PLACEMANAGER_DLG_PLACEMANAGER_H_
#define TARVPLACES_UI_PLACEMANAGER_DLG_PLACEMANAGER_H_

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tarvplaces/message_sink.h"
#include "tarvplaces/placemanager.h"
#include "ui/form_model.h"
#include "ui/placemanager/atlas_access.h"
#include "ui/timetable/timetable_lines.h"

namespace tarv::ui {

// What the model asks of the window that shows it.
class PlacemanagerView {
 public:
  virtual ~PlacemanagerView() = default;
  // Closes the window; the model has agreed to the close already.
  virtual void CloseWindow() = 0;
  // Makes the window an owned window of `owner`.
  virtual void SetOwnerWindow(OwnerWindow owner) = 0;
  // Selects the whole text of the text box `control`.
  virtual void SelectText(const std::string& control) = 0;
  // Moves the input focus to `control`.
  virtual void SetFocus(const std::string& control) = 0;
  // Runs the timetable chooser for `country` with `current` highlighted (for
  // the place of record number `record`, 0 for none) and returns the
  // timetable chosen, 0 after cancel.
  virtual std::int16_t ChooseTimetable(const std::string& country, std::int16_t current,
                                       std::int16_t record) = 0;
};

// The groups of panels and buttons Show_PanelGroup switches between.
enum class PanelGroup {
  kBrowse,   // looking at countries and places
  kPending,  // a typed change or a chosen timetable waits to be confirmed
  kEdit,     // a place is being changed (closing is refused)
  kStep1,    // new place: choose a reference place
  kStep2,    // new place: its timetable
  kStep3,    // new place: name and coordinates
};

class DlgPlacemanager : public FormModel {
 public:
  // Key codes and shift bits as the form sees them.
  static constexpr std::int16_t kKeyCancel = 3;
  static constexpr std::int16_t kKeyReturn = 13;
  static constexpr std::int16_t kKeyEscape = 27;
  static constexpr std::int16_t kShiftMask = 1;
  static constexpr std::int16_t kCtrlMask = 2;

  // `view` must outlive the model.
  explicit DlgPlacemanager(PlacemanagerView& view);

  // ---- Properties: plain values, no side effects on set. ----
  bool Canceled() const { return canceled_; }
  void Canceled(bool value) { canceled_ = value; }
  const std::string& City() const { return city_; }
  void City(const std::string& value) { city_ = value; }
  const std::string& CountryShort() const { return country_short_; }
  void CountryShort(const std::string& value) { country_short_ = value; }
  float Longitude() const { return longitude_; }
  void Longitude(float value) { longitude_ = value; }
  float Latitude() const { return latitude_; }
  void Latitude(float value) { latitude_ = value; }
  std::int16_t Timetable() const { return timetable_; }
  void Timetable(std::int16_t value) { timetable_ = value; }
  // The record number of the place in its country's files (negative for a
  // user place, 0 for a place the atlas does not hold).
  std::int16_t Index() const { return index_; }
  void Index(std::int16_t value) { index_ = value; }
  bool NewMode() const { return new_mode_; }
  void NewMode(bool NewIsNew) { new_mode_ = NewIsNew; }

  // ---- State ----
  std::int16_t Step() const { return step_; }
  bool ChangesPending() const { return changes_pending_; }
  bool Editing() const { return editing_; }
  bool Step2InUse() const { return step2_; }
  // The zone chosen for the new place: "" to follow the zone map at its
  // coordinates, else an IANA zone ("America/Chicago").
  const std::string& NewPlaceZone() const { return new_zone_; }
  OwnerWindow Owner() const { return owner_; }
  PanelGroup Group() const { return group_; }
  // True once the window has closed.
  bool Closed() const { return closed_; }

  // ---- Public operations ----
  // Keeps the owner's handle and makes the window an owned window of it.
  void SetOwner(OwnerWindow owner);
  // Moves the longitude (5) or latitude (6) field by `minutes` arc minutes.
  void SpinLaengeBreite(std::int16_t index, int minutes);
  // Rewrites a typed longitude (5) or latitude (6) in the atlas's degree
  // notation; an unreadable or out-of-range text gets the last good value.
  void ChangeBreiteLaenge(std::int16_t index);

  // ---- Form events ----
  // Sets the captions, fills the letter filter and the countries, selects
  // the country of CountryShort, loads the place City and, with NewMode,
  // starts the entry of a new place.
  void Form_Load();
  // Escape and the cancel key act as bt_CANCEL 0, Ctrl+Shift+Return as
  // bt_OK 0. Returns true when the key was used.
  bool Form_KeyDown(std::int16_t KeyCode, std::int16_t Shift);
  // The window is about to close by any means. Returns false when the close
  // is refused: while a place is edited, or when the user cancels the
  // question about pending changes.
  bool Form_Unload();
  void Show_PanelGroup(PanelGroup group);

  void bt_OK_Click(std::int16_t Index);
  void bt_CANCEL_Click(std::int16_t Index);
  void bt_Action_Click(std::int16_t Index);

  void rb_Eingabe_Click(std::int16_t Index);
  // A choice from the list of combo box 13, 14 or 3.
  void cb_Eingabe_Click(std::int16_t Index, std::int32_t list_index);
  // Return in combo box 13 (country name), 14 (short code) or 3 (place
  // search) with the text typed. The place search lists the places beginning
  // with the text (or matching it as a pattern) and loads the one of that
  // whole name, else the first listed.
  void cb_Eingabe_KeyReturn(std::int16_t Index, const std::string& text);
  void cb_ABC_Click(std::int32_t list_index);
  void li_SuchOrte_Click(std::int32_t list_index);
  void li_Zeittabelle_Click(std::int32_t list_index);
  void ch_DatumZonen_Click(bool checked);
  // A zone chosen from the list of cb_Zone.
  void cb_Zone_Click(std::int32_t list_index);
  // The user changed the text of a text box.
  void tb_Eingabe_Change(std::int16_t Index, const std::string& text);
  void tb_Eingabe_KeyReturn(std::int16_t Index);
  void tb_Eingabe_LostFocus(std::int16_t Index);

  // ---- Help line ----
  // A number looks its text up in the keyed table; a text is shown as it is.
  void SetHilfeIndex(std::int16_t key);
  void SetHilfeIndex(const std::string& text);
  void tb_Eingabe_GotFocus(std::int16_t Index);
  void cb_Eingabe_GotFocus(std::int16_t Index);
  void li_Zeittabelle_GotFocus();
  void bt_Action_GotFocus(std::int16_t Index);
  void bt_OK_GotFocus(std::int16_t Index);
  void bt_CANCEL_GotFocus(std::int16_t Index);
  void cb_ABC_GotFocus();
  void cb_Zone_GotFocus();
  void rb_Eingabe_GotFocus(std::int16_t Index);
  void bt_Action_MouseMove(std::int16_t Index) { bt_Action_GotFocus(Index); }
  void bt_OK_MouseMove(std::int16_t Index) { bt_OK_GotFocus(Index); }
  void bt_CANCEL_MouseMove(std::int16_t Index) { bt_CANCEL_GotFocus(Index); }
  void li_Zeittabelle_MouseMove() { li_Zeittabelle_GotFocus(); }
  void rb_Eingabe_MouseMove(std::int16_t Index) { rb_Eingabe_GotFocus(Index); }
  void pn_Eingabe_MouseMove(std::int16_t Index);
  void cb_ABC_MouseMove() {}

  // The panels' indices, in layout order.
  static const std::vector<int>& PanelIndices();

 private:
  std::int32_t Language() const;
  std::string Choose(const char* english, const char* german) const;
  void CreateControls();
  void SetCaptions();
  void FillLetterFilter();

  // Countries.
  void FillCountryLists(bool usa);
  void SelectCountry(std::int32_t list_index);
  bool FindCountry(const std::string& text, bool by_code);
  const CountryChoice* CurrentCountry() const;
  void ShowCountryCode();
  std::string CountryCode() const;

  // Places.
  void FillPlaceList();
  // With `by_other_names` the places known by `search` as another of their
  // names are listed too (a typed search, not the letter filter).
  void FillPlaceList(const std::string& search, bool by_other_names = false);
  void SelectListedPlace();
  void ShowPlace(const PlaceData& place);
  void ShowUnlistedPlace();
  void ShowTimetable(std::int16_t timetable);
  void LoadFirstListedPlace();
  void Fill_FORM_From_Disk();
  bool FieldsDiffer() const;
  bool LeavePlace();
  void Search(const std::string& text);

  // Workflows.
  void NewPlaceStep();
  // The coordinates the new place gets from the fields.
  std::pair<double, double> NewPlaceCoordinates() const;
  // The map's zone at those coordinates and the zone list, selecting the
  // zone chosen.
  void ShowZoneChoice();
  void StartEdit(std::int16_t action);
  void DeletePlace();
  void SelectTimetable();
  void CompleteAction(PanelGroup edited_in);
  void CompleteNewPlace();
  bool UpdateOrt();
  bool WritePlace(const std::string& name, double longitude, double latitude,
                  std::int16_t timetable, const std::string& zone,
                  const std::string& replaced_user_name);
  void EnterEdit(PanelGroup group);
  bool CloseForm();
  MsgAnswer AskToSaveChanges() const;
  void ReportPlaceRequired() const;
  void SetButtonsForGroup(PanelGroup group);
  void SetPanelsForGroup(PanelGroup group);
  void SetGuide(PanelGroup group);
  void UpdateActionButtons();

  PlacemanagerView& view_;

  bool canceled_ = false;
  std::string city_;
  std::string country_short_;
  float longitude_ = 0.0F;
  float latitude_ = 0.0F;
  std::int16_t timetable_ = 0;
  std::int16_t index_ = 0;
  bool new_mode_ = false;

  std::int16_t step_ = 0;
  bool changes_pending_ = false;
  bool editing_ = false;
  bool step2_ = false;
  OwnerWindow owner_ = 0;
  PanelGroup group_ = PanelGroup::kBrowse;
  bool closed_ = false;

  std::int16_t action_ = 0;  // the workflow in progress (bt_Action index)
  std::vector<CountryChoice> countries_;
  std::int32_t country_ = -1;  // index into countries_
  PlaceData place_;            // the place the fields were loaded from
  // Item by item of li_SuchOrte: found by another of its names, and the
  // text searched then.
  std::vector<bool> listed_by_other_name_;
  std::string listed_search_;
  std::int16_t shown_timetable_ = 0;
  std::int16_t new_timetable_ = 0;  // the new place's, from step 1 on
  std::string new_zone_;            // the new place's, "" for the map's
  std::string map_zone_;            // the map's at the new place's coordinates
  TimetableListing timetable_listing_;
  std::string good_longitude_, good_latitude_;
};

}  // namespace tarv::ui

#endif  // TARVPLACES_UI_PLACEMANAGER_DLG_PLACEMANAGER_H_
