// CN4BulbData: the "bulb" chunk, its size rule and the choice of method when
// it is copied out of (compressed) or into (expanded) a working file.
#include <algorithm>
#include <cstring>

#include "bulb/BulbCodecs.h"
#include "bulb/XorRle.h"
#include "util/ByteOrder.h"

N4_IMPLEMENT_DYNCREATE(CN4BulbData)

namespace {

constexpr DWORD kFourccBulb = n4::MakeFourCC("bulb");
constexpr DWORD kFourccSos = n4::MakeFourCC("sos ");
constexpr DWORD kSosRecordSize = 48;
constexpr int kLevelDirectRle = -10;
constexpr int kLevelBitPacking = -30;

// Expansion writes one whole frame of the shared geometry, the size the
// working file gave the chunk's slot (CalcSize); a geometry beyond what
// the library expands leaves the chunk as stored.
bool CanExpand(const SN4BulbCompInfo& info) { return info.FrameSize() <= n4::kLargestFrameSize; }

}  // namespace

void CN4BulbData::SetBulbCompInfoPtr(SN4BulbCompInfo* info) { m_pBulbCompInfo = info; }

DWORD CN4BulbData::CalcSize(CN4RiffFile* file) const {
  if (!file) return n4::kMaxFrameSize;
  CN4RiffChunk* sos = file->FindObject(kFourccSos, 2, nullptr);
  if (!sos || !sos->Data() || sos->GetSize() < kSosRecordSize) return n4::kMaxFrameSize;
  const auto* record = static_cast<const BYTE*>(sos->Data());
  return n4::FrameSize(n4::ReadLE16(record + 16), n4::ReadLE16(record + 18), n4::ReadLE32(record + 20));
}

DWORD CN4BulbData::BytesRequired(CN4RiffFile* file) const { return ChunkBytesRequired(CalcSize(file)); }

void* CN4BulbData::AppendToFile(CN4RiffFile* file) {
  return CN4RiffChunk::AppendToFile(file, kFourccBulb, CalcSize(file), 0);
}

void* CN4BulbData::AttachToFile(void* chunk) {
  if (!chunk) return nullptr;
  void* next = ParseChunk(chunk, &m_Chunk);
  return n4::ReadLE32(chunk) == kFourccBulb ? next : nullptr;
}

void* CN4BulbData::CopyEx(void* dest, int unused, int level) {
  if (!dest || !m_Chunk.pChunk) return dest;
  if (!m_pBulbCompInfo || !m_Chunk.pData) return CN4RiffChunk::CopyEx(dest, unused, level);
  if (level < 0) return CompressTo(static_cast<BYTE*>(dest), level);
  if (level == 1 && CanExpand(*m_pBulbCompInfo)) return ExpandTo(static_cast<BYTE*>(dest));
  return CN4RiffChunk::CopyEx(dest, unused, level);
}

DWORD CN4BulbData::CopyBytesRequired(int unused, int level) const {
  if (!m_Chunk.pChunk || !m_pBulbCompInfo || !m_Chunk.pData) return CN4RiffChunk::CopyBytesRequired(unused, level);
  if (level == 1 && CanExpand(*m_pBulbCompInfo)) return ChunkBytesRequired(m_pBulbCompInfo->FrameSize());
  if (level < 0) return ChunkBytesRequired(n4::CompressBound(GetSize()));
  return CN4RiffChunk::CopyBytesRequired(unused, level);
}

void* CN4BulbData::CompressTo(BYTE* dest, int level) {
  const BYTE* src = BulbData();
  const DWORD n = GetSize();
  BYTE* out = dest + 8;
  const DWORD color = m_pBulbCompInfo->m_dwColor;
  DWORD size = 0;
  int method = N4_BULB_COMPRESS_NONE;
  if (!n4::IsDirectColor(color)) {
    size = CompressPlanar(src, n, out, level);
    method = m_nCompressMethod;
  } else if (level == kLevelDirectRle) {
    size = color == RGB32KB ? n4::bulb::EncodeRleWord(src, n, out, n, &method)
                            : n4::bulb::EncodeRgb24(src, n, out, n, &method);
  } else if (level <= kLevelBitPacking) {
    size = CompressVideo(src, n, out);
    method = m_nCompressMethod;
  } else {
    size = n4::bulb::StoreRaw(src, n, out, &method);
  }
  m_nCompressMethod = method;
  n4::WriteLE32(dest, kFourccBulb);
  n4::WriteLE32(dest + 4, size);
  return NextChunkPtr(dest);
}

