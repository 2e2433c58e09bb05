#include "riff/StaleWorkingCopies.h"

#include <vector>

#include "platform/Env.h"

namespace n4 {

namespace {

bool IsWorkingCopyName(const std::string& name) {
  auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; };
  if (name.size() < 7) return false;
  std::string head = name.substr(0, 3), tail = name.substr(name.size() - 4);
  for (char& c : head) c = upper(c);
  for (char& c : tail) c = upper(c);
  return head == "SQ4" && tail == ".TMP";
}

}  // namespace

int RemoveStaleWorkingCopies(Env* env, const std::string& dir, std::chrono::seconds minAge) {
  std::vector<std::string> names;
  SysError ignored;
  if (!env->ListDirectory(dir, &names, &ignored)) return 0;
  const auto now = std::chrono::duration_cast<std::chrono::nanoseconds>(env->Now().time_since_epoch()).count();
  const auto minAgeNs = std::chrono::duration_cast<std::chrono::nanoseconds>(minAge).count();
  int removed = 0;
  for (const std::string& name : names) {
    if (!IsWorkingCopyName(name)) continue;
    const std::string path = JoinPath(dir, name);
    FileStamp stamp;
    if (!env->GetFileStamp(path, &stamp, &ignored) || now - stamp.modified < minAgeNs) continue;
    // An editor holds its working copy open without sharing (and, where
    // sharing is emulated, with a lock that dies with its process): an open
    // that succeeds proves nobody holds the file.
    {
      auto probe = env->OpenFile(path, FileAccess::ReadWrite, FileShare::None, FileDisposition::OpenExisting,
                                 &ignored);
      if (!probe) continue;
    }
    if (env->DeleteFile(path, &ignored)) ++removed;
  }
  return removed;
}

}  // namespace n4
