// Registry export files in and out of the settings store.
#include "n4file/Registry.h"
#include "platform/Env.h"
#include "platform/Errors.h"
#include "platform/RegistryStore.h"
#include "registry/StoreSelection.h"

namespace n4 {
namespace {

int Failed(std::string* error, const std::string& cause) {
  if (error) *error = cause;
  return 0;
}

std::string StoreError(LONG rc) {
  if (rc == kRegNotSupported) return "the settings store cannot import or export files here";
  if (rc == kRegNotFound) return "no such key";
  if (rc == kRegBadDb) return "the settings store's file is damaged";
  return SystemErrorText(static_cast<DWORD>(rc));
}

}  // namespace

int ImportRegistryFile(const std::string& path, std::string* error) {
  std::string bytes;
  SysError err;
  if (!Env::Default()->ReadWholeFile(path, &bytes, &err)) return Failed(error, err.text);
  std::string where;
  const LONG rc = DefaultRegistryStore()->ImportRegFile(bytes, &where);
  if (rc == kRegBadDb && !where.empty()) return Failed(error, "not a registry file: " + where);
  if (rc != kRegSuccess) return Failed(error, StoreError(rc));
  return 1;
}

int ExportRegistryFile(HKEY root, const std::string& key, const std::string& path, std::string* error) {
  std::string bytes;
  const LONG rc = DefaultRegistryStore()->ExportRegFile(root, key, &bytes);
  if (rc != kRegSuccess) return Failed(error, StoreError(rc));
  SysError err;
  if (!Env::Default()->WriteFileAtomic(path, bytes, &err)) return Failed(error, err.text);
  return 1;
}

}  // namespace n4
