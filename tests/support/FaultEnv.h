// An Env that injects failures into the platform calls the library makes:
// temporary files kept in a test directory, a full disk, failing mappings,
// failing replacements. Install with n4::ScopedEnv.
#pragma once

#include <cstdint>
#include <string>

#include "platform/Env.h"
#include "support/TestSupport.h"

namespace n4test {

class FaultEnv : public n4::EnvWrapper {
 public:
  FaultEnv() : EnvWrapper(n4::Env::Default()) {}

  // Temporary files go here instead of the system's directory.
  std::string tempDir;
  // Writable mappings larger than this fail (0: no limit).
  std::uint64_t failMapAbove = 0;
  DWORD mapFailure = n4::kErrDiskFull;
  // The free space reported for every root, in bytes (-1: the real value).
  std::int64_t freeBytes = -1;
  // A non-zero code makes ReplaceFile fail with it.
  DWORD replaceFailure = 0;
  // Count of calls that were made.
  int replaceCalls = 0;

  std::unique_ptr<n4::FileHandle> OpenFile(const std::string& path, n4::FileAccess access, n4::FileShare share,
                                           n4::FileDisposition disposition, n4::SysError* err) override;
  bool GetTempDirectory(std::string* dir, n4::SysError* err) override;
  bool ReplaceFile(const std::string& from, const std::string& to, n4::SysError* err) override;
  bool GetDiskFreeSpace(const std::string& root, n4::DiskFreeSpace* space, n4::SysError* err) override;
};

// A FaultEnv installed for the scope, its temporary files kept in a
// directory of their own so that a test can see what a failure left behind.
struct ScopedFaultEnv {
  TempDir tmp;
  FaultEnv env;
  n4::ScopedEnv scoped{&env};
  ScopedFaultEnv() { env.tempDir = tmp.path() + "/"; }
  int TempFiles() const { return static_cast<int>(tmp.List().size()); }
};

}  // namespace n4test
