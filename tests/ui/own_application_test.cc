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

int applications = 0;

// Run by every application made: presses Escape on the dialog once it shows.
void EscapeOnShow() {
  ++applications;
  QTimer::singleShot(0, [] {
    QWidget* dialog = QApplication::activeModalWidget();
    ASSERT_NE(dialog, nullptr);
    QTest::keyClick(dialog, Qt::Key_Escape);
  });
}

class OwnApplication : public testing::DialogAtlasFixture {};

TEST_F(OwnApplication, DialogRunsWithAnApplicationOfItsOwn) {
  ASSERT_EQ(QCoreApplication::instance(), nullptr);
  const std::string numeric = std::setlocale(LC_NUMERIC, nullptr);
  qAddPreRoutine(EscapeOnShow);
  InstallDialogs();
  classPlaces places;
  std::string city = "Bonn";
  // A second call gets a second application.
  for (const int call : {1, 2}) {
    EXPECT_FALSE(places.ShowPlacemanager(&city));
    EXPECT_EQ(applications, call);
    EXPECT_EQ(QCoreApplication::instance(), nullptr);
    EXPECT_EQ(std::setlocale(LC_NUMERIC, nullptr), numeric);
    EXPECT_EQ(city, "Bonn");
  }
  SetPlaceManagerFactory(nullptr);
}

}  // namespace
}  // namespace tarv::ui
