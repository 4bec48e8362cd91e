#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "support/temp_folder.h"
#include "tarvplaces/placemanager.h"
#include "tarvplaces/places.h"

namespace tarv {
namespace {

struct Place {
  std::string city, country;
  float longitude = 0, latitude = 0;
  std::int16_t timetable = 0, index = 0;
  bool new_mode = false;
};

// What the fake dialogs saw when shown; each hands back Wien unless told
// to cancel.
struct Script {
  std::vector<std::string> calls;
  Place seen;
  bool cancel = false;
  int made = 0;
};

class FakeDialog final : public PlaceManagerDialog {
 public:
  explicit FakeDialog(Script& script) : script_(script) { ++script.made; }
  bool Canceled() const override { return canceled_; }
  std::string City() const override { return p_.city; }
  void City(const std::string& v) override { p_.city = v; }
  std::string CountryShort() const override { return p_.country; }
  void CountryShort(const std::string& v) override { p_.country = v; }
  float Longitude() const override { return p_.longitude; }
  void Longitude(float v) override { p_.longitude = v; }
  float Latitude() const override { return p_.latitude; }
  void Latitude(float v) override { p_.latitude = v; }
  std::int16_t Timetable() const override { return p_.timetable; }
  void Timetable(std::int16_t v) override { p_.timetable = v; }
  std::int16_t Index() const override { return p_.index; }
  void Index(std::int16_t v) override { p_.index = v; }
  bool NewMode() const override { return p_.new_mode; }
  void NewMode(bool v) override { p_.new_mode = v; }
  void SetOwner(OwnerWindow owner) override {
    script_.calls.push_back("SetOwner " + std::to_string(owner));
  }
  void Show(std::int32_t modal) override {
    script_.calls.push_back("Show " + std::to_string(modal));
    script_.seen = p_;
    canceled_ = script_.cancel;
    p_ = {"Wien", "A", 16.37F, 48.21F, 2, -1, p_.new_mode};
  }
  void FocusOwner(OwnerWindow owner) override {
    script_.calls.push_back("FocusOwner " + std::to_string(owner));
  }

 private:
  Script& script_;
  bool canceled_ = false;
  Place p_;
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
  auto Arguments() {
    return std::tuple(city_, country_, longitude_, latitude_, timetable_, index_);
  }
  bool Show(bool new_mode = false) {
    return places_.ShowPlacemanager(&city_, &country_, &longitude_, &latitude_, &timetable_,
                                    &index_, new_mode);
  }

  Script script_;
  classPlaces places_;
  std::string city_ = "München.";
  std::string country_ = " D ";
  float longitude_ = 11.5F, latitude_ = 48.1F;
  std::int16_t timetable_ = 1, index_ = 7;
};

TEST_F(ShowPlacemanagerTest, TrailingFullStopIsDroppedAndNamesTrimmed) {
  script_.cancel = true;
  for (const auto& [typed, seen] :
       {std::pair{"  St. Gallen.", "St. Gallen"}, std::pair{" Bern ", "Bern"}}) {
    std::string city = typed;
    places_.ShowPlacemanager(&city, &country_);
    EXPECT_EQ(std::tuple(script_.seen.city, script_.seen.country), std::tuple(seen, "D"));
  }
}

// Every call gets a fresh dialog; only an accepted one writes the place back.
TEST_F(ShowPlacemanagerTest, OnlyAnAcceptedDialogWritesThePlaceBack) {
  script_.cancel = true;
  EXPECT_FALSE(Show());
  EXPECT_EQ(Arguments(), std::tuple("München.", " D ", 11.5F, 48.1F, 1, 7));
  const Place& seen = script_.seen;
  EXPECT_EQ(std::tuple(seen.longitude, seen.latitude, seen.timetable, seen.index, seen.new_mode),
            std::tuple(11.5F, 48.1F, 1, 7, false));
  script_.cancel = false;
  EXPECT_TRUE(Show(true));
  EXPECT_TRUE(script_.seen.new_mode);
  EXPECT_EQ(Arguments(), std::tuple("Wien", "A", 16.37F, 48.21F, 2, -1));
  EXPECT_EQ(script_.made, 2);
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

TEST_F(ShowPlacemanagerTest, WithoutDialogsTheHostIsToldAndGetsFalse) {
  SetPlaceManagerFactory(nullptr);
  places_.Language(kLanguageEnglish);
  EXPECT_FALSE(places_.ShowPlacemanager(&city_, &country_));
  ASSERT_EQ(messages_.size(), 1U);
  EXPECT_EQ(std::tuple(messages_[0].text, city_),
            std::tuple("The place manager is not available in this program.", "München."));
  places_.Language(kLanguageGerman);
  EXPECT_FALSE(places_.ShowPlacemanager());
  EXPECT_EQ(messages_.back().text, "Die Orteverwaltung ist in diesem Programm nicht verfügbar.");
}

}  // namespace
}  // namespace tarv
