// Walking and adding to a group tree, beside one plain SQL query over the
// same rows in the same run.
//
// The tree has 10 levels: a root, two subgroups per group down to level 9,
// and 10,000 signs spread over the 512 groups of level 9. "FindNextSignMember"
// walks from the root to every sign; its reference is one join of the member
// rows with the sign rows, reading the same fields. "AddMember" adds the root
// to a new group, which first follows the whole tree looking for the new
// group (the recursion check), then takes it out again; its reference is one
// recursive query that answers the same question. Goal: the walk within 5x
// its reference.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "RatioReporter.h"
#include "n4file/Group.h"
#include "n4file/Registry.h"
#include "platform/Env.h"

namespace {

namespace fs = std::filesystem;

constexpr int kLevels = 10;
constexpr int kSigns = 10000;

struct Tree {
  fs::path dir;
  std::unique_ptr<n4::EnvWithVariables> env;
  std::unique_ptr<n4::ScopedEnv> scoped;
  std::unique_ptr<CN4FileGroup> group;
  std::string path;
  long root = 0;
  long outside = 0;  // a group outside the tree, the root is added to it

  Tree() {
    dir = fs::temp_directory_path() / "n4file-group-bench";
    fs::remove_all(dir);
    fs::create_directories(dir / "data");
    env = std::make_unique<n4::EnvWithVariables>(n4::Env::Default(),
                                                 std::map<std::string, std::string>{{"N4_REGISTRY_DIR", dir.string()}});
    scoped = std::make_unique<n4::ScopedEnv>(env.get());
    CN4Registry reg;
    if (!reg.CreateMachineRegistryKey("File Locations")) std::abort();
    reg.SetRegistryString("DataPath", (dir / "data").string().c_str());
    group = std::make_unique<CN4FileGroup>();
    path = CN4FileGroup::GetGroupDatabasePath();
    if (!group->AddGroup("root", 16, 80, 0, &root)) std::abort();
    std::vector<long> level{root};
    for (int depth = 1; depth < kLevels; ++depth) {
      std::vector<long> next;
      for (long parent : level) {
        for (int child = 0; child < 2; ++child) {
          long id = 0;
          // Appended piece by piece: GCC 12 warns falsely on "lit" + a temporary.
          std::string name = "g";
          name += std::to_string(depth);
          name += '.';
          name += std::to_string(next.size());
          if (!group->AddGroup(name, 16, 80, 0, &id) ||
              !group->AddMember(parent, id, n4::kGroupMemberGroup)) {
            std::abort();
          }
          next.push_back(id);
        }
      }
      level = std::move(next);
    }
    for (int i = 0; i < kSigns; ++i) {
      long id = 0;
      if (!group->AddSign("Sign " + std::to_string(i), "HOST" + std::to_string(i % 7), "COM1:" + std::to_string(i),
                          16, 80, 0, &id) ||
          !group->AddMember(level[static_cast<std::size_t>(i) % level.size()], id, n4::kGroupMemberSign)) {
        std::abort();
      }
    }
    if (!group->AddGroup("outside", 16, 80, 0, &outside)) std::abort();
  }
  ~Tree() {
    group.reset();
    scoped.reset();
    std::error_code ec;
    fs::remove_all(dir, ec);
  }
};

Tree& TheTree() {
  static Tree tree;
  return tree;
}

// A second connection for the plain queries, as another application would have.
struct Plain {
  sqlite3* db = nullptr;
  explicit Plain(const std::string& path) {
    if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) std::abort();
  }
  ~Plain() { sqlite3_close(db); }
};

void CopyColumn(char (&field)[261], sqlite3_stmt* statement, int column) {
  const char* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
  std::strncpy(field, text != nullptr ? text : "", sizeof field - 1);
  field[sizeof field - 1] = '\0';
}

