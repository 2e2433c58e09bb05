// The product's persistent settings.
//
// Every setting lives below the product key "Software\Korvandexa\Lyrae4000",
// then the settings version "V5.0", then a section and optionally a subkey
// (BuildRegistryKey). Machine-wide settings are read below HKEY_LOCAL_MACHINE,
// the user's below HKEY_CURRENT_USER.
//
// On Windows this is the system registry. Elsewhere it is a store of registry
// export files, one per root, in $N4_REGISTRY_DIR (HKEY_LOCAL_MACHINE.reg and
// HKEY_CURRENT_USER.reg; without the variable the folder "registry" of the
// default data directory (GetDefaultDirectory) for the
// machine and $XDG_CONFIG_HOME/n4000 or ~/.config/n4000 for the user). Those
// files use the Windows registry editor's "Version 5.00" export format, so a
// branch exported on Windows can be copied in as it is; REGEDIT4 files are read
// too. Changes from several processes are serialised and written atomically.
// 8-bit text is UTF-8 on those systems.
//
// All operations return 1 for success and 0 for failure and never throw. A
// value name given as null means the key's default value.
//
// Thread safety: the static operations may be called from any thread. An
// object's held key belongs to that object; use one object from one thread.
#pragma once

#include <string>

#include "n4file/Export.h"
#include "n4file/Types.h"

class N4FILE_API CN4Registry {
 public:
  CN4Registry();
  // Closes the held key.
  virtual ~CN4Registry();
  CN4Registry(const CN4Registry&) = delete;
  CN4Registry& operator=(const CN4Registry&) = delete;

  // "Software\Korvandexa\Lyrae4000\V5.0", then "\section" and "\subkey" for
  // each that is not null. Nothing is opened.
  static std::string BuildRegistryKey(const char* section = nullptr, const char* subkey = nullptr);

  // Key handling. Each open or create first closes the key already held.
  // 1 when no key is held or the held key closed; 0 (handle kept) when closing failed.
  int CloseRegistryKey();
  // REQUIRES for success: root and path not null, path not starting with "\".
  int OpenRegistryKey(HKEY root, const char* path, unsigned long access);
  int CreateRegistryKey(HKEY root, const char* path, unsigned long access);
  // BuildRegistryKey(section, subkey) opened for reading (KEY_READ) or created
  // with full access (KEY_ALL_ACCESS) below the machine or the user root.
  int OpenMachineRegistryKey(const char* section = nullptr, const char* subkey = nullptr);
  int OpenUserRegistryKey(const char* section = nullptr, const char* subkey = nullptr);
  int CreateMachineRegistryKey(const char* section = nullptr, const char* subkey = nullptr);
  int CreateUserRegistryKey(const char* section = nullptr, const char* subkey = nullptr);
  // The held key, null when none.
  HKEY GetRegistryKey() const { return m_hKey; }

  // Typed values of the held key; 0 at once when no key is held.
  int GetRegistryDword(const char* name, unsigned long* value);
  int GetRegistryString(const char* name, std::string& value);
  int GetRegistryString(const char* name, char* buffer, unsigned long size);
  int GetRegistryBinary(const char* name, void* buffer, unsigned long size);
  int SetRegistryDword(const char* name, unsigned long* value);
  int SetRegistryString(const char* name, const char* value);
  int SetRegistryBinary(const char* name, const void* buffer, unsigned long size);

  // Typed values of any open key. A read succeeds only when the stored type is
  // the one asked for: REG_DWORD (at most 4 bytes), REG_SZ, REG_BINARY.
  static int GetRegistryDword(HKEY key, const char* name, unsigned long* value);
  // The text with its terminating zero must fit in `size` bytes. A stored text
  // without a terminator is terminated here when there is room; without room the
  // read fails, so the buffer always holds a terminated text after success.
  static int GetRegistryString(HKEY key, const char* name, char* buffer, unsigned long size);
  // 0 for a text of length 0 (no bytes at all); `value` changes only on success.
  static int GetRegistryString(HKEY key, const char* name, std::string& value);
  static int GetRegistryBinary(HKEY key, const char* name, void* buffer, unsigned long size);
  // Writes the low 32 bits of *value.
  static int SetRegistryDword(HKEY key, const char* name, unsigned long* value);
  // Writes the text with its terminating zero.
  static int SetRegistryString(HKEY key, const char* name, const char* value);
  static int SetRegistryBinary(HKEY key, const char* name, const void* buffer, unsigned long size);

  // The product data directory: machine section "File Locations", text value
  // "DataPath", one trailing separator removed. When the section does not open,
  // 0 and the buffer untouched. When the value is missing or not text, 0 and the
  // default directory (GetDefaultDirectory) copied, cut to fit `size`.
  static int GetDataPath(char* buffer, unsigned long size);
  // The same through a 261-character buffer; `path` keeps its content when
  // the section does not open.
  static int GetDataPath(std::string& path);
  // The program directory, as GetDataPath with the value "ExePath".
  static int GetExePath(char* buffer, unsigned long size);
  static int GetExePath(std::string& path);
  // The text value "Database" of the machine section "Grouping". An empty name
  // is left for the caller to default.
  static int GetGroupingDatabaseName(std::string* name);
  // "C:\N4000" on Windows, "/var/lib/n4000" elsewhere.
  static const char* GetDefaultDirectory();

  // Opens for reading the machine key "Date Names" below the language's
  // subkey: BuildRegistryKey(language, "Date Names"), language "English" when
  // null. Its text values "Month_Abbr1" to "Month_Abbr12" hold the month names
  // used in dated file names.
  int OpenDateNamesRegistryKey(const char* language = nullptr);
  // "Month_Abbr%d" of the month number.
  static std::string GetMonthAbbrValueName(int month);

 private:
  HKEY m_hKey = nullptr;
};

namespace n4 {

// Imports a registry export file (".reg": "Windows Registry Editor Version
// 5.00" or "REGEDIT4") into the settings store as the registry editor does:
// keys are created, values set, "[-key]" and "name"=- deleted. 1, or 0 with
// the cause in *error; a file that does not parse changes nothing. Where the
// settings store is the system registry (Windows) this gives 0: use the
// registry editor there.
N4FILE_API int ImportRegistryFile(const std::string& path, std::string* error);
// Writes `key` below `root` (HKEY_LOCAL_MACHINE or HKEY_CURRENT_USER) with its
// values and subkeys to `path` as a version 5.00 export file. 1, or 0 with
// the cause in *error.
N4FILE_API int ExportRegistryFile(HKEY root, const std::string& key, const std::string& path, std::string* error);

}  // namespace n4
