#include "ui/placemanager/placemanager_widget.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QRadioButton>
#include <QShowEvent>
#include <QSignalBlocker>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <cmath>
#include <functional>
#include <numbers>

#include "platform/message_box.h"
#include "ui/timetable/place_timetable_widget.h"

namespace tarv::ui {
namespace {

constexpr int kPictureSize = 28;

QString Q(const std::string& text) {
  return QString::fromStdString(text);
}

// The index at the end of a control name ("tb_Eingabe_13" gives 13).
std::int16_t IndexOf(const std::string& name) {
  const auto underscore = name.rfind('_');
  const std::string digits = name.substr(underscore + 1);
  if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) return 0;
  return static_cast<std::int16_t>(std::stoi(digits));
}

bool StartsWith(const std::string& name, const char* prefix) {
  return name.rfind(prefix, 0) == 0;
}

// The classic key code and shift bits of a key press.
std::int16_t KeyCode(const QKeyEvent& key) {
  switch (key.key()) {
    case Qt::Key_Escape:
      return DlgPlacemanager::kKeyEscape;
    case Qt::Key_Cancel:
      return DlgPlacemanager::kKeyCancel;
    case Qt::Key_Pause:  // Ctrl+Break is the cancel key
      return (key.modifiers() & Qt::ControlModifier) ? DlgPlacemanager::kKeyCancel : 0;
    case Qt::Key_Return:
    case Qt::Key_Enter:
      return DlgPlacemanager::kKeyReturn;
    default:
      return 0;
  }
}

std::int16_t ShiftBits(const QKeyEvent& key) {
  std::int16_t bits = 0;
  if (key.modifiers() & Qt::ShiftModifier) bits |= DlgPlacemanager::kShiftMask;
  if (key.modifiers() & Qt::ControlModifier) bits |= DlgPlacemanager::kCtrlMask;
  return bits;
}

// ---- Pictures ----

QPixmap Canvas(const std::function<void(QPainter&)>& draw) {
  QPixmap pixmap(kPictureSize, kPictureSize);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  draw(painter);
  return pixmap;
}

QPixmap Globe() {
  return Canvas([](QPainter& p) {
    p.setPen(QPen(QColor(30, 80, 150), 1.5));
    p.setBrush(QColor(120, 180, 230));
    p.drawEllipse(QRectF(3, 3, 22, 22));
    p.setBrush(Qt::NoBrush);
    p.drawEllipse(QRectF(9, 3, 10, 22));
    p.drawLine(QPointF(3, 14), QPointF(25, 14));
    p.drawLine(QPointF(14, 3), QPointF(14, 25));
  });
}

QPixmap Stripes() {
  return Canvas([](QPainter& p) {
    for (int i = 0; i < 7; ++i)
      p.fillRect(QRectF(2, 6 + i * 2.3, 24, 2.3), i % 2 == 0 ? QColor(190, 30, 45) : Qt::white);
    p.fillRect(QRectF(2, 6, 11, 9.2), QColor(40, 50, 120));
    p.setPen(QColor(90, 90, 90));
    p.drawRect(QRectF(2, 6, 24, 16));
  });
}

QPixmap Unknown() {
  return Canvas([](QPainter& p) {
    p.setPen(QPen(QColor(120, 120, 120), 1.5));
    p.drawEllipse(QRectF(3, 3, 22, 22));
    p.drawText(QRectF(3, 3, 22, 22), Qt::AlignCenter, "?");
  });
}

QPixmap Compass() {
  return Canvas([](QPainter& p) {
    p.setPen(QPen(QColor(60, 60, 60), 1.2));
    p.drawEllipse(QRectF(4, 4, 20, 20));
    QPainterPath north;
    north.moveTo(14, 3);
    north.lineTo(17, 14);
    north.lineTo(11, 14);
    north.closeSubpath();
    p.fillPath(north, QColor(190, 30, 45));
    QPainterPath east;
    east.moveTo(25, 14);
    east.lineTo(14, 17);
    east.lineTo(14, 11);
    east.closeSubpath();
    p.fillPath(east, QColor(40, 50, 120));
  });
}

QPixmap Sun() {
  return Canvas([](QPainter& p) {
    p.setPen(QPen(QColor(230, 150, 0), 2));
    for (int i = 0; i < 8; ++i) {
      const double a = i * std::numbers::pi / 4;
      p.drawLine(QPointF(14 + 8 * std::cos(a), 14 + 8 * std::sin(a)),
                 QPointF(14 + 12 * std::cos(a), 14 + 12 * std::sin(a)));
    }
    p.setBrush(QColor(255, 200, 30));
    p.drawEllipse(QRectF(8, 8, 12, 12));
  });
}

QLabel* Picture(const QPixmap& pixmap, QWidget* parent) {
  auto* label = new QLabel(parent);
  label->setPixmap(pixmap);
  label->setFixedSize(kPictureSize, kPictureSize);
  return label;
}

QLineEdit* FieldFor(QWidget* widget) {
  if (auto* edit = qobject_cast<QLineEdit*>(widget)) return edit;
  if (auto* combo = qobject_cast<QComboBox*>(widget)) return combo->lineEdit();
  return nullptr;
}

}  // namespace

