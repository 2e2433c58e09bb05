// n4file group, end to end on a real database file.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

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
  Result Run(const std::vector<std::string>& given) const override {
    std::vector<std::string> args = given;
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

// Shown and searched; then out of one group, gone from every group, and a
// deleted group's children become tops of their own.
TEST_F(GroupToolTest, TreeDrawsSharedGroupsUnderEveryParent) {
  BuildTree();
  ExpectTranscript("group-tree.transcript", {{"group", "tree"},
                                             {"group", "tree", "--json"},
                                             {"group", "find", "lobby", "--json"},
                                             {"group", "find", "Shared"},
                                             {"group", "find", "Nobody"},
                                             {"group", "delete", "member", "Floor 1", "1", "--sign"},
                                             {"group", "delete", "sign", "1"},
                                             {"group", "delete", "group", "Building"},
                                             {"group", "tree"}});
}

TEST_F(GroupToolTest, RefusalsAreOneLineWithTheirExitStatus) {
  BuildTree();
  ExpectTranscript("group-refusals.transcript",
                   {{"group", "add-member", "Shared", "Building"},
                    {"group", "add-member", "Shared", "Shared"},
                    {"group", "add-member", "Floor 1", "Shared"},
                    {"group", "add-group", "floor 1"},
                    {"group", "add-member", "Attic", "1", "--sign"},
                    {"group", "add-member", "Shared", "9", "--sign"},
                    {"group", "delete", "member", "Floor 2", "1", "--sign"},
                    {"group", "--db", "missing.mdb", "tree"},
                    {"group", "add-sign", "Lobby", "16x80.Mono99"},
                    {"group", "delete", "sign", "Lobby"},
                    {"group", "tree", "--frobnicate"},
                    {"group"}});
  for (const char* command : {"add-sign", "add-group", "add-member", "delete", "tree", "find", "compact", "repair"}) {
    SCOPED_TRACE(command);
    const Result help = Run({"group", command, "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("Example:"), std::string::npos);
  }
  EXPECT_FALSE(fs::exists(dir_ / "missing.mdb"));
}

// The second add is refused: the name check holds with a quote too.
TEST_F(GroupToolTest, HostileNamesAreStoredAndFoundAsTheyAre) {
  const std::string hostile = kHostile;
  ExpectTranscript("group-hostile.transcript",
                   {{"group", "add-group", hostile},
                    {"group", "add-group", hostile},
                    {"group", "add-sign", hostile + " sign", "16x80.Mono1", "--machine", "'; DELETE FROM [Group]"},
                    {"group", "add-member", hostile, "1", "--sign"},
                    {"group", "tree"},
                    {"group", "find", hostile, "--json"}});
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
