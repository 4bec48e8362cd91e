// What both SQLite baselines do with statements: check a status, prepare a
// statement that is kept.
#ifndef TARVPLACES_BENCH_SQLITE_STATEMENTS_H_
#define TARVPLACES_BENCH_SQLITE_STATEMENTS_H_

#include <sqlite3.h>

#include <stdexcept>
#include <string>

namespace tarv::bench {

inline void Check(sqlite3* db, int status, const char* what) {
  if (status != SQLITE_OK && status != SQLITE_DONE && status != SQLITE_ROW)
    throw std::runtime_error(std::string(what) + ": " + sqlite3_errmsg(db));
}

inline sqlite3_stmt* Prepare(sqlite3* db, const char* sql) {
  sqlite3_stmt* statement = nullptr;
  Check(db, sqlite3_prepare_v3(db, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr), sql);
  return statement;
}

}  // namespace tarv::bench

#endif  // TARVPLACES_BENCH_SQLITE_STATEMENTS_H_