PlacemanagerWidget::PlacemanagerWidget(QWidget* parent) : QDialog(parent), model_(*this) {
  setObjectName("DlgPlacemanager");
  setSizeGripEnabled(true);
  auto* grid = new QGridLayout(this);
  grid->setColumnStretch(0, 5);
  grid->setColumnStretch(1, 6);
  BuildCountryPanels(*grid);
  BuildPlaceListPanel(*grid);
  BuildPlacePanel(*grid);
  BuildTimetablePanel(*grid);
  BuildCountryInfoPanel(*grid);
  BuildButtons(*grid);
  grid->setRowStretch(2, 1);
  SetTabOrder();
  Connect();
  WatchEvents();
  resize(900, 640);
}

PlacemanagerWidget::~PlacemanagerWidget() = default;

// ---- Building ----

QFrame* PlacemanagerWidget::Panel(int index) {
  auto* panel = new QFrame(this);
  panel->setFrameShape(QFrame::StyledPanel);
  panel->setMouseTracking(true);
  // Panels hidden in a step keep their room, so nothing jumps around.
  QSizePolicy policy = panel->sizePolicy();
  policy.setRetainSizeWhenHidden(true);
  panel->setSizePolicy(policy);
  Make(FormModel::Member("pn_Eingabe", index), panel, nullptr);
  return panel;
}

QWidget* PlacemanagerWidget::Make(const std::string& name, QWidget* widget, QWidget* panel) {
  if (panel != nullptr) widget->setParent(panel);
  widget->setObjectName(Q(name));
  widgets_[name] = widget;
  names_[widget] = name;
  return widget;
}

void PlacemanagerWidget::BuildCountryPanels(QGridLayout& grid) {
  QFrame* options = Panel(0);
  auto* row = new QHBoxLayout(options);
  row->addWidget(Make("rb_Eingabe_0", new QRadioButton, options));
  row->addWidget(Make("rb_Eingabe_1", new QRadioButton, options));
  row->addStretch();
  row->addWidget(Make("ig_Land_0", Picture(Globe(), nullptr), options));
  row->addWidget(Make("ig_Land_1", Picture(Stripes(), nullptr), options));
  row->addWidget(Make("ig_Land_2", Picture(Unknown(), nullptr), options));
  grid.addWidget(options, 0, 0);

  auto* countries = new QWidget(this);
  auto* line = new QHBoxLayout(countries);
  line->setContentsMargins(0, 0, 0, 0);
  QFrame* by_name = Panel(13);
  auto* name_row = new QHBoxLayout(by_name);
  auto* label = Make("lb_Land", new QLabel, by_name);
  auto* names = Make("cb_Eingabe_13", new QComboBox, by_name);
  name_row->addWidget(label);
  name_row->addWidget(names, 1);
  static_cast<QLabel*>(label)->setBuddy(names);
  QFrame* by_code = Panel(14);
  auto* code_row = new QHBoxLayout(by_code);
  auto* codes = Make("cb_Eingabe_14", new QComboBox, by_code);
  codes->setMinimumWidth(90);
  code_row->addWidget(codes);
  line->addWidget(by_name, 4);
  line->addWidget(by_code, 1);
  grid.addWidget(countries, 0, 1);
  for (QComboBox* combo : {static_cast<QComboBox*>(names), static_cast<QComboBox*>(codes)}) {
    combo->setEditable(true);
    combo->setInsertPolicy(QComboBox::NoInsert);
    combo->setMaxVisibleItems(20);
  }
}

