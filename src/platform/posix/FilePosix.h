// POSIX file handles and mappings, with Windows sharing modes emulated by
// advisory open-file-description locks on bytes far beyond any real data.
#pragma once

#include <memory>
#include <string>

#include "platform/Env.h"

namespace n4 {

std::unique_ptr<FileHandle> OpenPosixFile(const std::string& path, FileAccess access, FileShare share,
                                          FileDisposition disposition, SysError* err);

// Why `path` may not be replaced now: kErrUserMappedFile when a reader has it
// mapped, kErrSharingViolation when an editor holds it, else kErrSuccess.
DWORD ReplaceBlocker(const std::string& path);

}  // namespace n4
