#include "atlas/tzif.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tarvplaces/atlas_error.h"

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

TEST(Tzif, ReadsTypesTransitionsAndFooter) {
  const auto zone = ParseTzif(MakeTzif({-2422054408, 100, 200}, {1, 2, 1}, kTypes, kChars), "x");
  EXPECT_EQ(zone.initial.abbreviation, "LMT");
  EXPECT_EQ(zone.initial.utc_offset, 3208);
  ASSERT_EQ(zone.transitions.size(), 3U);
  EXPECT_EQ(zone.transitions[1].type.abbreviation, "CEST");
  EXPECT_TRUE(zone.transitions[1].type.is_dst);
  EXPECT_EQ(zone.footer, "CET-1CEST,M3.5.0,M10.5.0/3");
  EXPECT_EQ(TypeAt(zone, -3000000000).abbreviation, "LMT");
  EXPECT_EQ(TypeAt(zone, 100).abbreviation, "CEST");  // a transition takes effect at its second
  EXPECT_EQ(TypeAt(zone, 199).abbreviation, "CEST");
  EXPECT_EQ(TypeAt(zone, 200).abbreviation, "CET");
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
  EXPECT_NE(ErrorOf("TZif2").find("header is truncated"), std::string::npos);
  EXPECT_NE(ErrorOf("XXif" + good.substr(4)).find("bad magic"), std::string::npos);
  EXPECT_NE(ErrorOf(good.substr(0, good.size() - 40)).find("shorter than its header"),
            std::string::npos);
  EXPECT_NE(ErrorOf(MakeTzif({100}, {7}, kTypes, kChars)).find("type that does not exist"),
            std::string::npos);
  EXPECT_NE(ErrorOf(MakeTzif({100}, {0}, {{0, false, 40}}, kChars)).find("abbreviation index"),
            std::string::npos);
  EXPECT_NE(
      ErrorOf(MakeTzif({100}, {0}, {{0, false, 0}}, std::string("LMT", 3))).find("not terminated"),
      std::string::npos);
  EXPECT_NE(ErrorOf(MakeTzif({200, 100}, {1, 2}, kTypes, kChars)).find("out of order"),
            std::string::npos);
  std::string huge = good;
  huge[44 + 1 + 6 + 1 + 20 + 12] = '\x7F';  // the 64-bit block's transition count
  EXPECT_NE(ErrorOf(huge).find("counts are out of range"), std::string::npos);
}

TEST(Tzif, ReadsTheMachinesBerlin) {
  const std::string path = "/usr/share/zoneinfo/Europe/Berlin";
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "tzdata is not installed";
  const auto zone = ReadTzif(path);
  EXPECT_EQ(zone.initial.abbreviation, "LMT");
  EXPECT_EQ(TypeAt(zone, 331257600).abbreviation, "CEST");  // 1980-07-01
  EXPECT_EQ(TypeAt(zone, 331257600).utc_offset, 7200);
  EXPECT_EQ(TypeAt(zone, -772502400).utc_offset, 10800);   // 1945-07-10: double summer time
  EXPECT_EQ(TypeAt(zone, 946684800).abbreviation, "CET");  // 2000-01-01
}

}  // namespace
}  // namespace tarv::atlas
