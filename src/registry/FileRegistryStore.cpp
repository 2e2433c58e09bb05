#include "registry/FileRegistryStore.h"

#include <algorithm>
#include <cstring>

#include "platform/Env.h"
#include "registry/RegFormat.h"
#include "registry/Utf16.h"

namespace n4 {
namespace {

bool IsTextType(DWORD type) {
  return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
}

// A name holding a line break could not be written back into the file.
bool HasLineBreak(const std::string& s) { return s.find_first_of("\r\n") != std::string::npos; }

bool EnsureDirectory(Env* env, const std::string& dir, SysError* err) {
  if (dir.empty() || env->DirectoryExists(dir)) return true;
  std::string parent = DirectoryOf(dir);
  if (!parent.empty() && parent != dir && !EnsureDirectory(env, parent, err)) return false;
  // Another process may have made it in the meantime.
  return env->CreateDirectory(dir, err) || env->DirectoryExists(dir);
}

}  // namespace

FileRegistryStore::FileRegistryStore(FileLocator locate, std::chrono::milliseconds lockTimeout)
    : locate_(std::move(locate)), lockTimeout_(lockTimeout) {}

std::string FileRegistryStore::RootName(HKEY root) {
  if (root == HKEY_LOCAL_MACHINE) return "HKEY_LOCAL_MACHINE";
  if (root == HKEY_CURRENT_USER) return "HKEY_CURRENT_USER";
  return {};
}

LONG FileRegistryStore::Resolve(HKEY key, OpenedKey* out) {
  std::string rootName = RootName(key);
  if (!rootName.empty()) {
    out->file = locate_ ? locate_(key) : std::string();
    if (out->file.empty()) return kRegInvalidHandle;
    out->path = {rootName};
    out->access = KEY_ALL_ACCESS;
    return kRegSuccess;
  }
  std::lock_guard<std::mutex> guard(handlesMutex_);
  auto it = handles_.find(reinterpret_cast<std::uintptr_t>(key));
  if (it == handles_.end()) return kRegInvalidHandle;
  *out = it->second;
  return kRegSuccess;
}

LONG FileRegistryStore::ResolveChild(HKEY parent, const std::string& subkey, DWORD access,
                                     OpenedKey* out) {
  if (!subkey.empty() && subkey.front() == '\\') return kRegBadPathName;
  if (HasLineBreak(subkey)) return kRegInvalidParameter;
  LONG rc = Resolve(parent, out);
  if (rc != kRegSuccess) return rc;
  std::size_t start = 0;
  while (start <= subkey.size()) {
    std::size_t sep = subkey.find('\\', start);
    if (sep == std::string::npos) sep = subkey.size();
    if (sep > start) out->path.push_back(subkey.substr(start, sep - start));
    start = sep + 1;
  }
  out->access = access;
  return kRegSuccess;
}

HKEY FileRegistryStore::AddHandle(OpenedKey key) {
  std::lock_guard<std::mutex> guard(handlesMutex_);
  std::uintptr_t id = nextHandle_;
  nextHandle_ += 4;
  handles_.emplace(id, std::move(key));
  return reinterpret_cast<HKEY>(id);
}

LONG FileRegistryStore::Load(const std::string& file, RegKey* top) {
  std::string bytes;
  SysError err;
  if (!Env::Default()->ReadWholeFile(file, &bytes, &err)) {
    if (err.code == kErrFileNotFound || err.code == kErrPathNotFound) return kRegSuccess;
    return err.code != kErrSuccess ? static_cast<LONG>(err.code) : kRegBadDb;
  }
  if (bytes.empty()) return kRegSuccess;
  return ParseRegFile(bytes, top, nullptr) ? kRegSuccess : kRegBadDb;
}

LONG FileRegistryStore::Modify(const std::string& file,
                               const std::function<LONG(RegKey& top, bool* changed)>& change) {
  Env* env = Env::Default();
  std::lock_guard<std::mutex> guard(writeMutex_);
  SysError err;
  if (!EnsureDirectory(env, DirectoryOf(file), &err)) return static_cast<LONG>(err.code);
  std::unique_ptr<FileLock> lock = env->LockFile(file + ".lock", true, lockTimeout_, &err);
  if (!lock) return err.code != kErrSuccess ? static_cast<LONG>(err.code) : static_cast<LONG>(kErrTimeout);
  RegKey top;
  LONG rc = Load(file, &top);
  if (rc != kRegSuccess) return rc;
  bool changed = false;
  rc = change(top, &changed);
  if (rc != kRegSuccess || !changed) return rc;
  if (!env->WriteFileAtomic(file, FormatRegFile(top), &err)) {
    return err.code != kErrSuccess ? static_cast<LONG>(err.code) : static_cast<LONG>(kErrFileInvalid);
  }
  return kRegSuccess;
}

LONG FileRegistryStore::OpenKey(HKEY parent, const std::string& subkey, DWORD access,
                                HKEY* result) {
  if (result == nullptr) return kRegInvalidParameter;
  OpenedKey key;
  LONG rc = ResolveChild(parent, subkey, access, &key);
  if (rc != kRegSuccess) return rc;
  RegKey top;
  rc = Load(key.file, &top);
  if (rc != kRegSuccess) return rc;
  if (top.Find(key.path) == nullptr) return kRegNotFound;
  *result = AddHandle(std::move(key));
  return kRegSuccess;
}

LONG FileRegistryStore::CreateKey(HKEY parent, const std::string& subkey, DWORD access,
                                  HKEY* result) {
  if (result == nullptr) return kRegInvalidParameter;
  OpenedKey key;
  LONG rc = ResolveChild(parent, subkey, access, &key);
  if (rc != kRegSuccess) return rc;
  rc = Modify(key.file, [&](RegKey& top, bool* changed) {
    top.Create(key.path, changed);
    return kRegSuccess;
  });
  if (rc != kRegSuccess) return rc;
  *result = AddHandle(std::move(key));
  return kRegSuccess;
}

LONG FileRegistryStore::CloseKey(HKEY key) {
  if (!RootName(key).empty()) return kRegSuccess;
  std::lock_guard<std::mutex> guard(handlesMutex_);
  return handles_.erase(reinterpret_cast<std::uintptr_t>(key)) == 1 ? kRegSuccess
                                                                     : kRegInvalidHandle;
}

LONG FileRegistryStore::QueryValue(HKEY handle, const std::string& name, DWORD* type, BYTE* data,
                                   DWORD* size) {
  if (data != nullptr && size == nullptr) return kRegInvalidParameter;
  OpenedKey key;
  LONG rc = Resolve(handle, &key);
  if (rc != kRegSuccess) return rc;
  if ((key.access & kRegKeyQueryValue) == 0) return kRegAccessDenied;
  RegKey top;
  rc = Load(key.file, &top);
  if (rc != kRegSuccess) return rc;
  RegKey* node = top.Find(key.path);
  if (node == nullptr) return kRegKeyDeleted;
  const RegValue* value = node->FindValue(name);
  if (value == nullptr) return kRegNotFound;

  std::string bytes = IsTextType(value->type) ? Utf16LeToUtf8(value->data) : value->data;
  if (type != nullptr) *type = value->type;
  if (size == nullptr) return kRegSuccess;
  DWORD capacity = *size;
  *size = static_cast<DWORD>(bytes.size());
  if (data == nullptr) return kRegSuccess;
  if (bytes.size() > capacity) return kRegMoreData;
  if (!bytes.empty()) std::memcpy(data, bytes.data(), bytes.size());
  return kRegSuccess;
}

LONG FileRegistryStore::SetValue(HKEY handle, const std::string& name, DWORD type,
                                 const BYTE* data, DWORD size) {
  if ((data == nullptr && size != 0) || HasLineBreak(name)) return kRegInvalidParameter;
  OpenedKey key;
  LONG rc = Resolve(handle, &key);
  if (rc != kRegSuccess) return rc;
  if ((key.access & kRegKeySetValue) == 0) return kRegAccessDenied;
  std::string bytes = data != nullptr ? std::string(reinterpret_cast<const char*>(data), size)
                                       : std::string();
  if (IsTextType(type)) bytes = Utf8ToUtf16Le(bytes);
  return Modify(key.file, [&](RegKey& top, bool* changed) {
    RegKey* node = top.Find(key.path);
    if (node == nullptr) return kRegKeyDeleted;
    *changed = node->SetValue(name, type, std::move(bytes));
    return kRegSuccess;
  });
}

}  // namespace n4

