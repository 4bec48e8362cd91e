#include "sqlite_atlas.h"

#include <sqlite3.h>

#include <cstdio>
#include <stdexcept>

#include "text/codepage.h"
#include "sqlite_statements.h"
#include "util/text.h"

namespace tarv::bench {
namespace {

void Execute(sqlite3* db, const char* sql) {
  Check(db, sqlite3_exec(db, sql, nullptr, nullptr, nullptr), sql);
}

void BindText(sqlite3_stmt* statement, int index, const std::string& text) {
  sqlite3_bind_text(statement, index, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
}

// The key the index is built on: the name in capitals as the atlas folds its
// code page, held as UTF-8. A host using SQLite folds what the user typed the
// same way before it asks.
std::string FoldedKey(const std::string& ansi_name) {
  return Utf8FromAnsi(UCase(Trim(ansi_name)));
}

// Half the width of the first box the nearest-place search tries, in degrees.
// Tried from 0.01 to 0.2 on the default atlas: smaller boxes come back empty
// more often, larger ones make SQLite sort more places.
constexpr double kFirstHalfWidth = 0.05;
// No two valid coordinates lie this far apart.
constexpr double kNoDistance = 1000.0;

}  // namespace

SqliteAtlas::SqliteAtlas(const AtlasSample& sample, const std::string& path) {
  if (path != ":memory:") std::remove(path.c_str());
  if (sqlite3_open(path.c_str(), &db_) != SQLITE_OK)
    throw std::runtime_error("sqlite3_open " + path);
  Execute(db_,
          "CREATE TABLE places(id INTEGER PRIMARY KEY, country TEXT NOT NULL, name TEXT NOT NULL,"
          " folded TEXT NOT NULL, longitude REAL NOT NULL, latitude REAL NOT NULL,"
          " timetable INTEGER NOT NULL);"
          "CREATE VIRTUAL TABLE places_box USING rtree(id, min_lon, max_lon, min_lat, max_lat);"
          "BEGIN;");
  sqlite3_stmt* insert = Prepare(db_, "INSERT INTO places VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7)");
  sqlite3_stmt* box = Prepare(db_, "INSERT INTO places_box VALUES (?1, ?2, ?2, ?3, ?3)");
  sqlite3_int64 id = 0;
  for (const auto& country : sample.countries) {
    const std::string code = Utf8FromAnsi(country.code);
    for (const auto& place : country.places) {
      if (place.IsDeleted()) continue;
      const std::string name = Utf8FromAnsi(place.TrimmedName());
      const std::string folded = FoldedKey(place.TrimmedName());
      ++id;
      sqlite3_bind_int64(insert, 1, id);
      BindText(insert, 2, code);
      BindText(insert, 3, name);
      BindText(insert, 4, folded);
      sqlite3_bind_double(insert, 5, place.Longitude);
      sqlite3_bind_double(insert, 6, place.Latitude);
      sqlite3_bind_int(insert, 7, place.Timetable);
      Check(db_, sqlite3_step(insert), "insert");
      sqlite3_reset(insert);
      sqlite3_bind_int64(box, 1, id);
      sqlite3_bind_double(box, 2, place.Longitude);
      sqlite3_bind_double(box, 3, place.Latitude);
      Check(db_, sqlite3_step(box), "insert box");
      sqlite3_reset(box);
    }
  }
  sqlite3_finalize(insert);
  sqlite3_finalize(box);
  Execute(db_, "COMMIT; CREATE INDEX places_name ON places(country, folded); ANALYZE;");
  exact_ = Prepare(db_,
                   "SELECT name, longitude, latitude, timetable FROM places"
                   " WHERE country = ?1 AND folded = ?2 ORDER BY id");
  prefix_ = Prepare(db_,
                    "SELECT name, longitude, latitude, timetable FROM places"
                    " WHERE country = ?1 AND folded >= ?2 AND folded < ?3");
  // CROSS JOIN keeps the R*Tree as the outer loop: the planner would
  // otherwise scan the country's rows and probe the tree for each.
  nearest_ = Prepare(db_,
                     "SELECT p.name, p.longitude, p.latitude, p.timetable,"
                     " sqrt((p.longitude - ?1) * (p.longitude - ?1) +"
                     " (p.latitude - ?2) * (p.latitude - ?2)) AS distance"
                     " FROM places_box b CROSS JOIN places p ON p.id = b.id"
                     " WHERE b.min_lon >= ?3 AND b.max_lon <= ?4"
                     " AND b.min_lat >= ?5 AND b.max_lat <= ?6 AND p.country = ?7"
                     " ORDER BY distance, p.id LIMIT 1");
}

SqliteAtlas::~SqliteAtlas() {
  sqlite3_finalize(exact_);
  sqlite3_finalize(prefix_);
  sqlite3_finalize(nearest_);
  sqlite3_close(db_);
}

void SqliteAtlas::Collect(sqlite3_stmt* statement, std::vector<Row>& rows) {
  rows.clear();
  while (sqlite3_step(statement) == SQLITE_ROW) {
    Row row;
    row.name.assign(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)),
                    static_cast<std::size_t>(sqlite3_column_bytes(statement, 0)));
    row.longitude = sqlite3_column_double(statement, 1);
    row.latitude = sqlite3_column_double(statement, 2);
    row.timetable = sqlite3_column_int(statement, 3);
    rows.push_back(std::move(row));
  }
  sqlite3_reset(statement);
}

