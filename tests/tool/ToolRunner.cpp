#include "ToolRunner.h"

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>

namespace n4tooltest {

std::string ReadAll(const std::filesystem::path& path) {
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

void ToolRunner::SetUp() {
  dir_ = std::filesystem::temp_directory_path() / ("n4file-tool-test-" + std::to_string(std::random_device{}()));
  std::filesystem::create_directories(dir_);
}

void ToolRunner::TearDown() { std::filesystem::remove_all(dir_); }

Result ToolRunner::Run(const std::vector<std::string>& args) const {
  std::string command = "cd " + ShellQuote(dir_.string()) + " && " + env_ + " " + ShellQuote(N4_TOOL_PATH);
  for (const auto& a : args) command += " " + ShellQuote(a);
  command += " >stdout.txt 2>stderr.txt";
  const int raw = std::system(command.c_str());
  return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, ReadAll(dir_ / "stdout.txt"), ReadAll(dir_ / "stderr.txt")};
}

void ToolRunner::ExpectTranscript(const std::string& name, const std::vector<std::vector<std::string>>& commands,
                                  const std::function<void()>& afterEach) const {
  std::string transcript;
  for (const auto& args : commands) {
    const Result r = Run(args);
    transcript += "$ n4file";
    for (const auto& a : args) transcript += " " + a;
    transcript += "\nexit " + std::to_string(r.status) + "\n" + r.err;
    if (!r.out.empty()) transcript += "stdout:\n" + r.out;
    if (afterEach) {
      SCOPED_TRACE(transcript.substr(transcript.rfind("$ ")));
      afterEach();
    }
  }
  const std::filesystem::path golden = std::filesystem::path(N4_TEST_DATA_DIR) / "tool" / name;
  if (std::getenv("N4_UPDATE_GOLDEN")) std::ofstream(golden, std::ios::binary) << transcript;
  EXPECT_EQ(transcript, ReadAll(golden)) << name;
}

}  // namespace n4tooltest