void PlacemanagerWidget::BuildPlaceListPanel(QGridLayout& grid) {
  QFrame* panel = Panel(3);
  auto* layout = new QGridLayout(panel);
  auto* search = static_cast<QComboBox*>(Make("cb_Eingabe_3", new QComboBox, panel));
  search->setEditable(true);
  search->setInsertPolicy(QComboBox::NoInsert);
  search->setCompleter(nullptr);
  auto* letters = Make("cb_ABC", new QComboBox, panel);
  auto* list = static_cast<QTreeWidget*>(Make("li_SuchOrte", new QTreeWidget, panel));
  list->setColumnCount(3);
  list->setRootIsDecorated(false);
  list->setUniformRowHeights(true);
  list->setAllColumnsShowFocus(true);
  list->header()->setVisible(false);
  list->header()->setStretchLastSection(false);
  list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
  list->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
  list->header()->setSectionResizeMode(2, QHeaderView::ResizeToContents);
  layout->addWidget(search, 0, 0);
  layout->addWidget(letters, 0, 1);
  layout->addWidget(list, 1, 0, 1, 2);
  layout->addWidget(Make("lb_AnzOrte", new QLabel, panel), 2, 0, 1, 2);
  layout->setColumnStretch(0, 1);
  grid.addWidget(panel, 1, 0, 2, 1);
}

void PlacemanagerWidget::BuildPlacePanel(QGridLayout& grid) {
  QFrame* panel = Panel(5);
  auto* layout = new QGridLayout(panel);
  auto add_field = [&](int row, int label_index, int field_index) {
    auto* label =
        static_cast<QLabel*>(Make(FormModel::Member("lb_Eingabe", label_index), new QLabel, panel));
    auto* field = Make(FormModel::Member("tb_Eingabe", field_index), new QLineEdit, panel);
    label->setBuddy(field);
    layout->addWidget(label, row, 0);
    return field;
  };
  layout->addWidget(add_field(0, 3, 3), 0, 1, 1, 3);
  layout->addWidget(add_field(1, 4, 5), 1, 1);
  auto* latitude_label = static_cast<QLabel*>(Make("lb_Eingabe_5", new QLabel, panel));
  auto* latitude = Make("tb_Eingabe_6", new QLineEdit, panel);
  latitude_label->setBuddy(latitude);
  layout->addWidget(latitude_label, 1, 2);
  layout->addWidget(latitude, 1, 3);
  auto* marks = new QHBoxLayout;
  auto* defined = static_cast<QLabel*>(Make("lb_Definiert", new QLabel, panel));
  defined->setStyleSheet("color: #a04000; font-weight: bold;");
  marks->addWidget(defined);
  marks->addStretch();
  marks->addWidget(Make("ig_Direction", Picture(Compass(), nullptr), panel));
  layout->addLayout(marks, 2, 0, 1, 4);
  auto* zone_row = new QHBoxLayout;
  auto* zone_caption = static_cast<QLabel*>(Make("lb_Zone", new QLabel, panel));
  auto* zones = static_cast<QComboBox*>(Make("cb_Zone", new QComboBox, panel));
  zone_caption->setBuddy(zones);
  // The map's zone is read whole; the list gives way.
  zone_caption->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Preferred);
  zones->setMaxVisibleItems(20);
  zone_row->addWidget(zone_caption);
  zone_row->addWidget(zones, 1);
  layout->addLayout(zone_row, 3, 0, 1, 4);
  layout->setColumnStretch(1, 1);
  layout->setColumnStretch(3, 1);
  grid.addWidget(panel, 1, 1);
}

