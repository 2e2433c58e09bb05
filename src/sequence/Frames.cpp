// The frame base and the frames whose record is one fixed-size chunk body.
#include <algorithm>
#include <cstring>

#include "n4file/SequenceFile.h"
#include "util/ByteOrder.h"

N4_IMPLEMENT_DYNCREATE(CN4Frame)
N4_IMPLEMENT_DYNCREATE(CN4SosFrame)
N4_IMPLEMENT_DYNCREATE(CN4EosFrame)
N4_IMPLEMENT_DYNCREATE(CN4SndFrame)
N4_IMPLEMENT_DYNCREATE(CN4TxdFrame)

void CN4Frame::AdjustToNewBase(void* newBase, void* oldBase) { CN4RiffChunk::AdjustToNewBase(newBase, oldBase); }

tag_N4_FRM* CN4Frame::FrameHdr() { return reinterpret_cast<tag_N4_FRM*>(Data()); }

WORD CN4Frame::GetFrameNumber() {
  tag_N4_FRM* hdr = FrameHdr();
  return hdr ? hdr->wFrameNumber : 0;
}

int CN4Frame::SetFrameNumber(WORD n) {
  tag_N4_FRM* hdr = FrameHdr();
  if (!hdr) return 0;
  hdr->wFrameNumber = n;
  return 1;
}

namespace n4 {

void* FixedRecordFrame::AppendToFile(CN4RiffFile* file) {
  return CN4RiffChunk::AppendToFile(file, m_dwId, m_dwBodySize, 0);
}

void* FixedRecordFrame::AttachToFile(void* chunk) {
  // A text-data record needs its fixed part; its text may be shorter.
  return AttachRecord(chunk, m_dwId, m_dwId == kFourccTxd ? sizeof(tag_N4_TXD_FRM) : m_dwBodySize);
}

}  // namespace n4

void* CN4TxdFrame::AttachToFile(void* chunk) { return FixedRecordFrame::AttachToFile(chunk); }

void* CN4TxdFrame::CopyEx(void* dest, int mode, int compress) {
  if (mode == 0 || !StartOfChunkPtr()) return CN4RiffChunk::CopyEx(dest, mode, compress);
  auto* out = static_cast<std::byte*>(dest);
  const DWORD stored = GetSize();
  if (mode < 0) {
    // Only the text the record says it holds (never more than is stored).
    DWORD text = std::min<DWORD>(TxdFrame()->wTextLength, stored - sizeof(tag_N4_TXD_FRM));
    const DWORD body = CalcSize(static_cast<int>(text));
    std::memcpy(out, StartOfChunkPtr(), 8 + body);
    const DWORD size = (body + 1) & ~DWORD{1};
    if (size != body) out[8 + body] = std::byte{0};
    n4::WriteLE32(out + 4, size);
    return out + 8 + size;
  }
  const DWORD full = BytesRequired(kTextCapacity);
  std::memset(out, 0, full);
  // A longer stored text than the editing buffer holds is cut to the buffer.
  std::memcpy(out, StartOfChunkPtr(), std::min<DWORD>(8 + stored, full));
  n4::WriteLE32(out + 4, full - 8);
  return out + full;
}
