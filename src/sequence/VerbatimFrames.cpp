// Text, data and include frames: lists carried byte for byte.
#include <cstring>

#include "n4file/SequenceFile.h"
#include "util/ByteOrder.h"

N4_IMPLEMENT_DYNCREATE(CN4TextFrame)
N4_IMPLEMENT_DYNCREATE(CN4DataFrame)
N4_IMPLEMENT_DYNCREATE(CN4IncFrame)

namespace n4 {

void* VerbatimListFrame::AppendToFile(CN4RiffFile* file) {
  return CN4RiffChunk::AppendToFile(file, kFourccLIST, 4, m_dwListType);
}

void* VerbatimListFrame::AttachToFile(void* chunk) {
  if (!chunk) return nullptr;
  ParseChunk(chunk, &m_Chunk);
  if (Type() != m_dwListType) {
    m_Chunk = _RIFFCHUNK{};
    return nullptr;
  }
  return NextChunk();
}

void* VerbatimListFrame::CopyEx(void* dest, int, int) {
  if (!StartOfChunkPtr()) return dest;
  const DWORD bytes = ChunkBytesRequired(GetSize());
  std::memcpy(dest, StartOfChunkPtr(), 8 + GetSize());
  // The pad byte is part of the frame's bytes too; write it so that copies
  // are identical.
  if (bytes > 8 + GetSize()) static_cast<std::byte*>(dest)[bytes - 1] = std::byte{0};
  return static_cast<std::byte*>(dest) + bytes;
}

tag_N4_FRM* VerbatimListFrame::FrameHdr() {
  void* hdr = FindSubChunk(m_dwHeaderId);
  if (!hdr || ReadLE32(static_cast<std::byte*>(hdr) + 4) < sizeof(WORD)) return nullptr;
  return reinterpret_cast<tag_N4_FRM*>(static_cast<std::byte*>(hdr) + 8);
}

}  // namespace n4
