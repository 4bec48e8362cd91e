// The Qt dialogs, driven as a user would: through ShowPlacemanager, keys
// and clicks, on the offscreen platform. What the dialogs decide is the
// models' (dlg_*_test.cc); here, that the widgets forward the user's keys
// and clicks to the model and show what it says.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <tuple>

#include "tarvplaces/ui.h"
#include "ui/dialogs.h"
#include "ui/placemanager/placemanager_widget.h"
#include "ui/placemanager_fixture.h"
#include "ui/timetable/place_timetable_widget.h"

namespace tarv::ui {
namespace {

using ::testing::ElementsAre;

template <typename T = QWidget>
T* Find(QWidget& dialog, const char* name) {
  T* widget = dialog.findChild<T*>(name);
  EXPECT_NE(widget, nullptr) << name;
  return widget;
}

// Runs `act` on the modal dialog as soon as the event loop shows it.
void WhenShown(std::function<void(QDialog&)> act) {
  QTimer::singleShot(0, [act] {
    auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    ASSERT_NE(dialog, nullptr);
    // Focus events need an active window.
    dialog->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(dialog));
    act(*dialog);
  });
}

void Click(QWidget& dialog, const char* button) {
  QTest::mouseClick(Find<QPushButton>(dialog, button), Qt::LeftButton);
}

std::string TextOf(QWidget& dialog, const char* field) {
  return Find<QLineEdit>(dialog, field)->text().toStdString();
}

class Dialogs : public testing::DialogAtlasFixture {
 protected:
  void SetUp() override {
    DialogAtlasFixture::SetUp();
    InstallDialogs();
  }
  void TearDown() override {
    SetPlaceManagerFactory(nullptr);
    DialogAtlasFixture::TearDown();
  }
  bool Show(bool new_mode = false) {
    return places_.ShowPlacemanager(&city_, &country_, &longitude_, &latitude_, &timetable_,
                                    &index_, new_mode);
  }

