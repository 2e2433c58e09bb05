// The in-memory form of a registry file: a tree of keys holding typed values.
//
// Data is kept as the Windows registry keeps it, so that a file written from
// the tree carries the same bytes a Windows export would: text types (REG_SZ,
// REG_EXPAND_SZ, REG_MULTI_SZ) hold UTF-16LE with their terminators; every
// other type holds its bytes as given. Names are 8-bit text (see Utf16.h) and
// match without regard to ASCII case, as registry names do. Keys and values keep
// the order in which they were first added, so a file reads back in its order.
//
// Not thread-safe; one owner at a time.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "n4file/Types.h"

namespace n4 {

bool RegNamesEqual(std::string_view a, std::string_view b);

struct RegValue {
  std::string name;  // "" is the key's default value ("@" in a file)
  DWORD type = REG_NONE;
  std::string data;  // raw bytes
};

class RegKey {
 public:
  explicit RegKey(std::string name = {}) : name_(std::move(name)) {}
  RegKey(const RegKey&) = delete;
  RegKey& operator=(const RegKey&) = delete;

  const std::string& name() const { return name_; }
  const std::vector<RegValue>& values() const { return values_; }
  const std::vector<std::unique_ptr<RegKey>>& subkeys() const { return subkeys_; }

  RegKey* FindSubkey(std::string_view name) const;
  // The existing subkey of that name, or a new one added last.
  RegKey* AddSubkey(std::string_view name);
  bool RemoveSubkey(std::string_view name);

  // Follows a path of subkey names; null when any is missing.
  RegKey* Find(const std::vector<std::string>& path);
  // Follows a path, adding missing keys; *created tells whether any was added.
  // The last key becomes explicit.
  RegKey* Create(const std::vector<std::string>& path, bool* created);

  // An explicit key was named in a file or created on its own; the others only
  // lead to their subkeys. Files list explicit keys and keys with values, as an
  // export of a branch lists that branch and not the keys above it.
  bool IsExplicit() const { return explicit_; }

  const RegValue* FindValue(std::string_view name) const;
  // Replaces the value of that name in place (keeping the stored spelling and
  // position) or appends it; returns false when nothing changed.
  bool SetValue(std::string_view name, DWORD type, std::string data);
  bool RemoveValue(std::string_view name);

 private:
  std::string name_;
  bool explicit_ = false;
  std::vector<RegValue> values_;
  std::vector<std::unique_ptr<RegKey>> subkeys_;
};

}  // namespace n4
