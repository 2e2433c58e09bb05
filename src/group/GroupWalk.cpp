// CN4FileGroup: iterating the groups, walking members, the recursion check.
#include <algorithm>
#include <cstring>

#include "group/GroupConnection.h"
#include "group/GroupSearch.h"
#include "group/GroupText.h"
#include "n4file/Group.h"

using n4::AsLong32;
using n4::StatementScope;

namespace {

template <std::size_t N>
void CopyText(char (&field)[N], const std::string& text) {
  // The database keeps texts shorter than the field; a row written by another
  // program is cut rather than overrun.
  std::size_t n = std::min(text.size(), N - 1);
  std::memcpy(field, text.data(), n);
  field[n] = '\0';
}

std::string ColumnText(const SQLite::Column& column) { return column.isNull() ? std::string() : column.getString(); }

}  // namespace

long CN4FileGroup::GetFirstGroupID() {
  if (!IsOpen() || !m_pGroupSet || !m_pGroupSet->open) return -1;
  n4::GroupIdSet& set = *m_pGroupSet;
  set.ids.clear();
  set.next = 0;
  try {
    StatementScope all(m_pDatabase->Prepare("SELECT * FROM [Group]"));
    const int idColumn = all->getColumnIndex("GroupID");
    while (all->executeStep()) set.ids.push_back(all->getColumn(idColumn).getInt());
  } catch (const std::exception& e) {
    n4::ShowRecordSetError(e.what());
    set.ids.clear();
    return -1;
  }
  return GetNextGroupID();
}

long CN4FileGroup::GetNextGroupID() {
  if (!m_pGroupSet || !m_pGroupSet->open || m_pGroupSet->next >= m_pGroupSet->ids.size()) return -1;
  return m_pGroupSet->ids[m_pGroupSet->next++];
}

n4::GroupSearch* CN4FileGroup::GetPtrToFindRecordSet(HANDLE hFind, std::size_t* pPosition) {
  if (hFind == nullptr) return nullptr;
  // Newest first: the search in use is nearly always the last one opened.
  for (std::size_t i = m_searches.size(); i-- > 0;) {
    if (m_searches[i]->token == hFind) {
      if (pPosition != nullptr) *pPosition = i;
      return m_searches[i].get();
    }
  }
  return nullptr;
}

HANDLE CN4FileGroup::OpenFindDepth(HANDLE hFind, int level, long groupID) {
  return OpenFindLevel(hFind, level, groupID, true);
}

namespace {

// The member rows of a group; with signs, each sign row brings the sign's
// values too. Throws on a database error.
n4::MemberRows ReadMembers(n4::GroupConnection& db, long groupID, bool withSigns) {
  // The member rows are "SELECT [ID], [Type] FROM [MemberJoin] WHERE
  // [GroupID] = ?"; a walk to the signs reads each sign's values with them.
  static const char kMembers[] = "SELECT [ID], [Type] FROM [MemberJoin] WHERE [GroupID] = ?";
  static const char kMembersWithSigns[] =
      "SELECT m.[ID], m.[Type], s.[SignID], s.[Name], s.[Machine], s.[Address], s.[Rows], s.[Columns], "
      "s.[ColorTech] FROM [MemberJoin] AS m LEFT JOIN [Sign] AS s ON m.[Type] = 1 AND s.[SignID] = m.[ID] "
      "WHERE m.[GroupID] = ?";
  auto rows = std::make_shared<std::vector<n4::MemberRow>>();
  StatementScope members(db.Prepare(withSigns ? kMembersWithSigns : kMembers));
  members->bind(1, AsLong32(groupID));
  while (members->executeStep()) {
    n4::MemberRow& row = rows->emplace_back();
    row.id = members->getColumn(0).getInt();
    row.type = members->getColumn(1).getInt();
    if (withSigns && !members->isColumnNull(2)) {
      row.hasSign = true;
      row.sign.name = ColumnText(members->getColumn(3));
      row.sign.machine = ColumnText(members->getColumn(4));
      row.sign.address = ColumnText(members->getColumn(5));
      row.sign.rows = members->getColumn(6).getInt();
      row.sign.columns = members->getColumn(7).getInt();
      row.sign.colorTech = members->getColumn(8).getInt();
    }
  }
  return rows;
}

// Every group a walk from `top` can open (levels 0 to 9), in one read
// transaction. Each group is read once, however often it is reached.
void ReadTree(n4::GroupConnection& db, long top, std::map<long, n4::MemberRows>& tree) {
  db.Db().exec("BEGIN");
  try {
    // Breadth first: a group is first met at its smallest depth.
    std::vector<long> level{top};
    for (int depth = 0; depth < n4::kGroupFindLevels && !level.empty(); ++depth) {
      std::vector<long> next;
      for (long group : level) {
        if (tree.count(group) != 0) continue;
        n4::MemberRows rows = ReadMembers(db, group, true);
        tree.emplace(group, rows);
        for (const n4::MemberRow& row : *rows) {
          if (row.type == n4::kGroupMemberGroup) next.push_back(row.id);
        }
      }
      level = std::move(next);
    }
  } catch (...) {
    db.Db().tryExec("ROLLBACK");
    throw;
  }
  db.Db().exec("COMMIT");
}

}  // namespace

