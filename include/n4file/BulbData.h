// Bulb data: the pixel data of one sign frame, its size rule and its
// compression methods.
//
// A frame holds either bit planes (one plane per bit of a bulb, rows padded to
// 16-bit words, row count rounded up to even) or, for the two direct-colour
// technologies, one 16- or 24-bit pixel per bulb in bottom-up bitmap rows
// padded to 32 bits. Stored frames are packed by one of nine methods
// (tag_N4_BULB_COMPRESS_TYPE); all but the video codec are lossless.
//
// Every encoded stream except methods 0 and 6 starts with the uncompressed
// length as a little-endian 32-bit count. The compressors and decompressors
// are static members of CN4BulbData so that they can be used without a file.
//
// Robustness: decompressors trust nothing in a stream. The overloads taking a
// capacity never write more than that many bytes and never read outside
// [src, src + length); a damaged stream decodes as far as it can and the
// return value says how much was produced. The overloads without a capacity
// keep the historical contract and size the destination from the stream's own
// count, so use them only on streams you produced.
//
// Thread safety: the static codecs are reentrant. A CN4BulbData and the
// SN4BulbCompInfo it shares belong to one thread at a time.
#pragma once

#include <cstdint>
#include <memory>

#include "n4file/Export.h"
#include "n4file/RiffFile.h"
#include "n4file/Types.h"

// Compression method of stored bulb data. It is not kept inside the chunk:
// the owning frame records it (a graphic header stores it at offset 48).
enum tag_N4_BULB_COMPRESS_TYPE {
  N4_BULB_COMPRESS_NONE = 0,      // raw bytes; also every fall-back
  N4_BULB_COMPRESS_RLE = 1,       // byte run-length, planar frames
  N4_BULB_COMPRESS_TOP4 = 2,      // four most frequent values, planar
  N4_BULB_COMPRESS_TOP2 = 3,      // two most frequent values, planar
  N4_BULB_COMPRESS_TOP1 = 4,      // one most frequent value, planar
  N4_BULB_COMPRESS_RLE_WORD = 5,  // 16-bit word run-length, RGB32KB
  N4_BULB_COMPRESS_VIDEO = 6,     // Cinepak ("cvid"), RGB32KB and RGB16MB
  N4_BULB_COMPRESS_RGB24 = 7,     // per-channel run-length, RGB16MB
  N4_BULB_COMPRESS_XOR_RLE = 8,   // XOR with the previous frame, then run-length
};

namespace n4 {

// Bits each bulb takes in a frame, by colour technology. Index 15 is not a
// technology and sizes to nothing; values of 16 or more count as one bit.
inline constexpr BYTE kBitsPerBulb[16] = {1, 1, 2, 2, 2, 4, 4, 8, 6, 6, 12, 24, 6, 16, 24, 0};

constexpr int BitsPerBulb(DWORD color) { return color >= 16 ? 1 : kBitsPerBulb[color]; }

// RGB32KB and RGB16MB hold packed pixels; every other technology bit planes.
constexpr bool IsDirectColor(DWORD color) { return color == RGB32KB || color == RGB16MB; }

// a * b, or UINT64_MAX when that overflows.
constexpr std::uint64_t SaturatingProduct(std::uint64_t a, std::uint64_t b) {
  return a != 0 && b > UINT64_MAX / a ? UINT64_MAX : a * b;
}

// The size a decoded frame occupies. Saturates at 0xFFFFFFFF for geometries
// no sign has, so callers can compare it with kMaxFrameSize.
constexpr DWORD FrameSize(DWORD height, DWORD width, DWORD color) {
  const std::uint64_t bits = static_cast<std::uint64_t>(BitsPerBulb(color));
  std::uint64_t size;
  if (IsDirectColor(color)) {
    const std::uint64_t rowBytes = ((((bits + 3) & ~std::uint64_t{3}) * width + 31) >> 5) * 4;
    size = SaturatingProduct(rowBytes, height);
  } else {
    const std::uint64_t rows = (static_cast<std::uint64_t>(height) + 1) & ~std::uint64_t{1};
    const std::uint64_t rowBytes = ((static_cast<std::uint64_t>(width) + 15) >> 4) * 2;
    size = SaturatingProduct(SaturatingProduct(rowBytes, rows), bits);
  }
  return size > 0xFFFFFFFFu ? 0xFFFFFFFFu : static_cast<DWORD>(size);
}

// The frame size assumed when a sequence has no start record.
inline constexpr DWORD kMaxFrameSize = 0x1800000;

// The largest frame this library expands or allocates work buffers for
// (256 MiB: a 16384 x 5461 sign at 24 bits). The start record's 16-bit
// height and width could describe frames of several GiB; a file claiming
// more than this is treated as damaged rather than trusted with memory.
inline constexpr DWORD kLargestFrameSize = 0x10000000;

// Bytes a destination must hold for any compressor given `length` input bytes
// (the bit-packing methods can reach 9/8 of the input before they are
// rejected).
constexpr DWORD CompressBound(DWORD length) { return length + length / 8 + 16; }

// Uncompressed length recorded at the head of a stream; 0 when the stream is
// too short to hold it.
N4FILE_API DWORD StreamCount(const void* src, DWORD length);

// Codec states of SN4BulbCompInfo::m_dwCodecState.
inline constexpr DWORD kCodecClosed = 0;
inline constexpr DWORD kCodecCompressing = 1;
inline constexpr DWORD kCodecDecompressing = 2;

// The video codec behind the codec state; defined by the library only.
class VideoCodec;
struct N4FILE_API VideoCodecDeleter {
  void operator()(VideoCodec* codec) const;
};

// True when the library was built with a video codec for method 6.
N4FILE_API bool HaveVideoCodec();

}  // namespace n4

