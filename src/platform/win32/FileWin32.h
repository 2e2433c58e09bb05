// Windows file handles and mappings. Sharing modes are the system's own, so
// nothing is emulated here: an editor's open refuses a second editor, and a
// reader's mapping makes the system refuse to replace or truncate the file.
#pragma once

#include <memory>
#include <string>

#include "platform/Env.h"

namespace n4 {

std::unique_ptr<FileHandle> OpenWin32File(const std::string& path, FileAccess access, FileShare share,
                                          FileDisposition disposition, SysError* err);

}  // namespace n4