HANDLE CN4FileGroup::OpenFindLevel(HANDLE hFind, int level, long groupID, bool bWithSigns) {
  if (level < 0 || level >= n4::kGroupFindLevels || !IsOpen()) return nullptr;
  if (hFind == nullptr) {
    auto search = std::make_unique<n4::GroupSearch>();
    search->token = reinterpret_cast<HANDLE>(m_nextToken++);
    hFind = search->token;
    m_searches.push_back(std::move(search));
  }
  n4::GroupSearch* search = GetPtrToFindRecordSet(hFind, nullptr);
  if (search == nullptr) return nullptr;
  n4::FindLevel& depth = search->levels[static_cast<std::size_t>(level)];
  if (depth.open) return hFind;
  depth.Close();
  auto known = search->tree.find(groupID);
  if (bWithSigns && known != search->tree.end()) {
    depth.rows = known->second;
  } else {
    try {
      depth.rows = ReadMembers(*m_pDatabase, groupID, bWithSigns);
    } catch (const std::exception& e) {
      n4::ShowRecordSetError(e.what());
      depth.Close();
      return hFind;
    }
  }
  depth.open = !depth.rows->empty();  // an empty level is closed at once
  return hFind;
}

const n4::MemberRow* CN4FileGroup::NextMemberRow(HANDLE hFind, int level) {
  n4::GroupSearch* search = GetPtrToFindRecordSet(hFind, nullptr);
  if (search == nullptr || level < 0 || level >= n4::kGroupFindLevels) return nullptr;
  n4::FindLevel& depth = search->levels[static_cast<std::size_t>(level)];
  if (!depth.open || depth.next >= depth.rows->size()) return nullptr;
  return &(*depth.rows)[depth.next++];
}

int CN4FileGroup::GetMemberID(HANDLE hFind, int level, long* pID, long* pType) {
  const n4::MemberRow* row = NextMemberRow(hFind, level);
  if (row == nullptr) return 0;
  if (pID != nullptr) *pID = row->id;
  if (pType != nullptr) *pType = row->type;
  return 1;
}

HANDLE CN4FileGroup::FindMemberOpen(long groupID) {
  if (!IsOpen()) return nullptr;
  auto search = std::make_unique<n4::GroupSearch>();
  search->token = reinterpret_cast<HANDLE>(m_nextToken++);
  try {
    ReadTree(*m_pDatabase, groupID, search->tree);
  } catch (const std::exception&) {
    // Each level is then read when the walk opens it.
    search->tree.clear();
  }
  HANDLE hFind = search->token;
  m_searches.push_back(std::move(search));
  return OpenFindDepth(hFind, 0, groupID);
}

