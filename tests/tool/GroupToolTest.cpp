// n4file group, end to end on a real database file.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <nlohmann/json.hpp>

#include <n4file/Group.h>

#include "ToolRunner.h"

namespace fs = std::filesystem;

namespace {

using n4tooltest::Result;

const char kHostile[] = "x'; DROP TABLE [Sign]; -- \"quoted\"";

class GroupToolTest : public n4tooltest::ToolRunner {
 protected:
  void SetUp() override {
    ToolRunner::SetUp();
    fs::create_directories(dir_ / "data");
    env_ = "N4_REGISTRY_DIR=" + n4tooltest::ShellQuote((dir_ / "registry").string());
    ASSERT_EQ(Run({"registry", "set", "File Locations", "DataPath", (dir_ / "data").string()}).status, 0);
  }

  // `group` commands on db_ unless they name a database themselves.
  Result Run(std::vector<std::string> args) {
    if (!db_.empty() && args.size() > 1 && args[0] == "group" && args[1] != "--db") {
      args.insert(args.begin() + 1, {"--db", db_});
    }
    return ToolRunner::Run(args);
  }
  void Ok(const std::vector<std::string>& args) {
    const Result r = Run(args);
    ASSERT_EQ(r.status, 0) << args[1] << ": " << r.err;
  }
  // Building holds Floor 1 and Floor 2, both hold Shared; the sign Lobby is
  // in Shared and in Floor 1.
  void BuildTree() {
    for (const char* g : {"Building", "Floor 1", "Floor 2", "Shared"}) Ok({"group", "add-group", g});
    Ok({"group", "add-sign", "Lobby", "16x80.Mono1", "--machine", "ctl1", "--address", "COM2"});
    Ok({"group", "add-sign", "Stairs", "/srv/shows/8x32.RGB4K.SIGN/News.LIB"});
    for (auto [group, member] : {std::pair{"Building", "Floor 1"}, {"Building", "Floor 2"}, {"Floor 1", "Shared"},
                                 {"Floor 2", "Shared"}}) {
      Ok({"group", "add-member", group, member});
    }
    for (auto [group, sign] : {std::pair{"Shared", "1"}, {"Floor 1", "1"}, {"Floor 2", "2"}}) {
      Ok({"group", "add-member", group, sign, "--sign"});
    }
  }
  std::string db_ = "groups.mdb";
};

int CountSigns(const nlohmann::json& nodes, long id) {
  int n = 0;
  for (const auto& node : nodes) {
    if (node["type"] == "sign" && node["id"] == id) ++n;
    if (node.contains("members")) n += CountSigns(node["members"], id);
  }
  return n;
}

TEST_F(GroupToolTest, TreeDrawsSharedGroupsUnderEveryParent) {
  BuildTree();
  const Result text = Run({"group", "tree"});
  ASSERT_EQ(text.status, 0) << text.err;
  EXPECT_EQ(text.out,
            "Building (group 1)\n"
            "  Floor 1 (group 2)\n"
            "    Shared (group 4)\n"
            "      Lobby (sign 1, 16x80 Mono1, machine ctl1, address COM2)\n"
            "    Lobby (sign 1, 16x80 Mono1, machine ctl1, address COM2)\n"
            "  Floor 2 (group 3)\n"
            "    Shared (group 4)\n"
            "      Lobby (sign 1, 16x80 Mono1, machine ctl1, address COM2)\n"
            "    Stairs (sign 2, 8x32 RGB4K)\n");
  const Result json = Run({"group", "tree", "--json"});
  ASSERT_EQ(json.status, 0) << json.err;
  const auto j = nlohmann::json::parse(json.out);
  ASSERT_EQ(j["groups"].size(), 1u);
  EXPECT_EQ(j["groups"][0]["members"][1]["name"], "Floor 2");
  EXPECT_EQ(CountSigns(j["groups"], 1), 3);
  EXPECT_EQ(j["groups"][0]["members"][1]["members"][1]["color"], "RGB4K");

  const Result found = Run({"group", "find", "lobby", "--json"});
  ASSERT_EQ(found.status, 0) << found.err;
  EXPECT_EQ(nlohmann::json::parse(found.out),
            nlohmann::json::parse(R"([{"type": "sign", "id": 1, "name": "Lobby", "rows": 16, "columns": 80,
              "color": "Mono1", "machine": "ctl1", "address": "COM2", "in": ["Floor 1", "Shared"]}])"));
  EXPECT_EQ(Run({"group", "find", "Shared"}).out, "Shared (group 4) in Floor 1, Floor 2\n");
  EXPECT_EQ(Run({"group", "find", "Nobody"}).status, 1);

  // Out of one group, then gone from every group; a deleted group's children
  // become tops of their own.
  Ok({"group", "delete", "member", "Floor 1", "1", "--sign"});
  Ok({"group", "delete", "sign", "1"});
  Ok({"group", "delete", "group", "Building"});
  EXPECT_EQ(Run({"group", "tree"}).out,
            "Floor 1 (group 2)\n  Shared (group 4)\n"
            "Floor 2 (group 3)\n  Shared (group 4)\n  Stairs (sign 2, 8x32 RGB4K)\n");
}