void PlacemanagerWidget::BuildTimetablePanel(QGridLayout& grid) {
  QFrame* panel = Panel(15);
  auto* layout = new QGridLayout(panel);
  auto* caption = static_cast<QLabel*>(Make("lb_Zeittabelle_0", new QLabel, panel));
  auto* number = static_cast<QLineEdit*>(Make("tb_Eingabe_7", new QLineEdit, panel));
  auto* zone = static_cast<QLineEdit*>(Make("tb_Eingabe_4", new QLineEdit, panel));
  number->setMaximumWidth(60);
  zone->setMaximumWidth(110);
  auto* list = Make("li_Zeittabelle", new QListWidget, panel);
  caption->setBuddy(list);
  auto* top = new QHBoxLayout;
  top->addWidget(caption);
  top->addWidget(number);
  top->addWidget(zone);
  top->addStretch();
  top->addWidget(Make("ch_DatumZonen", new QCheckBox, panel));
  top->addWidget(Make("ig_Sommerzeit", Picture(Sun(), nullptr), panel));
  layout->addLayout(top, 0, 0);
  layout->addWidget(list, 1, 0);
  auto* detail = static_cast<QLabel*>(Make("lb_Zeittabelle_1", new QLabel, panel));
  detail->setWordWrap(true);
  layout->addWidget(detail, 2, 0);
  grid.addWidget(panel, 2, 1);
}

void PlacemanagerWidget::BuildCountryInfoPanel(QGridLayout& grid) {
  QFrame* panel = Panel(16);
  auto* layout = new QGridLayout(panel);
  auto add = [&](int row, int column, int label_index, int field_index, int span) {
    auto* label =
        static_cast<QLabel*>(Make(FormModel::Member("lb_Eingabe", label_index), new QLabel, panel));
    auto* field = Make(FormModel::Member("tb_Eingabe", field_index), new QLineEdit, panel);
    label->setBuddy(field);
    layout->addWidget(label, row, column);
    layout->addWidget(field, row, column + 1, 1, span);
  };
  add(0, 0, 0, 13, 1);
  layout->addWidget(Make("tb_Eingabe_14", new QLineEdit, panel), 0, 2);
  add(0, 3, 2, 30, 1);
  add(1, 0, 6, 16, 2);
  add(1, 3, 1, 31, 1);
  layout->setColumnStretch(1, 2);
  layout->setColumnStretch(4, 2);
  grid.addWidget(panel, 3, 0, 1, 2);
}

void PlacemanagerWidget::BuildButtons(QGridLayout& grid) {
  auto* back = static_cast<QLabel*>(Make("lb_InfoGuideBack", new QLabel, this));
  back->setStyleSheet("background: #fff6d5; border: 1px solid #d8c48a;");
  auto* guide_layout = new QHBoxLayout(back);
  auto* guide = static_cast<QLabel*>(Make("lb_InfoGuide", new QLabel, back));
  guide->setWordWrap(true);
  guide->setStyleSheet("border: none; font-weight: bold;");
  guide_layout->addWidget(guide);
  grid.addWidget(back, 4, 0, 1, 2);

  auto* row = new QHBoxLayout;
  for (const int index : {1, 2, 3, 5})
    row->addWidget(Make(FormModel::Member("bt_Action", index), new QPushButton, this));
  row->addStretch();
  for (const char* name : {"bt_OK_1", "bt_CANCEL_1", "bt_OK_0", "bt_CANCEL_0"})
    row->addWidget(Make(name, new QPushButton, this));
  grid.addLayout(row, 5, 0, 1, 2);

  auto* info = static_cast<QLabel*>(Make("lb_InfoLine", new QLabel, this));
  info->setWordWrap(true);
  info->setFrameShape(QFrame::StyledPanel);
  info->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  info->setMinimumHeight(info->fontMetrics().lineSpacing() * 3 + 8);
  info->setTextFormat(Qt::PlainText);
  grid.addWidget(info, 6, 0, 1, 2);
  for (auto* button : findChildren<QPushButton*>())
    button->setAutoDefault(true);
}

