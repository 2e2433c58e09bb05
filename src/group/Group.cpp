// CN4FileGroup: the connection, adding, deleting and looking up rows.
#include <SQLiteCpp/SQLiteCpp.h>

#include "group/GroupConnection.h"
#include "group/GroupSearch.h"
#include "group/GroupText.h"
#include "n4file/Group.h"
#include "n4file/Registry.h"
#include "platform/Env.h"

using n4::AsLong32;
using n4::StatementScope;

namespace {

// Opens a write transaction at once, so that a check and the write that
// depends on it are one step for every other connection; rolled back unless
// committed.
class WriteTransaction {
 public:
  explicit WriteTransaction(SQLite::Database& db) : db_(db) { db_.exec("BEGIN IMMEDIATE"); }
  ~WriteTransaction() {
    if (!done_) db_.tryExec("ROLLBACK");
  }
  WriteTransaction(const WriteTransaction&) = delete;
  WriteTransaction& operator=(const WriteTransaction&) = delete;
  void Commit() {
    db_.exec("COMMIT");
    done_ = true;
  }

 private:
  SQLite::Database& db_;
  bool done_ = false;
};

std::string ColumnText(const SQLite::Column& column) { return column.isNull() ? std::string() : column.getString(); }

bool TooLong(const std::string& text) { return text.size() > n4::kGroupMaxText; }

}  // namespace

CN4FileGroup::CN4FileGroup(BOOL bReadOnly, BOOL bExclusive) : CN4FileGroup(std::string(), bReadOnly, bExclusive) {}

CN4FileGroup::CN4FileGroup(const std::string& path, BOOL bReadOnly, BOOL bExclusive) : m_strPath(path) {
  if (sqlite3_initialize() != SQLITE_OK) {
    n4::ShowMessage("Could no initialize the DAO engine!", MB_OK);
    m_bReadOnly = bReadOnly;
    m_bExclusive = bExclusive;
    return;
  }
  OpenDatabase(bReadOnly, bExclusive);
}

CN4FileGroup::~CN4FileGroup() = default;

std::string CN4FileGroup::GetGroupDatabasePath() {
  // GetDataPath leaves the text alone when the settings cannot be read at all.
  std::string directory = CN4Registry::GetDefaultDirectory();
  CN4Registry::GetDataPath(directory);
  std::string name;
  if (!CN4Registry::GetGroupingDatabaseName(&name) || name.empty()) name = "N4Group.mdb";
  return n4::JoinPath(directory, name);
}

int CN4FileGroup::OpenDatabase(BOOL bReadOnly, BOOL bExclusive) {
  m_bReadOnly = bReadOnly;
  m_bExclusive = bExclusive;
  m_searches.clear();
  m_pGroupSet.reset();
  m_pDatabase = std::make_unique<n4::GroupConnection>();
  const std::string path = m_strPath.empty() ? GetGroupDatabasePath() : m_strPath;
  try {
    m_pDatabase->Open(path, bReadOnly != FALSE, bExclusive != FALSE);
  } catch (const std::exception&) {
    n4::ShowMessage("Could not open database for grouping!  Error opening " + path + ".", MB_OK);
    return 0;
  }
  m_pGroupSet = std::make_unique<n4::GroupIdSet>();
  m_pGroupSet->open = true;
  GetFirstGroupID();
  return 1;
}

void CN4FileGroup::CloseDatabase() {
  m_searches.clear();
  m_pGroupSet.reset();
  m_pDatabase.reset();
}

int CN4FileGroup::IsOpen() {
  if (!m_pDatabase) return 0;
  if (m_pDatabase->IsOpen()) return 1;
  return OpenDatabase(m_bReadOnly, m_bExclusive);
}

int CN4FileGroup::AddSign(const std::string& name, const std::string& machine, const std::string& address,
                          long rows, long columns, long colorTech, long* pSignID) {
  if (!IsOpen()) return 0;
  if (!m_pDatabase->CanWrite()) {
    n4::ShowMessage("Could not append", MB_OK);
    return 0;
  }
  StatementScope insert(m_pDatabase->Prepare(
      "INSERT INTO [Sign] ([Name], [Machine], [Address], [Rows], [Columns], [ColorTech]) "
      "VALUES (?, ?, ?, ?, ?, ?)"));
  try {
    if (TooLong(name) || TooLong(machine) || TooLong(address)) throw std::length_error("text too long");
    insert->bind(1, name);
    insert->bind(2, machine);
    insert->bind(3, address);
    insert->bind(4, AsLong32(rows));
    insert->bind(5, AsLong32(columns));
    insert->bind(6, AsLong32(colorTech));
  } catch (const std::exception&) {
    n4::ShowMessage("Error adding new record to sign table \n", MB_OK);
    return 0;
  }
  try {
    insert->exec();
  } catch (const std::exception&) {
    n4::ShowMessage("Error updating new record in sign table \n", MB_OK);
    return 0;
  }
  if (pSignID != nullptr) *pSignID = static_cast<long>(m_pDatabase->Db().getLastInsertRowid());
  return 1;
}

