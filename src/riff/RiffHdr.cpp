#include "n4file/RiffFile.h"

N4_IMPLEMENT_DYNCREATE(CN4RiffHdr)

void* CN4RiffHdr::AppendToFile(CN4RiffFile* file) {
  return CN4RiffChunk::AppendToFile(file, n4::kFourccN4HD, sizeof(tag_N4_RIFF_FILE_DATA), 0);
}

void* CN4RiffHdr::AttachToFile(void* chunk) {
  return AttachRecord(chunk, n4::kFourccN4HD, sizeof(tag_N4_RIFF_FILE_DATA));
}
