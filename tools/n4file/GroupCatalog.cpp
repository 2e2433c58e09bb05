#include "GroupCatalog.h"

#include <cstdlib>

#include "Sequence.h"

namespace n4tool {
namespace {

// Shared groups are drawn in full under every parent; past this many nodes
// (only a database built to explode would get there) a group already drawn
// is marked as repeated instead.
constexpr std::size_t kMaxNodes = 100000;

GroupEntry FromMember(const tag_N4_GRP_MEMBER_DATA& m) {
  GroupEntry e;
  e.type = static_cast<long>(m.dwType);
  e.id = static_cast<long>(m.dwID);
  e.name = m.szName;
  e.rows = static_cast<long>(m.dwRows);
  e.columns = static_cast<long>(m.dwColumns);
  e.color = static_cast<long>(m.dwColorTech);
  if (e.type == n4::kGroupMemberSign) {
    e.machine = m.szMachine;
    e.address = m.szAddress;
  }
  return e;
}

nlohmann::ordered_json Describe(const GroupEntry& e) {
  nlohmann::ordered_json j = {{"type", e.type == n4::kGroupMemberSign ? "sign" : "group"},
                              {"id", e.id},
                              {"name", e.name},
                              {"rows", e.rows},
                              {"columns", e.columns},
                              {"color", ColorName(static_cast<DWORD>(e.color))}};
  if (e.type == n4::kGroupMemberSign) {
    j["machine"] = e.machine;
    j["address"] = e.address;
  }
  return j;
}

// "Lobby (group 2, 16x80 Mono1)": what a tree or find line says of a node.
std::string Line(const nlohmann::ordered_json& j) {
  std::string line = j["name"].get<std::string>() + " (" + j["type"].get<std::string>() + " " + j["id"].dump();
  if (j["rows"] != 0 || j["columns"] != 0) {
    line += ", " + j["rows"].dump() + "x" + j["columns"].dump() + " " + j["color"].get<std::string>();
  }
  for (const char* key : {"machine", "address"}) {
    if (j.contains(key) && !j[key].get<std::string>().empty()) line += std::string(", ") + key + " " + j[key].get<std::string>();
  }
  if (j.contains("loop")) line += ", holds itself";
  if (j.contains("repeated")) line += ", members shown above";
  return line + ")";
}

void DrawTree(const nlohmann::ordered_json& nodes, int depth, std::string& text) {
  for (const auto& node : nodes) {
    text += std::string(static_cast<std::size_t>(depth) * 2, ' ') + Line(node) + "\n";
    if (node.contains("members")) DrawTree(node["members"], depth + 1, text);
  }
}

}  // namespace

GroupCatalog::GroupCatalog(CN4FileGroup& db) {
  for (long id = db.GetFirstGroupID(); id != -1; id = db.GetNextGroupID()) {
    GroupEntry group;
    group.type = n4::kGroupMemberGroup;
    group.id = id;
    if (db.GetGroupInfo(id, group.name, group.rows, group.columns, group.color)) m_groups[id] = group;
  }
  for (const auto& [id, group] : m_groups) {
    std::vector<GroupEntry>& members = m_members[id];
    HANDLE find = db.FindMemberOpen(id);
    tag_N4_GRP_MEMBER_DATA member{};
    while (find != nullptr && db.FindNextMember(find, &member)) members.push_back(FromMember(member));
    db.FindMemberClose(find);
  }
}

const GroupEntry* GroupCatalog::FindGroup(const std::string& nameOrNumber) const {
  for (const auto& [id, group] : m_groups) {
    if (EqualsNoCase(group.name, nameOrNumber)) return &group;
  }
  char* end = nullptr;
  const long id = std::strtol(nameOrNumber.c_str(), &end, 10);
  if (nameOrNumber.empty() || *end != '\0') return nullptr;
  auto it = m_groups.find(id);
  return it == m_groups.end() ? nullptr : &it->second;
}

bool GroupCatalog::Contains(long group, long member, long type) const {
  auto it = m_members.find(group);
  if (it == m_members.end()) return false;
  for (const GroupEntry& m : it->second) {
    if (m.id == member && m.type == type) return true;
  }
  return false;
}

nlohmann::ordered_json GroupCatalog::Node(const GroupEntry& entry, std::set<long>& path, std::set<long>& drawn,
                                          std::size_t& count) const {
  nlohmann::ordered_json node = Describe(entry);
  ++count;
  if (entry.type != n4::kGroupMemberGroup) return node;
  // A group that holds itself (through more levels than the library's check
  // follows) is drawn once on each path.
  if (path.count(entry.id) != 0) {
    node["loop"] = true;
    return node;
  }
  if (count > kMaxNodes && drawn.count(entry.id) != 0) {
    node["repeated"] = true;
    return node;
  }
  drawn.insert(entry.id);
  path.insert(entry.id);
  node["members"] = nlohmann::ordered_json::array();
  auto members = m_members.find(entry.id);
  if (members != m_members.end()) {
    for (const GroupEntry& m : members->second) node["members"].push_back(Node(m, path, drawn, count));
  }
  path.erase(entry.id);
  return node;
}

nlohmann::ordered_json GroupCatalog::TreeJson() const {
  std::set<long> held;
  for (const auto& [id, members] : m_members) {
    for (const GroupEntry& m : members) {
      if (m.type == n4::kGroupMemberGroup && m.id != id) held.insert(m.id);
    }
  }
  nlohmann::ordered_json tree = nlohmann::ordered_json::array();
  std::set<long> path, drawn;
  std::size_t count = 0;
  for (const auto& [id, group] : m_groups) {
    if (held.count(id) == 0) tree.push_back(Node(group, path, drawn, count));
  }
  // Groups that only a loop of groups holds have no top; each loop is drawn
  // from its first group.
  for (const auto& [id, group] : m_groups) {
    if (drawn.count(id) == 0) tree.push_back(Node(group, path, drawn, count));
  }
  return tree;
}

std::string GroupCatalog::TreeText(const nlohmann::ordered_json& tree) {
  std::string text;
  DrawTree(tree, 0, text);
  return text;
}

nlohmann::ordered_json GroupCatalog::FindJson(const std::string& name) const {
  nlohmann::ordered_json found = nlohmann::ordered_json::array();
  auto add = [&](const GroupEntry& entry) {
    nlohmann::ordered_json j = Describe(entry);
    j["in"] = nlohmann::ordered_json::array();
    for (const auto& [id, members] : m_members) {
      if (Contains(id, entry.id, entry.type)) j["in"].push_back(m_groups.at(id).name);
    }
    found.push_back(j);
  };
  for (const auto& [id, group] : m_groups) {
    if (EqualsNoCase(group.name, name)) add(group);
  }
  std::set<long> signs;
  for (const auto& [id, members] : m_members) {
    for (const GroupEntry& m : members) {
      if (m.type == n4::kGroupMemberSign && EqualsNoCase(m.name, name) && signs.insert(m.id).second) add(m);
    }
  }
  return found;
}

std::string GroupCatalog::FindText(const nlohmann::ordered_json& found) {
  std::string text;
  for (const auto& j : found) {
    text += Line(j);
    std::string in;
    for (const auto& group : j["in"]) in += (in.empty() ? "" : ", ") + group.get<std::string>();
    text += in.empty() ? "\n" : " in " + in + "\n";
  }
  return text;
}

void PrintJson(const nlohmann::ordered_json& json) {
  std::printf("%s\n", json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace).c_str());
}

}  // namespace n4tool
