#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/temp_folder.h"
#include "tarvplaces/placemanager.h"
#include "tarvplaces/places.h"

namespace tarv {
namespace {

// What a fake dialog saw and what it does when shown.
struct Script {
  std::vector<std::string> calls;
  std::string city_seen, country_seen;
  bool new_mode_seen = false;
  bool cancel = false;
  std::string city_after = "Wien";
};

class FakeDialog final : public PlaceManagerDialog {
 public:
  explicit FakeDialog(Script& script) : script_(script) {}
  bool Canceled() const override { return canceled_; }
  std::string City() const override { return city_; }
  void City(const std::string& v) override { city_ = v; }
  std::string CountryShort() const override { return country_; }
  void CountryShort(const std::string& v) override { country_ = v; }
  float Longitude() const override { return longitude_; }
  void Longitude(float v) override { longitude_ = v; }
  float Latitude() const override { return latitude_; }
  void Latitude(float v) override { latitude_ = v; }
  std::int16_t Timetable() const override { return timetable_; }
  void Timetable(std::int16_t v) override { timetable_ = v; }
  std::int16_t Index() const override { return index_; }
  void Index(std::int16_t v) override { index_ = v; }
  bool NewMode() const override { return new_mode_; }
  void NewMode(bool v) override { new_mode_ = v; }
  void SetOwner(OwnerWindow owner) override {
    script_.calls.push_back("SetOwner " + std::to_string(owner));
  }
  void Show(std::int32_t modal) override {
    script_.calls.push_back("Show " + std::to_string(modal));
    script_.city_seen = city_;
    script_.country_seen = country_;
    script_.new_mode_seen = new_mode_;
    canceled_ = script_.cancel;
    city_ = script_.city_after;
    country_ = "A";
    longitude_ = 16.37F;
    latitude_ = 48.21F;
    timetable_ = 2;
    index_ = -1;
  }
  void FocusOwner(OwnerWindow owner) override {
    script_.calls.push_back("FocusOwner " + std::to_string(owner));
  }

 private:
  Script& script_;
  bool canceled_ = false;
  std::string city_, country_;
  float longitude_ = 0, latitude_ = 0;
  std::int16_t timetable_ = 0, index_ = 0;
  bool new_mode_ = false;
};

class ShowPlacemanagerTest : public testing::AtlasTest {
 protected:
  void SetUp() override {
    AtlasTest::SetUp();
    SetPlaceManagerFactory([this] { return std::make_unique<FakeDialog>(script_); });
  }
  void TearDown() override {
    SetPlaceManagerFactory(nullptr);
    AtlasTest::TearDown();
  }
  Script script_;
  classPlaces places_;
  std::string city_ = "München";
  std::string country_ = " D ";
  float longitude_ = 11.5F, latitude_ = 48.1F;
  std::int16_t timetable_ = 1, index_ = 7;
};

TEST_F(ShowPlacemanagerTest, TrailingFullStopIsDroppedAndNamesTrimmed) {
  std::string city = "  St. Gallen.";
  places_.ShowPlacemanager(&city, &country_);
  EXPECT_EQ(script_.city_seen, "St. Gallen");
  EXPECT_EQ(script_.country_seen, "D");

  std::string plain = " Bern ";
  places_.ShowPlacemanager(&plain);
  EXPECT_EQ(script_.city_seen, "Bern");  // only blanks go
}

TEST_F(ShowPlacemanagerTest, AcceptedDialogWritesThePlaceBack) {
  EXPECT_TRUE(places_.ShowPlacemanager(&city_, &country_, &longitude_, &latitude_, &timetable_,
                                       &index_, true));
  EXPECT_TRUE(script_.new_mode_seen);
  EXPECT_EQ(city_, "Wien");
  EXPECT_EQ(country_, "A");
  EXPECT_FLOAT_EQ(longitude_, 16.37F);
  EXPECT_FLOAT_EQ(latitude_, 48.21F);
  EXPECT_EQ(timetable_, 2);
  EXPECT_EQ(index_, -1);
}

TEST_F(ShowPlacemanagerTest, CancelledDialogLeavesEveryArgumentUnchanged) {
  script_.cancel = true;
  std::string city = "München.";
  EXPECT_FALSE(
      places_.ShowPlacemanager(&city, &country_, &longitude_, &latitude_, &timetable_, &index_));
  EXPECT_EQ(city, "München.");
  EXPECT_EQ(country_, " D ");
  EXPECT_FLOAT_EQ(longitude_, 11.5F);
  EXPECT_FLOAT_EQ(latitude_, 48.1F);
  EXPECT_EQ(timetable_, 1);
  EXPECT_EQ(index_, 7);
}

TEST_F(ShowPlacemanagerTest, OwnerIsSetBeforeShowAndFocusedAfter) {
  places_.ShowPlacemanager(&city_, nullptr, nullptr, nullptr, nullptr, nullptr, false, kModal,
                           4711);
  EXPECT_EQ(script_.calls,
            (std::vector<std::string>{"SetOwner 4711", "Show 1", "FocusOwner 4711"}));
  script_.calls.clear();
  places_.ShowPlacemanager(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, false, kModeless);
  EXPECT_EQ(script_.calls, std::vector<std::string>{"Show 0"});
}

TEST_F(ShowPlacemanagerTest, EveryCallGetsAFreshDialog) {
  int made = 0;
  SetPlaceManagerFactory([&] {
    ++made;
    return std::make_unique<FakeDialog>(script_);
  });
  script_.cancel = true;
  EXPECT_FALSE(places_.ShowPlacemanager(&city_));
  script_.cancel = false;
  EXPECT_TRUE(places_.ShowPlacemanager(&city_));
  EXPECT_EQ(made, 2);
}

TEST_F(ShowPlacemanagerTest, WithoutDialogsTheHostIsToldAndGetsFalse) {
  SetPlaceManagerFactory(nullptr);
  places_.Language(kLanguageEnglish);
  EXPECT_FALSE(places_.ShowPlacemanager(&city_, &country_));
  ASSERT_EQ(messages_.size(), 1U);
  EXPECT_EQ(messages_[0].text, "The place manager is not available in this program.");
  EXPECT_EQ(city_, "München");

  places_.Language(kLanguageGerman);
  EXPECT_FALSE(places_.ShowPlacemanager());
  EXPECT_EQ(messages_.back().text, "Die Orteverwaltung ist in diesem Programm nicht verfügbar.");
}

}  // namespace
}  // namespace tarv
