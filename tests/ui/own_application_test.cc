// ShowPlacemanager in a program without a QApplication: the dialog brings
// its own for the call and leaves the process's number format alone.
#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>
#include <QTimer>
#include <clocale>
#include <string>

#include "tarvplaces/ui.h"
#include "ui/placemanager_fixture.h"

namespace tarv::ui {
namespace {

// The Qt dialog, pressing Escape as soon as it shows.
class EscapeOnShow final : public PlaceManagerDialog {
 public:
  explicit EscapeOnShow(std::unique_ptr<PlaceManagerDialog> dialog) : d_(std::move(dialog)) {}
  bool Canceled() const override { return d_->Canceled(); }
  std::string City() const override { return d_->City(); }
  void City(const std::string& v) override { d_->City(v); }
  std::string CountryShort() const override { return d_->CountryShort(); }
  void CountryShort(const std::string& v) override { d_->CountryShort(v); }
  float Longitude() const override { return d_->Longitude(); }
  void Longitude(float v) override { d_->Longitude(v); }
  float Latitude() const override { return d_->Latitude(); }
  void Latitude(float v) override { d_->Latitude(v); }
  std::int16_t Timetable() const override { return d_->Timetable(); }
  void Timetable(std::int16_t v) override { d_->Timetable(v); }
  std::int16_t Index() const override { return d_->Index(); }
  void Index(std::int16_t v) override { d_->Index(v); }
  bool NewMode() const override { return d_->NewMode(); }
  void NewMode(bool v) override { d_->NewMode(v); }
  void SetOwner(OwnerWindow owner) override { d_->SetOwner(owner); }
  void FocusOwner(OwnerWindow owner) override { d_->FocusOwner(owner); }
  void Show(std::int32_t modal) override {
    had_application = QCoreApplication::instance() != nullptr;
    QTimer::singleShot(0, [] {
      QWidget* dialog = QApplication::activeModalWidget();
      ASSERT_NE(dialog, nullptr);
      QTest::keyClick(dialog, Qt::Key_Escape);
    });
    d_->Show(modal);
  }

  static inline bool had_application = false;

 private:
  std::unique_ptr<PlaceManagerDialog> d_;
};

class OwnApplication : public testing::DialogAtlasFixture {};

TEST_F(OwnApplication, DialogRunsWithAnApplicationOfItsOwn) {
  ASSERT_EQ(QCoreApplication::instance(), nullptr);
  const std::string numeric = std::setlocale(LC_NUMERIC, nullptr);
  InstallDialogs();
  const PlaceManagerFactory qt = SetPlaceManagerFactory(nullptr);
  SetPlaceManagerFactory([qt] { return std::make_unique<EscapeOnShow>(qt()); });

  classPlaces places;
  std::string city = "Bonn";
  EXPECT_FALSE(places.ShowPlacemanager(&city));
  EXPECT_TRUE(EscapeOnShow::had_application);
  EXPECT_EQ(QCoreApplication::instance(), nullptr);
  EXPECT_EQ(std::setlocale(LC_NUMERIC, nullptr), numeric);
  EXPECT_EQ(city, "Bonn");
  // And again: a second call gets a second application.
  EXPECT_FALSE(places.ShowPlacemanager(&city));
  SetPlaceManagerFactory(nullptr);
}

}  // namespace
}  // namespace tarv::ui