  classPlaces places_;
  std::string city_ = "München";
  std::string country_ = "D";
  float longitude_ = 11.5F, latitude_ = 48.1F;
  std::int16_t timetable_ = 0, index_ = 0;
};

TEST_F(Dialogs, EveryControlOfTheModelsHasItsWidget) {
  PlacemanagerWidget dialog;
  PlaceTimetableWidget chooser("D", 1);
  auto expect_widgets = [](QWidget& widget, const auto& controls) {
    for (const auto& [name, state] : controls)
      EXPECT_NE(widget.findChild<QWidget*>(QString::fromStdString(name)), nullptr) << name;
  };
  expect_widgets(dialog, dialog.model().Controls());
  expect_widgets(chooser, chooser.model().Controls());
}

TEST_F(Dialogs, ReturnInTheSearchFindsAndOkReturnsThePlace) {
  WhenShown([](QDialog& d) {
    EXPECT_EQ(d.windowTitle(), "Orteverwaltung");
    QLineEdit* search = Find<QComboBox>(d, "cb_Eingabe_3")->lineEdit();
    QTest::keyClicks(search, "ber");
    QTest::keyClick(search, Qt::Key_Return);
    EXPECT_EQ(TextOf(d, "tb_Eingabe_3"), "Berlin");
    EXPECT_TRUE(d.isVisible());  // Return searched, it did not close the dialog
    Click(d, "bt_OK_0");
  });
  EXPECT_TRUE(Show());
  EXPECT_EQ(std::tuple(city_, country_, index_), std::tuple("Berlin", "D", 2));
  EXPECT_NEAR(longitude_, 13.405, 1e-3);
}

TEST_F(Dialogs, LetterFilterAndPlaceListByKeyboardEscapeCancels) {
  WhenShown([](QDialog& d) {
    auto* letters = Find<QComboBox>(d, "cb_ABC");
    letters->setFocus();
    QTest::keyClick(letters, Qt::Key_Up);  // from "M" to "L": no places, so all of them
    EXPECT_EQ(letters->currentText(), "Alle");
    QTest::keyClick(letters, Qt::Key_Down);  // "A"
    EXPECT_EQ(Find<QLabel>(d, "lb_AnzOrte")->text(), "1 Ort");
    auto* list = Find<QTreeWidget>(d, "li_SuchOrte");
    list->setFocus();
    QTest::keyClick(list, Qt::Key_Home);
    EXPECT_EQ(TextOf(d, "tb_Eingabe_3"), "Augsburg");
    QTest::keyClick(list, Qt::Key_Escape);
  });
  EXPECT_FALSE(Show());
  EXPECT_EQ(city_, "München");
}

// While a place is edited neither Escape nor the window's close ends the
// dialog; the cancel buttons end the edit, then the dialog, dropping what
// was typed.
TEST_F(Dialogs, EditKeepsTheDialogOpenUntilCancelled) {
  WhenShown([](QDialog& d) {
    Click(d, "bt_Action_3");
    EXPECT_FALSE(Find(d, "bt_OK_0")->isVisible());
    QTest::keyClick(Find(d, "tb_Eingabe_3"), Qt::Key_Escape);
    d.close();
    EXPECT_TRUE(d.isVisible());
    Click(d, "bt_CANCEL_1");
    QTest::keyClicks(Find(d, "tb_Eingabe_5"), "9");
    Click(d, "bt_CANCEL_0");
    EXPECT_FALSE(d.isVisible());
  });
  EXPECT_FALSE(Show());
  EXPECT_EQ(std::tuple(UserPlaces("D").size(), messages_.size()), std::tuple(0U, 0U));
}

TEST_F(Dialogs, NewPlaceTypedWithReturnAndArrowKeysIsReturned) {
  WhenShown([](QDialog& d) {
    Click(d, "bt_OK_1");
    Click(d, "bt_OK_1");
    EXPECT_EQ(Find<QPushButton>(d, "bt_OK_1")->text(), "&Fertig");
    QTest::keyClicks(Find(d, "tb_Eingabe_3"), "Garching");
    auto* longitude = Find<QLineEdit>(d, "tb_Eingabe_5");
    longitude->selectAll();
    QTest::keyClicks(longitude, "11.65");
    QTest::keyClick(longitude, Qt::Key_Return);
    EXPECT_EQ(longitude->text(), "011E39' 00\"");
    QTest::keyClick(longitude, Qt::Key_Up);      // one arc minute further east
    QTest::keyClick(longitude, Qt::Key_PageUp);  // and ten more
    EXPECT_EQ(longitude->text(), "011E50' 00\"");
    Click(d, "bt_OK_1");
  });
  EXPECT_TRUE(Show(true));
  EXPECT_THAT(UserPlaces("D"), ElementsAre("Garching"));
  EXPECT_EQ(std::tuple(city_, timetable_, index_ < 0), std::tuple("Garching", 1, true));
  EXPECT_NEAR(longitude_, 11.0 + 50.0 / 60, 1e-4);
}

TEST_F(Dialogs, TimetableChooserSetsThePlacesTimetable) {
  WhenShown([](QDialog& d) {
    WhenShown([](QDialog& chooser) {
      EXPECT_EQ(chooser.objectName(), "DlgPlaceTimetable");
      auto* timetables = Find<QListWidget>(chooser, "li_TT_Nr");
      EXPECT_EQ(timetables->currentRow(), 0);
      timetables->setCurrentRow(1);
      auto* entries = Find<QListWidget>(chooser, "li_Zeittabelle");
      EXPECT_EQ(entries->count(), 2);
      entries->setCurrentRow(1);
      EXPECT_EQ(Find<QLabel>(chooser, "lb_Zeittabelle")->text(),
                "Ortszeit: Middle European Time  (MET)");
      QTest::keyClick(timetables, Qt::Key_Return);
    });
    Click(d, "bt_Action_5");
    EXPECT_EQ(TextOf(d, "tb_Eingabe_7"), "2");
    Click(d, "bt_OK_1");
    Click(d, "bt_OK_0");
  });
  EXPECT_TRUE(Show());
  EXPECT_EQ(timetable_, 2);
  EXPECT_THAT(UserPlaces("D"), ElementsAre("München"));
}

TEST_F(Dialogs, WindowCloseWithPendingChangesAsksAndMayStay) {
  answer_ = MsgAnswer::kCancel;
  WhenShown([this](QDialog& d) {
    auto* name = Find<QLineEdit>(d, "tb_Eingabe_3");
    name->selectAll();
    QTest::keyClicks(name, "Neuhausen");
    d.close();
    EXPECT_TRUE(d.isVisible());
    answer_ = MsgAnswer::kNo;
    d.close();
    EXPECT_FALSE(d.isVisible());
  });
  EXPECT_TRUE(Show());  // closed by the window, not cancelled
  EXPECT_EQ(std::tuple(messages_.size(), UserPlaces("D").size(), city_),
            std::tuple(2U, 0U, "München"));
}

TEST_F(Dialogs, OwnedDialogsHelpLineFollowsTheFocusCtrlShiftReturnClosesWithOk) {
  CurrentAtlas().Language().SetLanguage(kLanguageEnglish);
  QWidget owner;
  owner.show();
  WhenShown([&owner](QDialog& d) {
    EXPECT_EQ(d.parentWidget(), &owner);
    Find(d, "tb_Eingabe_14")->setFocus();
    EXPECT_EQ(Find<QLabel>(d, "lb_InfoLine")->text(),
              "This is the shortcut of the actual country. (Can not be changed).");
    QTest::keyClick(Find(d, "tb_Eingabe_14"), Qt::Key_Return,
                    Qt::ControlModifier | Qt::ShiftModifier);
  });
  EXPECT_TRUE(places_.ShowPlacemanager(&city_, &country_, nullptr, nullptr, nullptr, nullptr, false,
                                       kModal, owner.winId()));
}

// The zone list of a new place: the map's zone shown and selected, another
// one chosen with the keyboard reaches the user file. Pictures of the step
// and of the place written go beside the others.
TEST_F(Dialogs, NewPlacesZoneIsChosenFromTheList) {
  WriteZoneMap();
  city_ = "Augsburg";
  const std::filesystem::path folder = TARV_SCREENSHOT_DIR;
  std::filesystem::create_directories(folder);
  WhenShown([&folder](QDialog& d) {
    Click(d, "bt_Action_1");
    Click(d, "bt_OK_1");
    Click(d, "bt_OK_1");
    auto* caption = Find<QLabel>(d, "lb_Zone");
    auto* zones = Find<QComboBox>(d, "cb_Zone");
    const auto shown = [&] {
      return std::tuple(caption->isVisible(), caption->text().toStdString(),
                        zones->currentText().toStdString(), zones->count());
    };
    EXPECT_EQ(shown(), std::tuple(true, "Zone: Test/East", "Test/East", 2));
    QTest::keyClicks(Find(d, "tb_Eingabe_3"), "Westort");
    auto* longitude = Find<QLineEdit>(d, "tb_Eingabe_5");
    longitude->selectAll();
    QTest::keyClicks(longitude, "7.1");
    QTest::keyClick(longitude, Qt::Key_Return);
    EXPECT_EQ(shown(), std::tuple(true, "Zone: Test/West", "Test/West", 2));
    zones->setFocus();
    QTest::keyClick(zones, Qt::Key_Up);
    EXPECT_EQ(shown(), std::tuple(true, "Zone: Test/West", "Test/East", 2));
    QApplication::processEvents();  // the layout, as the user would see it
    EXPECT_TRUE(d.grab().save(QString::fromStdString((folder / "placemanager-zone.png").string())));
    Click(d, "bt_OK_1");
    EXPECT_FALSE(caption->isVisible());
    EXPECT_EQ(Find<QLabel>(d, "lb_Zeittabelle_1")->text().toStdString(),
              "Eigene Zonengeschichte Test/East in 1850-1893 (weicht von Zeittabelle 2 ab)");
    EXPECT_TRUE(
        d.grab().save(QString::fromStdString((folder / "placemanager-zone-place.png").string())));
    Click(d, "bt_OK_0");
  });
  EXPECT_TRUE(Show());
  EXPECT_EQ(folder_.Read("USER/D.TZN"), "Westort\tTest/East\r\n");
}

// Pictures of both dialogs in both languages, for anyone to look at.
TEST_F(Dialogs, PicturesInBothLanguages) {
  namespace fs = std::filesystem;
  const fs::path folder = TARV_SCREENSHOT_DIR;
  fs::create_directories(folder);
  if (fs::exists(fs::path(TARV_DEFAULT_ATLAS) / "Country.dat")) {
    ResetDefaultAtlas();
    CurrentAtlas().places_path = TARV_DEFAULT_ATLAS;
  }
  for (const auto& [language, suffix] :
       {std::pair{kLanguageGerman, "de"}, std::pair{kLanguageEnglish, "en"}}) {
    CurrentAtlas().Language().SetLanguage(language);
    const auto manager = folder / (std::string("placemanager-") + suffix + ".png");
    const auto chooser = folder / (std::string("timetable-") + suffix + ".png");
    EXPECT_TRUE(SavePlaceManagerPicture("München", "D", manager.string()));
    EXPECT_TRUE(SaveTimetableChooserPicture("D", 1, chooser.string()));
    EXPECT_GT(fs::file_size(manager), 10000U);
    EXPECT_GT(fs::file_size(chooser), 3000U);
  }
  EXPECT_FALSE(SaveTimetableChooserPicture("D", 1, (folder / "missing" / "x.png").string()));
}

}  // namespace
}  // namespace tarv::ui

// The offscreen platform's note on every dialog shown is noise here.
void DropPlatformNotes(QtMsgType type, const QMessageLogContext& /*context*/,
                       const QString& message) {
  if (type == QtWarningMsg && message.contains("propagateSizeHints")) return;
  std::fputs(qPrintable(message + '\n'), stderr);
}

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  // The build lists the tests; an application would only add Qt's notes on
  // the environment to the build's output.
  if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  qInstallMessageHandler(DropPlatformNotes);
  QApplication app(argc, argv);
  return RUN_ALL_TESTS();
}
