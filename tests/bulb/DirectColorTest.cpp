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

using Packer = DWORD (*)(const void*, void*, DWORD, int*);

// RleWord: a literal of two words, a repeat of ten, a literal of one; a pair
// does not break a literal, three equal words start a repeat. Rgb24: each
// channel a run of its own; with a length no multiple of 3 the first channel
// has one more sample. Noise and odd lengths are stored raw (no expectation).
TEST(DirectColour, StoredLayout) {
  Bytes triples;
  for (int k = 0; k < 12; ++k) triples.insert(triples.end(), {10, 20, 30});
  Bytes triplesAndOne = triples;
  triplesAndOne.push_back(10);
  struct Case {
    const char* name;
    Packer pack;
    Bytes in, out;
  };
  const Case cases[] = {
      {"words", CN4BulbData::CompressRLEWord,
       Words({0x1111, 0x2222, 0x3333, 0x3333, 0x3333, 0x3333, 0x3333, 0x3333, 0x3333, 0x3333, 0x3333, 0x3333, 0x4444}),
       Of({26, 0, 0, 0, 0x01, 0x00, 0x11, 0x11, 0x22, 0x22, 0x09, 0x80, 0x33, 0x33, 0x00, 0x00, 0x44, 0x44})},
      {"word pair", CN4BulbData::CompressRLEWord, Words({1, 7, 7, 2, 5, 5, 5, 5, 5, 5, 5, 5, 5, 5}),
       Of({28, 0, 0, 0, 3, 0, 1, 0, 7, 0, 7, 0, 2, 0, 0x09, 0x80, 5, 0})},
      {"word noise", CN4BulbData::CompressRLEWord, n4test::RandomBytes(400, 9), {}},
      {"odd length", CN4BulbData::CompressRLEWord, Bytes(7, 0), {}},
      {"triples", CN4BulbData::CompressRGB24, triples, Of({36, 0, 0, 0, 0x8B, 10, 0x8B, 20, 0x8B, 30})},
      {"triples and one", CN4BulbData::CompressRGB24, triplesAndOne, Of({37, 0, 0, 0, 0x8C, 10, 0x8B, 20, 0x8B, 30})},
      {"colour noise", CN4BulbData::CompressRGB24, n4test::RandomBytes(300, 2), {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    int method = -1;
    Bytes out(n4::CompressBound(static_cast<DWORD>(c.in.size())));
    out.resize(c.pack(c.in.data(), out.data(), static_cast<DWORD>(c.in.size()), &method));
    EXPECT_EQ(out, c.out.empty() ? c.in : c.out);
    EXPECT_EQ(method, c.out.empty()                          ? N4_BULB_COMPRESS_NONE
                      : c.pack == CN4BulbData::CompressRGB24 ? N4_BULB_COMPRESS_RGB24
                                                             : N4_BULB_COMPRESS_RLE_WORD);
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

}  // namespace
