// n4file group: signs gathered into named, nested groups in the group database.
#include <n4file/Group.h>
#include <n4file/Message.h>

#include <cstdlib>
#include <memory>

#include "Commands.h"
#include "GroupCatalog.h"

namespace n4tool {
namespace {

struct Options {
  std::string db;  // empty: the file the settings name
  std::string name, sign, machine, address, group, member;
  bool memberIsSign = false;
  bool json = false;
};

std::string DatabasePath(const Options& o) { return o.db.empty() ? CN4FileGroup::GetGroupDatabasePath() : o.db; }

// The library tells the user what went wrong through n4::ShowMessage. Here
// that becomes the tool's one error line; only the first message is shown,
// since what follows a failure (a retried open) says the same again.
class MessageLine {
 public:
  explicit MessageLine(std::string file) : m_file(std::move(file)) {
    m_previous = n4::SetMessageSink([this](const std::string& text, UINT) {
      if (m_shown++ == 0) Fail(m_file, OneLine(text));
    });
  }
  ~MessageLine() { n4::SetMessageSink(std::move(m_previous)); }
  MessageLine(const MessageLine&) = delete;
  MessageLine& operator=(const MessageLine&) = delete;
  bool Shown() const { return m_shown > 0; }
  // The failure line, unless the library gave one already.
  int Failure(const std::string& cause) const { return Shown() ? kExitFailure : Fail(m_file, cause); }

 private:
  // Some texts break their line for a message box; here they run on.
  static std::string OneLine(const std::string& text) {
    std::string line;
    for (char c : text) {
      if (c == '\r' || c == '\n') {
        if (!line.empty() && line.back() != ' ') line += ' ';
      } else {
        line += c;
      }
    }
    while (!line.empty() && line.back() == ' ') line.pop_back();
    return line;
  }