DWORD CN4BulbData::CompressPlanar(const BYTE* src, DWORD n, BYTE* out, int level) {
  DWORD histogram[256];
  int rleMethod = N4_BULB_COMPRESS_NONE;
  const DWORD rleSize = n4::bulb::EncodeRle(src, n, out, n, histogram, &rleMethod);
  m_nCompressMethod = rleMethod;
  if (level > kLevelBitPacking) return rleSize;

  // A run-length fall-back stopped counting early: count the whole frame.
  if (rleMethod != N4_BULB_COMPRESS_RLE) n4::bulb::CountBytes(src, n, histogram);
  const int choice = n4::bulb::ChooseBitPacking(histogram, n, rleMethod, rleSize);
  if (choice < N4_BULB_COMPRESS_TOP4 || choice > N4_BULB_COMPRESS_TOP1) return rleSize;
  const int values = choice == N4_BULB_COMPRESS_TOP4 ? 4 : choice == N4_BULB_COMPRESS_TOP2 ? 2 : 1;
  const DWORD size = n4::bulb::EncodeTop(values, src, n, out, n, histogram);
  if (size != 0) {
    m_nCompressMethod = choice;
    return size;
  }
  // The estimate was too kind and the packing would outgrow the raw frame:
  // the run-length result it was meant to beat stands (the packing attempt
  // wrote over it, so it is encoded again). After a run-length success the
  // estimate is below the counted bytes, n - 1, and a stream is at most two
  // bytes over its estimate, so this is reached when run-length itself fell
  // back to raw.
  return n4::bulb::EncodeRle(src, n, out, n, nullptr, &m_nCompressMethod);
}

void* CN4BulbData::ExpandTo(BYTE* dest) {
  SN4BulbCompInfo& info = *m_pBulbCompInfo;
  const DWORD frame = info.FrameSize();
  // A zeroed frame: whatever a damaged stream cannot fill stays dark.
  void* next = WriteChunkHeader(dest, kFourccBulb, frame, 0);
  const bool haveBuffers = info.ReserveBuffers(frame);
  const BYTE* src = BulbData();
  const DWORD n = GetSize();
  BYTE* out = dest + 8;
  switch (m_nCompressMethod) {
    case N4_BULB_COMPRESS_RLE:
      n4::bulb::DecodeRle(src, n, out, frame);
      break;
    case N4_BULB_COMPRESS_TOP4:
      n4::bulb::DecodeTop(4, src, n, out, frame);
      break;
    case N4_BULB_COMPRESS_TOP2:
      n4::bulb::DecodeTop(2, src, n, out, frame);
      break;
    case N4_BULB_COMPRESS_TOP1:
      n4::bulb::DecodeTop(1, src, n, out, frame);
      break;
    case N4_BULB_COMPRESS_RLE_WORD:
      n4::bulb::DecodeRleWord(src, n, out, frame);
      break;
    case N4_BULB_COMPRESS_VIDEO:
      ExpandVideo(src, n, out, frame);
      break;
    case N4_BULB_COMPRESS_RGB24:
      n4::bulb::DecodeRgb24(src, n, out, frame);
      break;
    case N4_BULB_COMPRESS_XOR_RLE:
      if (haveBuffers) n4::bulb::DecodeXorRle(info, src, n, out, frame);
      break;
    default:
      // Method 0, and any number no encoder writes: the bytes as stored.
      std::memcpy(out, src, std::min(n, frame));
      break;
  }
  if (haveBuffers) std::memcpy(info.m_pDecodeBuffer.get(), out, frame);
  return next;
}
