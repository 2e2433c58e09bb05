// The shape of a settings store behind CN4Registry, and the system registry
// where the operating system has one (Windows). Where it has none, the
// registry subsystem keeps its own file-backed store of the same shape
// (registry/FileRegistryStore.h) and chooses between the two
// (registry/StoreSelection.h).
//
// The calls mirror the registry functions they stand for (RegOpenKeyExA, ...)
// and return the same Windows error numbers, so the code above them is the
// same on every platform. Text given and returned is 8-bit; the store keeps
// text values in UTF-16 as the registry does and converts them, as the "A"
// functions do.
//
// Keys are named by HKEY handles: the predefined roots HKEY_LOCAL_MACHINE and
// HKEY_CURRENT_USER, or a handle returned by OpenKey or CreateKey, which stays
// valid until CloseKey.
//
// Thread safety: all calls may be made from any thread; a handle may be used
// by one thread at a time.
#pragma once

#include <string>

#include "n4file/Types.h"

namespace n4 {

// Registry results beyond those in Errors.h, with their Windows numbers.
constexpr LONG kRegSuccess = 0;
constexpr LONG kRegNotFound = 2;  // no such key or value
constexpr LONG kRegAccessDenied = 5;
constexpr LONG kRegInvalidHandle = 6;
constexpr LONG kRegInvalidParameter = 87;
constexpr LONG kRegNotSupported = 50;
constexpr LONG kRegBadPathName = 161;
constexpr LONG kRegMoreData = 234;
constexpr LONG kRegBadDb = 1009;       // the store's file is damaged
constexpr LONG kRegKeyDeleted = 1018;  // the open key has since been deleted

// The access bits the store checks.
constexpr DWORD kRegKeyQueryValue = 0x0001;
constexpr DWORD kRegKeySetValue = 0x0002;

class RegistryStore {
 public:
  virtual ~RegistryStore() = default;

  // Opens an existing key below `parent`; `subkey` is a "\"-separated path.
  virtual LONG OpenKey(HKEY parent, const std::string& subkey, DWORD access, HKEY* result) = 0;
  // Opens the key, creating it and any missing parents first (non-volatile).
  virtual LONG CreateKey(HKEY parent, const std::string& subkey, DWORD access, HKEY* result) = 0;
  virtual LONG CloseKey(HKEY key) = 0;

  // As RegQueryValueExA. `name` "" is the default value. With `data` null only
  // the type and the length (in *size) are reported. Otherwise *size is the
  // capacity of data; when the value is longer, kRegMoreData is returned with
  // the needed length in *size. `type` may be null.
  virtual LONG QueryValue(HKEY key, const std::string& name, DWORD* type, BYTE* data,
                          DWORD* size) = 0;
  // As RegSetValueExA: stores `size` bytes of `data` as `type`.
  virtual LONG SetValue(HKEY key, const std::string& name, DWORD type, const BYTE* data,
                        DWORD size) = 0;

  // Applies a registry export file (".reg") to the store as the registry
  // editor imports it. kRegBadDb, with the place in *error, for a file that
  // does not parse; then nothing is changed. A store that cannot do this
  // returns kRegNotSupported (the base).
  virtual LONG ImportRegFile(const std::string& bytes, std::string* error) {
    (void)bytes;
    (void)error;
    return kRegNotSupported;
  }
  // The key `subkey` below a root, with its values and subkeys, as a version
  // 5.00 export file. kRegNotSupported in the base.
  virtual LONG ExportRegFile(HKEY root, const std::string& subkey, std::string* bytes) {
    (void)root;
    (void)subkey;
    (void)bytes;
    return kRegNotSupported;
  }
};

// The operating system's registry; null where the system has none.
RegistryStore* SystemRegistryStore();

}  // namespace n4
