#include "interface/place_report.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

#include "support/atlas_fixture.h"
#include "support/german_numbers.h"
#include "util/julian.h"

namespace tarv {
namespace {

class PlaceReportTest : public testing::AtlasFixture {
 protected:
  void SetUp() override {
    AtlasFixture::SetUp();
    // Two places of one name on different timetables: 3 has no summer time.
    WriteCountry("D", {testing::Place("Neustadt", 10.0F, 50.0F, 3),
                       testing::Place("Neustadt", 11.57549F, 48.13743F, 1),
                       testing::Place("M\xFCnchen", 11.57549F, 48.13743F, 1)});
    WriteGermanTimetables();
  }
  classPlaces places_;
};

TEST_F(PlaceReportTest, PlaceWithTheZoneAtALocalDate) {
  ASSERT_EQ(places_.GetPlaceDataX("München", "D"), 1);
  const auto p = ReportFoundPlace(places_, 0, testing::JulianAt(1997, 7, 1, 12));
  ASSERT_TRUE(p);
  EXPECT_EQ(p->name, "München");
  EXPECT_EQ(p->country, "D");
  EXPECT_EQ(p->longitude, 11.57549);  // the seven digits the atlas holds, not the float's expansion
  EXPECT_EQ(p->latitude, 48.13743);
  EXPECT_EQ(p->timetable, 1);
  EXPECT_EQ(p->zone.abbreviation, "MET/S");
  EXPECT_EQ(p->zone.utc_offset, 2.0);
  EXPECT_FALSE(p->zone.is_lmt);
  EXPECT_FALSE(ReportFoundPlace(places_, 1, std::nullopt));
}

TEST_F(PlaceReportTest, LocalMeanTimeIsTheLongitudeInHours) {
  ASSERT_EQ(places_.GetPlaceDataX("München", "D"), 1);
  const auto p = ReportFoundPlace(places_, 0, testing::JulianAt(1850, 1, 1, 12));
  ASSERT_TRUE(p);
  EXPECT_TRUE(p->zone.is_lmt);
  EXPECT_EQ(p->zone.utc_offset, 0.771699);
}

// Regression: the kind of local time was asked by name, so every place of a
// name got the first one's timetable.
TEST_F(PlaceReportTest, SkippedHourComesFromEachPlacesOwnTimetable) {
  ASSERT_EQ(places_.GetPlaceDataX("Neustadt", "D"), 2);
  const double skipped = testing::JulianAt(1997, 3, 30, 2.5);
  for (std::int32_t i = 0; i < 2; ++i) {
    const auto p = ReportFoundPlace(places_, i, skipped);
    ASSERT_TRUE(p);
    EXPECT_EQ(p->local_time, p->timetable == 1 ? LocalTimeKind::kSkipped : LocalTimeKind::kNormal)
        << "timetable " << p->timetable;
  }
}

TEST_F(PlaceReportTest, NumbersReadAlikeUnderAGermanLocale) {
  std::optional<PlaceReport> found;
  std::optional<PlaceReport> nearest;
  {
    const testing::GermanNumbers german;
    if (german.name().empty()) GTEST_SKIP() << testing::kNoGermanLocale;
    ASSERT_EQ(places_.GetPlaceDataX("München", "D"), 1);
    found = ReportFoundPlace(places_, 0, std::nullopt);
    nearest = ReportNearestPlace(places_, "D", 11.6, 48.1, 0.0);
  }
  ASSERT_TRUE(found && nearest);
  EXPECT_EQ(found->longitude, 11.57549);
  EXPECT_EQ(nearest->latitude, 48.13743);
}

TEST_F(PlaceReportTest, NoNearestPlaceOutsideTheRange) {
  EXPECT_FALSE(ReportNearestPlace(places_, "D", 0.0, 0.0, 1.0));
}

}  // namespace
}  // namespace tarv
