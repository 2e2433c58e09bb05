// Method 1: the stored byte layout, the fall-back and histogram rules, and
// the fast encoder against the results of a byte-at-a-time model.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "SignContent.h"
#include "bulb/BulbCodecs.h"
#include "n4file/BulbData.h"
#include "support/TestSupport.h"
#include "util/ByteOrder.h"

namespace {

using n4test::Bytes;

struct Encoded {
  Bytes stream;
  int method = -1;
  std::array<DWORD, 256> histogram{};
};

Encoded Encode(const Bytes& in) {
  Encoded e;
  e.stream.resize(n4::CompressBound(static_cast<DWORD>(in.size())));
  const DWORD size = CN4BulbData::CompressRLE(in.data(), e.stream.data(), static_cast<DWORD>(in.size()),
                                              e.histogram.data(), &e.method);
  e.stream.resize(size);
  return e;
}

// Decodes into a buffer with a guard band past capacity that must survive.
Bytes Decode(const Bytes& stream, DWORD capacity) {
  constexpr size_t kGuard = 64;
  Bytes out(capacity + kGuard, 0xA5);
  const DWORD produced =
      CN4BulbData::DecompressRLE(stream.data(), out.data(), static_cast<DWORD>(stream.size()), capacity);
  EXPECT_EQ(Bytes(out.begin() + capacity, out.end()), Bytes(kGuard, 0xA5)) << "wrote past the capacity";
  EXPECT_LE(produced, capacity);
  out.resize(std::min<DWORD>(produced, capacity));
  return out;
}

Bytes Of(std::initializer_list<int> bytes) { return Bytes(bytes.begin(), bytes.end()); }

Bytes Repeat(size_t n, BYTE v) { return Bytes(n, v); }

Bytes Concat(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const auto& p : parts) out.insert(out.end(), p.begin(), p.end());
  return out;
}

TEST(Rle, HistogramSkipsTheFirstByteAndStopsWithTheEncoding) {
  const Encoded e = Encode(Concat({Of({9}), Repeat(40, 0), Of({9, 9, 9})}));
  EXPECT_EQ(e.histogram[0], 40u);
  EXPECT_EQ(e.histogram[9], 3u);

  // Falling back at byte 1: the literal 1 2 would already need 7 bytes for 6.
  const Encoded stopped = Encode(Of({1, 2, 3, 4, 5, 6}));
  DWORD total = 0;
  for (DWORD c : stopped.histogram) total += c;
  EXPECT_EQ(total, 1u);
  EXPECT_EQ(stopped.histogram[2], 1u);
}

// Inputs for the reference: every short two-value pattern, alone and between
// long runs; run lengths around every boundary; lengths and run positions
// around the 16- and 32-byte steps of the scans and copies; and input that
// repeats earlier input (coded by copying what was written for it then):
// exact, shifted, broken part-way, and incompressible, where the copy must
// not hide the fall-back to raw.
std::vector<Bytes> ReferenceInputs() {
  std::vector<Bytes> inputs;
  for (int length = 0; length <= 10; ++length) {
    for (int pattern = 0; pattern < (1 << length); ++pattern) {
      Bytes p;
      for (int k = 0; k < length; ++k) p.push_back(static_cast<BYTE>((pattern >> k) & 1));
      inputs.push_back(p);
      inputs.push_back(Concat({Repeat(300, 2), p, Repeat(300, 2)}));
    }
  }
  for (int run : {127, 128, 129, 130, 131, 255, 256, 257, 258}) {
    inputs.push_back(Concat({Repeat(40, 0), n4test::RandomBytes(static_cast<size_t>(run), 5), Repeat(400, 0)}));
    inputs.push_back(Concat({Of({1, 2}), Repeat(static_cast<size_t>(run), 3), Of({4})}));
  }
  for (std::uint32_t seed = 1; seed <= 40; ++seed) {
    inputs.push_back(n4test::RunnyBytes(3000, 1 + static_cast<int>(seed % 7) * 40, 2 + static_cast<int>(seed % 5), seed));
    inputs.push_back(n4test::RunnyBytes(2000, 4, 3, seed));
  }
  for (DWORD color : {Mono1, Mono4, Mono16, Tri256, RGB64, RGB4K, RGB16M}) {
    inputs.push_back(n4test::PlanarTextFrame(32, 96, color, color + 1));
    inputs.push_back(n4test::PlanarTextFrame(33, 90, color, color + 2));
    inputs.push_back(n4test::PlanarTextFrame(128, 256, color, 3));
  }
  std::mt19937 rng(11);
  for (size_t length : {1, 2, 15, 16, 17, 31, 32, 33, 34, 47, 48, 63, 64, 65, 129, 200}) {
    for (int trial = 0; trial < 60; ++trial) {
      Bytes in(length);
      const int maxRun = 1 + trial % 40;
      for (size_t k = 0; k < length;) {
        const BYTE v = static_cast<BYTE>(rng() % 3);
        for (size_t r = 1 + rng() % static_cast<unsigned>(maxRun); r != 0 && k < length; --r) in[k++] = v;
      }
      inputs.push_back(in);
    }
  }
  for (size_t block : {40, 300, 1000, 5000}) {
    for (int trial = 0; trial < 6; ++trial) {
      const Bytes unit = trial % 3 == 2 ? n4test::RandomBytes(block, static_cast<std::uint32_t>(trial))
                                        : n4test::RunnyBytes(block, 1 + trial * 3, 3, static_cast<std::uint32_t>(block + trial));
      Bytes in;
      const int copies = 2 + static_cast<int>(rng() % 8);
      for (int copy = 0; copy < copies; ++copy) {
        Bytes part = unit;
        if (trial % 2 == 1 && copy > 0) part[rng() % part.size()] ^= 1;  // broken part-way
        if (copy == 2 && trial >= 3) part.insert(part.begin(), static_cast<size_t>(1 + trial % 3), part[0]);  // shifted
        in.insert(in.end(), part.begin(), part.end());
      }
      inputs.push_back(in);
    }
  }
  // Repeats just long enough to pay, ending where the raw fall-back begins.
  const Bytes noisy = n4test::RandomBytes(700, 9);
  inputs.push_back(Concat({Repeat(2000, 0), noisy, Repeat(5, 1), noisy, noisy}));
  return inputs;
}

