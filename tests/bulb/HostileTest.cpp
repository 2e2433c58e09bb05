// Decoders fed damaged streams: truncated, with lying counts, with corrupt
// control bytes, or plain garbage. Source and destination are heap blocks of
// exactly the stated sizes, so the sanitizer build catches any stray access;
// the checks here catch over-reporting.
#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "SignContent.h"
#include "n4file/BulbData.h"

namespace {

using n4test::Bytes;

using Decompressor = DWORD (*)(const void*, void*, DWORD, DWORD);
using Compressor = Bytes (*)(const Bytes&);

template <DWORD (*F)(const void*, void*, DWORD, const DWORD*)>
Bytes WithHistogram(const Bytes& in) {
  Bytes out(n4::CompressBound(static_cast<DWORD>(in.size())));
  out.resize(F(in.data(), out.data(), static_cast<DWORD>(in.size()), nullptr));
  return out;
}

template <DWORD (*F)(const void*, void*, DWORD, int*)>
Bytes WithMethod(const Bytes& in) {
  Bytes out(n4::CompressBound(static_cast<DWORD>(in.size())));
  out.resize(F(in.data(), out.data(), static_cast<DWORD>(in.size()), nullptr));
  return out;
}

Bytes Rle(const Bytes& in) {
  Bytes out(n4::CompressBound(static_cast<DWORD>(in.size())));
  out.resize(CN4BulbData::CompressRLE(in.data(), out.data(), static_cast<DWORD>(in.size())));
  return out;
}

struct Codec {
  const char* name;
  Compressor compress;
  Decompressor decompress;
};
const Codec kCodecs[] = {
    {"RLE", Rle, CN4BulbData::DecompressRLE},
    {"Top4", WithHistogram<CN4BulbData::CompressTop4>, CN4BulbData::DecompressTop4},
    {"Top2", WithHistogram<CN4BulbData::CompressTop2>, CN4BulbData::DecompressTop2},
    {"Top1", WithHistogram<CN4BulbData::CompressTop1>, CN4BulbData::DecompressTop1},
    {"RLEWord", WithMethod<CN4BulbData::CompressRLEWord>, CN4BulbData::DecompressRLEWord},
    {"RGB24", WithMethod<CN4BulbData::CompressRGB24>, CN4BulbData::DecompressRGB24},
};

// Decodes from an exactly sized copy into an exactly sized block.
DWORD DecodeExactly(Decompressor decompress, const Bytes& stream, DWORD capacity) {
  std::vector<BYTE> src(stream);  // its own block: reads past the end are caught
  auto dst = std::make_unique<BYTE[]>(capacity ? capacity : 1);
  const DWORD produced = decompress(src.empty() ? nullptr : src.data(), dst.get(), static_cast<DWORD>(src.size()),
                                    capacity);
  EXPECT_LE(produced, capacity);
  return produced;
}

void WriteCount(Bytes& stream, DWORD count) {
  for (size_t k = 0; k < 4 && k < stream.size(); ++k) stream[k] = static_cast<BYTE>(count >> (8 * k));
}

TEST(Hostile, TruncatedStreamsDecodeAPrefix) {
  const Bytes frame = n4test::PlanarTextFrame(32, 96, Mono16, 7);
  for (const Codec& c : kCodecs) {
    SCOPED_TRACE(c.name);
    const Bytes stream = c.compress(frame);
    for (size_t cut = 0; cut < stream.size(); cut += 1 + cut / 16) {
      const Bytes part(stream.begin(), stream.begin() + static_cast<long>(cut));
      const DWORD produced = DecodeExactly(c.decompress, part, static_cast<DWORD>(frame.size()));
      ASSERT_LE(produced, frame.size());
    }
  }
}

TEST(Hostile, LyingCountsAreBoundedByCapacity) {
  const Bytes frame = n4test::ColourPicture(16, 24, 24, 2);
  for (const Codec& c : kCodecs) {
    SCOPED_TRACE(c.name);
    const Bytes stream = c.compress(frame);
    for (DWORD count : {DWORD{0}, DWORD{1}, DWORD{3}, DWORD{0x7FFFFFFF}, DWORD{0xFFFFFFFF}}) {
      Bytes lying = stream;
      WriteCount(lying, count);
      for (DWORD capacity : {DWORD{0}, DWORD{1}, DWORD{5}, static_cast<DWORD>(frame.size())}) {
        DecodeExactly(c.decompress, lying, capacity);
      }
    }
  }
}

TEST(Hostile, CorruptAndRandomStreams) {
  std::mt19937 rng(11);
  const Bytes frames[] = {n4test::PlanarTextFrame(32, 96, RGB4K, 3), n4test::DitheredFrame(16, 64, Mono4, 1),
                          n4test::ColourPicture(16, 20, 16, 4)};
  for (const Codec& c : kCodecs) {
    SCOPED_TRACE(c.name);
    for (const Bytes& frame : frames) {
      const Bytes stream = c.compress(frame);
      for (int trial = 0; trial < 200; ++trial) {
        Bytes bad = stream;
        const int flips = 1 + static_cast<int>(rng() % 8);
        for (int f = 0; f < flips && !bad.empty(); ++f) bad[rng() % bad.size()] = static_cast<BYTE>(rng());
        DecodeExactly(c.decompress, bad, static_cast<DWORD>(frame.size()));
      }
    }
    for (int trial = 0; trial < 200; ++trial) {
      Bytes garbage = n4test::RandomBytes(rng() % 600, rng());
      if (garbage.size() >= 4 && trial % 2 == 0) WriteCount(garbage, rng() % 4096);
      DecodeExactly(c.decompress, garbage, rng() % 4096);
    }
  }
}

}  // namespace
