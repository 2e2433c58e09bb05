// Runs the built n4file tool the way a user does: in a scratch directory of
// its own, standard output and standard error caught in files.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace n4tooltest {

struct Result {
  int status = -1;  // the exit status, -1 when the tool did not exit
  std::string out;
  std::string err;
};

std::string ReadAll(const std::filesystem::path& path);

// One word for the POSIX shell, whatever it holds.
std::string ShellQuote(const std::string& s);

class ToolRunner : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  virtual Result Run(const std::vector<std::string>& args) const;
  // Runs each command and compares their exit statuses and what they printed
  // with the golden transcript tests/data/tool/<name>; afterEach runs after
  // every command. With N4_UPDATE_GOLDEN set in the environment the file is
  // rewritten instead, to be reviewed in the diff.
  void ExpectTranscript(const std::string& name, const std::vector<std::vector<std::string>>& commands,
                        const std::function<void()>& afterEach = {}) const;
  std::string Path(const std::string& name) const { return (dir_ / name).string(); }

  std::filesystem::path dir_;
  std::string env_;  // "NAME=value" words put before every run
};

}  // namespace n4tooltest
