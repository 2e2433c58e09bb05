// n4file dc pages and info on the display controller's settings files, run on
// files written by the library itself.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

#include <nlohmann/json.hpp>

#include <n4file/Settings.h>

namespace fs = std::filesystem;

namespace {

struct Output {
  int status = -1;
  std::string out;
  std::string err;
};

std::string ReadAll(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

std::string ShellQuote(const std::string& s) {
  std::string q = "'";
  for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return q + "'";
}

class SettingsToolTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::random_device rd;
    dir_ = fs::temp_directory_path() / ("n4file-settings-tool-test-" + std::to_string(rd()));
    fs::create_directories(dir_);
  }
  void TearDown() override { fs::remove_all(dir_); }

  Output Run(const std::vector<std::string>& args) {
    std::string command = "cd " + ShellQuote(dir_.string()) + " && " + ShellQuote(N4_TOOL_PATH);
    for (const auto& a : args) command += " " + ShellQuote(a);
    command += " >stdout.txt 2>stderr.txt";
    const int raw = std::system(command.c_str());
    Output r;
    r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    r.out = ReadAll(dir_ / "stdout.txt");
    r.err = ReadAll(dir_ / "stderr.txt");
    return r;
  }

  std::string Path(const std::string& name) const { return (dir_ / name).string(); }

  void WritePage(const std::string& name, const std::string& type, const std::vector<int>& cells) {
    CN4FileDCPage page(name);
    page.SetPathName(Path(name + ".dcp"));
    page.SetPageType(type);
    page.SetGridRows(4);
    page.SetGridCols(3);
    page.WritePageData();
    for (int cell : cells) {
      page.ClearCell();
      page.SetCellType("Sequence");
      page.SetCellName("Show " + std::to_string(cell));
      page.SetCellPath("/srv/show" + std::to_string(cell) + ".SQ4");
      page.SetCellRow(cell / 3);
      page.SetCellCol(cell % 3);
      ASSERT_EQ(page.WriteCell(cell), 1);
    }
  }

  fs::path dir_;
};

TEST_F(SettingsToolTest, DcPagesListsGroupsPagesAndConfiguredCells) {
  CN4FileDCGroup group("Evening");
  group.SetPathName(Path("Evening.dcg"));
  group.SetPageName("Main");
  ASSERT_EQ(group.WritePage(0), 1);
  group.SetPageName("Scores");
  ASSERT_EQ(group.WritePage(2), 1);
  WritePage("Main", "Quick Display", {0, 7, 99});
  WritePage("Scores", "Interface", {});

  const Output r = Run({"dc", "pages", "--json", "."});
  ASSERT_EQ(r.status, 0) << r.err;
  const auto j = nlohmann::json::parse(r.out);
  ASSERT_EQ(j["groups"].size(), 1u);
  EXPECT_EQ(j["groups"][0]["name"], "Evening");
  ASSERT_EQ(j["groups"][0]["pages"].size(), 2u);
  EXPECT_EQ(j["groups"][0]["pages"][1]["number"], 3);
  EXPECT_EQ(j["groups"][0]["pages"][1]["name"], "Scores");
  ASSERT_EQ(j["pages"].size(), 2u);
  const auto& main = j["pages"][0];
  EXPECT_EQ(main["name"], "Main");
  EXPECT_EQ(main["grid_rows"], 4);
  ASSERT_EQ(main["cells"].size(), 3u);
  const int numbers[] = {1, 8, 100};
  for (size_t i = 0; i < 3; ++i) {
    SCOPED_TRACE(i);
    const int cell = numbers[i] - 1;
    EXPECT_EQ(main["cells"][i]["number"], numbers[i]);
    EXPECT_EQ(main["cells"][i]["name"], "Show " + std::to_string(cell));
    EXPECT_EQ(main["cells"][i]["row"], cell / 3);
    EXPECT_EQ(main["cells"][i]["column"], cell % 3);
  }
  EXPECT_EQ(j["pages"][1]["type"], "Interface");
  EXPECT_TRUE(j["pages"][1].contains("request_port"));
  EXPECT_TRUE(j["pages"][1]["cells"].empty());

  const Output text = Run({"dc", "pages", "."});
  ASSERT_EQ(text.status, 0);
  EXPECT_NE(text.out.find("page 3: Scores"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("Show 99"), std::string::npos) << text.out;
}

TEST_F(SettingsToolTest, DcPagesRejectsWhatIsNotADirectory) {
  std::ofstream(Path("plain.txt")) << "x";
  struct Case {
    std::vector<std::string> args;
    int status;
  } const cases[] = {
      {{"dc", "pages", "missing"}, 1},
      {{"dc", "pages", "plain.txt"}, 1},
      {{"dc", "pages"}, 2},
      {{"dc"}, 2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args.back());
    const Output r = Run(c.args);
    EXPECT_EQ(r.status, c.status);
    if (c.status == 1) {
      EXPECT_EQ(r.err.rfind("n4file: " + c.args.back() + ": ", 0), 0u) << r.err;
    }
  }
}


}  // namespace