void PlacemanagerWidget::SetTabOrder() {
  const char* order[] = {"rb_Eingabe_0",  "rb_Eingabe_1",  "cb_Eingabe_13",  "cb_Eingabe_14",
                         "cb_Eingabe_3",  "cb_ABC",        "li_SuchOrte",    "tb_Eingabe_3",
                         "tb_Eingabe_5",  "tb_Eingabe_6",  "cb_Zone",        "tb_Eingabe_7",
                         "tb_Eingabe_4",  "ch_DatumZonen", "li_Zeittabelle", "tb_Eingabe_13",
                         "tb_Eingabe_14", "tb_Eingabe_30", "tb_Eingabe_16",  "tb_Eingabe_31",
                         "bt_Action_1",   "bt_Action_2",   "bt_Action_3",    "bt_Action_5",
                         "bt_OK_1",       "bt_CANCEL_1",   "bt_OK_0",        "bt_CANCEL_0"};
  for (std::size_t i = 1; i < std::size(order); ++i)
    setTabOrder(widgets_.at(order[i - 1]), widgets_.at(order[i]));
}

// ---- Events to the model ----

template <typename Handler>
void PlacemanagerWidget::Forward(Handler handler) {
  if (syncing_) return;
  // Nothing may leave an event handler: a broken atlas file is reported and
  // the dialog goes on with what it has.
  try {
    handler();
  } catch (const std::exception& e) {
    MsgBox(e.what(), kMsgCritical);
  }
  Sync();
}

void PlacemanagerWidget::Connect() {
  for (const auto& [name, widget] : widgets_) {
    const std::int16_t index = IndexOf(name);
    if (auto* button = qobject_cast<QPushButton*>(widget)) {
      if (StartsWith(name, "bt_Action")) {
        connect(button, &QPushButton::clicked, this,
                [this, index] { Forward([&] { model_.bt_Action_Click(index); }); });
      } else if (StartsWith(name, "bt_OK")) {
        connect(button, &QPushButton::clicked, this,
                [this, index] { Forward([&] { model_.bt_OK_Click(index); }); });
      } else {
        connect(button, &QPushButton::clicked, this,
                [this, index] { Forward([&] { model_.bt_CANCEL_Click(index); }); });
      }
    } else if (auto* option = qobject_cast<QRadioButton*>(widget)) {
      connect(option, &QRadioButton::clicked, this,
              [this, index] { Forward([&] { model_.rb_Eingabe_Click(index); }); });
    } else if (auto* edit = qobject_cast<QLineEdit*>(widget)) {
      connect(edit, &QLineEdit::textEdited, this, [this, index](const QString& text) {
        Forward([&] { model_.tb_Eingabe_Change(index, text.toStdString()); });
      });
      connect(edit, &QLineEdit::returnPressed, this,
              [this, index] { Forward([&] { model_.tb_Eingabe_KeyReturn(index); }); });
    } else if (auto* combo = qobject_cast<QComboBox*>(widget)) {
      if (name == "cb_ABC") {
        connect(combo, &QComboBox::activated, this,
                [this](int row) { Forward([&] { model_.cb_ABC_Click(row); }); });
      } else if (name == "cb_Zone") {
        connect(combo, &QComboBox::activated, this,
                [this](int row) { Forward([&] { model_.cb_Zone_Click(row); }); });
      } else {
        connect(combo, &QComboBox::activated, this, [this, index, name = name](int row) {
          shown_combos_.erase(name);
          Forward([&] { model_.cb_Eingabe_Click(index, row); });
        });
      }
    } else if (auto* check = qobject_cast<QCheckBox*>(widget)) {
      connect(check, &QCheckBox::clicked, this,
              [this](bool on) { Forward([&] { model_.ch_DatumZonen_Click(on); }); });
    } else if (auto* tree = qobject_cast<QTreeWidget*>(widget)) {
      connect(tree, &QTreeWidget::currentItemChanged, this, [this, tree](QTreeWidgetItem* item) {
        if (item == nullptr) return;
        const int row = tree->indexOfTopLevelItem(item);
        Forward([&] { model_.li_SuchOrte_Click(row); });
      });
    } else if (auto* list = qobject_cast<QListWidget*>(widget)) {
      connect(list, &QListWidget::currentRowChanged, this,
              [this](int row) { Forward([&] { model_.li_Zeittabelle_Click(row); }); });
    }
  }
}

