// The system registry, behind the settings-store interface.
#include "platform/RegistryStore.h"

#include <windows.h>

namespace n4 {
namespace {

class Win32RegistryStore : public RegistryStore {
 public:
  LONG OpenKey(HKEY parent, const std::string& subkey, DWORD access, HKEY* result) override {
    if (result == nullptr) return ERROR_INVALID_PARAMETER;
    return ::RegOpenKeyExA(parent, subkey.c_str(), 0, static_cast<REGSAM>(access), result);
  }

  LONG CreateKey(HKEY parent, const std::string& subkey, DWORD access, HKEY* result) override {
    if (result == nullptr) return ERROR_INVALID_PARAMETER;
    DWORD disposition = 0;
    return ::RegCreateKeyExA(parent, subkey.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                             static_cast<REGSAM>(access), nullptr, result, &disposition);
  }

  LONG CloseKey(HKEY key) override { return ::RegCloseKey(key); }

  LONG QueryValue(HKEY key, const std::string& name, DWORD* type, BYTE* data,
                  DWORD* size) override {
    return ::RegQueryValueExA(key, name.c_str(), nullptr, type, data, size);
  }

  LONG SetValue(HKEY key, const std::string& name, DWORD type, const BYTE* data,
                DWORD size) override {
    return ::RegSetValueExA(key, name.c_str(), 0, type, data, size);
  }
};

}  // namespace

RegistryStore* SystemRegistryStore() {
  static Win32RegistryStore store;
  return &store;
}

}  // namespace n4
