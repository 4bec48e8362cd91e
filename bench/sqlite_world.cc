#include "sqlite_world.h"

#include <sqlite3.h>

#include <stdexcept>

#include "atlas/atlas_state.h"
#include "atlas/country_table.h"
#include "atlas/name_index.h"
#include "atlas/place_file.h"
#include "sqlite_statements.h"
#include "tarvplaces/places.h"
#include "text/codepage.h"
#include "text/lz.h"
#include "util/text.h"

namespace tarv::bench {
namespace {

void BindText(sqlite3_stmt* statement, int index, const std::string& text) {
  sqlite3_bind_text(statement, index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
}

}  // namespace

SqliteWorld::SqliteWorld(const std::string& folder) {
  if (sqlite3_open(":memory:", &db_) != SQLITE_OK) throw std::runtime_error("sqlite3_open");
  Check(db_,
        sqlite3_exec(db_,
                     "CREATE TABLE places(id INTEGER PRIMARY KEY, country TEXT, name TEXT,"
                     " longitude REAL, latitude REAL, population INTEGER);"
                     "CREATE TABLE names(key BLOB, place INTEGER); BEGIN;",
                     nullptr, nullptr, nullptr),
        "create");
  sqlite3_stmt* place = Prepare(db_, "INSERT INTO places VALUES (?1, ?2, ?3, ?4, ?5, ?6)");
  sqlite3_stmt* name = Prepare(db_, "INSERT INTO names VALUES (?1, ?2)");
  ResetDefaultAtlas();
  classPlaces places;
  places.PlacePath(folder);
  places.GetCountryID("");
  const auto& table = CurrentAtlas().countries;
  sqlite3_int64 id = 0;
  for (std::size_t i = 1; i + kNonCountryTail < table.size(); ++i) {
    const std::string code = Trim(table[i].CountryShort);
    std::int32_t error = 0;
    const std::string file = folder + "/" + code + ".dao";
    const auto image = ExpandedImage(file, error);
    const auto index_bytes = ExpandedImage(folder + "/" + code + ".NDX", error);
    if (!image || !index_bytes) continue;
    const auto index = ValueOrAtlasError(NameIndex::Read(index_bytes, code + ".NDX"));
    const sqlite3_int64 first = id + 1;
    for (std::int32_t r = 1; r <= index->RecordCount(); ++r) {
      const PlaceRecord record =
          DecodePlaceRecord(std::string_view(*image).substr((r - 1) * kPlaceRecordSize));
      sqlite3_bind_int64(place, 1, ++id);
      BindText(place, 2, code);
      BindText(place, 3, Utf8FromAnsi(record.TrimmedName()));
      sqlite3_bind_double(place, 4, record.Longitude);
      sqlite3_bind_double(place, 5, record.Latitude);
      sqlite3_bind_int64(place, 6, index->Population(r));
      Check(db_, sqlite3_step(place), "insert place");
      sqlite3_reset(place);
    }
    for (std::size_t e = 0; e < index->size(); ++e) {
      const std::string_view key = index->KeyAt(e);
      sqlite3_bind_blob(name, 1, key.data(), static_cast<int>(key.size()), SQLITE_TRANSIENT);
      sqlite3_bind_int64(name, 2, first + index->RecordAt(e) - 1);
      Check(db_, sqlite3_step(name), "insert name");
      sqlite3_reset(name);
      ++keys_;
    }
  }
  sqlite3_finalize(place);
  sqlite3_finalize(name);
  Check(db_,
        sqlite3_exec(db_, "COMMIT; CREATE INDEX names_key ON names(key); ANALYZE;", nullptr,
                     nullptr, nullptr),
        "index");
  ResetDefaultAtlas();
  ClearExpandedImages();
  const char* select =
      "SELECT p.name, p.country, p.longitude, p.latitude FROM places p WHERE p.id IN"
      " (SELECT place FROM names WHERE ";
  whole_ =
      Prepare(db_, (std::string(select) + "key = ?1) ORDER BY p.population DESC LIMIT 50").c_str());
  prefix_ = Prepare(
      db_, (std::string(select) + "key >= ?1 AND key < ?2) ORDER BY p.population DESC LIMIT 50")
               .c_str());
}

SqliteWorld::~SqliteWorld() {
  sqlite3_finalize(whole_);
  sqlite3_finalize(prefix_);
  sqlite3_close(db_);
}

std::size_t SqliteWorld::Find(const std::string& key, bool prefix, std::vector<Row>& rows) {
  sqlite3_stmt* statement = prefix ? prefix_ : whole_;
  sqlite3_bind_blob(statement, 1, key.data(), static_cast<int>(key.size()), SQLITE_TRANSIENT);
  if (prefix) {
    std::string end = key;
    end.back() = static_cast<char>(end.back() + 1);
    sqlite3_bind_blob(statement, 2, end.data(), static_cast<int>(end.size()), SQLITE_TRANSIENT);
  }
  rows.clear();
  while (sqlite3_step(statement) == SQLITE_ROW) {
    Row row;
    row.name = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
    row.country = reinterpret_cast<const char*>(sqlite3_column_text(statement, 1));
    row.longitude = sqlite3_column_double(statement, 2);
    row.latitude = sqlite3_column_double(statement, 3);
    rows.push_back(std::move(row));
  }
  sqlite3_reset(statement);
  return rows.size();
}

}  // namespace tarv::bench