void PlacemanagerWidget::WatchEvents() {
  for (const auto& [name, widget] : widgets_) {
    widget->installEventFilter(this);
    if (auto* combo = qobject_cast<QComboBox*>(widget); combo != nullptr && combo->lineEdit()) {
      combo->lineEdit()->installEventFilter(this);
      names_[combo->lineEdit()] = name;
    }
    if (StartsWith(name, "bt_") || StartsWith(name, "rb_") || name == "li_Zeittabelle") {
      widget->setAttribute(Qt::WA_Hover);
    }
  }
}

bool PlacemanagerWidget::eventFilter(QObject* watched, QEvent* event) {
  const auto it = names_.find(watched);
  if (it == names_.end() || syncing_) return QDialog::eventFilter(watched, event);
  const std::string& name = it->second;
  switch (event->type()) {
    case QEvent::KeyPress:
      if (ForwardKey(name, static_cast<QKeyEvent&>(*event))) return true;
      break;
    case QEvent::FocusIn:
      ForwardFocus(name);
      break;
    case QEvent::FocusOut:
      if (StartsWith(name, "tb_Eingabe")) {
        const std::int16_t index = IndexOf(name);
        Forward([&] { model_.tb_Eingabe_LostFocus(index); });
      }
      break;
    case QEvent::Enter:
    case QEvent::MouseMove:
      ForwardPointer(name, event->type());
      break;
    default:
      break;
  }
  return QDialog::eventFilter(watched, event);
}

bool PlacemanagerWidget::ForwardKey(const std::string& name, QKeyEvent& key) {
  bool used = false;
  const std::int16_t code = KeyCode(key);
  const std::string typed =
      StartsWith(name, "cb_")
          ? static_cast<QComboBox*>(widgets_.at(name))->currentText().toStdString()
          : std::string();
  if (code != 0) Forward([&] { used = model_.Form_KeyDown(code, ShiftBits(key)); });
  if (used) return true;
  const std::int16_t index = IndexOf(name);
  // Return in a country or search box is the model's, not the combo box's.
  if (code == DlgPlacemanager::kKeyReturn && StartsWith(name, "cb_Eingabe")) {
    shown_combos_.erase(name);  // the model's answer shows, even when it is the old text
    Forward([&] { model_.cb_Eingabe_KeyReturn(index, typed); });
    return true;
  }
  if ((name == "tb_Eingabe_5" || name == "tb_Eingabe_6") &&
      (key.key() == Qt::Key_Up || key.key() == Qt::Key_Down || key.key() == Qt::Key_PageUp ||
       key.key() == Qt::Key_PageDown)) {
    const int step = key.key() == Qt::Key_PageUp || key.key() == Qt::Key_PageDown ? 10 : 1;
    const int sign = key.key() == Qt::Key_Up || key.key() == Qt::Key_PageUp ? 1 : -1;
    Forward([&] { model_.SpinLaengeBreite(index, sign * step); });
    return true;
  }
  return false;
}