  std::string m_file;
  n4::MessageSink m_previous;
  int m_shown = 0;
};

// Listing commands open the file read-only, so that a wrong --db is an error
// rather than a new empty database; changes create the file when it is new.
std::unique_ptr<CN4FileGroup> OpenDatabase(const Options& o, bool readOnly) {
  const BOOL ro = readOnly ? TRUE : FALSE;
  return o.db.empty() ? std::make_unique<CN4FileGroup>(ro, FALSE) : std::make_unique<CN4FileGroup>(o.db, ro, FALSE);
}

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

// "16x80.Mono1" or a sign directory such as /srv/shows/16x80.Mono1.SIGN.
void ParseSign(const std::string& text, long& rows, long& columns, long& color) {
  if (!CN4FileGroup::ParseN4SignString(text, rows, columns, color) || rows <= 0 || columns <= 0) {
    UsageError("SIGN must be ROWSxCOLUMNS.COLOUR, e.g. 16x80.Mono1 (colours: " + ColorNames() + "), or a sign directory");
  }
}

long SignNumber(const std::string& text) {
  char* end = nullptr;
  const long id = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || id <= 0) UsageError("a sign is given by its number, not " + Quoted(text));
  return id;
}

int AddSign(const Options& o) {
  long rows = 0, columns = 0, color = 0, id = 0;
  ParseSign(o.sign, rows, columns, color);
  MessageLine messages(DatabasePath(o));
  auto db = OpenDatabase(o, false);
  if (messages.Shown()) return kExitFailure;
  if (!db->AddSign(o.name, o.machine, o.address, rows, columns, color, &id)) return messages.Failure("sign not added");
  std::printf("%ld\n", id);
  return kExitOk;
}

int AddGroup(const Options& o) {
  long rows = 0, columns = 0, color = 0, id = 0;
  if (!o.sign.empty()) ParseSign(o.sign, rows, columns, color);
  MessageLine messages(DatabasePath(o));
  auto db = OpenDatabase(o, false);
  if (messages.Shown()) return kExitFailure;
  // The library's name check never matches a name holding a quote; the
  // catalog's does.
  if (!db->IsValidGroupName(o.name) || GroupCatalog(*db).FindGroup(o.name)) {
    return messages.Failure("a group named " + Quoted(o.name) + " exists already");
  }
  if (!db->AddGroup(o.name, rows, columns, color, &id)) return messages.Failure("group not added");
  std::printf("%ld\n", id);
  return kExitOk;
}

// The group and the member an add-member or delete member names; false after
// the error line.
bool ResolveMembership(CN4FileGroup& db, const GroupCatalog& catalog, const Options& o, const MessageLine& messages,
                       long& group, long& member) {
  const auto* parent = catalog.FindGroup(o.group);
  if (parent == nullptr) {
    messages.Failure("no group " + Quoted(o.group));
    return false;
  }
  group = parent->id;
  if (o.memberIsSign) {
    member = SignNumber(o.member);
    std::string name, machine, address;
    long rows = 0, columns = 0, color = 0;
    if (db.GetSignInfo(member, name, machine, address, rows, columns, color)) return true;
    messages.Failure("no sign number " + o.member);
    return false;
  }
  const auto* child = catalog.FindGroup(o.member);
  if (child == nullptr) {
    messages.Failure("no group " + Quoted(o.member));
    return false;
  }
  member = child->id;
  return true;
}

int AddMember(const Options& o) {
  MessageLine messages(DatabasePath(o));
  auto db = OpenDatabase(o, false);
  if (messages.Shown()) return kExitFailure;
  GroupCatalog catalog(*db);
  long group = 0, member = 0;
  if (!ResolveMembership(*db, catalog, o, messages, group, member)) return kExitFailure;
  const long type = o.memberIsSign ? n4::kGroupMemberSign : n4::kGroupMemberGroup;
  if (catalog.Contains(group, member, type)) {
    return messages.Failure(Quoted(o.member) + " is a member of " + Quoted(o.group) + " already");
  }
  if (!db->AddMember(group, member, type)) return messages.Failure("member not added");
  return kExitOk;
}

enum class Deleting { kSign, kGroup, kMember };

int Delete(const Options& o, Deleting what) {
  MessageLine messages(DatabasePath(o));
  auto db = OpenDatabase(o, false);
  if (messages.Shown()) return kExitFailure;
  if (what == Deleting::kSign) {
    // Taken out of every group too: a member row must not outlive its sign.
    if (!db->DeleteSign(SignNumber(o.member), TRUE)) return messages.Failure("no sign number " + o.member);
    return kExitOk;
  }
  GroupCatalog catalog(*db);
  if (what == Deleting::kGroup) {
    const auto* group = catalog.FindGroup(o.group);
    if (group == nullptr) return messages.Failure("no group " + Quoted(o.group));
    if (!db->DeleteGroup(group->id, TRUE)) return messages.Failure("group not deleted");
    return kExitOk;
  }
  long group = 0, member = 0;
  if (!ResolveMembership(*db, catalog, o, messages, group, member)) return kExitFailure;
  const long type = o.memberIsSign ? n4::kGroupMemberSign : n4::kGroupMemberGroup;
  if (!db->DeleteMember(group, member, type, FALSE)) {
    return messages.Failure(Quoted(o.member) + " is not a member of " + Quoted(o.group));
  }
  return kExitOk;
}

int Tree(const Options& o) {
  MessageLine messages(DatabasePath(o));
  auto db = OpenDatabase(o, true);
  if (messages.Shown()) return kExitFailure;
  GroupCatalog catalog(*db);
  if (messages.Shown()) return kExitFailure;
  const nlohmann::ordered_json tree = catalog.TreeJson();
  if (o.json) {
    PrintJson({{"file", DatabasePath(o)}, {"groups", tree}});
  } else {
    std::fputs(GroupCatalog::TreeText(tree).c_str(), stdout);
  }
  return kExitOk;
}

int Find(const Options& o) {
  MessageLine messages(DatabasePath(o));
  auto db = OpenDatabase(o, true);
  if (messages.Shown()) return kExitFailure;
  GroupCatalog catalog(*db);
  if (messages.Shown()) return kExitFailure;
  const nlohmann::ordered_json found = catalog.FindJson(o.name);
  if (found.empty()) return Fail(DatabasePath(o), "no group or sign named " + Quoted(o.name));
  if (o.json) {
    PrintJson(found);
  } else {
    std::fputs(GroupCatalog::FindText(found).c_str(), stdout);
  }
  return kExitOk;
}

int Maintain(const Options& o, bool repair) {
  MessageLine messages(DatabasePath(o));
  int ok = 0;
  if (repair) {
    ok = o.db.empty() ? CN4FileGroup::RepairGroupDatabase() : CN4FileGroup::RepairGroupDatabase(o.db);
  } else {
    ok = o.db.empty() ? CN4FileGroup::CompactGroupDatabase() : CN4FileGroup::CompactGroupDatabase(o.db);
  }
  return ok ? kExitOk : messages.Failure(repair ? "not repaired" : "not compacted");
}

// A command whose callback runs `run` on the shared options.
template <typename Run>
CLI::App* Command(CLI::App* parent, const char* name, const char* help, const char* example,
                  std::shared_ptr<Options> o, Run run) {
  auto* cmd = parent->add_subcommand(name, help);
  cmd->footer(std::string("Example:\n  ") + example);
  cmd->callback([o, run] { SetExitStatus(run(*o)); });
  return cmd;
}

}  // namespace

