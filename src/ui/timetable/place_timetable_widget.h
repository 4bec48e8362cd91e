// The Qt window of DlgPlaceTimetable.
#ifndef TARVPLACES_UI_TIMETABLE_PLACE_TIMETABLE_WIDGET_H_
#define TARVPLACES_UI_TIMETABLE_PLACE_TIMETABLE_WIDGET_H_

#include <QDialog>
#include <cstdint>
#include <string>

#include "ui/timetable/dlg_place_timetable.h"

class QLabel;
class QListWidget;
class QPushButton;

namespace tarv::ui {

// Shows the chooser's model; its buttons, Return (OK), a double click on a
// timetable (OK) and Escape (cancel) end it. SelectedTimetable() holds the
// result afterwards.
class PlaceTimetableWidget : public QDialog {
  Q_OBJECT

 public:
  // `record`: the record number of the place the timetable is chosen for
  // (0 for none), whose own zone history the chooser compares.
  PlaceTimetableWidget(const std::string& country, std::int16_t timetable,
                       QWidget* parent = nullptr, std::int16_t record = 0);

  const DlgPlaceTimetable& model() const { return model_; }
  void reject() override;

 private:
  void Build();
  void Sync();

  DlgPlaceTimetable model_;
  QLabel* heading_ = nullptr;
  QListWidget* timetables_ = nullptr;
  QListWidget* entries_ = nullptr;
  QLabel* description_ = nullptr;
  QLabel* own_history_ = nullptr;
  QPushButton* ok_ = nullptr;
  QPushButton* cancel_ = nullptr;
};

}  // namespace tarv::ui

#endif  // TARVPLACES_UI_TIMETABLE_PLACE_TIMETABLE_WIDGET_H_