int CN4FileGroup::AddGroup(const std::string& name, long rows, long columns, long colorTech, long* pGroupID) {
  if (!IsOpen()) return 0;
  if (!m_pDatabase->CanWrite()) {
    n4::ShowMessage("Could not append", MB_OK);
    return 0;
  }
  StatementScope insert(m_pDatabase->Prepare(
      "INSERT INTO [Group] ([Name], [Rows], [Columns], [ColorTech]) VALUES (?, ?, ?, ?)"));
  try {
    if (TooLong(name)) throw std::length_error("text too long");
    insert->bind(1, name);
    insert->bind(2, AsLong32(rows));
    insert->bind(3, AsLong32(columns));
    insert->bind(4, AsLong32(colorTech));
  } catch (const std::exception&) {
    n4::ShowMessage("Error adding new record to group table \n", MB_OK);
    return 0;
  }
  try {
    insert->exec();
  } catch (const std::exception&) {
    n4::ShowMessage("Error updating new record in group table \n", MB_OK);
    return 0;
  }
  if (pGroupID != nullptr) *pGroupID = static_cast<long>(m_pDatabase->Db().getLastInsertRowid());
  return 1;
}

int CN4FileGroup::AddMember(long groupID, long memberID, long type) {
  if (!IsOpen()) return 0;
  if (type == n4::kGroupMemberGroup && IsRecursiveInclude(groupID, memberID)) {
    n4::ShowMessage("Error adding group!  A group cannot be added to itself. (recursive group include)",
                    MB_OK | MB_ICONEXCLAMATION);
    return 0;
  }
  if (!m_pDatabase->CanWrite()) return 0;
  try {
    WriteTransaction transaction(m_pDatabase->Db());
    {
      StatementScope existing(m_pDatabase->Prepare(
          "SELECT 1 FROM [MemberJoin] WHERE [GroupID] = ? AND [ID] = ? AND [Type] = ? LIMIT 1"));
      existing->bind(1, AsLong32(groupID));
      existing->bind(2, AsLong32(memberID));
      existing->bind(3, AsLong32(type));
      if (existing->executeStep()) return 0;  // already a member
    }
    StatementScope insert(
        m_pDatabase->Prepare("INSERT INTO [MemberJoin] ([GroupID], [ID], [Type]) VALUES (?, ?, ?)"));
    try {
      insert->bind(1, AsLong32(groupID));
      insert->bind(2, AsLong32(memberID));
      insert->bind(3, AsLong32(type));
    } catch (const std::exception&) {
      n4::ShowMessage("Error adding new record to member table \n", MB_OK);
      return 0;
    }
    try {
      insert->exec();
      transaction.Commit();
    } catch (const std::exception&) {
      n4::ShowMessage("Error updating new record in member table \n", MB_OK);
      return 0;
    }
  } catch (const std::exception& e) {
    n4::ShowRecordSetError(e.what());
    return 0;
  }
  return 1;
}

int CN4FileGroup::DeleteMember(long groupID, long memberID, long type, BOOL bAnyGroup) {
  if (!IsOpen() || !m_pDatabase->CanWrite()) return 0;
  // The first matching row only, as a find-first and delete would.
  static const char kAnyGroup[] =
      "DELETE FROM [MemberJoin] WHERE [MemberID] = (SELECT [MemberID] FROM [MemberJoin] "
      "WHERE [Type] = ? AND [ID] = ? ORDER BY [MemberID] LIMIT 1)";
  static const char kOneGroup[] =
      "DELETE FROM [MemberJoin] WHERE [MemberID] = (SELECT [MemberID] FROM [MemberJoin] "
      "WHERE [GroupID] = ? AND [Type] = ? AND [ID] = ? ORDER BY [MemberID] LIMIT 1)";
  try {
    StatementScope remove(m_pDatabase->Prepare(bAnyGroup ? kAnyGroup : kOneGroup));
    int index = 1;
    if (!bAnyGroup) remove->bind(index++, AsLong32(groupID));
    remove->bind(index++, AsLong32(type));
    remove->bind(index, AsLong32(memberID));
    return remove->exec() > 0 ? 1 : 0;
  } catch (const std::exception&) {
    return 0;
  }
}

int CN4FileGroup::DeleteSign(long signID, BOOL bRemoveMemberships) {
  if (!IsOpen() || !m_pDatabase->CanWrite()) return 0;
  try {
    StatementScope remove(m_pDatabase->Prepare("DELETE FROM [Sign] WHERE [SignID] = ?"));
    remove->bind(1, AsLong32(signID));
    if (remove->exec() == 0) return 0;
  } catch (const std::exception&) {
    return 0;
  }
  if (bRemoveMemberships) {
    while (DeleteMember(0, signID, n4::kGroupMemberSign, TRUE)) {
    }
  }
  return 1;
}