bool PlacemanagerWidget::ForwardFocus(const std::string& name) {
  const std::int16_t index = IndexOf(name);
  if (StartsWith(name, "tb_Eingabe")) {
    Forward([&] { model_.tb_Eingabe_GotFocus(index); });
  } else if (StartsWith(name, "cb_Eingabe")) {
    Forward([&] { model_.cb_Eingabe_GotFocus(index); });
  } else if (name == "li_Zeittabelle") {
    Forward([&] { model_.li_Zeittabelle_GotFocus(); });
  } else if (StartsWith(name, "bt_Action")) {
    Forward([&] { model_.bt_Action_GotFocus(index); });
  } else if (StartsWith(name, "bt_OK")) {
    Forward([&] { model_.bt_OK_GotFocus(index); });
  } else if (StartsWith(name, "bt_CANCEL")) {
    Forward([&] { model_.bt_CANCEL_GotFocus(index); });
  } else if (name == "cb_ABC") {
    Forward([&] { model_.cb_ABC_GotFocus(); });
  } else if (name == "cb_Zone") {
    Forward([&] { model_.cb_Zone_GotFocus(); });
  } else if (StartsWith(name, "rb_Eingabe")) {
    Forward([&] { model_.rb_Eingabe_GotFocus(index); });
  } else {
    return false;
  }
  return true;
}

bool PlacemanagerWidget::ForwardPointer(const std::string& name, QEvent::Type type) {
  const std::int16_t index = IndexOf(name);
  if (StartsWith(name, "pn_Eingabe")) {
    Forward([&] { model_.pn_Eingabe_MouseMove(index); });
    return true;
  }
  // The others change their text once when the pointer arrives.
  if (type != QEvent::Enter) return false;
  if (StartsWith(name, "bt_Action")) {
    Forward([&] { model_.bt_Action_MouseMove(index); });
  } else if (StartsWith(name, "bt_OK")) {
    Forward([&] { model_.bt_OK_MouseMove(index); });
  } else if (StartsWith(name, "bt_CANCEL")) {
    Forward([&] { model_.bt_CANCEL_MouseMove(index); });
  } else if (name == "li_Zeittabelle") {
    Forward([&] { model_.li_Zeittabelle_MouseMove(); });
  } else if (StartsWith(name, "rb_Eingabe")) {
    Forward([&] { model_.rb_Eingabe_MouseMove(index); });
  } else {
    return false;
  }
  return true;
}

void PlacemanagerWidget::keyPressEvent(QKeyEvent* event) {
  const std::int16_t code = KeyCode(*event);
  bool used = false;
  if (code != 0) Forward([&] { used = model_.Form_KeyDown(code, ShiftBits(*event)); });
  // Return alone belongs to the focused control, never to a default button.
  if (used || code == DlgPlacemanager::kKeyReturn) return;
  QDialog::keyPressEvent(event);
}

void PlacemanagerWidget::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  // Only a laid-out list can bring the selected place to its middle.
  auto* list = static_cast<QTreeWidget*>(widgets_.at("li_SuchOrte"));
  QTimer::singleShot(0, list, [list] {
    if (QTreeWidgetItem* current = list->currentItem()) {
      list->scrollToItem(current, QAbstractItemView::PositionAtCenter);
    }
  });
}

void PlacemanagerWidget::reject() {
  Forward([&] { model_.bt_CANCEL_Click(0); });
}

void PlacemanagerWidget::closeEvent(QCloseEvent* event) {
  if (model_.Closed() || model_.Form_Unload()) {
    event->accept();
    return;
  }
  event->ignore();
  Sync();
}

// ---- The model's requests ----

void PlacemanagerWidget::Load() {
  Forward([&] { model_.Form_Load(); });
  // The user starts by typing a place; the help line says how.
  if (model_.Step() == 0) {
    widgets_.at("cb_Eingabe_3")->setFocus();
    Forward([&] { model_.cb_Eingabe_GotFocus(3); });
  }
}

void PlacemanagerWidget::CloseWindow() {
  done(model_.Canceled() ? Rejected : Accepted);
}

void PlacemanagerWidget::SetOwnerWindow(OwnerWindow owner) {
  const auto id = static_cast<WId>(owner);
  if (QWidget* widget = QWidget::find(id)) {
    // Setting the same parent again would hide the dialog.
    if (parentWidget() != widget->window()) setParent(widget->window(), windowFlags());
    return;
  }
  // A window of another toolkit: the dialog stays above it.
  if (!foreign_owner_) foreign_owner_.reset(QWindow::fromWinId(id));
  if (foreign_owner_) {
    winId();
    if (QWindow* window = windowHandle()) window->setTransientParent(foreign_owner_.get());
  }
}