void BM_FindNextSignMember(benchmark::State& state) {
  Tree& tree = TheTree();
  for (auto _ : state) {
    HANDLE find = tree.group->FindMemberOpen(tree.root);
    tag_N4_GRP_MEMBER_DATA member{};
    int count = 0;
    while (tree.group->FindNextSignMember(find, &member)) ++count;
    tree.group->FindMemberClose(find);
    if (count != kSigns) state.SkipWithError("walk did not reach every sign");
    benchmark::DoNotOptimize(member);
  }
  state.SetItemsProcessed(state.iterations() * kSigns);
}

void BM_PlainJoinQuery(benchmark::State& state) {
  Tree& tree = TheTree();
  Plain plain(tree.path);
  const char* sql =
      "SELECT s.[SignID], s.[Name], s.[Machine], s.[Address], s.[Rows], s.[Columns], s.[ColorTech] "
      "FROM [MemberJoin] AS m JOIN [Sign] AS s ON s.[SignID] = m.[ID] WHERE m.[Type] = 1";
  for (auto _ : state) {
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(plain.db, sql, -1, &statement, nullptr);
    tag_N4_GRP_MEMBER_DATA member{};
    int count = 0;
    while (sqlite3_step(statement) == SQLITE_ROW) {
      member.dwID = static_cast<DWORD>(sqlite3_column_int(statement, 0));
      CopyColumn(member.szName, statement, 1);
      CopyColumn(member.szMachine, statement, 2);
      CopyColumn(member.szAddress, statement, 3);
      member.dwRows = static_cast<DWORD>(sqlite3_column_int(statement, 4));
      member.dwColumns = static_cast<DWORD>(sqlite3_column_int(statement, 5));
      member.dwColorTech = static_cast<DWORD>(sqlite3_column_int(statement, 6));
      ++count;
    }
    sqlite3_finalize(statement);
    if (count != kSigns) state.SkipWithError("query did not reach every sign");
    benchmark::DoNotOptimize(member);
  }
  state.SetItemsProcessed(state.iterations() * kSigns);
}

void BM_AddMember(benchmark::State& state) {
  Tree& tree = TheTree();
  for (auto _ : state) {
    if (!tree.group->AddMember(tree.outside, tree.root, n4::kGroupMemberGroup) ||
        !tree.group->DeleteMember(tree.outside, tree.root, n4::kGroupMemberGroup, FALSE)) {
      state.SkipWithError("add or delete failed");
    }
  }
}

void BM_PlainRecursiveQuery(benchmark::State& state) {
  Tree& tree = TheTree();
  Plain plain(tree.path);
  // Is `outside` among the groups within 10 levels below the root?
  const char* sql =
      "WITH RECURSIVE below([ID], depth) AS (SELECT ?1, 0 UNION ALL "
      "SELECT m.[ID], below.depth + 1 FROM [MemberJoin] AS m JOIN below ON m.[GroupID] = below.[ID] "
      "WHERE m.[Type] = 2 AND below.depth < 10) SELECT count(*) FROM below WHERE [ID] = ?2";
  for (auto _ : state) {
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(plain.db, sql, -1, &statement, nullptr);
    sqlite3_bind_int(statement, 1, static_cast<int>(tree.root));
    sqlite3_bind_int(statement, 2, static_cast<int>(tree.outside));
    if (sqlite3_step(statement) != SQLITE_ROW || sqlite3_column_int(statement, 0) != 0) {
      state.SkipWithError("recursive query failed");
    }
    sqlite3_finalize(statement);
  }
}

BENCHMARK(BM_FindNextSignMember)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_PlainJoinQuery)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_AddMember)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_PlainRecursiveQuery)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  return n4bench::RunWithRatios(
      argc, argv,
      {{"BM_FindNextSignMember/real_time", "BM_PlainJoinQuery/real_time", "<= 5", 5},
       {"BM_AddMember/real_time", "BM_PlainRecursiveQuery/real_time", "(recursion check and write)", 0}});
}