BOOL CN4FileGroup::IsRecursiveInclude(long group, long candidate) {
  if (group == candidate) return TRUE;
  // The check needs only the member rows, not the signs' values.
  HANDLE hFind = IsOpen() ? OpenFindLevel(nullptr, 0, candidate, false) : nullptr;
  n4::GroupSearch* search = GetPtrToFindRecordSet(hFind, nullptr);
  if (search == nullptr) return FALSE;
  // The search stays in the list when the check returns; it goes with the
  // object, as it always has.
  for (;;) {
    const int level = search->level;
    long id = 0;
    long type = 0;
    if (!GetMemberID(hFind, level, &id, &type)) {
      search->levels[static_cast<std::size_t>(level)].Close();
      if (level == 0) return FALSE;
      --search->level;
      continue;
    }
    if (type != n4::kGroupMemberGroup) continue;
    if (id == group) return TRUE;
    if (level < n4::kGroupFindLevels - 1) {
      search->level = level + 1;
      OpenFindLevel(hFind, level + 1, id, false);
    }
  }
}

namespace {

tag_N4_GRP_MEMBER_DATA SignMember(long id, const n4::SignValues& sign) {
  tag_N4_GRP_MEMBER_DATA member{};
  CopyText(member.szName, sign.name);
  CopyText(member.szMachine, sign.machine);
  CopyText(member.szAddress, sign.address);
  member.dwType = static_cast<DWORD>(n4::kGroupMemberSign);
  member.dwID = static_cast<DWORD>(id);
  member.dwRows = static_cast<DWORD>(sign.rows);
  member.dwColumns = static_cast<DWORD>(sign.columns);
  member.dwColorTech = static_cast<DWORD>(sign.colorTech);
  return member;
}

}  // namespace

int CN4FileGroup::FindNextMember(HANDLE hFind, tag_N4_GRP_MEMBER_DATA* pMember) {
  if (pMember == nullptr || !IsOpen()) return 0;
  while (const n4::MemberRow* row = NextMemberRow(hFind, 0)) {
    if (row->type == n4::kGroupMemberSign && row->hasSign) {
      *pMember = SignMember(row->id, row->sign);
      return 1;
    }
    if (row->type != n4::kGroupMemberGroup) continue;  // a deleted sign, or no known type
    n4::SignValues values;  // a group has no machine and no address
    if (!GetGroupInfo(row->id, values.name, values.rows, values.columns, values.colorTech)) continue;
    *pMember = SignMember(row->id, values);
    pMember->dwType = static_cast<DWORD>(n4::kGroupMemberGroup);
    return 1;
  }
  return 0;
}

int CN4FileGroup::FindNextSignMember(HANDLE hFind, tag_N4_GRP_MEMBER_DATA* pMember) {
  if (pMember == nullptr || !IsOpen()) return 0;
  n4::GroupSearch* search = GetPtrToFindRecordSet(hFind, nullptr);
  if (search == nullptr) return 0;
  for (;;) {
    const int level = search->level;
    const n4::MemberRow* row = NextMemberRow(hFind, level);
    if (row == nullptr) {
      search->levels[static_cast<std::size_t>(level)].Close();
      if (level == 0) return 0;
      --search->level;
      continue;
    }
    if (row->type == n4::kGroupMemberGroup) {
      if (level < n4::kGroupFindLevels - 1) {
        search->level = level + 1;
        OpenFindDepth(hFind, level + 1, row->id);
      }
      continue;
    }
    if (row->type == n4::kGroupMemberSign && row->hasSign) {
      *pMember = SignMember(row->id, row->sign);
      return 1;
    }
  }
}

void CN4FileGroup::FindMemberClose(HANDLE hFind) {
  std::size_t position = 0;
  if (GetPtrToFindRecordSet(hFind, &position) == nullptr) return;
  m_searches.erase(m_searches.begin() + static_cast<std::ptrdiff_t>(position));
}
