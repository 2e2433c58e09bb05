#include "group/GroupConnection.h"

namespace n4 {

const char kGroupSchema[] =
    "CREATE TABLE IF NOT EXISTS [Sign] ("
    "[SignID] INTEGER PRIMARY KEY AUTOINCREMENT, [Name] TEXT COLLATE NOCASE, "
    "[Machine] TEXT COLLATE NOCASE, [Address] TEXT COLLATE NOCASE, "
    "[Rows] INTEGER, [Columns] INTEGER, [ColorTech] INTEGER);"
    "CREATE TABLE IF NOT EXISTS [Group] ("
    "[GroupID] INTEGER PRIMARY KEY AUTOINCREMENT, [Name] TEXT COLLATE NOCASE, "
    "[Rows] INTEGER, [Columns] INTEGER, [ColorTech] INTEGER);"
    "CREATE TABLE IF NOT EXISTS [MemberJoin] ("
    "[MemberID] INTEGER PRIMARY KEY AUTOINCREMENT, [GroupID] INTEGER, [ID] INTEGER, [Type] INTEGER);"
    "CREATE INDEX IF NOT EXISTS [MemberJoinByGroup] ON [MemberJoin] ([GroupID]);";

namespace {

int OpenFlags(bool readOnly) {
  return readOnly ? SQLite::OPEN_READONLY : SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE;
}

}  // namespace

void GroupConnection::Open(const std::string& path, bool readOnly, bool exclusive) {
  statements_.clear();
  db_.reset();
  auto db = std::make_unique<SQLite::Database>(path, OpenFlags(readOnly), kGroupBusyTimeoutMs);
  SetUp(*db, readOnly, exclusive);
  db_ = std::move(db);
}

void GroupConnection::SetUp(SQLite::Database& db, bool readOnly, bool exclusive) {
  // An exclusive connection never gives its file lock back, and takes it with
  // the first access below; other connections then find the file locked.
  if (exclusive) db.exec("PRAGMA locking_mode=EXCLUSIVE");
  if (!readOnly && sqlite3_db_readonly(db.getHandle(), "main") == 0) {
    // Readers and one writer at a time work side by side in WAL mode.
    db.exec("PRAGMA journal_mode=WAL");
    // With the log, a crash can lose the last commits but never damage the file.
    db.exec("PRAGMA synchronous=NORMAL");
    db.exec(kGroupSchema);
    if (exclusive) db.exec("BEGIN EXCLUSIVE; COMMIT;");
  } else {
    // Reading the schema fails here, not later, on a file that is no database.
    db.exec("SELECT count(*) FROM sqlite_master");
  }
}

bool GroupConnection::CanWrite() const {
  return db_ != nullptr && sqlite3_db_readonly(db_->getHandle(), "main") == 0;
}

SQLite::Statement& GroupConnection::Prepare(const char* sql) {
  auto it = statements_.find(sql);
  if (it == statements_.end()) {
    it = statements_.emplace(sql, std::make_unique<SQLite::Statement>(*db_, sql)).first;
  }
  return *it->second;
}

}  // namespace n4
