// A registry kept in ".reg" files, one file per predefined root.
//
// Each call reads the root's file afresh, so a process sees what others have
// written. Every change is made under an exclusive lock on "<file>.lock": the
// file is read again under the lock, changed, and written back atomically
// (Env::WriteFileAtomic), so concurrent writers in several processes lose
// nothing and a reader sees either the old file or the new one. The whole
// parsed content is written back, including keys of other roots found in the
// file; only comments and layout are not kept.
//
// A file that does not parse (RegFormat.h) makes every call on its root fail
// with kRegBadDb and is never written over. A missing or empty file is an
// empty registry; the first change creates it, and its directory if needed.
//
// Handles are opaque numbers that name a root file and a key path; the key is
// looked up again on each use, so a key deleted meanwhile fails with
// kRegKeyDeleted rather than touching something else.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "platform/RegistryStore.h"
#include "registry/RegTree.h"

namespace n4 {

class FileRegistryStore : public RegistryStore {
 public:
  // The file that holds a predefined root's keys; "" when the root has none.
  using FileLocator = std::function<std::string(HKEY root)>;

  explicit FileRegistryStore(FileLocator locate,
                             std::chrono::milliseconds lockTimeout = std::chrono::seconds(30));

  LONG OpenKey(HKEY parent, const std::string& subkey, DWORD access, HKEY* result) override;
  LONG CreateKey(HKEY parent, const std::string& subkey, DWORD access, HKEY* result) override;
  LONG CloseKey(HKEY key) override;
  LONG QueryValue(HKEY key, const std::string& name, DWORD* type, BYTE* data,
                  DWORD* size) override;
  LONG SetValue(HKEY key, const std::string& name, DWORD type, const BYTE* data,
                DWORD size) override;

  LONG ImportRegFile(const std::string& bytes, std::string* error) override;
  LONG ExportRegFile(HKEY root, const std::string& subkey, std::string* bytes) override;

  // The name under which a predefined root's keys are written in its file
  // ("HKEY_LOCAL_MACHINE", ...); "" for any other handle.
  static std::string RootName(HKEY root);

 private:
  struct OpenedKey {
    std::string file;
    std::vector<std::string> path;  // from the top of the file: root name first
    DWORD access = 0;
  };

  LONG Resolve(HKEY key, OpenedKey* out);
  LONG ResolveChild(HKEY parent, const std::string& subkey, DWORD access, OpenedKey* out);
  HKEY AddHandle(OpenedKey key);
  // Reads and parses a root file into `top`.
  static LONG Load(const std::string& file, RegKey* top);
  // Runs `change` on the file's content under the write lock and writes the
  // result back when it reports a change.
  LONG Modify(const std::string& file, const std::function<LONG(RegKey& top, bool* changed)>& change);

  FileLocator locate_;
  std::chrono::milliseconds lockTimeout_;
  std::mutex handlesMutex_;
  std::map<std::uintptr_t, OpenedKey> handles_;
  std::uintptr_t nextHandle_ = 0x100;
  // The file lock may be per process; this one orders this process's threads.
  std::mutex writeMutex_;
};

}  // namespace n4
