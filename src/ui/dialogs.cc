#include "ui/dialogs.h"

#include <QMessageBox>
#include <clocale>
#include <cstdio>
#include <string>

#include "tarvplaces/placemanager.h"
#include "tarvplaces/ui.h"
#include "ui/placemanager/placemanager_widget.h"
#include "ui/timetable/place_timetable_widget.h"

namespace tarv::ui {
namespace {

// Qt needs argc and argv to outlive the application.
int g_argc = 1;
char g_name[] = "tarvplaces";
char* g_argv[] = {g_name, nullptr};

// The Qt place manager behind ShowPlacemanager. It makes sure of an
// application first, so that the widgets can be built.
class QtPlaceManager final : public PlaceManagerDialog {
 public:
  QtPlaceManager() : widget_(new PlacemanagerWidget) {}
  ~QtPlaceManager() override {
    // A modeless dialog lives on in the host's event loop and deletes itself.
    if (modeless_) return;
    delete widget_;
  }
  QtPlaceManager(const QtPlaceManager&) = delete;
  QtPlaceManager& operator=(const QtPlaceManager&) = delete;

  bool Canceled() const override { return widget_->model().Canceled(); }
  std::string City() const override { return widget_->model().City(); }
  void City(const std::string& value) override { widget_->model().City(value); }
  std::string CountryShort() const override { return widget_->model().CountryShort(); }
  void CountryShort(const std::string& value) override { widget_->model().CountryShort(value); }
  float Longitude() const override { return widget_->model().Longitude(); }
  void Longitude(float value) override { widget_->model().Longitude(value); }
  float Latitude() const override { return widget_->model().Latitude(); }
  void Latitude(float value) override { widget_->model().Latitude(value); }
  std::int16_t Timetable() const override { return widget_->model().Timetable(); }
  void Timetable(std::int16_t value) override { widget_->model().Timetable(value); }
  std::int16_t Index() const override { return widget_->model().Index(); }
  void Index(std::int16_t value) override { widget_->model().Index(value); }
  bool NewMode() const override { return widget_->model().NewMode(); }
  void NewMode(bool NewIsNew) override { widget_->model().NewMode(NewIsNew); }

  void SetOwner(OwnerWindow owner) override { widget_->model().SetOwner(owner); }

  void Show(std::int32_t modal) override {
    widget_->Load();
    if (widget_->model().Closed()) return;  // e.g. a new place entered and done at once
    // A modeless dialog needs the host's event loop; an application made for
    // this call would end with it, so then the dialog is shown modally.
    if (modal == kModeless && !app_.Created()) {
      modeless_ = true;
      widget_->setAttribute(Qt::WA_DeleteOnClose);
      widget_->show();
      return;
    }
    widget_->exec();
  }

  void FocusOwner(OwnerWindow owner) override {
    if (QWidget* window = QWidget::find(static_cast<WId>(owner))) {
      window->activateWindow();
      window->setFocus();
    }
  }

 private:
  ApplicationScope app_;  // first in, last out: the widgets need it
  PlacemanagerWidget* widget_;
  bool modeless_ = false;
};

QMessageBox::StandardButtons ButtonsOf(int style) {
  switch (style & 0x0F) {
    case kMsgOkCancel:
      return QMessageBox::Ok | QMessageBox::Cancel;
    case kMsgAbortRetryIgnore:
      return QMessageBox::Abort | QMessageBox::Retry | QMessageBox::Ignore;
    case kMsgYesNoCancel:
      return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
    case kMsgYesNo:
      return QMessageBox::Yes | QMessageBox::No;
    case kMsgRetryCancel:
      return QMessageBox::Retry | QMessageBox::Cancel;
    default:
      return QMessageBox::Ok;
  }
}

QMessageBox::Icon IconOf(int style) {
  switch (style & 0x70) {
    case kMsgCritical:
      return QMessageBox::Critical;
    case kMsgQuestion:
      return QMessageBox::Question;
    case kMsgExclamation:
      return QMessageBox::Warning;
    case kMsgInformation:
      return QMessageBox::Information;
    default:
      return QMessageBox::NoIcon;
  }
}

MsgAnswer AnswerOf(int button) {
  switch (button) {
    case QMessageBox::Cancel:
      return MsgAnswer::kCancel;
    case QMessageBox::Abort:
      return MsgAnswer::kAbort;
    case QMessageBox::Retry:
      return MsgAnswer::kRetry;
    case QMessageBox::Ignore:
      return MsgAnswer::kIgnore;
    case QMessageBox::Yes:
      return MsgAnswer::kYes;
    case QMessageBox::No:
      return MsgAnswer::kNo;
    default:
      return MsgAnswer::kOk;
  }
}

// Qt's notes about the missing screen and runtime folder are noise for a
// picture.
void Quiet(QtMsgType type, const QMessageLogContext& /*context*/, const QString& message) {
  if (type == QtCriticalMsg || type == QtFatalMsg) std::fputs(qPrintable(message + '\n'), stderr);
}

class QuietScope {
 public:
  QuietScope() : previous_(qInstallMessageHandler(Quiet)) {}
  ~QuietScope() { qInstallMessageHandler(previous_); }
  QuietScope(const QuietScope&) = delete;
  QuietScope& operator=(const QuietScope&) = delete;

 private:
  QtMessageHandler previous_;
};

bool SavePicture(QWidget& widget, const std::string& png_file) {
  widget.ensurePolished();
  widget.show();  // lays the dialog out; on the offscreen platform nothing appears
  QCoreApplication::processEvents();
  const bool saved = widget.grab().save(QString::fromStdString(png_file), "PNG");
  widget.hide();
  return saved;
}

}  // namespace

ApplicationScope::ApplicationScope() {
  if (QCoreApplication::instance() != nullptr) return;
  const std::string numeric = std::setlocale(LC_NUMERIC, nullptr);
  owned_ = std::make_unique<QApplication>(g_argc, g_argv);
  std::setlocale(LC_NUMERIC, numeric.c_str());
}

ApplicationScope::~ApplicationScope() = default;

void InstallDialogs() {
  SetPlaceManagerFactory([] { return std::make_unique<QtPlaceManager>(); });
}

MessageSink DialogMessageSink() {
  return [](const Message& message) {
    QMessageBox box(IconOf(message.style), QString::fromStdString(message.title),
                    QString::fromStdString(message.text), ButtonsOf(message.style),
                    QApplication::activeWindow());
    return AnswerOf(box.exec());
  };
}

bool SavePlaceManagerPicture(const std::string& city, const std::string& country,
                             const std::string& png_file) {
  const QuietScope quiet;
  const ApplicationScope app;
  PlacemanagerWidget widget;
  widget.model().City(city);
  widget.model().CountryShort(country);
  widget.Load();
  return SavePicture(widget, png_file);
}

bool SaveTimetableChooserPicture(const std::string& country, std::int16_t timetable,
                                 const std::string& png_file) {
  const QuietScope quiet;
  const ApplicationScope app;
  PlaceTimetableWidget widget(country, timetable);
  return SavePicture(widget, png_file);
}

}  // namespace tarv::ui
