// DlgPlaceTimetable: the chooser of one of a country's timetables, without
// a toolkit. It lists the timetables ("1. Zeittabelle" ...), shows the
// entries of the highlighted one and hands the choice back through
// SelectedTimetable().
#ifndef TARVPLACES_UI_TIMETABLE_DLG_PLACE_TIMETABLE_H_
#define TARVPLACES_UI_TIMETABLE_DLG_PLACE_TIMETABLE_H_

#include <cstdint>
#include <functional>
#include <string>

#include "tarvplaces/language.h"
#include "ui/form_model.h"
#include "ui/timetable/timetable_lines.h"

namespace tarv::ui {

// The chooser's result, shared by the process like the place data it
// belongs to: the chosen timetable number as text ("1", "2", ...) after OK,
// "0" after cancel.
std::string& SelectedTimetable();

// Controls: li_TT_Nr (the timetables), li_Zeittabelle (the entries of the
// highlighted one), lb_Zeittabelle (the description of the highlighted
// entry), lb_EigeneZonen (whether the place follows its own zone history
// where it differs from the highlighted timetable), Label1 (heading), bt_OK,
// bt_CANCEL.
class DlgPlaceTimetable : public FormModel {
 public:
  // Texts come from `language` (TarvLanguage::Choose).
  explicit DlgPlaceTimetable(const TarvLanguage& language);

  // Before Form_Load: the country (UTF-8 code, "D", "USNY") and the current
  // timetable number.
  void Country(const std::string& code) { country_ = code; }
  void Timetable(std::int16_t timetable) { timetable_ = timetable; }
  // The record number of the place the timetable is chosen for (0 for none,
  // negative for a user place).
  void Record(std::int16_t record) { record_ = record; }
  bool IsUSA() const;

  // Called when both buttons have unloaded the dialog.
  void OnClose(std::function<void()> close) { close_ = std::move(close); }
  bool Closed() const { return closed_; }

  // Sets the texts, lists the timetables of the country and highlights the
  // current one (the first when the current one is out of range).
  void Form_Load();
  // Highlights timetable `list_index` (from 0) and lists its entries.
  void li_TT_Nr_Click(std::int32_t list_index);
  // Describes item `list_index` of li_Zeittabelle (0 is the LMT line); -1
  // for none.
  void li_Zeittabelle_Click(std::int32_t list_index);
  // SelectedTimetable() becomes the highlighted number (list index + 1).
  void bt_OK_Click();
  // SelectedTimetable() becomes "0".
  void bt_CANCEL_Click();

 private:
  void Unload();

  const TarvLanguage& language_;
  std::string country_;
  std::int16_t timetable_ = 0;
  std::int16_t record_ = 0;
  TimetableListing listing_;
  std::function<void()> close_;
  bool closed_ = false;
};

}  // namespace tarv::ui

#endif  // TARVPLACES_UI_TIMETABLE_DLG_PLACE_TIMETABLE_H_
