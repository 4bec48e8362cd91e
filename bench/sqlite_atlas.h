// The baseline the place lookups are measured against: the same places in a
// SQLite database, in memory or in a file, asked the same questions through
// prepared statements.
#ifndef TARVPLACES_BENCH_SQLITE_ATLAS_H_
#define TARVPLACES_BENCH_SQLITE_ATLAS_H_

#include <optional>
#include <string>
#include <vector>

#include "atlas_sample.h"

struct sqlite3;
struct sqlite3_stmt;

namespace tarv::bench {

class SqliteAtlas {
 public:
  struct Row {
    std::string name;  // UTF-8, trimmed
    double longitude = 0;
    double latitude = 0;
    int timetable = 0;
  };

  // Table places(country, name, folded, longitude, latitude, timetable) with
  // an index on (country, folded), folded being the name in capitals as the
  // atlas folds it; an R*Tree over the coordinates for the nearest place.
  // Rows go in in the atlas's reading order, so rowid order is that order.
  // `path` is ":memory:" or a database file, which is written afresh; a
  // host keeping its atlas in SQLite reads such a file, each query one
  // statement that locks and checks the file as SQLite does.
  explicit SqliteAtlas(const AtlasSample& sample, const std::string& path = ":memory:");
  ~SqliteAtlas();
  SqliteAtlas(const SqliteAtlas&) = delete;
  SqliteAtlas& operator=(const SqliteAtlas&) = delete;

  // Every place of `country` whose name equals `name` (UTF-8) without
  // regard to case, in reading order.
  std::size_t Exact(const std::string& country, const std::string& name, std::vector<Row>& rows);
  // Every place of `country` whose name starts with `prefix`, by name.
  std::size_t Prefix(const std::string& country, const std::string& prefix, std::vector<Row>& rows);
  // The place of `country` nearest to the point by the plane distance
  // sqrt(dlon^2 + dlat^2), ties to the first in reading order: the smallest
  // bounding box around the point that holds a place is searched, and then
  // the box whose half width is that place's distance, which holds every
  // place that could be nearer.
  std::optional<Row> Nearest(const std::string& country, double longitude, double latitude);

 private:
  static void Collect(sqlite3_stmt* statement, std::vector<Row>& rows);

  sqlite3* db_ = nullptr;
  sqlite3_stmt* exact_ = nullptr;
  sqlite3_stmt* prefix_ = nullptr;
  sqlite3_stmt* nearest_ = nullptr;
};

}  // namespace tarv::bench

#endif  // TARVPLACES_BENCH_SQLITE_ATLAS_H_