// The results against a golden list made by a byte-at-a-time model written
// straight from the run rules, one line per input: the encoder's stream,
// method and histogram, also into a buffer no larger than the input (as the
// chunk copy does), where a stream that would not fit falls back to raw; the
// decoder at capacities short of the count; and damaged streams, where
// garbage tokens repeated must stop the copies of repeated input where the
// model stops.
TEST(Rle, AgreesWithTheReference) {
  std::string lines;
  for (const Bytes& in : ReferenceInputs()) {
    SCOPED_TRACE(testing::Message() << "input of " << in.size() << " bytes");
    const Encoded got = Encode(in);
    const auto n = static_cast<DWORD>(in.size());
    Bytes tight(n);
    int method = -1;
    tight.resize(n4::bulb::EncodeRle(in.data(), n, tight.data(), n, nullptr, &method));
    const bool fits = got.stream.size() <= in.size();
    ASSERT_EQ(tight, fits ? got.stream : in);
    ASSERT_EQ(method, fits ? got.method : N4_BULB_COMPRESS_NONE);
    Bytes result = got.stream;
    result.push_back(static_cast<BYTE>(got.method));
    for (DWORD count : got.histogram) result.insert(result.end(), {BYTE(count), BYTE(count >> 8), BYTE(count >> 16)});
    if (got.method == N4_BULB_COMPRESS_RLE) {
      ASSERT_EQ(Decode(got.stream, n), in);
      for (DWORD capacity : {n - n / 3, n / 2 + 1}) {
        const Bytes part = Decode(got.stream, capacity);
        result.insert(result.end(), part.begin(), part.end());
      }
    }
    lines += std::to_string(n) + " " + n4test::Fingerprint(result.data(), result.size()) + "\n";
  }

  std::mt19937 rng(31);
  const Bytes frame = n4test::PlanarTextFrame(128, 256, Tri256, 5);
  const Bytes stream = Encode(frame).stream;
  ASSERT_EQ(Decode(stream, static_cast<DWORD>(frame.size())), frame);
  const Bytes garbage = n4test::RandomBytes(900, 3);
  for (int trial = 0; trial < 200; ++trial) {
    Bytes bad = stream;
    if (trial % 4 == 3) {
      bad.resize(4);
      for (int copy = 0; copy < 6; ++copy) bad.insert(bad.end(), garbage.begin(), garbage.end());
    }
    for (int hit = 0; hit < 1 + trial % 5; ++hit) bad[4 + rng() % (bad.size() - 4)] = static_cast<BYTE>(rng());
    if (trial % 3 == 1) bad.resize(4 + rng() % (bad.size() - 4));
    if (trial % 5 == 2) n4::WriteLE32(bad.data(), static_cast<DWORD>(rng() % (2 * frame.size())));
    const DWORD capacity = static_cast<DWORD>(trial % 2 ? frame.size() : frame.size() / 2 + rng() % frame.size());
    const Bytes decoded = Decode(bad, capacity);
    lines += "damaged " + n4test::Fingerprint(decoded.data(), decoded.size()) + "\n";
  }
  EXPECT_TRUE(n4test::MatchesGolden("bulb/rle-model.golden", lines));
}

// The three-argument form sizes the destination by the count.
TEST(Rle, DecoderWithoutACapacityStopsAtTheCount) {
  const Bytes stream = Encode(Concat({Repeat(50, 1), Of({2, 3, 4, 5}), Repeat(50, 6)})).stream;
  Bytes out(104);
  EXPECT_EQ(CN4BulbData::DecompressRLE(stream.data(), out.data(), static_cast<DWORD>(stream.size())), 104u);
  EXPECT_EQ(out, Concat({Repeat(50, 1), Of({2, 3, 4, 5}), Repeat(50, 6)}));
}

}  // namespace
