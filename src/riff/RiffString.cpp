#include <algorithm>
#include <cstring>

#include "n4file/RiffFile.h"
#include "util/ByteOrder.h"

N4_IMPLEMENT_DYNCREATE(CN4RiffString)

namespace {
const char kEmpty[] = "";
}

DWORD CN4RiffString::CalcSize(int len) const {
  return len == -1 ? static_cast<DWORD>(m_nMaxStringLength) + 1 : static_cast<DWORD>(len) + 1;
}

void* CN4RiffString::AppendToFile(CN4RiffFile* file) {
  return CN4RiffChunk::AppendToFile(file, m_dwFCCID, CalcSize(-1), 0);
}

void* CN4RiffString::AttachToFile(void* chunk) {
  if (!chunk) return nullptr;
  void* next = ParseChunk(chunk, &m_Chunk);
  // A string must end inside its own body; one that does not would make
  // every reader run on into the next chunk, so it counts as absent.
  const DWORD size = GetSize();
  if (n4::ReadLE32(m_Chunk.pChunk) != m_dwFCCID || size == 0 ||
      !std::memchr(m_Chunk.pData, 0, size)) {
    m_Chunk = _RIFFCHUNK{};
    return nullptr;
  }
  return next;
}

const char* CN4RiffString::GetPtrToString() const {
  return m_Chunk.pChunk ? reinterpret_cast<const char*>(m_Chunk.pData) : kEmpty;
}

int CN4RiffString::SetString(const char* s) {
  if (!s || !m_Chunk.pChunk) return 0;
  const std::size_t len = std::strlen(s);
  if (len > static_cast<std::size_t>(m_nMaxStringLength)) return 0;
  // A compacted chunk (read from a saved file) has room only for its own text.
  if (len + 1 > GetSize()) return 0;
  std::memcpy(m_Chunk.pData, s, len + 1);
  return 1;
}

void CN4RiffString::Initialize() {
  if (!m_Chunk.pChunk) return;
  std::memset(m_Chunk.pData, 0, std::min<DWORD>(CalcSize(-1), GetSize()));
}

void* CN4RiffString::AddToBuffer(void* dest) const {
  return WriteChunkHeader(dest, m_dwFCCID, CalcSize(-1), 0);
}

void* CN4RiffString::CopyEx(void* dest, int mode, int) {
  auto* out = static_cast<std::byte*>(dest);
  const bool present = m_Chunk.pChunk != nullptr;
  if (mode == 0) {
    return present ? CN4RiffChunk::CopyEx(dest, 0, 0) : dest;
  }
  if (mode > 0) {
    const DWORD full = BytesRequired(-1);
    std::memset(out, 0, full);
    if (present) {
      // Never copy more than the full capacity: a foreign file may hold a
      // longer body, whose text is then cut to the capacity.
      std::size_t stored = std::min<std::size_t>(8 + GetSize(), full);
      std::memcpy(out, m_Chunk.pChunk, stored);
      n4::WriteLE32(out + 4, full - 8);
      out[8 + m_nMaxStringLength] = std::byte{0};
    } else {
      AddToBuffer(out);
    }
    return out + full;
  }
  // Compact: the text, its terminating zero and the pad byte.
  if (!present) {
    WriteChunkHeader(out, m_dwFCCID, 1, 0);
    return out + ChunkBytesRequired(1);
  }
  const std::size_t len = std::strlen(GetPtrToString());
  const DWORD bytes = BytesRequired(static_cast<int>(len));
  std::memcpy(out, m_Chunk.pChunk, std::min<std::size_t>(bytes, 8 + GetSize()));
  if (bytes > 8 + GetSize()) out[bytes - 1] = std::byte{0};  // pad byte beyond the stored body
  const DWORD size = static_cast<DWORD>((len + 1 + 1) & ~std::size_t{1});
  n4::WriteLE32(out + 4, size);
  return out + bytes;
}
