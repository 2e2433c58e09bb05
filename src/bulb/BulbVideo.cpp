// Method 6 inside the chunk copy: the codec state machine of SN4BulbCompInfo.
//
// One codec is open at a time. A compression sequence, once started, stays
// open across frames until CleanUp or until a frame must be decompressed, and
// the other way round, so a save pass or a load pass pays for one codec setup.
#include <algorithm>
#include <cstring>
#include <vector>

#include "bulb/BulbCodecs.h"
#include "bulb/VideoCodec.h"
#include "util/ByteOrder.h"
#include "util/OrderedWork.h"

namespace {

constexpr DWORD kFourccCvid = n4::MakeFourCC("cvid");
constexpr DWORD kHeaderBytes = 40;
constexpr DWORD kKeyFrameWord = 7;  // the eighth 32-bit word of the stored header

void WriteBitmapHeader(BYTE* p, const BITMAPINFOHEADER& h) {
  n4::WriteLE32(p + 0, h.biSize);
  n4::WriteLE32(p + 4, static_cast<DWORD>(h.biWidth));
  n4::WriteLE32(p + 8, static_cast<DWORD>(h.biHeight));
  n4::WriteLE16(p + 12, h.biPlanes);
  n4::WriteLE16(p + 14, h.biBitCount);
  n4::WriteLE32(p + 16, h.biCompression);
  n4::WriteLE32(p + 20, h.biSizeImage);
  n4::WriteLE32(p + 24, static_cast<DWORD>(h.biXPelsPerMeter));
  n4::WriteLE32(p + 28, static_cast<DWORD>(h.biYPelsPerMeter));
  n4::WriteLE32(p + 32, h.biClrUsed);
  n4::WriteLE32(p + 36, h.biClrImportant);
}

int DirectBitCount(const SN4BulbCompInfo& info) { return info.m_dwColor == RGB32KB ? 16 : 24; }

bool EnsureCodec(SN4BulbCompInfo& info) {
  if (!info.m_pCodec) info.m_pCodec = n4::VideoCodec::Create();
  return info.m_pCodec != nullptr;
}

// Moves the record's codec to `state`; 0 and no codec when that fails.
bool EnterState(SN4BulbCompInfo& info, DWORD state) {
  if (info.m_dwCodecState == state && info.m_pCodec) return true;
  if (info.m_pCodec) {
    if (info.m_dwCodecState == n4::kCodecCompressing) info.m_pCodec->EndCompress();
    if (info.m_dwCodecState == n4::kCodecDecompressing) info.m_pCodec->EndDecompress();
  }
  info.m_dwCodecState = n4::kCodecClosed;
  info.m_dwCodecFrames = 0;
  if (!EnsureCodec(info)) return false;
  const auto width = static_cast<LONG>(info.m_dwWidth);
  const auto height = static_cast<LONG>(info.m_dwHeight);
  const int bitCount = DirectBitCount(info);
  if (state == n4::kCodecCompressing) {
    info.m_biIn.bmiHeader.biSizeImage =
        static_cast<DWORD>(static_cast<std::uint64_t>(bitCount) * info.m_dwHeight * info.m_dwWidth / 8);
    if (!info.m_pCodec->BeginCompress(width, height, bitCount, info.m_CompVars.lQ)) return false;
    // What the codec reports as its output format.
    BITMAPINFOHEADER& out = info.m_biOut.bmiHeader;
    out.biSize = kHeaderBytes;
    out.biWidth = width;
    out.biHeight = height;
    out.biPlanes = 1;
    out.biBitCount = 24;
    out.biCompression = kFourccCvid;
    info.m_CompVars.fccHandler = kFourccCvid;
    info.m_CompVars.lKey = 1;
  } else if (!info.m_pCodec->BeginDecompress(width, height, bitCount)) {
    return false;
  }
  info.m_dwCodecState = state;
  return true;
}

// A save that compresses on several workers gives each its own codec: the
// sequence's one codec cannot encode two frames at once. Every stored frame
// is a key frame, so a frame codes to the same bytes whichever codec saw the
// frames before it.
SN4BulbCompInfo& WorkerCompInfo(const SN4BulbCompInfo& shared) {
  struct Own {
    const SN4BulbCompInfo* source = nullptr;
    DWORD height = 0, width = 0, color = 0;
    LONG quality = 0;
    std::unique_ptr<SN4BulbCompInfo> info;
  };
  thread_local Own own;
  if (!own.info || own.source != &shared || own.height != shared.m_dwHeight || own.width != shared.m_dwWidth ||
      own.color != shared.m_dwColor || own.quality != shared.m_CompVars.lQ) {
    own.info = std::make_unique<SN4BulbCompInfo>(shared);  // settings only, no open codec
    own.source = &shared;
    own.height = shared.m_dwHeight;
    own.width = shared.m_dwWidth;
    own.color = shared.m_dwColor;
    own.quality = shared.m_CompVars.lQ;
  }
  return *own.info;
}

}  // namespace

DWORD CN4BulbData::CompressVideo(const BYTE* src, DWORD n, BYTE* out) {
  SN4BulbCompInfo& info = n4::IsOrderedWorker() ? WorkerCompInfo(*m_pBulbCompInfo) : *m_pBulbCompInfo;
  const DWORD frame = info.FrameSize();
  if (frame == 0 || n < frame || !EnterState(info, n4::kCodecCompressing)) {
    return n4::bulb::StoreRaw(src, n, out, &m_nCompressMethod);
  }
  std::vector<BYTE> coded;
  bool keyFrame = false;
  if (n < kHeaderBytes || !info.m_pCodec->CompressFrame(src, frame, coded, keyFrame) ||
      coded.size() > n - kHeaderBytes) {
    return n4::bulb::StoreRaw(src, n, out, &m_nCompressMethod);
  }
  ++info.m_dwCodecFrames;
  const auto size = static_cast<DWORD>(coded.size());
  BITMAPINFOHEADER header = info.m_biOut.bmiHeader;
  header.biSizeImage = size;
  WriteBitmapHeader(out, header);
  n4::WriteLE32(out + 4 * kKeyFrameWord, keyFrame ? 1u : 0u);
  std::memcpy(out + kHeaderBytes, coded.data(), size);
  m_nCompressMethod = N4_BULB_COMPRESS_VIDEO;
  return kHeaderBytes + size;
}

DWORD CN4BulbData::ExpandVideo(const BYTE* src, DWORD n, BYTE* out, DWORD capacity) {
  SN4BulbCompInfo& info = *m_pBulbCompInfo;
  if (n <= kHeaderBytes || !n4::IsDirectColor(info.m_dwColor)) return 0;
  if (!EnterState(info, n4::kCodecDecompressing)) return 0;
  const bool keyFrame = n4::ReadLE32(src + 4 * kKeyFrameWord) != 0;
  const DWORD written = info.m_pCodec->DecompressFrame(src + kHeaderBytes, n - kHeaderBytes, keyFrame, out, capacity);
  ++info.m_dwCodecFrames;
  return written;
}
