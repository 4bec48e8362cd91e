#include "ui/timetable/place_timetable_widget.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "platform/message_box.h"
#include "ui/placemanager/atlas_access.h"

namespace tarv::ui {
namespace {

QString Q(const std::string& text) {
  return QString::fromStdString(text);
}

void SetItems(QListWidget& list, const ControlState& state) {
  const QSignalBlocker block(&list);
  if (list.count() != static_cast<int>(state.items.size())) {
    list.clear();
    for (const auto& item : state.items)
      list.addItem(Q(item));
  } else {
    for (int i = 0; i < list.count(); ++i)
      list.item(i)->setText(Q(state.items[static_cast<std::size_t>(i)]));
  }
  list.setCurrentRow(state.list_index);
}

// A broken timetable file is reported; the chooser goes on.
template <typename Handler>
void Guarded(Handler handler) {
  try {
    handler();
  } catch (const std::exception& e) {
    MsgBox(e.what(), kMsgCritical);
  }
}

}  // namespace

PlaceTimetableWidget::PlaceTimetableWidget(const std::string& country, std::int16_t timetable,
                                           QWidget* parent, std::int16_t record)
    : QDialog(parent), model_(AtlasLanguage()) {
  setObjectName("DlgPlaceTimetable");
  Build();
  model_.Country(country);
  model_.Timetable(timetable);
  model_.Record(record);
  model_.OnClose([this] { done(SelectedTimetable() == "0" ? Rejected : Accepted); });
  Guarded([&] { model_.Form_Load(); });
  Sync();
}

void PlaceTimetableWidget::Build() {
  heading_ = new QLabel(this);
  heading_->setObjectName("Label1");
  timetables_ = new QListWidget(this);
  timetables_->setObjectName("li_TT_Nr");
  entries_ = new QListWidget(this);
  entries_->setObjectName("li_Zeittabelle");
  description_ = new QLabel(this);
  description_->setObjectName("lb_Zeittabelle");
  description_->setWordWrap(true);
  own_history_ = new QLabel(this);
  own_history_->setObjectName("lb_EigeneZonen");
  own_history_->setWordWrap(true);
  ok_ = new QPushButton(this);
  ok_->setObjectName("bt_OK");
  ok_->setDefault(true);
  cancel_ = new QPushButton(this);
  cancel_->setObjectName("bt_CANCEL");

  auto* lists = new QHBoxLayout;
  lists->addWidget(timetables_, 1);
  lists->addWidget(entries_, 2);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(ok_);
  buttons->addWidget(cancel_);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(heading_);
  layout->addLayout(lists, 1);
  layout->addWidget(description_);
  layout->addWidget(own_history_);
  layout->addLayout(buttons);
  heading_->setBuddy(timetables_);
  resize(560, 360);

  connect(timetables_, &QListWidget::currentRowChanged, this, [this](int row) {
    Guarded([&] { model_.li_TT_Nr_Click(row); });
    Sync();
  });
  connect(timetables_, &QListWidget::itemDoubleClicked, this, [this] { model_.bt_OK_Click(); });
  connect(entries_, &QListWidget::currentRowChanged, this, [this](int row) {
    model_.li_Zeittabelle_Click(row);
    Sync();
  });
  connect(ok_, &QPushButton::clicked, this, [this] { model_.bt_OK_Click(); });
  connect(cancel_, &QPushButton::clicked, this, [this] { model_.bt_CANCEL_Click(); });
}

void PlaceTimetableWidget::reject() {
  if (!model_.Closed()) model_.bt_CANCEL_Click();
}

void PlaceTimetableWidget::Sync() {
  setWindowTitle(Q(model_.Caption()));
  heading_->setText(Q(model_.Control("Label1").text));
  SetItems(*timetables_, model_.Control("li_TT_Nr"));
  SetItems(*entries_, model_.Control("li_Zeittabelle"));
  description_->setText(Q(model_.Control("lb_Zeittabelle").text));
  own_history_->setText(Q(model_.Control("lb_EigeneZonen").text));
  own_history_->setVisible(!own_history_->text().isEmpty());
  ok_->setText(Q(model_.Control("bt_OK").text));
  cancel_->setText(Q(model_.Control("bt_CANCEL").text));
}

}  // namespace tarv::ui