void PlacemanagerWidget::SelectText(const std::string& control) {
  if (QLineEdit* edit = FieldFor(widgets_.at(control))) {
    // After the click that gave the focus, which would place the cursor.
    QTimer::singleShot(0, edit, [edit] { edit->selectAll(); });
  }
}

void PlacemanagerWidget::SetFocus(const std::string& control) {
  widgets_.at(control)->setFocus();
}

std::int16_t PlacemanagerWidget::ChooseTimetable(const std::string& country, std::int16_t current,
                                                 std::int16_t record) {
  PlaceTimetableWidget chooser(country, current, this, record);
  chooser.exec();
  return static_cast<std::int16_t>(std::stoi(SelectedTimetable()));
}

// ---- Showing the model ----

void PlacemanagerWidget::Sync() {
  syncing_ = true;
  setWindowTitle(Q(model_.Caption()));
  for (const auto& [name, state] : model_.Controls())
    Apply(name, state);
  syncing_ = false;
}

void PlacemanagerWidget::Apply(const std::string& name, const ControlState& state) {
  QWidget* widget = widgets_.at(name);
  const QSignalBlocker block(widget);
  if (auto* edit = qobject_cast<QLineEdit*>(widget)) {
    if (edit->text().toStdString() != state.text) edit->setText(Q(state.text));
    edit->setReadOnly(state.read_only);
  } else if (auto* combo = qobject_cast<QComboBox*>(widget)) {
    auto& shown = shown_items_[name];
    const bool new_items = shown != state.items;
    if (new_items) {
      combo->clear();
      for (const auto& item : state.items)
        combo->addItem(Q(item));
      shown = state.items;
    }
    // What the user is typing stays until the model has something new to show.
    const auto last = shown_combos_.find(name);
    if (new_items || last == shown_combos_.end() || last->second.first != state.list_index ||
        last->second.second != state.text) {
      combo->setCurrentIndex(state.list_index);
      if (combo->isEditable()) combo->setEditText(Q(state.text));
      shown_combos_[name] = {state.list_index, state.text};
    }
  } else if (auto* tree = qobject_cast<QTreeWidget*>(widget)) {
    auto& shown = shown_items_[name];
    if (shown != state.items) {
      tree->clear();
      QList<QTreeWidgetItem*> rows;
      rows.reserve(static_cast<qsizetype>(state.items.size()));
      for (const auto& item : state.items)
        rows.append(new QTreeWidgetItem(Q(item).split('\t')));
      tree->addTopLevelItems(rows);
      shown = state.items;
    }
    QTreeWidgetItem* current = tree->topLevelItem(state.list_index);
    tree->setCurrentItem(current);
    if (current != nullptr) tree->scrollToItem(current, QAbstractItemView::PositionAtCenter);
  } else if (auto* list = qobject_cast<QListWidget*>(widget)) {
    auto& shown = shown_items_[name];
    if (shown != state.items) {
      list->clear();
      for (const auto& item : state.items)
        list->addItem(Q(item));
      shown = state.items;
    }
    list->setCurrentRow(state.list_index);
  } else if (auto* option = qobject_cast<QRadioButton*>(widget)) {
    option->setText(Q(state.text));
    option->setChecked(state.checked);
  } else if (auto* check = qobject_cast<QCheckBox*>(widget)) {
    check->setText(Q(state.text));
    check->setChecked(state.checked);
  } else if (auto* button = qobject_cast<QPushButton*>(widget)) {
    button->setText(Q(state.text));
  } else if (auto* label = qobject_cast<QLabel*>(widget);
             label != nullptr && label->pixmap().isNull() && name != "lb_InfoGuideBack") {
    label->setText(Q(state.text));
  }
  widget->setEnabled(state.enabled);
  // Controls of a hidden panel stay "shown" and appear with their panel.
  widget->setVisible(state.visible);
}

}  // namespace tarv::ui