void AddGroupCommand(CLI::App& app) {
  auto o = std::make_shared<Options>();
  auto* cmd = app.add_subcommand("group", "Gather signs into named, nested groups (the group database)");
  cmd->require_subcommand(1);
  cmd->fallthrough();  // --db before or after the subcommand
  cmd->add_option("--db", o->db, "The database file (default: the grouping database in the data directory)");
  cmd->footer("A sign is named by its number (add-sign prints it), a group by its name or number.\nExample:\n"
              "  n4file group add-group Lobby --sign 16x80.Mono1\n"
              "  n4file group add-sign \"Front door\" 16x80.Mono1 --machine ctl1 --address COM2\n"
              "  n4file group add-member Lobby 1 --sign\n  n4file group tree --db groups.mdb");

  auto* sign = Command(cmd, "add-sign", "Add a sign and print its number",
                       "n4file group add-sign \"Front door\" 16x80.Mono1 --machine ctl1 --address COM2", o, AddSign);
  sign->add_option("NAME", o->name, "The sign's name")->required();
  sign->add_option("SIGN", o->sign, "ROWSxCOLUMNS.COLOUR, or the sign's directory (.../16x80.Mono1.SIGN)")->required();
  sign->add_option("--machine", o->machine, "The computer the sign is attached to");
  sign->add_option("--address", o->address, "The sign's address on that computer");

  auto* group = Command(cmd, "add-group", "Add a group and print its number",
                        "n4file group add-group Lobby --sign 16x80.Mono1", o, AddGroup);
  group->add_option("NAME", o->name, "The group's name; no two groups share one (case is ignored)")->required();
  group->add_option("--sign", o->sign, "The size and colour its signs share: ROWSxCOLUMNS.COLOUR");

  auto* member = Command(cmd, "add-member", "Put a group or (with --sign) a sign into a group",
                         "n4file group add-member Building Lobby && n4file group add-member Lobby 3 --sign", o,
                         AddMember);
  member->add_option("GROUP", o->group, "The group that takes the member")->required();
  member->add_option("MEMBER", o->member, "A group, or a sign's number with --sign")->required();
  member->add_flag("--sign", o->memberIsSign, "MEMBER is a sign");

  auto* del = cmd->add_subcommand("delete", "Delete a sign, a group or a membership");
  del->require_subcommand(1);
  del->fallthrough();
  del->footer("Example:\n  n4file group delete member Lobby 3 --sign\n  n4file group delete group Lobby");
  auto* delSign = Command(del, "sign", "Delete a sign and take it out of every group", "n4file group delete sign 3", o,
                          [](const Options& x) { return Delete(x, Deleting::kSign); });
  delSign->add_option("SIGN", o->member, "The sign's number")->required();
  auto* delGroup = Command(del, "group", "Delete a group and take it out of every group",
                           "n4file group delete group Lobby", o,
                           [](const Options& x) { return Delete(x, Deleting::kGroup); });
  delGroup->add_option("GROUP", o->group, "The group's name or number")->required();
  auto* delMember = Command(del, "member", "Take a member out of one group", "n4file group delete member Lobby 3 --sign",
                            o, [](const Options& x) { return Delete(x, Deleting::kMember); });
  delMember->add_option("GROUP", o->group, "The group")->required();
  delMember->add_option("MEMBER", o->member, "A group, or a sign's number with --sign")->required();
  delMember->add_flag("--sign", o->memberIsSign, "MEMBER is a sign");

  auto* tree = Command(cmd, "tree", "Draw the groups as an indented tree, signs as leaves", "n4file group tree --json",
                       o, Tree);
  tree->add_flag("--json", o->json, "One JSON object; keys in the README");
  auto* find = Command(cmd, "find", "Show the groups and signs of a name and the groups that hold them",
                       "n4file group find Lobby --json", o, Find);
  find->add_option("NAME", o->name, "The name (case is ignored)")->required();
  find->add_flag("--json", o->json, "A JSON array; keys in the README");

  Command(cmd, "compact", "Rewrite the database file compactly (nobody else may have it open)",
          "n4file group compact --db groups.mdb", o, [](const Options& x) { return Maintain(x, false); });
  Command(cmd, "repair", "Check the database file and rebuild it from what is readable if it is damaged",
          "n4file group repair --db groups.mdb", o, [](const Options& x) { return Maintain(x, true); });
}

}  // namespace n4tool
