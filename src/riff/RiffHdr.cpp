#include "n4file/RiffFile.h"
#include "util/ByteOrder.h"

N4_IMPLEMENT_DYNCREATE(CN4RiffHdr)

void* CN4RiffHdr::AppendToFile(CN4RiffFile* file) {
  return CN4RiffChunk::AppendToFile(file, n4::kFourccN4HD, sizeof(tag_N4_RIFF_FILE_DATA), 0);
}

void* CN4RiffHdr::AttachToFile(void* chunk) {
  if (!chunk) return nullptr;
  void* next = ParseChunk(chunk, &m_Chunk);
  if (n4::ReadLE32(m_Chunk.pChunk) != n4::kFourccN4HD) return nullptr;
  if (GetSize() < sizeof(tag_N4_RIFF_FILE_DATA)) return nullptr;
  return next;
}
