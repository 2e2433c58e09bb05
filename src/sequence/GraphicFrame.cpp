// Graphic frames: a "grp " list holding the graphic header and the bulb data.
#include <cstring>

#include "n4file/SequenceFile.h"
#include "util/ByteOrder.h"

N4_IMPLEMENT_DYNCREATE(CN4GraphicHdr)
N4_IMPLEMENT_DYNCREATE(CN4GphFrame)

void* CN4GraphicHdr::AppendToFile(CN4RiffFile* file) {
  return CN4RiffChunk::AppendToFile(file, n4::kFourccGrph, sizeof(tag_N4_GRP_HDR), 0);
}

void* CN4GraphicHdr::AttachToFile(void* chunk) {
  return AttachRecord(chunk, n4::kFourccGrph, sizeof(tag_N4_GRP_HDR));
}

DWORD CN4GphFrame::BytesRequired(CN4RiffFile* file) const {
  return m_BulbData.BytesRequired(file) + CN4GraphicHdr::BytesRequired() + 12;
}

DWORD CN4GphFrame::CopyBytesRequired(int mode, int compress) const {
  if (!StartOfChunkPtr() || !m_GraphicHdr.StartOfChunkPtr()) return 0;
  // The list header, the graphic header and the pixels, which an expansion
  // sizes by the source sign's geometry, not by this chunk as stored.
  return 12 + m_GraphicHdr.CopyBytesRequired(mode, compress) + m_BulbData.CopyBytesRequired(mode, compress);
}

int CN4GphFrame::IsCopyVerbatim(int, int compress) const {
  // A compressing or expanding copy rewrites the pixels; otherwise CopyEx
  // writes the list header, the graphic header and the pixels as stored,
  // clears the header's method and sizes the list to what it wrote.
  if (compress != 0 || !StartOfChunkPtr() || !m_GraphicHdr.StartOfChunkPtr() || !m_BulbData.StartOfChunkPtr()) {
    return 0;
  }
  const tag_N4_GRP_HDR* hdr = GphHdr();
  if (!hdr || hdr->dwCompressMethod != 0) return 0;
  const auto* list = static_cast<const std::byte*>(StartOfChunkPtr());
  const auto* header = static_cast<const std::byte*>(m_GraphicHdr.StartOfChunkPtr());
  const auto* bulb = static_cast<const std::byte*>(m_BulbData.StartOfChunkPtr());
  const DWORD headerBytes = ChunkBytesRequired(m_GraphicHdr.GetSize());
  const DWORD bulbBytes = ChunkBytesRequired(m_BulbData.GetSize());
  if (header != list + 12 || bulb != header + headerBytes || GetSize() != 4 + headerBytes + bulbBytes) return 0;
  // The pad bytes, which CopyEx leaves unwritten (zero).
  if (m_GraphicHdr.GetSize() % 2 && header[headerBytes - 1] != std::byte{0}) return 0;
  if (m_BulbData.GetSize() % 2 && bulb[bulbBytes - 1] != std::byte{0}) return 0;
  return 1;
}

void CN4GphFrame::SetBulbCompInfoPtr(SN4BulbCompInfo* info) { m_BulbData.SetBulbCompInfoPtr(info); }

tag_N4_FRM* CN4GphFrame::FrameHdr() { return reinterpret_cast<tag_N4_FRM*>(m_GraphicHdr.GphHdr()); }

void* CN4GphFrame::AppendToFile(CN4RiffFile* file) {
  if (!file) return nullptr;
  CN4RiffChunk* const members[] = {&m_GraphicHdr, &m_BulbData};
  return AppendListToFile(file, n4::kFourccGrp, BytesRequired(file), members);
}

void* CN4GphFrame::AttachToFile(void* chunk) {
  if (!chunk) return nullptr;
  ParseChunk(chunk, &m_Chunk);
  if (Type() != n4::kFourccGrp) return nullptr;
  *m_GraphicHdr.Chunk() = _RIFFCHUNK{};
  *m_BulbData.Chunk() = _RIFFCHUNK{};
  if (!m_GraphicHdr.AttachToFile(FindSubChunk(n4::kFourccGrph))) return nullptr;
  if (!m_BulbData.AttachToFile(FindSubChunk(n4::kFourccBulb))) return nullptr;
  return NextChunk();
}

void CN4GphFrame::AdjustToNewBase(void* newBase, void* oldBase) {
  CN4Frame::AdjustToNewBase(newBase, oldBase);
  m_GraphicHdr.AdjustToNewBase(newBase, oldBase);
  m_BulbData.AdjustToNewBase(newBase, oldBase);
}

void* CN4GphFrame::CopyEx(void* dest, int mode, int compress) {
  auto* out = static_cast<std::byte*>(dest);
  if (!StartOfChunkPtr() || !m_GraphicHdr.StartOfChunkPtr()) return dest;
  std::memcpy(out, StartOfChunkPtr(), 12);
  void* bulbAt = m_GraphicHdr.CopyEx(out + 12, mode, compress);
  CN4GraphicHdr copiedHdr;
  copiedHdr.AttachToFile(out + 12);
  // Expanding a compressed file: the saved header says how the pixels were packed.
  if (compress == 1) m_BulbData.SetCompressMethod(static_cast<int>(GphHdr()->dwCompressMethod));
  void* end = m_BulbData.CopyEx(bulbAt, mode, compress);
  if (copiedHdr.GphHdr()) {
    copiedHdr.GphHdr()->dwCompressMethod = compress < 0 ? static_cast<DWORD>(m_BulbData.GetCompressMethod()) : 0;
  }
  _RIFFCHUNK list;
  ParseChunk(out, &list);
  SetChunkSize(&list, end);
  return end;
}
