// Points the registry store at a test directory, and can make its writes fail.
#pragma once

#include <string>
#include <utility>

#include "platform/Env.h"
#include "support/TestSupport.h"

namespace n4test {

class RegistryDirEnv : public n4::EnvWrapper {
 public:
  explicit RegistryDirEnv(std::string dir) : EnvWrapper(n4::Env::Default()), dir_(std::move(dir)) {}

  std::string GetEnvironmentVariable(const std::string& name) override {
    return name == "N4_REGISTRY_DIR" ? dir_ : target()->GetEnvironmentVariable(name);
  }
  bool WriteFileAtomic(const std::string& path, const std::string& data, n4::SysError* err) override {
    if (writeFailure != 0) return n4::Fail(err, writeFailure);
    return target()->WriteFileAtomic(path, data, err);
  }

  DWORD writeFailure = 0;

 private:
  std::string dir_;
};

inline std::string FixturePath(const std::string& name) {
  return std::string(N4_TEST_DATA_DIR) + "/registry/" + name;
}

}  // namespace n4test
