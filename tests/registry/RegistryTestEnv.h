// Points the registry at .reg files in a test directory, and can make their
// writes fail. The file-backed store is installed explicitly, so that it is
// the one tested on systems that have a registry of their own too.
#pragma once

#include <string>
#include <utility>

#include "platform/Env.h"
#include "registry/FileRegistryStore.h"
#include "registry/StoreSelection.h"
#include "support/TestSupport.h"

namespace n4test {

class RegistryDirEnv : public n4::EnvWrapper {
 public:
  // An empty dir leaves the store to its default place, under configHome.
  explicit RegistryDirEnv(std::string dir, std::string configHome = {})
      : EnvWrapper(n4::Env::Default()), dir_(std::move(dir)), configHome_(std::move(configHome)) {}

  std::string GetEnvironmentVariable(const std::string& name) override {
    if (name == "N4_REGISTRY_DIR") return dir_;
    if (name == "XDG_CONFIG_HOME" && !configHome_.empty()) return configHome_;
    return target()->GetEnvironmentVariable(name);
  }
  // Fails the store's writes at their first step.
  std::unique_ptr<n4::WritableFile> NewWritableFile(const std::string& path, n4::SysError* err) override {
    if (writeFailure != 0) {
      n4::Fail(err, writeFailure);
      return nullptr;
    }
    return target()->NewWritableFile(path, err);
  }

  DWORD writeFailure = 0;

 private:
  std::string dir_, configHome_;
  n4::FileRegistryStore store_{n4::LocateRegistryFile};
  n4::ScopedRegistryStore scopedStore_{&store_};
};

inline std::string FixturePath(const std::string& name) {
  return std::string(N4_TEST_DATA_DIR) + "/registry/" + name;
}

}  // namespace n4test
