#include "atlas/place_record.h"

#include <gtest/gtest.h>

#include <string>

#include "support/temp_folder.h"
#include "text/lz.h"

namespace tarv {
namespace {

// Records read one by one through a handle: whole ones, then the end, also
// after a partial last record; a length other than a record's is refused.
TEST(ReadPlaceStructure, WholeRecordsThenTheEndAndOnlyTheRecordLength) {
  PlaceRecord berlin;
  berlin.SetName("Berlin");
  berlin.Timetable = 3;
  berlin.Longitude = 13.41F;
  berlin.Latitude = 52.52F;
  const std::string record = EncodePlaceRecord(berlin);
  ASSERT_EQ(record.size(), kPlaceRecordSize);
  testing::TempFolder dir;
  dir.Write("D.dao", CompressSzdd(record + record.substr(0, 20)));
  const std::int32_t handle = LZOpenFile(dir.str() + "\\D.dao");
  ASSERT_GE(handle, 0);
  PlaceRecord read;
  EXPECT_EQ(ReadPlaceStructure(handle, read, 37), LZERROR_BADVALUE);
  EXPECT_EQ(read.TrimmedName(), "");  // untouched
  EXPECT_EQ(ReadPlaceStructure(handle, read), 38);
  EXPECT_EQ(EncodePlaceRecord(read), record);
  read = PlaceRecord();
  EXPECT_EQ(ReadPlaceStructure(handle, read), 0);  // 20 bytes are no record
  EXPECT_EQ(read.TrimmedName(), "");
  EXPECT_EQ(ReadPlaceStructure(handle, read), 0);
  LZClose(handle);
  EXPECT_LT(ReadPlaceStructure(handle, read), 0);  // a closed handle
}

}  // namespace
}  // namespace tarv
