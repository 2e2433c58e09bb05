#include <cstdint>
#include <cstring>

#include "n4file/RiffFile.h"
#include "util/ByteOrder.h"

std::unique_ptr<CN4RiffChunk> CRuntimeClass::CreateObject() const {
  return m_pfnCreateObject ? m_pfnCreateObject() : nullptr;
}

N4_IMPLEMENT_DYNCREATE(CN4RiffChunk)

void* CN4RiffChunk::AppendToFile(CN4RiffFile*) { return nullptr; }

void* CN4RiffChunk::CopyEx(void* dest, int, int) {
  if (!dest || !m_Chunk.pChunk) return dest;
  std::memcpy(dest, m_Chunk.pChunk, 8 + static_cast<std::size_t>(GetSize()));
  return NextChunkPtr(dest);
}

void* CN4RiffChunk::AttachToFile(void* chunk) { return ParseChunk(chunk, &m_Chunk); }

void* CN4RiffChunk::AttachRecord(void* chunk, DWORD id, DWORD minBodySize) {
  if (!chunk) return nullptr;
  void* next = ParseChunk(chunk, &m_Chunk);
  if (n4::ReadLE32(chunk) != id || GetSize() < minBodySize) {
    m_Chunk = _RIFFCHUNK{};
    return nullptr;
  }
  return next;
}

void CN4RiffChunk::Rebase(std::byte*& p, void* newBase, void* oldBase) {
  if (!p) return;
  // Integer arithmetic: the two bases belong to different mappings.
  auto delta = reinterpret_cast<std::uintptr_t>(newBase) - reinterpret_cast<std::uintptr_t>(oldBase);
  p = reinterpret_cast<std::byte*>(reinterpret_cast<std::uintptr_t>(p) + delta);
}

void CN4RiffChunk::AdjustToNewBase(void* newBase, void* oldBase) {
  Rebase(m_Chunk.pChunk, newBase, oldBase);
  Rebase(m_Chunk.pSize, newBase, oldBase);
  Rebase(m_Chunk.pData, newBase, oldBase);
  Rebase(m_Chunk.pType, newBase, oldBase);
}

DWORD CN4RiffChunk::GetSize() const { return m_Chunk.pSize ? n4::ReadLE32(m_Chunk.pSize) : 0; }

DWORD CN4RiffChunk::Type() const { return ChunkId(m_Chunk.pChunk); }

int CN4RiffChunk::IsRiffChunk() const {
  return m_Chunk.pChunk && n4::ReadLE32(m_Chunk.pChunk) == n4::kFourccRIFF;
}

int CN4RiffChunk::IsListChunk() const {
  return m_Chunk.pChunk && n4::ReadLE32(m_Chunk.pChunk) == n4::kFourccLIST;
}

void* CN4RiffChunk::NextChunk() const { return NextChunkPtr(m_Chunk.pChunk); }

void* CN4RiffChunk::FindSubChunk(DWORD code) const {
  if (!IsRiffChunk() && !IsListChunk()) return nullptr;
  // Sub-chunks must lie inside this chunk's body; a sub-chunk that claims to
  // reach beyond it ends the walk.
  const std::byte* bodyEnd = m_Chunk.pData - 4 + GetSize();
  std::byte* p = m_Chunk.pData;
  while (p < static_cast<std::byte*>(NextChunk()) && n4::ChunkFits(p, bodyEnd)) {
    if (ChunkId(p) == code) return p;
    p = static_cast<std::byte*>(NextChunkPtr(p));
  }
  return nullptr;
}

void* CN4RiffChunk::AppendToFile(CN4RiffFile* file, DWORD id, DWORD size, DWORD type) {
  return AppendChunk(file, id, size, type, true);
}

void* CN4RiffChunk::AppendHeaderToFile(CN4RiffFile* file, DWORD id, DWORD size, DWORD type) {
  return AppendChunk(file, id, size, type, false);
}

void* CN4RiffChunk::AppendListToFile(CN4RiffFile* file, DWORD listType, DWORD bytes,
                                     std::span<CN4RiffChunk* const> members) {
  if (!file || !file->GrowFile(bytes)) return nullptr;
  void* end = AppendHeaderToFile(file, n4::kFourccLIST, 4, listType);
  for (CN4RiffChunk* member : members) {
    if (!end) return nullptr;
    end = member->AppendToFile(file);
  }
  if (!end) return nullptr;
  SizeChunk(end);
  return end;
}

void* CN4RiffChunk::AppendChunk(CN4RiffFile* file, DWORD id, DWORD size, DWORD type, bool ownAttach) {
  if (!file) return nullptr;
  if ((id == n4::kFourccRIFF || id == n4::kFourccLIST) && size < 4) size = 4;
  if (!file->GrowFile(ChunkBytesRequired(size))) return nullptr;
  void* end = file->GetEnd();
  if (!end) return nullptr;
  if (file->IsUnwrittenSpace(end)) {
    // The body is zero already: write the header alone. Large appends then
    // touch their pages once instead of twice.
    n4::WriteLE32(end, id);
    n4::WriteLE32(static_cast<std::byte*>(end) + 4, size);
    if (id == n4::kFourccRIFF || id == n4::kFourccLIST) n4::WriteLE32(static_cast<std::byte*>(end) + 8, type);
  } else {
    WriteChunkHeader(end, id, size, type);
  }
  void* next = ownAttach ? AttachToFile(end) : CN4RiffChunk::AttachToFile(end);
  if (!next) return nullptr;
  file->SetEnd(next);
  return next;
}

DWORD CN4RiffChunk::CopyBytesRequired(int, int) const {
  return m_Chunk.pChunk ? ChunkBytesRequired(GetSize()) : 0;
}

int CN4RiffChunk::IsCopyVerbatim(int, int) const {
  return m_Chunk.pChunk && GetRuntimeClass() == ThisClass();
}
