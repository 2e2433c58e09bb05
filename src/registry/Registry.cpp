// CN4Registry: the held key and the typed values.
#include "n4file/Registry.h"

#include <cstring>
#include <limits>
#include <vector>

#include "registry/StoreSelection.h"

namespace {

constexpr const char* kProductKey = "Software\\Korvandexa\\Lyrae4000";
constexpr const char* kVersionKey = "V5.0";

std::string NameOf(const char* name) { return name != nullptr ? std::string(name) : std::string(); }

// The store speaks DWORD sizes; a larger buffer is simply used in part.
DWORD Capacity(unsigned long size) {
  return size > std::numeric_limits<DWORD>::max() ? std::numeric_limits<DWORD>::max()
                                                 : static_cast<DWORD>(size);
}

bool BadPath(HKEY root, const char* path) {
  return root == nullptr || path == nullptr || path[0] == '\\';
}

}  // namespace

CN4Registry::CN4Registry() = default;

CN4Registry::~CN4Registry() { CloseRegistryKey(); }

std::string CN4Registry::BuildRegistryKey(const char* section, const char* subkey) {
  std::string key = std::string(kProductKey) + "\\" + kVersionKey;
  if (section != nullptr) key += std::string("\\") + section;
  if (subkey != nullptr) key += std::string("\\") + subkey;
  return key;
}

int CN4Registry::CloseRegistryKey() {
  if (m_hKey == nullptr) return 1;
  if (n4::DefaultRegistryStore()->CloseKey(m_hKey) != n4::kRegSuccess) return 0;
  m_hKey = nullptr;
  return 1;
}

int CN4Registry::OpenRegistryKey(HKEY root, const char* path, unsigned long access) {
  CloseRegistryKey();
  if (BadPath(root, path)) return 0;
  HKEY key = nullptr;
  if (n4::DefaultRegistryStore()->OpenKey(root, path, static_cast<DWORD>(access), &key) !=
      n4::kRegSuccess) {
    return 0;
  }
  m_hKey = key;
  return 1;
}

int CN4Registry::CreateRegistryKey(HKEY root, const char* path, unsigned long access) {
  CloseRegistryKey();
  if (BadPath(root, path)) return 0;
  HKEY key = nullptr;
  if (n4::DefaultRegistryStore()->CreateKey(root, path, static_cast<DWORD>(access), &key) !=
      n4::kRegSuccess) {
    return 0;
  }
  m_hKey = key;
  return 1;
}

int CN4Registry::OpenMachineRegistryKey(const char* section, const char* subkey) {
  return OpenRegistryKey(HKEY_LOCAL_MACHINE, BuildRegistryKey(section, subkey).c_str(), KEY_READ);
}

int CN4Registry::OpenUserRegistryKey(const char* section, const char* subkey) {
  return OpenRegistryKey(HKEY_CURRENT_USER, BuildRegistryKey(section, subkey).c_str(), KEY_READ);
}

int CN4Registry::CreateMachineRegistryKey(const char* section, const char* subkey) {
  return CreateRegistryKey(HKEY_LOCAL_MACHINE, BuildRegistryKey(section, subkey).c_str(),
                           KEY_ALL_ACCESS);
}

int CN4Registry::CreateUserRegistryKey(const char* section, const char* subkey) {
  return CreateRegistryKey(HKEY_CURRENT_USER, BuildRegistryKey(section, subkey).c_str(),
                           KEY_ALL_ACCESS);
}

int CN4Registry::GetRegistryDword(const char* name, unsigned long* value) {
  return m_hKey != nullptr ? GetRegistryDword(m_hKey, name, value) : 0;
}

int CN4Registry::GetRegistryString(const char* name, std::string& value) {
  return m_hKey != nullptr ? GetRegistryString(m_hKey, name, value) : 0;
}

int CN4Registry::GetRegistryString(const char* name, char* buffer, unsigned long size) {
  return m_hKey != nullptr ? GetRegistryString(m_hKey, name, buffer, size) : 0;
}

int CN4Registry::GetRegistryBinary(const char* name, void* buffer, unsigned long size) {
  return m_hKey != nullptr ? GetRegistryBinary(m_hKey, name, buffer, size) : 0;
}

int CN4Registry::SetRegistryDword(const char* name, unsigned long* value) {
  return m_hKey != nullptr ? SetRegistryDword(m_hKey, name, value) : 0;
}