std::size_t SqliteAtlas::Exact(const std::string& country, const std::string& name,
                               std::vector<Row>& rows) {
  const std::string code = Utf8FromAnsi(UCase(AnsiFromUtf8(country)));
  const std::string key = FoldedKey(AnsiFromUtf8(name));
  BindText(exact_, 1, code);
  BindText(exact_, 2, key);
  Collect(exact_, rows);
  return rows.size();
}

std::size_t SqliteAtlas::Prefix(const std::string& country, const std::string& prefix,
                                std::vector<Row>& rows) {
  const std::string code = Utf8FromAnsi(UCase(AnsiFromUtf8(country)));
  // Not trimmed: "San " is the beginning of "San Juan", not of "Santa Ana".
  const std::string low = Utf8FromAnsi(UCase(AnsiFromUtf8(prefix)));
  // No UTF-8 text holds the byte 0xFF, so it sorts after every continuation.
  const std::string high = low + '\xFF';
  BindText(prefix_, 1, code);
  BindText(prefix_, 2, low);
  BindText(prefix_, 3, high);
  Collect(prefix_, rows);
  return rows.size();
}

std::optional<SqliteAtlas::Row> SqliteAtlas::Nearest(const std::string& country, double longitude,
                                                     double latitude) {
  const std::string code = Utf8FromAnsi(UCase(AnsiFromUtf8(country)));
  std::vector<Row> rows;
  double distance = 0;
  auto search = [&](double half_width) {
    sqlite3_bind_double(nearest_, 1, longitude);
    sqlite3_bind_double(nearest_, 2, latitude);
    sqlite3_bind_double(nearest_, 3, longitude - half_width);
    sqlite3_bind_double(nearest_, 4, longitude + half_width);
    sqlite3_bind_double(nearest_, 5, latitude - half_width);
    sqlite3_bind_double(nearest_, 6, latitude + half_width);
    BindText(nearest_, 7, code);
    rows.clear();
    if (sqlite3_step(nearest_) == SQLITE_ROW) {
      distance = sqlite3_column_double(nearest_, 4);
      Row row;
      row.name.assign(reinterpret_cast<const char*>(sqlite3_column_text(nearest_, 0)),
                      static_cast<std::size_t>(sqlite3_column_bytes(nearest_, 0)));
      row.longitude = sqlite3_column_double(nearest_, 1);
      row.latitude = sqlite3_column_double(nearest_, 2);
      row.timetable = sqlite3_column_int(nearest_, 3);
      rows.push_back(std::move(row));
    }
    sqlite3_reset(nearest_);
    return !rows.empty();
  };
  for (double half_width = kFirstHalfWidth; half_width < 2 * kNoDistance; half_width *= 4) {
    if (!search(half_width)) continue;
    // A place outside the box lies farther than the box's half width, so a
    // place within that distance is the nearest; else every place that could
    // beat it lies in the box of its distance (a hair wider against rounding).
    if (distance > half_width) search(distance * (1 + 1e-9));
    if (distance >= kNoDistance) return std::nullopt;
    return rows.front();
  }
  return std::nullopt;
}

}  // namespace tarv::bench