TEST_F(GroupToolTest, RefusalsAreOneLineWithTheirExitStatus) {
  BuildTree();
  struct Case {
    std::vector<std::string> args;
    int status;
    std::string line;  // the whole of standard error
  } cases[] = {
      {{"group", "add-member", "Shared", "Building"}, 1,
       "n4file: groups.mdb: Error adding group!  A group cannot be added to itself. (recursive group include)"},
      {{"group", "add-member", "Shared", "Shared"}, 1,
       "n4file: groups.mdb: Error adding group!  A group cannot be added to itself. (recursive group include)"},
      {{"group", "add-member", "Floor 1", "Shared"}, 1, "n4file: groups.mdb: \"Shared\" is a member of \"Floor 1\" already"},
      {{"group", "add-group", "floor 1"}, 1, "n4file: groups.mdb: a group named \"floor 1\" exists already"},
      {{"group", "add-member", "Attic", "1", "--sign"}, 1, "n4file: groups.mdb: no group \"Attic\""},
      {{"group", "add-member", "Shared", "9", "--sign"}, 1, "n4file: groups.mdb: no sign number 9"},
      {{"group", "delete", "member", "Floor 2", "1", "--sign"}, 1, "n4file: groups.mdb: \"1\" is not a member of \"Floor 2\""},
      {{"group", "--db", "missing.mdb", "tree"}, 1,
       "n4file: missing.mdb: Could not open database for grouping!  Error opening missing.mdb."},
  };
  for (const Case& c : cases) {
    std::string trace;
    for (const auto& a : c.args) trace += a + " ";
    SCOPED_TRACE(trace);
    const Result r = Run(c.args);
    EXPECT_EQ(r.status, c.status);
    EXPECT_EQ(r.err, c.line + "\n");
  }
  for (const std::vector<std::string>& usage :
       {std::vector<std::string>{"group", "add-sign", "Lobby", "16x80.Mono99"}, {"group", "delete", "sign", "Lobby"},
        {"group", "tree", "--frobnicate"}, {"group"}}) {
    SCOPED_TRACE(usage.back());
    EXPECT_EQ(Run(usage).status, 2);
  }
  for (const char* command : {"add-sign", "add-group", "add-member", "delete", "tree", "find", "compact", "repair"}) {
    SCOPED_TRACE(command);
    const Result help = Run({"group", command, "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("Example:"), std::string::npos);
  }
  EXPECT_FALSE(fs::exists(dir_ / "missing.mdb"));
}

TEST_F(GroupToolTest, HostileNamesAreStoredAndFoundAsTheyAre) {
  Ok({"group", "add-group", kHostile});
  EXPECT_EQ(Run({"group", "add-group", kHostile}).status, 1);  // the name check holds with a quote too
  Ok({"group", "add-sign", std::string(kHostile) + " sign", "16x80.Mono1", "--machine", "'; DELETE FROM [Group]"});
  Ok({"group", "add-member", kHostile, "1", "--sign"});
  const Result tree = Run({"group", "tree"});
  EXPECT_EQ(tree.out, std::string(kHostile) + " (group 1)\n  " + kHostile +
                          " sign (sign 1, 16x80 Mono1, machine '; DELETE FROM [Group])\n");
  const Result found = Run({"group", "find", kHostile, "--json"});
  ASSERT_EQ(found.status, 0) << found.err;
  EXPECT_EQ(nlohmann::json::parse(found.out)[0]["name"], kHostile);
}

TEST_F(GroupToolTest, CompactAndRepairTheSettingsDatabase) {
  const fs::path database = dir_ / "data" / "N4Group.mdb";
  {
    CN4FileGroup db(database.string(), FALSE, FALSE);
    long group = 0, sign = 0;
    ASSERT_EQ(db.AddGroup("Kept", 1, 1, 0, &group), 1);
    for (int i = 0; i < 600; ++i) ASSERT_EQ(db.AddSign("s" + std::to_string(i), std::string(200, 'm'), "A", 1, 1, 0, &sign), 1);
    ASSERT_EQ(db.AddMember(group, 1, n4::kGroupMemberSign), 1);
  }
  // Without --db the tool works on the database the settings name.
  db_.clear();
  auto run = [&](const char* command) { return Run({"group", command}); };
  ASSERT_EQ(run("compact").status, 0) << run("compact").err;
  EXPECT_FALSE(fs::exists(dir_ / "data" / "N4grp_tmp.mdb"));

  std::string bytes = n4tooltest::ReadAll(database);
  const std::size_t page = 4096, middle = (bytes.size() / page / 2) * page;
  ASSERT_GT(bytes.size() / page, 20u);
  for (std::size_t i = 0; i < page; ++i) bytes[middle + i] = static_cast<char>(0xA5 ^ i);
  std::ofstream(database, std::ios::binary | std::ios::trunc) << bytes;
  const Result repaired = run("repair");
  EXPECT_EQ(repaired.status, 0) << repaired.err;
  EXPECT_EQ(run("tree").out, "Kept (group 1, 1x1 Mono1)\n  s0 (sign 1, 1x1 Mono1, machine " + std::string(200, 'm') +
                                 ", address A)\n");

  std::ofstream(database, std::ios::binary | std::ios::trunc) << std::string(8192, 'z');
  for (const char* command : {"repair", "compact"}) {
    SCOPED_TRACE(command);
    const Result r = run(command);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err.rfind("n4file: " + database.string() + ": Error " + command + "ing " + database.string() +
                              "!  Make sure the grouping service is stopped and no other applications are "
                              "currently using the database. Error = ",
                          0),
              0u)
        << r.err;
    EXPECT_EQ(r.err.find('\n'), r.err.size() - 1);
  }
}

}  // namespace
