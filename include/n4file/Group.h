// The group database: signs gathered into named groups, and groups into
// other groups, so that one message can reach many signs.
//
// The database is an SQLite file named by CN4Registry::GetGroupingDatabaseName
// ("N4Group.mdb" when that is empty) in the data directory. It holds three
// tables, "[Sign]", "[Group]" and "[MemberJoin]"; a member row points at a sign
// (type 1) or a group (type 2). The file is shared with the grouping service
// and other applications (write-ahead log; a writer waits a moment for
// another), unless it was opened with the exclusive flag.
//
// Failures return 0 (or -1 / a null token where noted) after the user was told
// through n4::ShowMessage; nothing is thrown. Every operation first checks
// IsOpen, which reconnects by itself after a failed open.
//
// Thread safety: one object belongs to one thread. Several objects, in one
// process or in several, may use the same file at once.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "n4file/Export.h"
#include "n4file/Types.h"

namespace n4 {
class GroupConnection;
struct GroupIdSet;
struct GroupSearch;
struct MemberRow;

// Member types in "[MemberJoin]".
constexpr long kGroupMemberSign = 1;
constexpr long kGroupMemberGroup = 2;
// Nesting levels a member walk (and the recursion check) follows: 0 to 9.
constexpr int kGroupFindLevels = 10;
}  // namespace n4

// One member as the walks return it; owned by the caller.
struct tag_N4_GRP_MEMBER_DATA {
  char szName[261];
  DWORD dwType;  // n4::kGroupMemberSign or n4::kGroupMemberGroup
  DWORD dwID;    // "[SignID]" or "[GroupID]"
  DWORD dwRows;
  DWORD dwColumns;
  DWORD dwColorTech;  // tag_N4_SIGN_COLOR
  char szMachine[261];  // signs only
  char szAddress[261];  // signs only
};

class N4FILE_API CN4FileGroup {
 public:
  // Opens the database at once (OpenDatabase); a failure has been shown and
  // IsOpen will try again.
  explicit CN4FileGroup(BOOL bReadOnly = FALSE, BOOL bExclusive = FALSE);
  // The same on the database file `path` rather than the one the settings
  // name, for tools and applications that keep a grouping of their own.
  CN4FileGroup(const std::string& path, BOOL bReadOnly, BOOL bExclusive);
  virtual ~CN4FileGroup();
  CN4FileGroup(const CN4FileGroup&) = delete;
  CN4FileGroup& operator=(const CN4FileGroup&) = delete;

  // Connects to the file, creating it and its tables when it is new (unless
  // read-only). Read-only refuses every change; exclusive keeps every other
  // connection out until this one closes. 1 on success.
  int OpenDatabase(BOOL bReadOnly, BOOL bExclusive);
  void CloseDatabase();
  // 1 when connected. After a failed open it tries once more with the stored
  // flags; after CloseDatabase it stays 0.
  int IsOpen();

  // Adding. Texts longer than 255 characters are refused, as by the original
  // engine's text columns, so that every stored text fits a member record.
  int AddSign(const std::string& name, const std::string& machine, const std::string& address,
              long rows, long columns, long colorTech, long* pSignID = nullptr);
  int AddGroup(const std::string& name, long rows, long columns, long colorTech,
               long* pGroupID = nullptr);
  // Refuses (with a message) a group that would contain itself, followed
  // down 10 levels; 0 without a message when the member is already there.
  int AddMember(long groupID, long memberID, long type);

  // Deleting. DeleteMember removes the first matching row only; with
  // bAnyGroup the group is not looked at.
  int DeleteMember(long groupID, long memberID, long type, BOOL bAnyGroup);
  // With bRemoveMemberships the sign (group) is also taken out of every
  // group. A deleted group's own member rows stay.
  int DeleteSign(long signID, BOOL bRemoveMemberships);
  int DeleteGroup(long groupID, BOOL bRemoveMemberships);

