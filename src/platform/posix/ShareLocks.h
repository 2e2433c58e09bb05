// Windows sharing modes on POSIX descriptors, as claims on advisory
// open-file-description lock bytes.
//
// The byte layout is the one FilePosix.cpp uses for mapped files, so every
// kind of file object this layer opens sees the claims of every other.
#pragma once

#include "platform/Env.h"

namespace n4 {

// Records that fd is open for reading (and writing when `writes`) and denies
// what `share` does not allow, then checks the claims of every other open of
// the same file. False (nothing else to undo: the claims go with fd) when the
// two conflict; of two opens racing, both may fail, but never both succeed.
bool ClaimSharing(int fd, bool writes, FileShare share);

}  // namespace n4
