// CN4FileGroup::CompactGroupDatabase and RepairGroupDatabase.
//
// Both need the file to themselves: they take the database's exclusive lock
// first, and fail with the "make sure ... no other applications" message while
// any other connection (the grouping service included) has the file open.
#include <SQLiteCpp/SQLiteCpp.h>
#include <sqlite3.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "group/GroupConnection.h"
#include "n4file/Group.h"
#include "n4file/Message.h"
#include "n4file/Registry.h"
#include "platform/Env.h"

namespace {

constexpr UINT kStyle = MB_OK | MB_ICONEXCLAMATION;

// A holder of the lock waits no longer than a passing write lasts.
constexpr int kLockWaitMs = 200;

const char kInUseAdvice[] =
    "!  Make sure the grouping service is stopped and no other\n"
    "applications are currently using the database. Error = ";

std::string DataDirectory() {
  std::string directory = CN4Registry::GetDefaultDirectory();
  CN4Registry::GetDataPath(directory);
  return directory;
}

// Opens the file for writing (never creating it) with every other connection
// kept out for as long as the returned connection lives.
std::unique_ptr<SQLite::Database> OpenAlone(const std::string& path) {
  auto db = std::make_unique<SQLite::Database>(path, SQLite::OPEN_READWRITE, kLockWaitMs);
  db->exec("PRAGMA locking_mode=EXCLUSIVE");
  db->exec("BEGIN EXCLUSIVE; COMMIT;");
  return db;
}

// A write-ahead log or index left beside a file that is being replaced would
// be read as part of the new one.
void RemoveSideFiles(n4::Env* env, const std::string& path) {
  env->DeleteFile(path + "-wal", nullptr);
  env->DeleteFile(path + "-shm", nullptr);
}

std::string Formatted(const char* format, const std::string& path, DWORD code) {
  std::vector<char> text(path.size() + 64);
  std::snprintf(text.data(), text.size(), format, path.c_str(), static_cast<unsigned>(code));
  return text.data();
}

// ---- Repair: rows copied one table at a time ------------------------------

struct TableCopy {
  const char* name;
  const char* columns;  // the key first
  int count;
};

constexpr TableCopy kTables[] = {
    {"[Sign]", "[SignID], [Name], [Machine], [Address], [Rows], [Columns], [ColorTech]", 7},
    {"[Group]", "[GroupID], [Name], [Rows], [Columns], [ColorTech]", 5},
    {"[MemberJoin]", "[MemberID], [GroupID], [ID], [Type]", 4},
};

void BindColumn(SQLite::Statement& insert, int index, const SQLite::Column& value) {
  switch (value.getType()) {
    case SQLITE_INTEGER: insert.bind(index, static_cast<int64_t>(value.getInt64())); break;
    case SQLITE_FLOAT: insert.bind(index, value.getDouble()); break;
    case SQLITE_TEXT: insert.bind(index, value.getString()); break;
    case SQLITE_BLOB: insert.bind(index, value.getBlob(), value.getBytes()); break;
    default: insert.bind(index); break;
  }
}

// Copies rows of `from` in key order starting after `after` (ascending) or
// before `before` (descending), until the rows end or a damaged page stops the
// read. Returns the last key copied.
int64_t CopyRows(SQLite::Database& from, SQLite::Statement& insert, const TableCopy& table, bool descending,
                 int64_t bound) {
  std::string sql = std::string("SELECT ") + table.columns + " FROM " + table.name + " WHERE rowid " +
                    (descending ? "< ?" : "> ?") + " ORDER BY rowid" + (descending ? " DESC" : "");
  int64_t last = bound;
  try {
    SQLite::Statement select(from, sql);
    select.bind(1, static_cast<int64_t>(bound));
    while (select.executeStep()) {
      for (int i = 0; i < table.count; ++i) BindColumn(insert, i + 1, select.getColumn(i));
      insert.exec();
      insert.reset();
      last = select.getColumn(0).getInt64();
    }
  } catch (const SQLite::Exception&) {
    // A damaged page ends this direction; what was read is kept.
  }
  return last;
}

void CopyReadableRows(SQLite::Database& from, SQLite::Database& to) {
  to.exec(n4::kGroupSchema);
  SQLite::Transaction transaction(to);
  for (const TableCopy& table : kTables) {
    std::string placeholders = "?";
    for (int i = 1; i < table.count; ++i) placeholders += ", ?";
    SQLite::Statement insert(to, std::string("INSERT OR IGNORE INTO ") + table.name + " (" + table.columns +
                                     ") VALUES (" + placeholders + ")");
    CopyRows(from, insert, table, false, INT64_MIN);
    // From the far end back, for the rows beyond a damaged page.
    CopyRows(from, insert, table, true, INT64_MAX);
  }
  // Identifiers handed out before stay used, even for rows that were lost,
  // so no member row can come to point at a new sign or group.
  try {
    SQLite::Statement sequences(from, "SELECT [name], [seq] FROM sqlite_sequence");
    SQLite::Statement raise(to, "UPDATE sqlite_sequence SET [seq] = ? WHERE [name] = ? AND [seq] < ?");
    SQLite::Statement add(to,
                          "INSERT INTO sqlite_sequence ([name], [seq]) SELECT ?, ? "
                          "WHERE NOT EXISTS (SELECT 1 FROM sqlite_sequence WHERE [name] = ?)");
    while (sequences.executeStep()) {
      const std::string name = sequences.getColumn(0).getString();
      const int64_t seq = sequences.getColumn(1).getInt64();
      raise.bind(1, static_cast<int64_t>(seq));
      raise.bind(2, name);
      raise.bind(3, static_cast<int64_t>(seq));
      raise.exec();
      raise.reset();
      add.bind(1, name);
      add.bind(2, static_cast<int64_t>(seq));
      add.bind(3, name);
      add.exec();
      add.reset();
    }
  } catch (const SQLite::Exception&) {
  }
  transaction.commit();
}

bool IntegrityOk(SQLite::Database& db) {
  SQLite::Statement check(db, "PRAGMA integrity_check");
  return check.executeStep() && check.getColumn(0).getString() == "ok";
}

bool IsDamage(const SQLite::Exception& e) { return (e.getErrorCode() & 0xFF) == SQLITE_CORRUPT; }

// Compacts `path` through "N4grp_tmp.mdb" in `directory`.
int CompactInto(const std::string& path, const std::string& directory) {
  n4::Env* env = n4::Env::Default();
  const std::string temporary = n4::JoinPath(directory, "N4grp_tmp.mdb");
  try {
    std::unique_ptr<SQLite::Database> db = OpenAlone(path);
    // A left-over temporary file is not overwritten: the copy then fails.
    SQLite::Statement compact(*db, "VACUUM INTO ?");
    compact.bind(1, temporary);
    compact.exec();
  } catch (const std::exception& e) {
    n4::ShowMessage("Error compacting " + path + kInUseAdvice + e.what(), kStyle);
    return 0;
  }
  // Closed before the file goes (as Windows requires); deleted first, then
  // renamed, so the two files never share the final name.
  n4::SysError err;
  if (!env->DeleteFile(path, &err)) {
    n4::ShowMessage(Formatted("Error deleting file %s! Error = %u.", path, err.code), kStyle);
    return 0;
  }
  RemoveSideFiles(env, path);
  if (!env->RenameFile(temporary, path, &err)) {
    n4::ShowMessage(Formatted("Error renaming file %s! Error = %u.", temporary, err.code), kStyle);
    return 0;
  }
  return 1;
}

}  // namespace

