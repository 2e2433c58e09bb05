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

using Packer = DWORD (*)(const void*, void*, DWORD);
using Decompressor = DWORD (*)(const void*, void*, DWORD, DWORD);

struct Codec {
  const char* name;
  Packer compress;
  Decompressor decompress;
};
const Codec kCodecs[] = {
    {"RLE", [](const void* s, void* d, DWORD n) { return CN4BulbData::CompressRLE(s, d, n); }, CN4BulbData::DecompressRLE},
    {"Top4", [](const void* s, void* d, DWORD n) { return CN4BulbData::CompressTop4(s, d, n); }, CN4BulbData::DecompressTop4},
    {"Top2", [](const void* s, void* d, DWORD n) { return CN4BulbData::CompressTop2(s, d, n); }, CN4BulbData::DecompressTop2},
    {"Top1", [](const void* s, void* d, DWORD n) { return CN4BulbData::CompressTop1(s, d, n); }, CN4BulbData::DecompressTop1},
    {"RLEWord", [](const void* s, void* d, DWORD n) { return CN4BulbData::CompressRLEWord(s, d, n); },
     CN4BulbData::DecompressRLEWord},
    {"RGB24", [](const void* s, void* d, DWORD n) { return CN4BulbData::CompressRGB24(s, d, n); },
     CN4BulbData::DecompressRGB24},
};

Bytes Pack(const Codec& c, const Bytes& in) {
  Bytes out(n4::CompressBound(static_cast<DWORD>(in.size())));
  out.resize(c.compress(in.data(), out.data(), static_cast<DWORD>(in.size())));
  return out;
}

// Decodes from an exactly sized copy into an exactly sized block.
void DecodeExactly(const Codec& c, const Bytes& stream, DWORD capacity) {
  std::vector<BYTE> src(stream);  // its own block: reads past the end are caught
  auto dst = std::make_unique<BYTE[]>(capacity ? capacity : 1);
  EXPECT_LE(c.decompress(src.empty() ? nullptr : src.data(), dst.get(), static_cast<DWORD>(src.size()), capacity),
            capacity);
}

void WriteCount(Bytes& stream, DWORD count) {
  for (size_t k = 0; k < 4 && k < stream.size(); ++k) stream[k] = static_cast<BYTE>(count >> (8 * k));
}

TEST(Hostile, DamagedStreamsStayInsideTheirBlocks) {
  std::mt19937 rng(11);
  const Bytes text = n4test::PlanarTextFrame(32, 96, Mono16, 7);
  const Bytes picture = n4test::ColourPicture(16, 24, 24, 2);
  const Bytes frames[] = {n4test::PlanarTextFrame(32, 96, RGB4K, 3), n4test::DitheredFrame(16, 64, Mono4, 1),
                          n4test::ColourPicture(16, 20, 16, 4)};
  for (const Codec& c : kCodecs) {
    SCOPED_TRACE(c.name);
    // Truncated: a prefix at most.
    const Bytes stream = Pack(c, text);
    for (size_t cut = 0; cut < stream.size(); cut += 1 + cut / 16) {
      DecodeExactly(c, Bytes(stream.begin(), stream.begin() + static_cast<long>(cut)), static_cast<DWORD>(text.size()));
    }
    // Lying counts: bounded by the capacity.
    for (DWORD count : {DWORD{0}, DWORD{1}, DWORD{3}, DWORD{0x7FFFFFFF}, DWORD{0xFFFFFFFF}}) {
      Bytes lying = Pack(c, picture);
      WriteCount(lying, count);
      for (DWORD capacity : {DWORD{0}, DWORD{1}, DWORD{5}, static_cast<DWORD>(picture.size())}) {
        DecodeExactly(c, lying, capacity);
      }
    }
    // Corrupt control bytes, and garbage.
    for (const Bytes& frame : frames) {
      const Bytes good = Pack(c, frame);
      for (int trial = 0; trial < 200; ++trial) {
        Bytes bad = good;
        const int flips = 1 + static_cast<int>(rng() % 8);
        for (int f = 0; f < flips && !bad.empty(); ++f) bad[rng() % bad.size()] = static_cast<BYTE>(rng());
        DecodeExactly(c, bad, static_cast<DWORD>(frame.size()));
      }
    }
    for (int trial = 0; trial < 200; ++trial) {
      Bytes garbage = n4test::RandomBytes(rng() % 600, rng());
      if (garbage.size() >= 4 && trial % 2 == 0) WriteCount(garbage, rng() % 4096);
      DecodeExactly(c, garbage, rng() % 4096);
    }
  }
}

}  // namespace
