// One connection to the group database file, with its prepared statements.
//
// The SQL texts are the ones the operations were designed with ("SELECT *
// FROM [Sign]" and a filter), written as statements with bound parameters:
// no text value can ever become part of a statement.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <sqlite3.h>

#include <map>
#include <memory>
#include <string>

namespace n4 {

// A writer waits this long for another connection's write to end.
constexpr int kGroupBusyTimeoutMs = 2000;

// The tables, created when the file is new. Identifiers are assigned by the
// database and never reused. Texts compare without regard to ASCII case, as
// they did in the engine the layout comes from, so "Lobby" and "LOBBY" are one
// group name. The index serves the member walks.
extern const char kGroupSchema[];

class GroupConnection {
 public:
  // Opens (read-only, or creating the file and its tables) and takes the
  // exclusive lock when asked. Throws SQLite::Exception on failure and stays
  // closed.
  void Open(const std::string& path, bool readOnly, bool exclusive);
  bool IsOpen() const { return db_ != nullptr; }

  // A prepared statement for sql, reset. Statements are
  // kept for the connection's lifetime.
  SQLite::Statement& Prepare(const char* sql);
  SQLite::Database& Db() { return *db_; }
  // False when the connection cannot change the file (read-only open or a
  // write-protected file).
  bool CanWrite() const;

 private:
  static void SetUp(SQLite::Database& db, bool readOnly, bool exclusive);
  std::unique_ptr<SQLite::Database> db_;
  // Destroyed before the database they belong to.
  std::map<std::string, std::unique_ptr<SQLite::Statement>> statements_;
};

// Resets a statement when leaving scope, so that no read stays open.
class StatementScope {
 public:
  explicit StatementScope(SQLite::Statement& statement) : statement_(statement) {}
  // Every use binds all parameters again, so bindings need no clearing.
  ~StatementScope() { statement_.tryReset(); }
  StatementScope(const StatementScope&) = delete;
  StatementScope& operator=(const StatementScope&) = delete;
  SQLite::Statement* operator->() { return &statement_; }
  SQLite::Statement& operator*() { return statement_; }

 private:
  SQLite::Statement& statement_;
};

// Texts are bound as they are; numbers as 32-bit signed integers.
inline std::int32_t AsLong32(long value) { return static_cast<std::int32_t>(value); }

}  // namespace n4