// Per-sequence record of the sign geometry, work buffers and codec state that
// every bulb object of a sequence shares (the owner hands it out with
// SetBulbCompInfoPtr and keeps ownership).
//
// Copying copies the geometry and the codec settings only: the copy has no
// work buffers (they are allocated again on first use) and no open codec.
struct N4FILE_API SN4BulbCompInfo {
  DWORD m_dwHeight = 0;      // bulbs per column
  DWORD m_dwWidth = 0;       // bulbs per row
  DWORD m_dwColor = 0;       // tag_N4_SIGN_COLOR
  DWORD m_dwReserved = 0;    // cleared by SetSizeAndColor
  DWORD m_dwCodecState = 0;  // n4::kCodecClosed / kCodecCompressing / kCodecDecompressing
  DWORD m_dwCodecFrames = 0; // frames through the open codec; cleared with the state
  DWORD m_dwBufferSize = 0;  // bytes in each of the three buffers below
  std::unique_ptr<BYTE[]> m_pDecodeBuffer;  // previous decoded frame: the XOR reference
  std::unique_ptr<BYTE[]> m_pXorBuffer;     // XOR scratch
  std::unique_ptr<BYTE[]> m_pRleBuffer;     // run-length scratch
  COMPVARS m_CompVars;       // codec settings: size 64, valid, "vidc", rate 1500, quality 10000
  BITMAPINFO m_biIn;         // the frame as handed to the codec
  BITMAPINFO m_biOut;        // the codec's output format

  SN4BulbCompInfo();
  ~SN4BulbCompInfo();
  SN4BulbCompInfo(const SN4BulbCompInfo& other);
  SN4BulbCompInfo& operator=(const SN4BulbCompInfo& other);
  SN4BulbCompInfo(SN4BulbCompInfo&& other) noexcept;
  SN4BulbCompInfo& operator=(SN4BulbCompInfo&& other) noexcept;

  // Stores the geometry and describes it in both bitmap headers. Planar
  // technologies are described as `bits` one-bit planes, as the codec layer
  // has always seen them.
  void SetSizeAndColor(DWORD height, DWORD width, DWORD color);
  // Closes any open codec and frees the work buffers.
  void CleanUp();

  // n4::FrameSize of the stored geometry.
  DWORD FrameSize() const;
  // Makes the three work buffers hold at least `frameSize` + 4 bytes (the
  // slack the bit-packing decoders have always been given). Returns false
  // when frameSize exceeds n4::kMaxFrameSize or memory runs out.
  bool ReserveBuffers(DWORD frameSize);

  // The codec behind m_dwCodecState (null until a codec is opened).
  std::unique_ptr<n4::VideoCodec, n4::VideoCodecDeleter> m_pCodec;

 private:
  void CopySettings(const SN4BulbCompInfo& other);
};

// The pixel data chunk ("bulb") of a frame.
class N4FILE_API CN4BulbData : public CN4RiffChunk {
  N4_DECLARE_DYNCREATE(CN4BulbData)
 public:
  CN4BulbData() = default;

  // The shared record; not owned. Without one the chunk is only copied.
  virtual void SetBulbCompInfoPtr(SN4BulbCompInfo* info);
  // Copies the chunk (header first) to dest and returns the address after
  // it. level < 0 compresses (the method chosen is then GetCompressMethod()),
  // level 1 expands using the method set beforehand into a chunk of exactly
  // one frame, any other level copies verbatim.
  void* CopyEx(void* dest, int unused, int level) override;
  // Expanding writes one frame of the shared record's geometry (a frame
  // over n4::kLargestFrameSize is copied as stored), compressing at most
  // n4::CompressBound of the stored bytes.
  DWORD CopyBytesRequired(int unused, int level) const override;
  // Appends a zeroed "bulb" chunk of one frame (CalcSize).
  void* AppendToFile(CN4RiffFile* file) override;
  // Views the chunk at p; refuses (null) anything but a "bulb" chunk.
  void* AttachToFile(void* chunk) override;

