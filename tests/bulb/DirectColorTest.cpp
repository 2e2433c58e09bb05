// Methods 5 and 7, the run-length coders of the direct-colour technologies.
// Their round trips run through the chunk copy in BulbDataTest.
#include <gtest/gtest.h>

#include "SignContent.h"
#include "n4file/BulbData.h"

namespace {

using n4test::Bytes;

Bytes Of(std::initializer_list<int> bytes) { return Bytes(bytes.begin(), bytes.end()); }

Bytes Words(std::initializer_list<int> words) {
  Bytes out;
  for (int w : words) {
    out.push_back(static_cast<BYTE>(w));
    out.push_back(static_cast<BYTE>(w >> 8));
  }
  return out;
}

template <typename Compress>
Bytes Encode(Compress compress, const Bytes& in, int* method) {
  Bytes out(n4::CompressBound(static_cast<DWORD>(in.size())));
  out.resize(compress(in.data(), out.data(), static_cast<DWORD>(in.size()), method));
  return out;
}

TEST(RleWord, StoredLayout) {
  int method = -1;
  // A literal of two words, a repeat of ten, a literal of one.
  const Bytes in = Words({0x1111, 0x2222, 0x3333, 0x3333, 0x3333, 0x3333, 0x3333, 0x3333, 0x3333, 0x3333, 0x3333,
                          0x3333, 0x4444});
  EXPECT_EQ(Encode(CN4BulbData::CompressRLEWord, in, &method),
            Of({26, 0, 0, 0, 0x01, 0x00, 0x11, 0x11, 0x22, 0x22, 0x09, 0x80, 0x33, 0x33, 0x00, 0x00, 0x44, 0x44}));
  EXPECT_EQ(method, N4_BULB_COMPRESS_RLE_WORD);

  // A pair does not break a literal; three equal words start a repeat.
  const Bytes pair = Words({1, 7, 7, 2, 5, 5, 5, 5, 5, 5, 5, 5, 5, 5});
  EXPECT_EQ(Encode(CN4BulbData::CompressRLEWord, pair, &method),
            Of({28, 0, 0, 0, 3, 0, 1, 0, 7, 0, 7, 0, 2, 0, 0x09, 0x80, 5, 0}));
}

TEST(RleWord, FallsBackToRaw) {
  for (const Bytes& in : {n4test::RandomBytes(400, 9), Bytes(7, 0) /* odd */}) {
    int method = -1;
    EXPECT_EQ(Encode(CN4BulbData::CompressRLEWord, in, &method), in);
    EXPECT_EQ(method, N4_BULB_COMPRESS_NONE);
  }
}

TEST(RleWord, DecoderSkipsARunThatPassesTheCount) {
  Bytes stream = Words({0, 0, 0x8004, 0x0505, 0x0001, 0x0606, 0x0707});
  stream[0] = 12;  // count: six words; the literal of two would make seven
  Bytes out(32, 0xEE);
  EXPECT_EQ(CN4BulbData::DecompressRLEWord(stream.data(), out.data(), static_cast<DWORD>(stream.size()), 32), 10u);
  EXPECT_EQ(Bytes(out.begin(), out.begin() + 12), Of({5, 5, 5, 5, 5, 5, 5, 5, 5, 5, 0xEE, 0xEE}));
  // Fewer than three words of input decode to nothing.
  EXPECT_EQ(CN4BulbData::DecompressRLEWord(stream.data(), out.data(), 5, 32), 0u);
}

TEST(Rgb24, StoredLayout) {
  Bytes in;
  for (int k = 0; k < 12; ++k) in.insert(in.end(), {10, 20, 30});
  int method = -1;
  EXPECT_EQ(Encode(CN4BulbData::CompressRGB24, in, &method), Of({36, 0, 0, 0, 0x8B, 10, 0x8B, 20, 0x8B, 30}));
  EXPECT_EQ(method, N4_BULB_COMPRESS_RGB24);

  // A length that is no multiple of 3: the first channel has one more sample.
  in.push_back(10);
  EXPECT_EQ(Encode(CN4BulbData::CompressRGB24, in, &method), Of({37, 0, 0, 0, 0x8C, 10, 0x8B, 20, 0x8B, 30}));

  const Bytes noise = n4test::RandomBytes(300, 2);
  EXPECT_EQ(Encode(CN4BulbData::CompressRGB24, noise, &method), noise);
  EXPECT_EQ(method, N4_BULB_COMPRESS_NONE);
}

}  // namespace
