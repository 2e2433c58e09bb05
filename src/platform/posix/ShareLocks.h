// Windows sharing modes on POSIX descriptors, as claims on advisory
// open-file-description lock bytes. Every kind of file object this layer
// opens (mapped files, random-access files) claims through here, so each sees
// the claims of every other.
#pragma once

#include "platform/Env.h"

namespace n4 {

// Records that fd is open for reading (and writing when `writes`) and denies
// what `share` does not allow, then checks the claims of every other open of
// the same file. False (nothing else to undo: the claims go with fd) when the
// two conflict; of two opens racing, both may fail, but never both succeed.
bool ClaimSharing(int fd, bool writes, FileShare share);

// Marks fd's file as mapped by a reader, so that replacing it reports
// kErrUserMappedFile as Windows does.
void ClaimMapped(int fd);

// What keeps another open of the file from being replaced now:
// kErrUserMappedFile (mapped by a reader), kErrSharingViolation (an open that
// denies writing), else kErrSuccess.
DWORD ReplaceBlockerOf(int fd);

}  // namespace n4
