// Method 8: XOR with the previous frame, then byte run-length.
//
// Animations change few bulbs between frames, so the XOR is mostly zeros. The
// shared record's decode buffer is the reference on both sides; it moves on
// to the frame just coded so that a run of frames chains.
#include <algorithm>
#include <cstring>

#include "bulb/BulbCodecs.h"
#include "bulb/XorRle.h"

namespace n4::bulb {

DWORD DecodeXorRle(SN4BulbCompInfo& info, const BYTE* src, DWORD length, BYTE* dst, DWORD capacity) {
  if (!info.m_pDecodeBuffer || info.m_dwBufferSize < 4) return 0;
  capacity = std::min(capacity, info.m_dwBufferSize - 4);
  if (!info.ReserveBuffers(info.m_dwBufferSize - 4)) return 0;
  const BYTE* previous = info.m_pDecodeBuffer.get();
  BYTE* scratch = info.m_pRleBuffer.get();
  const DWORD produced = DecodeRle(src, length, scratch, capacity);
  for (DWORD i = 0; i < produced; ++i) dst[i] = static_cast<BYTE>(scratch[i] ^ previous[i]);
  return produced;
}

}  // namespace n4::bulb

DWORD CN4BulbData::CompressXOR_RLE(const void* src, void* dst, DWORD length, DWORD bestSize) {
  SN4BulbCompInfo* info = m_pBulbCompInfo;
  if (!info || !info->m_pDecodeBuffer || info->m_dwBufferSize < 4 || length > info->m_dwBufferSize - 4) {
    return bestSize;
  }
  if (!info->ReserveBuffers(info->m_dwBufferSize - 4)) return bestSize;
  const auto* in = static_cast<const BYTE*>(src);
  BYTE* previous = info->m_pDecodeBuffer.get();
  BYTE* difference = info->m_pXorBuffer.get();
  for (DWORD i = 0; i < length; ++i) difference[i] = static_cast<BYTE>(in[i] ^ previous[i]);
  int method = N4_BULB_COMPRESS_NONE;
  const DWORD size = n4::bulb::EncodeRle(difference, length, info->m_pRleBuffer.get(), info->m_dwBufferSize, nullptr,
                                         &method);
  std::memcpy(previous, in, length);
  if (method != N4_BULB_COMPRESS_RLE || size >= bestSize) return bestSize;
  std::memcpy(dst, info->m_pRleBuffer.get(), size);
  m_nCompressMethod = N4_BULB_COMPRESS_XOR_RLE;
  return size;
}

DWORD CN4BulbData::DecompressXOR_RLE(const void* src, void* dst, DWORD length) {
  SN4BulbCompInfo* info = m_pBulbCompInfo;
  if (!info) return 0;
  auto* out = static_cast<BYTE*>(dst);
  const DWORD produced =
      n4::bulb::DecodeXorRle(*info, static_cast<const BYTE*>(src), length, out, info->FrameSize());
  if (produced != 0) std::memcpy(info->m_pDecodeBuffer.get(), out, produced);
  return produced;
}
