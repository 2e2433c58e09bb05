// The groups of a group database and their direct members, read once through
// the library's walks, for the tree, for finding names and for naming a group
// on the command line.
#pragma once

#include <n4file/Group.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "Tool.h"

namespace n4tool {

// A group or a sign as the database describes it.
struct GroupEntry {
  long type = 0;  // n4::kGroupMemberSign or n4::kGroupMemberGroup
  long id = 0;
  std::string name;
  long rows = 0, columns = 0, color = 0;
  std::string machine, address;  // signs only
};

class GroupCatalog {
 public:
  explicit GroupCatalog(CN4FileGroup& db);

  // The group of this name (case ignored, as the database compares names),
  // else the group of this number; null when there is none.
  const GroupEntry* FindGroup(const std::string& nameOrNumber) const;
  bool Contains(long group, long member, long type) const;

  // The groups that no group holds, each with its members, nested; a shared
  // group appears under every group that holds it.
  nlohmann::ordered_json TreeJson() const;
  static std::string TreeText(const nlohmann::ordered_json& tree);
  // Every group and every sign in a group with this name, each with the
  // names of the groups that hold it ("in").
  nlohmann::ordered_json FindJson(const std::string& name) const;
  static std::string FindText(const nlohmann::ordered_json& found);

 private:
  nlohmann::ordered_json Node(const GroupEntry& entry, std::set<long>& path, std::set<long>& drawn,
                              std::size_t& count) const;

  std::map<long, GroupEntry> m_groups;
  std::map<long, std::vector<GroupEntry>> m_members;  // by group, in the database's order
};

// Dumps JSON on standard output; bytes that are not UTF-8 become U+FFFD.
void PrintJson(const nlohmann::ordered_json& json);

}  // namespace n4tool
