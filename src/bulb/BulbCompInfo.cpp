// SN4BulbCompInfo: geometry, work buffers and codec state shared by the bulb
// objects of one sequence.
#include <cstring>
#include <new>
#include <utility>

#include "bulb/VideoCodec.h"
#include "n4file/BulbData.h"

namespace {

void DefaultCompVars(COMPVARS& cv) {
  std::memset(&cv, 0, sizeof cv);
  cv.cbSize = 64;
  cv.dwFlags = ICMF_COMPVARS_VALID;
  cv.fccType = ICTYPE_VIDEO;
  cv.lDataRate = 1500;
  cv.lQ = 10000;
}

void DefaultHeader(BITMAPINFO& bi) {
  std::memset(&bi, 0, sizeof bi);
  bi.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
}

std::unique_ptr<BYTE[]> ZeroedBuffer(DWORD size) {
  try {
    return std::make_unique<BYTE[]>(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace

SN4BulbCompInfo::SN4BulbCompInfo() {
  DefaultCompVars(m_CompVars);
  DefaultHeader(m_biIn);
  DefaultHeader(m_biOut);
}

SN4BulbCompInfo::~SN4BulbCompInfo() { CleanUp(); }

SN4BulbCompInfo::SN4BulbCompInfo(const SN4BulbCompInfo& other) : SN4BulbCompInfo() { CopySettings(other); }

SN4BulbCompInfo& SN4BulbCompInfo::operator=(const SN4BulbCompInfo& other) {
  if (this != &other) {
    CleanUp();
    CopySettings(other);
  }
  return *this;
}

SN4BulbCompInfo::SN4BulbCompInfo(SN4BulbCompInfo&& other) noexcept : SN4BulbCompInfo() { *this = std::move(other); }

SN4BulbCompInfo& SN4BulbCompInfo::operator=(SN4BulbCompInfo&& other) noexcept {
  if (this != &other) {
    CleanUp();
    CopySettings(other);
    m_dwCodecState = std::exchange(other.m_dwCodecState, n4::kCodecClosed);
    m_dwCodecFrames = std::exchange(other.m_dwCodecFrames, 0);
    m_dwBufferSize = std::exchange(other.m_dwBufferSize, 0);
    m_pDecodeBuffer = std::move(other.m_pDecodeBuffer);
    m_pXorBuffer = std::move(other.m_pXorBuffer);
    m_pRleBuffer = std::move(other.m_pRleBuffer);
    m_pCodec = std::move(other.m_pCodec);
  }
  return *this;
}

void SN4BulbCompInfo::CopySettings(const SN4BulbCompInfo& other) {
  m_dwHeight = other.m_dwHeight;
  m_dwWidth = other.m_dwWidth;
  m_dwColor = other.m_dwColor;
  m_dwReserved = other.m_dwReserved;
  m_CompVars = other.m_CompVars;
  // Handles and buffers of the other record's codec stay with it.
  m_CompVars.hic = nullptr;
  m_CompVars.lpbiIn = nullptr;
  m_CompVars.lpbiOut = nullptr;
  m_CompVars.lpBitsOut = nullptr;
  m_CompVars.lpBitsPrev = nullptr;
  m_CompVars.lpState = nullptr;
  m_CompVars.cbState = 0;
  m_biIn = other.m_biIn;
  m_biOut = other.m_biOut;
}

void SN4BulbCompInfo::SetSizeAndColor(DWORD height, DWORD width, DWORD color) {
  m_dwHeight = height;
  m_dwWidth = width;
  m_dwColor = color;
  m_dwReserved = 0;
  const bool direct = n4::IsDirectColor(color);
  for (BITMAPINFO* bi : {&m_biIn, &m_biOut}) {
    bi->bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    bi->bmiHeader.biWidth = static_cast<LONG>(width);
    bi->bmiHeader.biHeight = static_cast<LONG>(height);
    bi->bmiHeader.biPlanes = static_cast<WORD>(direct ? 1 : n4::BitsPerBulb(color));
    bi->bmiHeader.biBitCount = static_cast<WORD>(direct ? n4::BitsPerBulb(color) : 1);
  }
}

void SN4BulbCompInfo::CleanUp() {
  if (m_pCodec) {
    if (m_dwCodecState == n4::kCodecCompressing) m_pCodec->EndCompress();
    if (m_dwCodecState == n4::kCodecDecompressing) m_pCodec->EndDecompress();
    m_pCodec.reset();
  }
  m_dwCodecState = n4::kCodecClosed;
  m_dwCodecFrames = 0;
  m_pDecodeBuffer.reset();
  m_pXorBuffer.reset();
  m_pRleBuffer.reset();
  m_dwBufferSize = 0;
}

DWORD SN4BulbCompInfo::FrameSize() const { return n4::FrameSize(m_dwHeight, m_dwWidth, m_dwColor); }

bool SN4BulbCompInfo::ReserveBuffers(DWORD frameSize) {
  if (frameSize > n4::kLargestFrameSize) return false;
  const DWORD size = frameSize + 4;
  if (m_dwBufferSize < size) {
    // A smaller buffer belonged to another geometry: its frame is no
    // reference for this one.
    m_pDecodeBuffer.reset();
    m_pXorBuffer.reset();
    m_pRleBuffer.reset();
    m_dwBufferSize = size;
  }
  if (!m_pDecodeBuffer) m_pDecodeBuffer = ZeroedBuffer(m_dwBufferSize);
  if (!m_pXorBuffer) m_pXorBuffer = ZeroedBuffer(m_dwBufferSize);
  if (!m_pRleBuffer) m_pRleBuffer = ZeroedBuffer(m_dwBufferSize);
  if (m_pDecodeBuffer && m_pXorBuffer && m_pRleBuffer) return true;
  m_pDecodeBuffer.reset();
  m_pXorBuffer.reset();
  m_pRleBuffer.reset();
  m_dwBufferSize = 0;
  return false;
}
