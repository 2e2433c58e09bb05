// Helpers shared by the test programs: scratch directories, files, and child
// processes that re-run the test program in a named mode.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "platform/Env.h"

namespace n4test {

// A fresh directory removed with its content when destroyed.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }
  // The path of an entry, composed with the platform's separator.
  std::string File(const std::string& name) const { return n4::JoinPath(path_, name); }
  // Names of the entries, sorted.
  std::vector<std::string> List() const;

 private:
  std::string path_;
};

std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& bytes);
bool Exists(const std::string& path);
// Polls until path exists; false on time-out.
bool WaitForFile(const std::string& path, std::chrono::milliseconds timeout = std::chrono::seconds(20));

// A short fingerprint of long output, for golden lists of many results.
inline std::string Fingerprint(const void* data, size_t size) {
  std::uint64_t h = 14695981039346656037u;  // FNV-1a
  for (size_t i = 0; i < size; ++i) h = (h ^ static_cast<const unsigned char*>(data)[i]) * 1099511628211u;
  char text[17];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(h));
  return text;
}

#ifdef N4_TEST_DATA_DIR
// A file under tests/data.
inline std::string DataPath(const std::string& name) { return std::string(N4_TEST_DATA_DIR) + "/" + name; }
// Success when `actual` is the content of golden file `name`, else the line
// where they part; with N4_UPDATE_GOLDEN set in the environment `actual`
// becomes the golden content instead.
inline ::testing::AssertionResult MatchesGolden(const std::string& name, const std::string& actual) {
  if (std::getenv("N4_UPDATE_GOLDEN")) WriteFile(DataPath(name), actual);
  const std::string golden = ReadFile(DataPath(name));
  if (golden == actual) return ::testing::AssertionSuccess();
  size_t at = 0, line = 1;
  for (; at < golden.size() && at < actual.size() && golden[at] == actual[at]; ++at) line += golden[at] == '\n';
  return ::testing::AssertionFailure() << name << " differs at line " << line;
}
#endif

// True when the program runs under Wine on another system, for the few
// checks Wine cannot pass. Wine hands the Unix environment on, and our runs
// always name their prefix (scripts/run-windows-tests.sh).
bool UnderWine();

// A child mode: the test program started as `program --n4-child=NAME args...`
// runs the registered function instead of the tests and exits with its result.
using ChildMain = int (*)(const std::vector<std::string>& args);
struct ChildModeRegistrar {
  ChildModeRegistrar(const char* name, ChildMain main);
};
std::unique_ptr<n4::ChildProcess> StartChild(const std::string& mode, const std::vector<std::string>& args);

}  // namespace n4test

#define N4_TEST_CHILD_MODE(name)                                                   \
  static int name##_child_main(const std::vector<std::string>& args);              \
  static const n4test::ChildModeRegistrar name##_registrar(#name, name##_child_main); \
  static int name##_child_main([[maybe_unused]] const std::vector<std::string>& args)