namespace n4 {
namespace {

// Copies `from` and everything below it to `path` in `top`.
void CopyBranch(const RegKey& from, std::vector<std::string>& path, RegKey& top) {
  bool created = false;
  RegKey* to = top.Create(path, &created);
  for (const RegValue& v : from.values()) to->SetValue(v.name, v.type, v.data);
  for (const auto& sub : from.subkeys()) {
    path.push_back(sub->name());
    CopyBranch(*sub, path, top);
    path.pop_back();
  }
}

}  // namespace

LONG FileRegistryStore::ImportRegFile(const std::string& bytes, std::string* error) {
  // Parsed once on its own first, so a bad file changes nothing.
  RegKey scratch;
  if (!ParseRegFile(bytes, &scratch, error)) return kRegBadDb;
  for (HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
    const std::string name = RootName(root);
    const std::string file = locate_ ? locate_(root) : std::string();
    // A root the file neither adds to nor deletes from stays untouched.
    if (file.empty() || (!scratch.FindSubkey(name) && bytes.find("[-" + name) == std::string::npos)) continue;
    const LONG rc = Modify(file, [&](RegKey& top, bool* changed) {
      std::vector<std::string> before;
      for (const auto& sub : top.subkeys()) before.push_back(sub->name());
      if (!ParseRegFile(bytes, &top, error)) return kRegBadDb;
      // Each root file keeps its own root's keys only.
      std::vector<std::string> foreign;
      for (const auto& sub : top.subkeys()) {
        const bool old = std::any_of(before.begin(), before.end(),
                                     [&](const std::string& b) { return RegNamesEqual(b, sub->name()); });
        if (!old && !RegNamesEqual(sub->name(), name)) foreign.push_back(sub->name());
      }
      for (const auto& f : foreign) top.RemoveSubkey(f);
      *changed = true;
      return kRegSuccess;
    });
    if (rc != kRegSuccess) return rc;
  }
  return kRegSuccess;
}

LONG FileRegistryStore::ExportRegFile(HKEY root, const std::string& subkey, std::string* bytes) {
  if (bytes == nullptr) return kRegInvalidParameter;
  OpenedKey key;
  LONG rc = ResolveChild(root, subkey, KEY_READ, &key);
  if (rc != kRegSuccess) return rc;
  RegKey top;
  rc = Load(key.file, &top);
  if (rc != kRegSuccess) return rc;
  const RegKey* branch = top.Find(key.path);
  if (branch == nullptr) return kRegNotFound;
  RegKey out;
  CopyBranch(*branch, key.path, out);
  *bytes = FormatRegFile(out);
  return kRegSuccess;
}

}  // namespace n4
