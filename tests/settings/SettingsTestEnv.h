// A data directory for the settings files, set through the registry store.
#pragma once

#include <filesystem>
#include <string>

#include "n4file/Registry.h"
#include "platform/Path.h"
#include "profile/ProfileCache.h"
#include "registry/RegistryTestEnv.h"
#include "support/TestSupport.h"

namespace n4test {

struct DataDirEnv {
  explicit DataDirEnv(const std::string& root) : env(root + "/registry"), scoped(&env), dataDir(n4::JoinPath(root, "data")) {
    std::filesystem::create_directories(dataDir);
    CN4Registry reg;
    reg.CreateMachineRegistryKey("File Locations");
    reg.SetRegistryString("DataPath", dataDir.c_str());
    n4::ProfileCache::Instance().Clear();
  }
  // As the library composes it: with the platform's separators throughout.
  std::string File(const std::string& name) const { return n4::JoinPath(dataDir, n4::path::WithSeparators(name)); }
  // Writes a file behind the cache's back, as another program would.
  void Put(const std::string& name, const std::string& bytes) const {
    std::filesystem::create_directories(std::filesystem::path(File(name)).parent_path());
    WriteFile(File(name), bytes);
    n4::ProfileCache::Instance().Forget(File(name));
  }
  std::string Get(const std::string& name) const { return ReadFile(File(name)); }

  RegistryDirEnv env;
  n4::ScopedEnv scoped;
  std::string dataDir;
};

// A file kept under tests/data/settings.
inline std::string SettingsGolden(const std::string& name) {
  return ReadFile(std::string(N4_TEST_DATA_DIR) + "/settings/" + name);
}

class SettingsTest : public ::testing::Test {
 protected:
  SettingsTest() : data_(dir_.path()) {}
  TempDir dir_;
  DataDirEnv data_;
};

}  // namespace n4test
