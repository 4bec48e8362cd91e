#include "atlas/dst_rules.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <tuple>

#include "support/atlas_fixture.h"
#include "support/fault_text.h"

namespace tarv {
namespace {

using testing::At;
using ::testing::HasSubstr;

std::string ParseError(const std::string& text) {
  return FaultText(DstRules::Parse(text, "DstRules.dat"));
}

// Last, second and first Sunday; a 31st; the last Saturday of a leap February.
TEST(DayRule, WeekdayRulesLandOnTheirDays) {
  EXPECT_EQ(std::tuple(DayRule{3, 5, 0, 120}.SerialIn(2005), DayRule{3, 2, 0, 120}.SerialIn(2007),
                       DayRule{4, 1, 0, 120}.SerialIn(2006), DayRule{10, 5, 0, 180}.SerialIn(1999),
                       DayRule{2, 5, 6, 0}.SerialIn(2024)),
            std::tuple(At(2005, 3, 27, 2), At(2007, 3, 11, 2), At(2006, 4, 2, 2),
                       At(1999, 10, 31, 3), At(2024, 2, 24)));
}

// Years outside the ranges take the nearest rule; dates of another year
// become that year's weekday rules.
TEST(DstRules, FormatAndParseRoundTripAndTheNearestYearsRule) {
  const std::vector<DstRuleRange> ranges = {
      {58, 1, 2000, 2037, DstRule::Rule({3, 5, 0, 120}, {10, 5, 0, 180})},
      {212, 1, 2016, 2037, DstRule::All()},
      {212, 1, 2000, 2000, DstRule::Dates(At(2000, 3, 26, 2), At(2000, 10, 29, 3))},
      {16, 3, 2020, 2037, DstRule::None()},
  };
  const DstRules rules = *DstRules::Parse(DstRules::Format(ranges), "DstRules.dat");
  EXPECT_EQ(std::tuple(rules.RuleFor(58, 1, 2010), rules.RuleFor(212, 1, 2020),
                       rules.RuleFor(212, 1, 2000)),
            std::tuple(ranges[0].rule, ranges[1].rule, ranges[2].rule));
  EXPECT_EQ(rules.RuleFor(16, 3, 2021)->kind, DstRule::Kind::kNone);
  EXPECT_FALSE(rules.RuleFor(16, 1, 2021));
  EXPECT_EQ(rules.RuleFor(212, 1, 2100)->kind, DstRule::Kind::kAll);
  const auto early = rules.RuleFor(212, 1, 1990);
  EXPECT_EQ(std::tuple(early->kind, early->start, early->end),
            std::tuple(DstRule::Kind::kRule, DayRule{3, 5, 0, 120}, DayRule{10, 5, 0, 180}));
}

TEST(DstRules, ChangesAfter1999RoundTrip) {
  const std::vector<ZoneChange> changes = {{212, 1, At(2007, 12, 9, 3), 17},
                                           {212, 1, At(2016, 5, 1, 2, 30), 16},
                                           {58, 2, At(2011, 12, 29, 23, 59, 59), 0}};
  const DstRules rules = *DstRules::Parse(
      DstRules::Format({{212, 1, 2000, 2037, DstRule::None()}}, changes, {{212, 3, 212, 1}}),
      "DstRules.dat");
  const auto* venezuela = rules.ChangesFor(212, 1);
  ASSERT_NE(venezuela, nullptr);
  ASSERT_EQ(venezuela->size(), 2U);
  EXPECT_EQ((*venezuela)[1], std::make_pair(At(2016, 5, 1, 2, 30), std::int16_t{16}));
  EXPECT_NEAR(rules.ChangesFor(58, 2)->front().first, At(2011, 12, 29, 23, 59, 59), 1e-9);
  EXPECT_EQ(rules.ChangesFor(212, 2), nullptr);
  EXPECT_EQ(rules.ChangesFor(212, 3), venezuela);  // shared, not copied
  EXPECT_EQ(rules.RuleFor(212, 1, 2040)->kind, DstRule::Kind::kNone);
}

TEST(DstRules, MalformedFilesAreRefusedWithTheirLine) {
  const std::string v1 = "TarvPlaces DST rules\t1\n";
  const std::string v2 = "TarvPlaces DST rules\t2\n";
  const std::string change = "1\t1\tchange\t2007-12-09T03:00:00\t";
  const std::pair<std::string, std::string> cases[] = {
      {"hello\n", "line 1: not a summer-time rules file"},
      {"TarvPlaces DST rules\t3\n", "version 3"},
      {v1 + "58\t1\t2000\n", "line 2"},
      {v1 + "58\t1\t2010\t2000\tnone\n", "backwards"},
      {v1 + "58\t1\t2000\t2001\trule\tM13.5.0/02:00\tM10.5.0/03:00\n", "malformed"},
      {v1 + "58\t1\t2000\t2001\tdates\t2000-03-26T02:00\t2000-10-29T03:00\n", "malformed"},
      {v1 + change + "5\n", "malformed change"},  // version 1 knows no changes
      {v2 + change + "287\n", "not in the zone table"},
      {v2 + change + "-1\n", "line 2"},
      {v2 + "1\t1\tchange\t2007-12-09T03:00\t5\n", "malformed change"},
      {v2 + "1\t1\tchange\t2008-01-01T00:00:00\t5\n" + change + "6\n",
       "line 3: change out of time order"},
      {v2 + "1\t2\tsame\t1\t1\n", "line 2: same as country 1, timetable 1, which has no changes"},
      {v2 + "1\t2\tsame\t1\n", "malformed same line"}};
  for (const auto& [text, why] : cases)
    EXPECT_THAT(ParseError(text), HasSubstr(why)) << text;
  EXPECT_EQ(ParseError(v1 + "# only a comment\r\n"), "");
  EXPECT_EQ(ParseError(v2 + change + "286\n"), "");
}

std::vector<std::pair<double, bool>> Summers(
    const std::vector<std::pair<double, double>>& periods) {
  std::vector<std::pair<double, bool>> entries = {{At(1893, 4, 1), false}};
  for (const auto& [start, end] : periods) {
    entries.emplace_back(start, true);
    if (end != 0) entries.emplace_back(end, false);
  }
  return entries;
}

// Dates the calendar cannot hold (damaged timetables) are left out.
TEST(InferDstRule, EuropeanLastYearsGiveWeekdayRules) {
  for (const double bad : {0.0, 1.7e13, -1e300, std::numeric_limits<double>::infinity(),
                           std::numeric_limits<double>::quiet_NaN()}) {
    auto entries = Summers(
        {{At(1998, 3, 29, 2), At(1998, 10, 25, 3)}, {At(1999, 3, 28, 2), At(1999, 10, 31, 3)}});
    if (bad != 0.0) entries.emplace_back(bad, true);
    DstRule rule;
    ASSERT_NO_THROW(rule = InferDstRule(entries)) << bad;
    EXPECT_EQ(std::tuple(rule.kind, rule.start, rule.end),
              std::tuple(DstRule::Kind::kRule, DayRule{3, 5, 0, 120}, DayRule{10, 5, 0, 180}))
        << bad;
  }
}

TEST(InferDstRule, SouthernHemisphereStartsLateAndEndsEarly) {
  const auto rule =
      InferDstRule(Summers({{At(1998, 10, 25, 2), At(1999, 3, 28, 3)}, {At(1999, 10, 31, 2), 0}}));
  EXPECT_EQ(std::tuple(rule.kind, rule.start.month, rule.end.month),
            std::tuple(DstRule::Kind::kRule, 10, 3));
  const auto [start, end] = rule.PeriodIn(2005);
  EXPECT_GT(start, end);
}

TEST(InferDstRule, NoSummerTimeInTheLastYearsIsNoneOneThatNeverEndedAll) {
  using enum DstRule::Kind;
  EXPECT_EQ(std::tuple(InferDstRule(Summers({{At(1980, 4, 6, 2), At(1980, 9, 28, 3)}})).kind,
                       InferDstRule({}).kind, InferDstRule(Summers({})).kind,
                       InferDstRule(Summers({{At(1996, 3, 31, 2), 0}})).kind),
            std::tuple(kNone, kNone, kNone, kAll));
}

}  // namespace
}  // namespace tarv