  // Looking up. A text value holding "'" never matches.
  int GetSignInfo(const std::string& name, const std::string& machine, const std::string& address,
                  long rows, long columns, long colorTech, long* pSignID);
  int GetSignInfo(long signID, std::string& name, std::string& machine, std::string& address,
                  long& rows, long& columns, long& colorTech);
  int GetGroupInfo(const std::string& name, long rows, long columns, long colorTech, long* pGroupID);
  int GetGroupInfo(long groupID, std::string& name, long& rows, long& columns, long& colorTech);
  // True when no group has this name (and when that cannot be looked up).
  int IsValidGroupName(const std::string& name);

  // Every "[GroupID]" in turn; -1 at the end. GetFirstGroupID reads the table
  // again, so groups added since are seen.
  long GetFirstGroupID();
  long GetNextGroupID();

  // Member walks. FindMemberOpen returns a token (null on failure) that
  // FindMemberClose releases. FindNextMember gives the group's direct members;
  // FindNextSignMember the signs reached from it, entering member groups down
  // to 10 levels (a sign reached twice is given twice). Rows that point at a
  // deleted sign or group are skipped. 1 with a member, 0 at the end.
  HANDLE FindMemberOpen(long groupID);
  int FindNextMember(HANDLE hFind, tag_N4_GRP_MEMBER_DATA* pMember);
  int FindNextSignMember(HANDLE hFind, tag_N4_GRP_MEMBER_DATA* pMember);
  void FindMemberClose(HANDLE hFind);

  // Rows, columns and colour tech from a sign directory such as
  // "...\16x80.Mono1.SIGN" or "...\16x80.Mono1.SIGN\News.LIB"; 1 only when
  // the colour name is known.
  static int ParseN4SignString(const std::string& text, long& rows, long& columns, long& colorTech);

  // Maintenance; every user of the file must have closed it. Compacting
  // writes "N4grp_tmp.mdb" in the data directory and puts it in place of the
  // database. Repairing checks the file and, when it is damaged, rebuilds it
  // from every row that can still be read. 1 on success.
  static int CompactGroupDatabase();
  static int RepairGroupDatabase();
  // The same on the file `path`; compacting writes "N4grp_tmp.mdb" beside it.
  static int CompactGroupDatabase(const std::string& path);
  static int RepairGroupDatabase(const std::string& path);

  // The database file: the data directory joined with the grouping database
  // name, or "N4Group.mdb".
  static std::string GetGroupDatabasePath();

 protected:
  // With a null token, starts a new search first. Opens `level` of the
  // search on the members of groupID unless it is open already. Returns the
  // token (null when the search is unknown).
  HANDLE OpenFindDepth(HANDLE hFind, int level, long groupID);
  n4::GroupSearch* GetPtrToFindRecordSet(HANDLE hFind, std::size_t* pPosition);
  // The current row of `level`, then moves on; 0 when exhausted or closed.
  int GetMemberID(HANDLE hFind, int level, long* pID, long* pType);
  // Would adding `candidate` to `group` make a group contain itself?
  BOOL IsRecursiveInclude(long group, long candidate);

 private:
  // OpenFindDepth; with bWithSigns each sign row also brings the sign's values.
  HANDLE OpenFindLevel(HANDLE hFind, int level, long groupID, bool bWithSigns);
  // The current row of `level`, then moves on; null when exhausted or closed.
  const n4::MemberRow* NextMemberRow(HANDLE hFind, int level);

  BOOL m_bReadOnly = FALSE;
  BOOL m_bExclusive = FALSE;
  std::string m_strPath;  // empty: the file the settings name, looked up at each open
  std::unique_ptr<n4::GroupConnection> m_pDatabase;
  std::unique_ptr<n4::GroupIdSet> m_pGroupSet;
  std::vector<std::unique_ptr<n4::GroupSearch>> m_searches;
  std::uintptr_t m_nextToken = 1;
};
