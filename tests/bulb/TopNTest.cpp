// Methods 2, 3 and 4: bit layout, the one-past-the-count decoder, value
// choice, and the size estimates that pick among them.
#include <gtest/gtest.h>

#include <numeric>

#include "SignContent.h"
#include "bulb/BulbCodecs.h"
#include "n4file/BulbData.h"
#include "support/TestSupport.h"

namespace {

using n4test::Bytes;

using Compressor = DWORD (*)(const void*, void*, DWORD, const DWORD*);
using Decompressor = DWORD (*)(const void*, void*, DWORD, DWORD);

struct Method {
  const char* name;
  Compressor compress;
  Decompressor decompress;
};
const Method kMethods[] = {
    {"Top4", CN4BulbData::CompressTop4, CN4BulbData::DecompressTop4},
    {"Top2", CN4BulbData::CompressTop2, CN4BulbData::DecompressTop2},
    {"Top1", CN4BulbData::CompressTop1, CN4BulbData::DecompressTop1},
};

Bytes Encode(Compressor compress, const Bytes& in) {
  Bytes out(n4::CompressBound(static_cast<DWORD>(in.size())));
  out.resize(compress(in.data(), out.data(), static_cast<DWORD>(in.size()), nullptr));
  return out;
}

Bytes Of(std::initializer_list<int> bytes) { return Bytes(bytes.begin(), bytes.end()); }

TEST(TopN, DecoderWritesOneValuePastTheCount) {
  const Bytes stream = Encode(CN4BulbData::CompressTop1, Bytes(8, 7));
  Bytes out(8 + 4, 0xEE);
  EXPECT_EQ(CN4BulbData::DecompressTop1(stream.data(), out.data(), static_cast<DWORD>(stream.size())), 8u);
  EXPECT_EQ(out, Of({7, 7, 7, 7, 7, 7, 7, 7, 7, 0xEE, 0xEE, 0xEE}));

  // With a capacity the extra value is not written.
  Bytes exact(8, 0xEE);
  EXPECT_EQ(CN4BulbData::DecompressTop1(stream.data(), exact.data(), static_cast<DWORD>(stream.size()), 8), 8u);
  EXPECT_EQ(exact, Bytes(8, 7));
}

// The streams against a golden list written bit by bit straight from the
// layout, for inputs that reach every step of the encoder: blocks of one
// value (chosen or not) beside mixed ones, lengths around the 16-byte
// blocks, and sign content. Each decodes back; a destination short by one
// byte gives nothing rather than a clipped stream.
TEST(TopN, AgreesWithTheReference) {
  std::vector<Bytes> inputs;
  for (size_t length : {15, 16, 17, 31, 32, 33, 95, 96, 97, 300}) {
    for (std::uint32_t seed = 1; seed <= 6; ++seed) {
      inputs.push_back(n4test::RunnyBytes(length, 1 + static_cast<int>(seed) * 6, 2 + static_cast<int>(seed % 4), seed));
    }
    inputs.push_back(n4test::RandomBytes(length, static_cast<std::uint32_t>(length)));
  }
  for (DWORD color : {Mono1, Tri3, Mono16, Tri256, Quad16M, RGB4K, RGB16M}) {
    inputs.push_back(n4test::PlanarTextFrame(64, 200, color, color));
    inputs.push_back(n4test::DitheredFrame(31, 90, color, color));
  }
  inputs.insert(inputs.end(), {Bytes(), Bytes(1, 3), Bytes(1000, 0), n4test::RunnyBytes(5000, 3, 6, 2)});
  std::string lines;
  for (const Method& m : kMethods) {
    const int values = m.compress == CN4BulbData::CompressTop4 ? 4 : m.compress == CN4BulbData::CompressTop2 ? 2 : 1;
    for (const Bytes& in : inputs) {
      SCOPED_TRACE(testing::Message() << m.name << ", " << in.size() << " bytes");
      const Bytes got = Encode(m.compress, in);
      lines += std::string(m.name) + " " + std::to_string(in.size()) + " " + n4test::Fingerprint(got.data(), got.size()) + "\n";
      Bytes out(in.size());
      ASSERT_EQ(m.decompress(got.data(), out.data(), static_cast<DWORD>(got.size()), static_cast<DWORD>(out.size())),
                in.size());
      ASSERT_EQ(out, in);
      Bytes small(got.size() - 1);
      ASSERT_EQ(n4::bulb::EncodeTop(values, in.data(), static_cast<DWORD>(in.size()), small.data(),
                                    static_cast<DWORD>(small.size()), nullptr),
                0u);
    }
  }
  EXPECT_TRUE(n4test::MatchesGolden("bulb/topn-layout.golden", lines));
}

TEST(TopN, ValuesAreTheMostFrequentWithTiesToTheLowerValue) {
  DWORD histogram[256] = {};
  histogram[7] = histogram[5] = histogram[3] = histogram[1] = 10;
  histogram[200] = 11;
  BYTE values[4];
  n4::bulb::TopValues(histogram, 4, values);
  EXPECT_EQ(Bytes(values, values + 4), Of({200, 1, 3, 5}));
  // Values that never occur still fill the places, lowest first.
  DWORD sparse[256] = {};
  sparse[9] = 1;
  n4::bulb::TopValues(sparse, 4, values);
  EXPECT_EQ(Bytes(values, values + 4), Of({9, 0, 1, 2}));
}

// Histograms with the remaining bytes spread thinly over other values.
std::vector<DWORD> Histogram(std::initializer_list<DWORD> top, DWORD total) {
  std::vector<DWORD> h(256, 0);
  int v = 0;
  for (DWORD c : top) h[static_cast<size_t>(v++)] = c;
  DWORD rest = total - std::accumulate(top.begin(), top.end(), DWORD{0});
  for (int k = 100; rest != 0; k = k == 255 ? 100 : k + 1, --rest) ++h[static_cast<size_t>(k)];
  return h;
}

// The estimates round up; after a run-length fall-back the packing with the
// smallest estimate wins, after a run-length result only one that beats its
// size; a close call between Top4 and Top2 (600 + k against 606) turns on
// the allowance: 4 after a fall-back picks Top4, 8 after a result Top2.
TEST(TopN, ChoiceByEstimate) {
  const DWORD counts[4] = {50, 20, 10, 5};
  const auto t = n4::bulb::EstimateTop(counts, 100, 8);
  EXPECT_EQ(t.top4, 49 + 8);  // (900 - 510) / 8 = 48.75
  EXPECT_EQ(t.top2, 52 + 6);  // (900 - 490) / 8 = 51.25
  EXPECT_EQ(t.top1, 63 + 5);  // (900 - 400) / 8 = 62.5
  struct Case {
    std::initializer_list<DWORD> top;
    DWORD n;
    int rleMethod;
    DWORD rleSize;
    int want;
  };
  const Case cases[] = {
      {{400, 300, 200, 100}, 1000, N4_BULB_COMPRESS_NONE, 1000, N4_BULB_COMPRESS_TOP4},
      {{500, 400, 50, 50}, 1000, N4_BULB_COMPRESS_NONE, 1000, N4_BULB_COMPRESS_TOP2},
      {{900, 50, 30, 20}, 1000, N4_BULB_COMPRESS_NONE, 1000, N4_BULB_COMPRESS_TOP1},
      {{4, 4, 4, 4}, 1000, N4_BULB_COMPRESS_NONE, 1000, N4_BULB_COMPRESS_NONE},
      {{400, 300, 200, 100}, 1001, N4_BULB_COMPRESS_RLE, 100, N4_BULB_COMPRESS_RLE},
      {{400, 300, 200, 100}, 1001, N4_BULB_COMPRESS_RLE, 900, N4_BULB_COMPRESS_TOP4},
      {{300, 300, 50, 50}, 1000, N4_BULB_COMPRESS_NONE, 1000, N4_BULB_COMPRESS_TOP4},
      {{300, 300, 50, 50}, 1001, N4_BULB_COMPRESS_RLE, 999, N4_BULB_COMPRESS_TOP2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << *c.top.begin() << " " << c.rleMethod << " " << c.rleSize);
    const auto h = Histogram(c.top, 1000);
    EXPECT_EQ(n4::bulb::ChooseBitPacking(h.data(), c.n, c.rleMethod, c.rleSize), c.want);
  }
}

}  // namespace
