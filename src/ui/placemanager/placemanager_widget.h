// The Qt window of DlgPlacemanager: builds one widget per model control,
// named as the control ("tb_Eingabe_3"), forwards the user's events to the
// model and shows the model's state again after each of them.
#ifndef TARVPLACES_UI_PLACEMANAGER_PLACEMANAGER_WIDGET_H_
#define TARVPLACES_UI_PLACEMANAGER_PLACEMANAGER_WIDGET_H_

#include <QDialog>
#include <QWindow>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ui/placemanager/dlg_placemanager.h"

class QGridLayout;
class QFrame;

namespace tarv::ui {

class PlacemanagerWidget : public QDialog, public PlacemanagerView {
  Q_OBJECT

 public:
  explicit PlacemanagerWidget(QWidget* parent = nullptr);
  ~PlacemanagerWidget() override;

  DlgPlacemanager& model() { return model_; }
  const DlgPlacemanager& model() const { return model_; }

  // Runs Form_Load and shows the model's state; call once before showing.
  void Load();
  // Shows the model's state in the widgets.
  void Sync();

  // PlacemanagerView
  void CloseWindow() override;
  void SetOwnerWindow(OwnerWindow owner) override;
  void SelectText(const std::string& control) override;
  void SetFocus(const std::string& control) override;
  std::int16_t ChooseTimetable(const std::string& country, std::int16_t current,
                               std::int16_t record) override;

  // Escape and the dialog's own close requests go to the model.
  void reject() override;

 protected:
  void closeEvent(QCloseEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  // Building, panel by panel.
  QFrame* Panel(int index);
  QWidget* Make(const std::string& name, QWidget* widget, QWidget* panel);
  void BuildCountryPanels(QGridLayout& grid);
  void BuildPlaceListPanel(QGridLayout& grid);
  void BuildPlacePanel(QGridLayout& grid);
  void BuildTimetablePanel(QGridLayout& grid);
  void BuildCountryInfoPanel(QGridLayout& grid);
  void BuildButtons(QGridLayout& grid);
  void SetTabOrder();
  void Connect();
  void WatchEvents();

  // Showing one control's state.
  void Apply(const std::string& name, const ControlState& state);

  // Forwards an event to the model and shows the result.
  template <typename Handler>
  void Forward(Handler handler);
  bool ForwardFocus(const std::string& name);
  bool ForwardPointer(const std::string& name, QEvent::Type type);
  bool ForwardKey(const std::string& name, QKeyEvent& key);

  DlgPlacemanager model_;
  std::map<std::string, QWidget*> widgets_;
  std::map<QObject*, std::string> names_;
  // What the big lists show, to skip rebuilding them when nothing changed.
  std::map<std::string, std::vector<std::string>> shown_items_;
  // The selection and text each combo box last got from the model.
  std::map<std::string, std::pair<std::int32_t, std::string>> shown_combos_;
  std::unique_ptr<QWindow> foreign_owner_;
  bool syncing_ = false;
};

}  // namespace tarv::ui

#endif  // TARVPLACES_UI_PLACEMANAGER_PLACEMANAGER_WIDGET_H_
