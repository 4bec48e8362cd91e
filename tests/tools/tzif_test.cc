#include "atlas/tzif.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tarvplaces/atlas_error.h"
#include "tools/machine_tzdata.h"

namespace tarv::atlas {
namespace {

void Put32(std::string& out, std::uint32_t v) {
  for (int shift = 24; shift >= 0; shift -= 8)
    out.push_back(static_cast<char>((v >> shift) & 0xFF));
}
void Put64(std::string& out, std::int64_t v) {
  Put32(out, static_cast<std::uint32_t>(static_cast<std::uint64_t>(v) >> 32));
  Put32(out, static_cast<std::uint32_t>(v));
}

struct RawType {
  std::int32_t offset;
  bool dst;
  std::uint8_t abbr;
};

// A version 2 file: an empty version 1 block, then the 64-bit data.
std::string MakeTzif(const std::vector<std::int64_t>& times, const std::vector<std::uint8_t>& index,
                     const std::vector<RawType>& types, const std::string& chars,
                     const std::string& footer = "\nCET-1CEST,M3.5.0,M10.5.0/3\n") {
  auto header = [](std::string& out, std::uint32_t timecnt, std::uint32_t typecnt,
                   std::uint32_t charcnt) {
    out += "TZif2";
    out.append(15, '\0');
    for (std::uint32_t v : {0U, 0U, 0U, timecnt, typecnt, charcnt})
      Put32(out, v);
  };
  std::string out;
  header(out, 0, 1, 1);
  out.append(6, '\0');  // one type
  out.push_back('\0');  // one char
  header(out, static_cast<std::uint32_t>(times.size()), static_cast<std::uint32_t>(types.size()),
         static_cast<std::uint32_t>(chars.size()));
  for (auto t : times)
    Put64(out, t);
  for (auto i : index)
    out.push_back(static_cast<char>(i));
  for (const auto& t : types) {
    Put32(out, static_cast<std::uint32_t>(t.offset));
    out.push_back(t.dst ? 1 : 0);
    out.push_back(static_cast<char>(t.abbr));
  }
  out += chars;
  out += footer;
  return out;
}

const std::string kChars("LMT\0CET\0CEST\0", 13);
const std::vector<RawType> kTypes = {{3208, false, 0}, {3600, false, 4}, {7200, true, 8}};

// Real files are held to glibc below; this one to its own bytes.
TEST(Tzif, ReadsTypesTransitionsAndFooter) {
  const auto zone = ParseTzif(MakeTzif({-2422054408, 100, 200}, {1, 2, 1}, kTypes, kChars), "x");
  EXPECT_EQ(zone.initial.abbreviation, "LMT");
  EXPECT_EQ(zone.initial.utc_offset, 3208);
  ASSERT_EQ(zone.transitions.size(), 3U);
  EXPECT_EQ(zone.transitions[1].at, 100);
  EXPECT_EQ(zone.transitions[1].type.abbreviation, "CEST");
  EXPECT_TRUE(zone.transitions[1].type.is_dst);
  EXPECT_EQ(zone.footer, "CET-1CEST,M3.5.0,M10.5.0/3");
}

std::string ErrorOf(const std::string& bytes) {
  try {
    ParseTzif(bytes, "Europe/Hostile");
  } catch (const AtlasError& e) {
    return e.what();
  }
  return "";
}

TEST(Tzif, RefusesHostileFilesWithAClearReason) {
  const std::string good = MakeTzif({100}, {1}, kTypes, kChars);
  EXPECT_EQ(ErrorOf(good), "");
  std::string huge = good;
  huge[44 + 1 + 6 + 1 + 20 + 12] = '\x7F';  // the 64-bit block's transition count
  const std::pair<std::string, const char*> kCases[] = {
      {"TZif2", "header is truncated"},
      {"XXif" + good.substr(4), "bad magic"},
      {good.substr(0, good.size() - 40), "shorter than its header"},
      {MakeTzif({100}, {7}, kTypes, kChars), "type that does not exist"},
      {MakeTzif({100}, {0}, {{0, false, 40}}, kChars), "abbreviation index"},
      {MakeTzif({100}, {0}, {{0, false, 0}}, std::string("LMT", 3)), "not terminated"},
      {MakeTzif({200, 100}, {1, 2}, kTypes, kChars), "out of order"},
      {huge, "counts are out of range"}};
  for (const auto& [bytes, reason] : kCases)
    EXPECT_NE(ErrorOf(bytes).find(reason), std::string::npos) << reason;
}

#ifndef _WIN32
// Every zone the machine's tzdata holds reads as glibc reads it: the type at
// each transition and the second before it.
TEST(Tzif, ReadsEveryZoneOfTheMachineAsTheCLibraryDoes) {
  if (!std::filesystem::exists(testing::kZoneinfo + "/Europe/Berlin"))
    GTEST_SKIP() << "tzdata is not installed";
  testing::LibcZones libc;
  const auto zones = testing::MachineZones();
  for (const auto& [name, zone] : zones) {
    for (const auto& change : zone.transitions) {
      for (const std::int64_t at : {change.at - 1, change.at}) {
        const auto& type = TypeAt(zone, at);
        const auto truth = libc.AtUtc(name, at);
        ASSERT_EQ(type.utc_offset, truth.offset) << name << " at " << at;
        ASSERT_EQ(type.abbreviation, truth.abbreviation) << name << " at " << at;
        ASSERT_EQ(type.is_dst, truth.dst) << name << " at " << at;
      }
    }
  }
  EXPECT_GT(zones.size(), 300U);
}
#endif  // _WIN32

}  // namespace
}  // namespace tarv::atlas
