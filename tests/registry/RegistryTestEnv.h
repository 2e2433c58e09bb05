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
  explicit RegistryDirEnv(std::string dir) : EnvWrapper(n4::Env::Default()), dir_(std::move(dir)) {}

  std::string GetEnvironmentVariable(const std::string& name) override {
    return name == "N4_REGISTRY_DIR" ? dir_ : target()->GetEnvironmentVariable(name);
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
  std::string dir_;
  n4::FileRegistryStore store_{n4::LocateRegistryFile};
  n4::ScopedRegistryStore scopedStore_{&store_};
};

inline std::string FixturePath(const std::string& name) {
  return std::string(N4_TEST_DATA_DIR) + "/registry/" + name;
}

}  // namespace n4test