int CN4FileGroup::DeleteGroup(long groupID, BOOL bRemoveMemberships) {
  if (!IsOpen() || !m_pDatabase->CanWrite()) return 0;
  try {
    StatementScope remove(m_pDatabase->Prepare("DELETE FROM [Group] WHERE [GroupID] = ?"));
    remove->bind(1, AsLong32(groupID));
    if (remove->exec() == 0) return 0;
  } catch (const std::exception&) {
    return 0;
  }
  // The group's own member rows stay: only its places in other groups go.
  if (bRemoveMemberships) {
    while (DeleteMember(0, groupID, n4::kGroupMemberGroup, TRUE)) {
    }
  }
  return 1;
}

int CN4FileGroup::GetSignInfo(const std::string& name, const std::string& machine, const std::string& address,
                              long rows, long columns, long colorTech, long* pSignID) {
  if (!IsOpen()) return 0;
  if (n4::NeverMatches(name) || n4::NeverMatches(machine) || n4::NeverMatches(address)) return 0;
  try {
    StatementScope find(m_pDatabase->Prepare(
        "SELECT [SignID] FROM [Sign] WHERE [Name] = ? AND [Machine] = ? AND [Address] = ? AND [Rows] = ? "
        "AND [Columns] = ? AND [ColorTech] = ? ORDER BY [SignID] LIMIT 1"));
    find->bind(1, name);
    find->bind(2, machine);
    find->bind(3, address);
    find->bind(4, AsLong32(rows));
    find->bind(5, AsLong32(columns));
    find->bind(6, AsLong32(colorTech));
    if (!find->executeStep()) return 0;
    if (pSignID != nullptr) *pSignID = find->getColumn(0).getInt();
    return 1;
  } catch (const std::exception& e) {
    n4::ShowRecordSetError(e.what());
    return 0;
  }
}

int CN4FileGroup::GetSignInfo(long signID, std::string& name, std::string& machine, std::string& address,
                              long& rows, long& columns, long& colorTech) {
  if (!IsOpen()) return 0;
  try {
    StatementScope find(m_pDatabase->Prepare(
        "SELECT [Name], [Machine], [Address], [Rows], [Columns], [ColorTech] FROM [Sign] WHERE [SignID] = ?"));
    find->bind(1, AsLong32(signID));
    if (!find->executeStep()) return 0;
    name = ColumnText(find->getColumn(0));
    machine = ColumnText(find->getColumn(1));
    address = ColumnText(find->getColumn(2));
    rows = find->getColumn(3).getInt();
    columns = find->getColumn(4).getInt();
    colorTech = find->getColumn(5).getInt();
    return 1;
  } catch (const std::exception& e) {
    n4::ShowRecordSetError(e.what());
    return 0;
  }
}

int CN4FileGroup::GetGroupInfo(const std::string& name, long rows, long columns, long colorTech, long* pGroupID) {
  if (!IsOpen() || n4::NeverMatches(name)) return 0;
  try {
    StatementScope find(m_pDatabase->Prepare(
        "SELECT [GroupID] FROM [Group] WHERE [Name] = ? AND [Rows] = ? AND [Columns] = ? AND [ColorTech] = ? "
        "ORDER BY [GroupID] LIMIT 1"));
    find->bind(1, name);
    find->bind(2, AsLong32(rows));
    find->bind(3, AsLong32(columns));
    find->bind(4, AsLong32(colorTech));
    if (!find->executeStep()) return 0;
    if (pGroupID != nullptr) *pGroupID = find->getColumn(0).getInt();
    return 1;
  } catch (const std::exception& e) {
    n4::ShowRecordSetError(e.what());
    return 0;
  }
}

int CN4FileGroup::GetGroupInfo(long groupID, std::string& name, long& rows, long& columns, long& colorTech) {
  if (!IsOpen()) return 0;
  try {
    StatementScope find(m_pDatabase->Prepare(
        "SELECT [Name], [Rows], [Columns], [ColorTech] FROM [Group] WHERE [GroupID] = ?"));
    find->bind(1, AsLong32(groupID));
    if (!find->executeStep()) return 0;
    name = ColumnText(find->getColumn(0));
    rows = find->getColumn(1).getInt();
    columns = find->getColumn(2).getInt();
    colorTech = find->getColumn(3).getInt();
    return 1;
  } catch (const std::exception& e) {
    n4::ShowRecordSetError(e.what());
    return 0;
  }
}

int CN4FileGroup::IsValidGroupName(const std::string& name) {
  if (!IsOpen()) return 0;
  if (n4::NeverMatches(name)) return 1;
  try {
    StatementScope find(m_pDatabase->Prepare("SELECT 1 FROM [Group] WHERE [Name] = ? LIMIT 1"));
    find->bind(1, name);
    return find->executeStep() ? 0 : 1;
  } catch (const std::exception& e) {
    n4::ShowRecordSetError(e.what());
    return 1;
  }
}
