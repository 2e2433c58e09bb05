// CN4Files: finding library files on disk.
#include <algorithm>

#include "files/PathText.h"
#include "n4file/Files.h"
#include "platform/Env.h"
#include "platform/Path.h"

namespace {

using n4::files::EndsWithNoCase;
using n4::path::Append;

std::string NativePath(std::string_view path) { return n4::path::WithSeparators(path); }

std::vector<std::string> ListDirectories(n4::Env* env, const std::string& dir,
                                         std::string_view suffix) {
  std::vector<std::string> names;
  n4::SysError err;
  if (!env->ListDirectory(NativePath(dir), &names, &err)) return {};
  std::erase_if(names, [&](const std::string& name) {
    return !EndsWithNoCase(name, suffix) || !env->DirectoryExists(NativePath(Append(dir, name)));
  });
  return names;
}

}  // namespace

int CN4Files::IsFileValid(const std::string& path) {
  CN4Files file;
  if (!file.ParsePath(path) || file.GetFccType() == 0 || !file.IsColorAndPixelTechValid()) return 0;
  return n4::Env::Default()->FileExists(NativePath(path)) ? 1 : 0;
}

int CN4Files::IsFileValid() const { return IsFileValid(m_strPath); }

int CN4Files::FindFiles(std::vector<std::string>& paths, std::string shareDir, int fccType) {
  n4::Env* env = n4::Env::Default();
  std::vector<std::string> signs;
  n4::SysError err;
  if (shareDir.empty() || !env->ListDirectory(NativePath(shareDir), &signs, &err)) return -1;
  // Paths are composed as BuildPath composes them, so they compare equal to
  // the paths built for the same fields.
  std::vector<std::string> found;
  for (const auto& sign : ListDirectories(env, shareDir, ".Sign")) {
    const std::string signDir = Append(shareDir, sign);
    for (const auto& library : ListDirectories(env, signDir, ".Lib")) {
      const std::string libDir = Append(signDir, library);
      std::vector<std::string> names;
      if (!env->ListDirectory(NativePath(libDir), &names, &err)) continue;
      for (const auto& name : names) {
        const std::string path = Append(libDir, name);
        CN4Files file;
        if (!IsFileValid(path) || !file.ParsePath(path)) continue;
        if (fccType != 0 && file.GetFccType() != static_cast<DWORD>(fccType)) continue;
        found.push_back(path);
      }
    }
  }
  std::sort(found.begin(), found.end());
  paths.insert(paths.end(), found.begin(), found.end());
  return static_cast<int>(found.size());
}
