#include "n4file/RiffFile.h"
#include "util/ByteOrder.h"

N4_IMPLEMENT_DYNCREATE(CN4RiffHdr)

void* CN4RiffHdr::AppendToFile(CN4RiffFile* file) {
  return CN4RiffChunk::AppendToFile(file, n4::kFourccN4HD, sizeof(tag_N4_RIFF_FILE_DATA), 0);
}

void* CN4RiffHdr::AttachToFile(void* chunk) {
  if (!chunk) return nullptr;
  // A chunk of another kind is refused but stays viewed, as callers of the
  // header have always found it; a header too short for its record is not
  // viewed at all, since its fields would lie past the chunk.
  if (n4::ReadLE32(chunk) != n4::kFourccN4HD) {
    ParseChunk(chunk, &m_Chunk);
    return nullptr;
  }
  return AttachRecord(chunk, n4::kFourccN4HD, sizeof(tag_N4_RIFF_FILE_DATA));
}
