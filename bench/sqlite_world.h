// The baseline of the world search: every name the atlas's name indexes
// know, in SQLite, each with its place and population, asked by key or by
// the beginning of a key through an index (a LIKE 'par%' that uses it).
#ifndef TARVPLACES_BENCH_SQLITE_WORLD_H_
#define TARVPLACES_BENCH_SQLITE_WORLD_H_

#include <string>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace tarv::bench {

class SqliteWorld {
 public:
  struct Row {
    std::string name;     // UTF-8
    std::string country;  // the atlas code
    double longitude = 0;
    double latitude = 0;
  };

  // Tables places(id, country, name, longitude, latitude, population) and
  // names(key, place) with an index on names(key): every key of every
  // country's name index in the atlas at `folder`, in memory.
  explicit SqliteWorld(const std::string& folder);
  ~SqliteWorld();
  SqliteWorld(const SqliteWorld&) = delete;
  SqliteWorld& operator=(const SqliteWorld&) = delete;

  // The at most 50 places under `key`, or under every key that begins with
  // it, most populous first.
  std::size_t Find(const std::string& key, bool prefix, std::vector<Row>& rows);
  std::size_t Keys() const { return keys_; }

 private:
  sqlite3* db_ = nullptr;
  sqlite3_stmt* whole_ = nullptr;
  sqlite3_stmt* prefix_ = nullptr;
  std::size_t keys_ = 0;
};

}  // namespace tarv::bench

#endif  // TARVPLACES_BENCH_SQLITE_WORLD_H_
