// libFuzzer target for the bulb-data codecs (not part of the default build):
//   clang++ -std=c++20 -g -O1 -fsanitize=fuzzer,address,undefined -Iinclude -Isrc \
//     -DN4FILE_STATIC=1 fuzz/bulb/BulbCodecFuzz.cpp src/bulb/Rle.cpp src/bulb/TopN.cpp \
//     src/bulb/RleWord.cpp src/bulb/Rgb24.cpp -o bulb_codec_fuzz
//
// The first input byte picks a codec and a destination capacity. Every
// decoder must stay inside the exactly sized blocks whatever the stream
// holds, and every encoder must give back the bytes it was given.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "n4file/BulbData.h"

namespace {

using Decompressor = DWORD (*)(const void*, void*, DWORD, DWORD);

const Decompressor kDecoders[] = {CN4BulbData::DecompressRLE,  CN4BulbData::DecompressTop4,
                                  CN4BulbData::DecompressTop2, CN4BulbData::DecompressTop1,
                                  CN4BulbData::DecompressRLEWord, CN4BulbData::DecompressRGB24};

void RoundTrip(int codec, const BYTE* data, DWORD size) {
  std::vector<BYTE> stream(n4::CompressBound(size));
  int method = N4_BULB_COMPRESS_NONE;
  DWORD encoded = 0;
  switch (codec) {
    case 0: encoded = CN4BulbData::CompressRLE(data, stream.data(), size, nullptr, &method); break;
    case 1: encoded = CN4BulbData::CompressTop4(data, stream.data(), size); method = 2; break;
    case 2: encoded = CN4BulbData::CompressTop2(data, stream.data(), size); method = 3; break;
    case 3: encoded = CN4BulbData::CompressTop1(data, stream.data(), size); method = 4; break;
    case 4: encoded = CN4BulbData::CompressRLEWord(data, stream.data(), size, &method); break;
    default: encoded = CN4BulbData::CompressRGB24(data, stream.data(), size, &method); break;
  }
  if (encoded > stream.size()) std::abort();
  if (method == N4_BULB_COMPRESS_NONE) {
    if (encoded != size || (size && std::memcmp(stream.data(), data, size) != 0)) std::abort();
    return;
  }
  std::vector<BYTE> back(size + 1);
  if (kDecoders[codec](stream.data(), back.data(), encoded, size) != size) std::abort();
  if (size && std::memcmp(back.data(), data, size) != 0) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  if (size < 3) return 0;
  const int codec = data[0] % 6;
  const DWORD capacity = static_cast<DWORD>(data[1]) * 37u;
  const DWORD length = static_cast<DWORD>(size - 2);
  std::vector<BYTE> src(data + 2, data + size);
  auto dst = std::make_unique<BYTE[]>(capacity ? capacity : 1);
  if (kDecoders[codec](src.data(), dst.get(), length, capacity) > capacity) std::abort();
  RoundTrip(codec, src.data(), length);
  return 0;
}
