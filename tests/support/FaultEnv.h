// An Env that injects failures into the platform calls the library makes,
// and simulates a power cut.
//
// Failures: temporary files kept in a test directory, a full disk, failing
// mapping growth, and the Nth write, sync or rename failing.
//
// Power cut (as in a fault-injection test of a storage engine): for the files
// of the directories given to TrackDurability, the model remembers what is
// durable: a file's content as of its last successful sync, and a
// directory's entries (creations, renames, deletions) as of its last
// successful directory sync. CutPowerAfter(n) lets n more mutating calls
// through and fails every later one, as if the machine had died there; then
// PowerCut() puts the tracked directories in the state the disk would show
// after a reboot: every byte and every entry not yet synced is gone.
//
// Install with n4::ScopedEnv. Not thread-safe.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "platform/Env.h"
#include "support/TestSupport.h"

namespace n4test {

class FaultEnv : public n4::EnvWrapper {
 public:
  FaultEnv() : EnvWrapper(n4::Env::Default()) {}

  // Temporary files go here instead of the system's directory.
  std::string tempDir;
  // Growing a writable mapping beyond this fails with a full disk (0: no limit).
  std::uint64_t failMapAbove = 0;
  // A writable mapping that grows always moves to new addresses (the old
  // ones are unmapped), as it may wherever the system cannot grow in place.
  bool moveViewsOnGrow = false;
  // The free space reported for every root, in bytes (-1: the real value).
  std::int64_t freeBytes = -1;
  // The clock, when set.
  std::optional<std::chrono::system_clock::time_point> now;
  // Renames between two directories fail with kErrNotSameDevice, as if each
  // directory were a volume of its own.
  bool directoriesAreVolumes = false;

  // The Nth call of a kind from now on fails with `code` (1: the next; 0: never).
  // Writes are appends and length changes; syncs are file and directory syncs.
  struct FailNth {
    int at = 0;
    DWORD code = 0;
    int calls = 0;
  };
  FailNth failWrite{0, n4::kErrDiskFull};
  FailNth failSync{0, 29 /* write fault */};
  FailNth failRename{0, n4::kErrDiskFull};

  // Everything now in dir counts as durable; later changes count once synced.
  void TrackDurability(const std::string& dir);
  // After `steps` more mutating calls the power is cut: every later one fails.
  void CutPowerAfter(int steps);
  bool PowerWasCut() const { return cut_; }
  // Drops all that was not durable from the tracked directories and restores
  // the power.
  void PowerCut();

  std::unique_ptr<n4::FileHandle> OpenFile(const std::string& path, n4::FileAccess access, n4::FileShare share,
                                           n4::FileDisposition disposition, n4::SysError* err) override;
  bool GetTempDirectory(std::string* dir, n4::SysError* err) override;
  bool CreateTempFile(const std::string& dir, const std::string& prefix, std::string* path,
                      n4::SysError* err) override;
  std::unique_ptr<n4::WritableFile> NewWritableFile(const std::string& path, n4::SysError* err) override;
  bool SyncDirectory(const std::string& dir, n4::SysError* err) override;
  bool CopyPermissions(const std::string& from, const std::string& to, n4::SysError* err) override;
  bool DeleteFile(const std::string& path, n4::SysError* err) override;
  bool RenameFile(const std::string& from, const std::string& to, n4::SysError* err) override;
  bool GetDiskFreeSpace(const std::string& root, n4::DiskFreeSpace* space, n4::SysError* err) override;
  std::chrono::system_clock::time_point Now() override { return now ? *now : target()->Now(); }

  // Used by the file wrappers.
  enum class Kind { Other, Write, Sync, Rename };
  bool Step(Kind kind, n4::SysError* err);
  void FileSynced(const std::string& path, const std::string& content);

 private:
  bool Tracked(const std::string& path) const;
  void NewFile(const std::string& path);

  std::set<std::string> trackedDirs_;
  int nextFile_ = 1;
  std::map<std::string, int> liveNames_;     // path -> file, as the system shows it now
  std::map<std::string, int> durableNames_;  // path -> file, as a reboot would show it
  std::map<int, std::string> durableData_;   // file -> content as of its last sync
  int stepsLeft_ = -1;                       // -1: no cut planned
  bool cut_ = false;
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