int CN4Registry::SetRegistryString(const char* name, const char* value) {
  return m_hKey != nullptr ? SetRegistryString(m_hKey, name, value) : 0;
}

int CN4Registry::SetRegistryBinary(const char* name, const void* buffer, unsigned long size) {
  return m_hKey != nullptr ? SetRegistryBinary(m_hKey, name, buffer, size) : 0;
}

int CN4Registry::GetRegistryDword(HKEY key, const char* name, unsigned long* value) {
  if (value == nullptr) return 0;
  // Little-endian as the registry stores it; a shorter stored number fills
  // only the low bytes, as a short read into the caller's DWORD would.
  DWORD current = static_cast<DWORD>(*value);
  BYTE bytes[4];
  for (int i = 0; i < 4; ++i) bytes[i] = static_cast<BYTE>(current >> (8 * i));
  DWORD type = REG_NONE;
  DWORD size = sizeof bytes;
  if (n4::DefaultRegistryStore()->QueryValue(key, NameOf(name), &type, bytes, &size) !=
          n4::kRegSuccess ||
      type != REG_DWORD) {
    return 0;
  }
  DWORD result = 0;
  for (int i = 3; i >= 0; --i) result = (result << 8) | bytes[i];
  *value = result;
  return 1;
}

int CN4Registry::GetRegistryString(HKEY key, const char* name, char* buffer, unsigned long size) {
  if (buffer == nullptr) return 0;
  DWORD type = REG_NONE;
  DWORD length = Capacity(size);
  if (n4::DefaultRegistryStore()->QueryValue(key, NameOf(name), &type,
                                               reinterpret_cast<BYTE*>(buffer), &length) !=
          n4::kRegSuccess ||
      type != REG_SZ) {
    return 0;
  }
  if (length == 0 || buffer[length - 1] != '\0') {
    if (length >= size) return 0;
    buffer[length] = '\0';
  }
  return 1;
}

int CN4Registry::GetRegistryString(HKEY key, const char* name, std::string& value) {
  DWORD type = REG_NONE;
  DWORD length = 0;
  if (n4::DefaultRegistryStore()->QueryValue(key, NameOf(name), &type, nullptr, &length) !=
          n4::kRegSuccess ||
      type != REG_SZ || length == 0) {
    return 0;
  }
  std::vector<char> buffer(static_cast<std::size_t>(length) + 1, '\0');
  if (!GetRegistryString(key, name, buffer.data(), length + 1)) return 0;
  value.assign(buffer.data());
  return 1;
}

int CN4Registry::GetRegistryBinary(HKEY key, const char* name, void* buffer, unsigned long size) {
  if (buffer == nullptr) return 0;
  DWORD type = REG_NONE;
  DWORD length = Capacity(size);
  return n4::DefaultRegistryStore()->QueryValue(key, NameOf(name), &type,
                                                  static_cast<BYTE*>(buffer), &length) ==
                 n4::kRegSuccess &&
         type == REG_BINARY;
}

int CN4Registry::SetRegistryDword(HKEY key, const char* name, unsigned long* value) {
  if (value == nullptr) return 0;
  BYTE bytes[4];
  for (int i = 0; i < 4; ++i) bytes[i] = static_cast<BYTE>(*value >> (8 * i));
  return n4::DefaultRegistryStore()->SetValue(key, NameOf(name), REG_DWORD, bytes,
                                                sizeof bytes) == n4::kRegSuccess;
}

int CN4Registry::SetRegistryString(HKEY key, const char* name, const char* value) {
  if (value == nullptr) return 0;
  return n4::DefaultRegistryStore()->SetValue(key, NameOf(name), REG_SZ,
                                                reinterpret_cast<const BYTE*>(value),
                                                static_cast<DWORD>(std::strlen(value) + 1)) ==
         n4::kRegSuccess;
}

int CN4Registry::SetRegistryBinary(HKEY key, const char* name, const void* buffer,
                                   unsigned long size) {
  if ((buffer == nullptr && size != 0) || size > std::numeric_limits<DWORD>::max()) return 0;
  return n4::DefaultRegistryStore()->SetValue(key, NameOf(name), REG_BINARY,
                                                static_cast<const BYTE*>(buffer),
                                                static_cast<DWORD>(size)) == n4::kRegSuccess;
}
