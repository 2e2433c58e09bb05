#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <thread>

namespace fs = std::filesystem;

namespace n4test {

namespace {
std::map<std::string, ChildMain>& ChildModes() {
  static std::map<std::string, ChildMain> modes;
  return modes;
}
std::string g_program;
}  // namespace

TempDir::TempDir() {
  std::random_device rd;
  for (int attempt = 0; attempt < 100; ++attempt) {
    fs::path p = fs::temp_directory_path() / ("n4test-" + std::to_string(rd()) + std::to_string(attempt));
    std::error_code ec;
    if (fs::create_directory(p, ec)) {
      path_ = p.string();
      return;
    }
  }
  throw std::runtime_error("cannot create a temporary directory");
}

TempDir::~TempDir() {
  std::error_code ec;
  // Make read-only test files removable again.
  for (auto it = fs::recursive_directory_iterator(path_, ec); !ec && it != fs::recursive_directory_iterator(); ++it) {
    fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ec);
  }
  fs::remove_all(path_, ec);
}

std::vector<std::string> TempDir::List() const {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(path_)) names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

void WriteFile(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

bool Exists(const std::string& path) {
  std::error_code ec;
  return fs::exists(path, ec);
}

bool WaitForFile(const std::string& path, std::chrono::milliseconds timeout) {
  auto deadline = std::chrono::steady_clock::now() + timeout;
  while (!Exists(path)) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

bool UnderWine() {
  n4::Env* env = n4::Env::Default();
  return env->PathSeparator() == '\\' && !env->GetEnvironmentVariable("WINEPREFIX").empty();
}

ChildModeRegistrar::ChildModeRegistrar(const char* name, ChildMain main) { ChildModes()[name] = main; }

std::unique_ptr<n4::ChildProcess> StartChild(const std::string& mode, const std::vector<std::string>& args) {
  std::vector<std::string> argv{g_program, "--n4-child=" + mode};
  argv.insert(argv.end(), args.begin(), args.end());
  n4::SysError err;
  return n4::Env::Default()->StartProcess(argv, &err);
}

}  // namespace n4test

int main(int argc, char** argv) {
  n4test::g_program = n4::Env::Default()->GetExecutablePath();
  if (n4test::g_program.empty()) n4test::g_program = argv[0];
  if (argc >= 2 && std::strncmp(argv[1], "--n4-child=", 11) == 0) {
    auto it = n4test::ChildModes().find(argv[1] + 11);
    if (it == n4test::ChildModes().end()) return 125;
    return it->second(std::vector<std::string>(argv + 2, argv + argc));
  }
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
