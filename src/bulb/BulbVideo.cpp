// Method 6 inside the chunk copy: the codec state machine of SN4BulbCompInfo.
//
// One codec is open at a time. A compression sequence, once started, stays
// open across frames until CleanUp or until a frame must be decompressed, and
// the other way round, so a save pass or a load pass pays for one codec setup.
#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>
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

// A save that compresses on several threads lends each frame a codec of its
// own: the sequence's one codec cannot encode two frames at once, and the
// sequence's record is not touched while the frames are spread (another
// thread may be copying its settings). Every stored frame is a key frame, so
// a frame codes to the same bytes whichever codec saw the frames before it.
//
// The records are lent from a table that lives as long as the process and
// holds one per thread compressing at once; nothing is thread-local, so no
// destructor runs as a thread ends (with mingw-w64 a DLL's thread-local
// destructors run after that state is gone).
class CodecLender {
 public:
  struct Record {
    const SN4BulbCompInfo* source = nullptr;
    DWORD height = 0, width = 0, color = 0;
    LONG quality = 0;
    std::unique_ptr<SN4BulbCompInfo> info;
    bool Matches(const SN4BulbCompInfo& shared) const {
      return info && source == &shared && height == shared.m_dwHeight && width == shared.m_dwWidth &&
             color == shared.m_dwColor && quality == shared.m_CompVars.lQ;
    }
  };

  static CodecLender& Instance() {
    static auto* lender = new CodecLender;  // never destroyed, see above
    return *lender;
  }

  // A record with the settings of `shared`, preferably one already set up.
  std::unique_ptr<Record> Borrow(const SN4BulbCompInfo& shared) {
    std::unique_ptr<Record> record;
    {
      std::lock_guard lock(mutex_);
      auto match = std::find_if(idle_.begin(), idle_.end(), [&](const auto& r) { return r->Matches(shared); });
      if (match == idle_.end() && !idle_.empty()) match = idle_.end() - 1;
      if (match != idle_.end()) {
        record = std::move(*match);
        idle_.erase(match);
      }
    }
    if (!record) record = std::make_unique<Record>();
    if (!record->Matches(shared)) {
      record->info = std::make_unique<SN4BulbCompInfo>(shared);  // settings only, no open codec
      record->source = &shared;
      record->height = shared.m_dwHeight;
      record->width = shared.m_dwWidth;
      record->color = shared.m_dwColor;
      record->quality = shared.m_CompVars.lQ;
    }
    return record;
  }

  void GiveBack(std::unique_ptr<Record> record) {
    std::lock_guard lock(mutex_);
    idle_.push_back(std::move(record));
  }

 private:
  std::mutex mutex_;
  std::vector<std::unique_ptr<Record>> idle_;
};

// A codec record lent for one frame.
class LentCodec {
 public:
  explicit LentCodec(const SN4BulbCompInfo& shared) : record_(CodecLender::Instance().Borrow(shared)) {}
  ~LentCodec() { CodecLender::Instance().GiveBack(std::move(record_)); }
  LentCodec(const LentCodec&) = delete;
  LentCodec& operator=(const LentCodec&) = delete;
  SN4BulbCompInfo& info() { return *record_->info; }

 private:
  std::unique_ptr<CodecLender::Record> record_;
};

}  // namespace

DWORD CN4BulbData::CompressVideo(const BYTE* src, DWORD n, BYTE* out) {
  std::optional<LentCodec> lent;
  if (n4::IsOrderedWorker()) lent.emplace(*m_pBulbCompInfo);
  SN4BulbCompInfo& info = lent ? lent->info() : *m_pBulbCompInfo;
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