int CN4FileGroup::CompactGroupDatabase() { return CompactInto(GetGroupDatabasePath(), DataDirectory()); }

int CN4FileGroup::CompactGroupDatabase(const std::string& path) { return CompactInto(path, n4::DirectoryOf(path)); }

int CN4FileGroup::RepairGroupDatabase() { return RepairGroupDatabase(GetGroupDatabasePath()); }

int CN4FileGroup::RepairGroupDatabase(const std::string& path) {
  n4::Env* env = n4::Env::Default();
  const std::string rebuilt = path + ".rebuild";
  auto fail = [&](const std::string& description) {
    n4::ShowMessage("Error repairing " + path + kInUseAdvice + description, kStyle);
    return 0;
  };
  try {
    std::unique_ptr<SQLite::Database> db = OpenAlone(path);
    bool damaged = false;
    try {
      damaged = !IntegrityOk(*db);
    } catch (const SQLite::Exception& e) {
      if (!IsDamage(e)) throw;
      damaged = true;
    }
    if (!damaged) return 1;
    env->DeleteFile(rebuilt, nullptr);
    {
      SQLite::Database fresh(rebuilt, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
      CopyReadableRows(*db, fresh);
    }
  } catch (const std::exception& e) {
    env->DeleteFile(rebuilt, nullptr);
    return fail(e.what());
  }
  // The damaged file is closed now; the rebuilt one takes its place whole.
  RemoveSideFiles(env, path);
  n4::SysError err;
  if (!env->ReplaceFile(rebuilt, path, &err)) {
    env->DeleteFile(rebuilt, nullptr);
    return fail(err.text);
  }
  env->DeleteFile(rebuilt, nullptr);
  return 1;
}