  SN4BulbCompInfo* GetBulbCompInfoPtr() const { return m_pBulbCompInfo; }
  void SetCompressMethod(int method) { m_nCompressMethod = method; }
  int GetCompressMethod() const { return m_nCompressMethod; }
  BYTE* BulbData() const { return reinterpret_cast<BYTE*>(m_Chunk.pData); }

  // Frame size from the file's start-of-sequence record (0xFFFFFFFF for a
  // geometry beyond 32 bits); n4::kMaxFrameSize when the record is missing.
  DWORD CalcSize(CN4RiffFile* file) const;
  // Chunk bytes needed to append one frame (header, body and pad byte).
  DWORD BytesRequired(CN4RiffFile* file) const;

  // --- The codecs. Compressors return the encoded length; decompressors
  // the number of bytes they wrote. Unless said otherwise a compressor's
  // destination must hold n4::CompressBound(length) bytes.

  // Method 1. Falls back to a raw copy (returns length, *method = 0) when a
  // literal run would make the output longer than the input. `histogram`
  // receives 256 counts of the bytes walked: from index 1 to where encoding
  // stopped.
  static DWORD CompressRLE(const void* src, void* dst, DWORD length, DWORD* histogram = nullptr,
                           int* method = nullptr);
  static DWORD DecompressRLE(const void* src, void* dst, DWORD length);
  static DWORD DecompressRLE(const void* src, void* dst, DWORD length, DWORD capacity);

  // Methods 2, 3 and 4: the most frequent values are taken from `histogram`
  // (256 counts; counted over all of src when null).
  static DWORD CompressTop4(const void* src, void* dst, DWORD length, const DWORD* histogram = nullptr);
  static DWORD CompressTop2(const void* src, void* dst, DWORD length, const DWORD* histogram = nullptr);
  static DWORD CompressTop1(const void* src, void* dst, DWORD length, const DWORD* histogram = nullptr);
  // The three-argument forms write one value past the count: dst must hold
  // the stream's count + 4 bytes.
  static DWORD DecompressTop4(const void* src, void* dst, DWORD length);
  static DWORD DecompressTop4(const void* src, void* dst, DWORD length, DWORD capacity);
  static DWORD DecompressTop2(const void* src, void* dst, DWORD length);
  static DWORD DecompressTop2(const void* src, void* dst, DWORD length, DWORD capacity);
  static DWORD DecompressTop1(const void* src, void* dst, DWORD length);
  static DWORD DecompressTop1(const void* src, void* dst, DWORD length, DWORD capacity);

  // Method 5 (length in bytes, even). Falls back to raw like method 1 when
  // the output would exceed the input or the length is odd.
  static DWORD CompressRLEWord(const void* src, void* dst, DWORD length, int* method = nullptr);
  static DWORD DecompressRLEWord(const void* src, void* dst, DWORD length);
  static DWORD DecompressRLEWord(const void* src, void* dst, DWORD length, DWORD capacity);

  // Method 7. Falls back to raw when the output would exceed the input.
  static DWORD CompressRGB24(const void* src, void* dst, DWORD length, int* method = nullptr);
  static DWORD DecompressRGB24(const void* src, void* dst, DWORD length);
  static DWORD DecompressRGB24(const void* src, void* dst, DWORD length, DWORD capacity);

  // Method 8, against the shared record's decode buffer (the previous frame).
  // Stores the encoding in dst and sets the method to 8 only when it is
  // shorter than bestSize; otherwise returns bestSize and leaves dst alone.
  // dst must hold bestSize bytes.
  DWORD CompressXOR_RLE(const void* src, void* dst, DWORD length, DWORD bestSize);
  // Writes at most one frame of the shared geometry. 0 when there is no
  // previous frame.
  DWORD DecompressXOR_RLE(const void* src, void* dst, DWORD length);

 private:
  void* CompressTo(BYTE* dest, int level);
  void* ExpandTo(BYTE* dest);
  DWORD CompressPlanar(const BYTE* src, DWORD n, BYTE* out, int level);
  DWORD CompressVideo(const BYTE* src, DWORD n, BYTE* out);
  DWORD ExpandVideo(const BYTE* src, DWORD n, BYTE* out, DWORD capacity);

  SN4BulbCompInfo* m_pBulbCompInfo = nullptr;
  int m_nCompressMethod = 0;
};
