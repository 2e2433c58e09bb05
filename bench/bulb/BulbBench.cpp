// Bulb-data codecs beside memcpy and LZ4 on the same frames, in the same run.
//
// Frames: planar text-and-graphics (Tri256, eight planes, and Mono1, one) for
// methods 1-4 and 8, 16-bit pictures for method 5, 24-bit pictures for method 7, at 96x32,
// 256x128 and 1024x512 bulbs. Cinepak (method 6) is timed per frame.
// Goals on the planar text frames: method 1 encodes at least twice as fast as
// LZ4's default compressor and decodes at least as fast as LZ4's decompressor;
// the bit-packing methods encode at least as fast as LZ4's compressor.
// The floor_* lines measure the least work any method 1 coder must do without
// replaying repeats; their ratios to LZ4 show where a goal is out of reach.
#include <benchmark/benchmark.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "RatioReporter.h"
#include "../../tests/bulb/SignContent.h"
#include "bulb/ByteScan.h"
#include "n4file/BulbData.h"
#include "util/ByteOrder.h"

#if N4_BENCH_HAVE_LZ4
#include <lz4.h>
#endif

namespace {

using n4test::Bytes;

struct Size {
  int height, width;
  std::string Name() const { return std::to_string(width) + "x" + std::to_string(height); }
};
const Size kSizes[] = {{32, 96}, {128, 256}, {512, 1024}};

void Register(const std::string& name, std::function<void(benchmark::State&)> fn) {
  benchmark::RegisterBenchmark(name.c_str(), [fn](benchmark::State& state) { fn(state); });
}

void SetThroughput(benchmark::State& state, size_t rawBytes, size_t encodedBytes) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * rawBytes));
  state.counters["ratio"] = rawBytes ? double(encodedBytes) / double(rawBytes) : 0;
}

// memcpy and LZ4 on one content's bytes.
void RegisterReferences(const std::string& content, const Size& size, const Bytes& frame) {
  const std::string suffix = "/" + content + "/" + size.Name();
  Register("memcpy" + suffix, [frame](benchmark::State& state) {
    Bytes out(frame.size());
    for (auto _ : state) {
      std::memcpy(out.data(), frame.data(), frame.size());
      benchmark::DoNotOptimize(out.data());
      benchmark::ClobberMemory();
    }
    SetThroughput(state, frame.size(), frame.size());
  });
#if N4_BENCH_HAVE_LZ4
  Register("lz4_compress" + suffix, [frame](benchmark::State& state) {
    Bytes out(static_cast<size_t>(LZ4_compressBound(static_cast<int>(frame.size()))));
    int size = 0;
    for (auto _ : state) {
      size = LZ4_compress_default(reinterpret_cast<const char*>(frame.data()), reinterpret_cast<char*>(out.data()),
                                  static_cast<int>(frame.size()), static_cast<int>(out.size()));
      benchmark::DoNotOptimize(size);
    }
    SetThroughput(state, frame.size(), static_cast<size_t>(size));
  });
  Register("lz4_decompress" + suffix, [frame](benchmark::State& state) {
    Bytes packed(static_cast<size_t>(LZ4_compressBound(static_cast<int>(frame.size()))));
    const int size = LZ4_compress_default(reinterpret_cast<const char*>(frame.data()),
                                          reinterpret_cast<char*>(packed.data()), static_cast<int>(frame.size()),
                                          static_cast<int>(packed.size()));
    Bytes out(frame.size());
    for (auto _ : state) {
      const int got = LZ4_decompress_safe(reinterpret_cast<const char*>(packed.data()),
                                          reinterpret_cast<char*>(out.data()), size, static_cast<int>(out.size()));
      benchmark::DoNotOptimize(got);
    }
    SetThroughput(state, frame.size(), static_cast<size_t>(size));
  });
#endif
}

// Lower bounds for any method 1 coder on a frame, whatever its cleverness
// short of replaying repeats: a decoder must at least follow the chain of
// control bytes (each token's place depends on the one before), an encoder
// must at least find every run edge. Neither writes anything.
DWORD WalkTokens(const Bytes& stream) {
  DWORD in = 4, out = 0;
  while (in < stream.size()) {
    const BYTE c = stream[in];
    const bool literal = c <= 127;
    out += literal ? c + 1u : c - 127u;
    in += literal ? c + 2u : 2u;
  }
  return out;
}

DWORD FindRunEdges(const Bytes& frame) {
  const auto n = static_cast<DWORD>(frame.size());
  DWORD edges = 0;
  for (DWORD i = 1; i < n; ++edges) {
    i = n4::bulb::NextEqual(frame.data(), i, n);
    if (i >= n) break;
    i = n4::bulb::NextDiffer(frame.data(), i + 1, n, frame[i]);
  }
  return edges;
}

void RegisterFloors(const std::string& content, const Size& size, const Bytes& frame) {
  const std::string suffix = "/" + content + "/" + size.Name();
  Bytes stream(n4::CompressBound(static_cast<DWORD>(frame.size())));
  stream.resize(CN4BulbData::CompressRLE(frame.data(), stream.data(), static_cast<DWORD>(frame.size())));
  Register("floor_token_walk" + suffix, [stream](benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(WalkTokens(stream));
  });
  Register("floor_run_edges" + suffix, [frame](benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(FindRunEdges(frame));
  });
}

using Encoder = std::function<DWORD(const Bytes&, Bytes&)>;
using Decoder = std::function<DWORD(const Bytes&, Bytes&)>;

void RegisterMethod(const std::string& method, const std::string& content, const Size& size, const Bytes& frame,
                    Encoder encode, Decoder decode) {
  const std::string suffix = "/" + method + "/" + content + "/" + size.Name();
  Register("encode" + suffix, [frame, encode](benchmark::State& state) {
    Bytes out(n4::CompressBound(static_cast<DWORD>(frame.size())));
    DWORD encoded = 0;
    for (auto _ : state) {
      encoded = encode(frame, out);
      benchmark::DoNotOptimize(out.data());
    }
    SetThroughput(state, frame.size(), encoded);
  });
  Register("decode" + suffix, [frame, encode, decode](benchmark::State& state) {
    Bytes stream(n4::CompressBound(static_cast<DWORD>(frame.size())));
    stream.resize(encode(frame, stream));
    Bytes out(frame.size());
    for (auto _ : state) {
      const DWORD got = decode(stream, out);
      benchmark::DoNotOptimize(got);
      benchmark::ClobberMemory();
    }
    SetThroughput(state, frame.size(), stream.size());
    decode(stream, out);
    if (out != frame) state.SkipWithError("decoded frame differs");
  });
}

DWORD Len(const Bytes& b) { return static_cast<DWORD>(b.size()); }

// Method 8 needs the shared record: the previous frame is the text frame, the
// current one changes a few bulbs, as between frames of an animation.
void RegisterXor(const Size& size, const Bytes& previous) {
  Bytes frame = previous;
  for (size_t i = 7; i < frame.size(); i += frame.size() / 9 + 1) frame[i] ^= 0x24;
  const std::string suffix = "/xor_rle/text/" + size.Name();
  Register("encode" + suffix, [previous, frame, size](benchmark::State& state) {
    SN4BulbCompInfo info;
    info.SetSizeAndColor(static_cast<DWORD>(size.height), static_cast<DWORD>(size.width), Tri256);
    info.ReserveBuffers(info.FrameSize());
    CN4BulbData bulb;
    bulb.SetBulbCompInfoPtr(&info);
    Bytes out(frame.size());
    DWORD encoded = 0;
    for (auto _ : state) {
      std::memcpy(info.m_pDecodeBuffer.get(), previous.data(), previous.size());
      encoded = bulb.CompressXOR_RLE(frame.data(), out.data(), Len(frame), Len(frame));
      benchmark::DoNotOptimize(out.data());
    }
    SetThroughput(state, frame.size(), encoded);
  });
  Register("decode" + suffix, [previous, frame, size](benchmark::State& state) {
    SN4BulbCompInfo info;
    info.SetSizeAndColor(static_cast<DWORD>(size.height), static_cast<DWORD>(size.width), Tri256);
    info.ReserveBuffers(info.FrameSize());
    CN4BulbData bulb;
    bulb.SetBulbCompInfoPtr(&info);
    Bytes stream(frame.size());
    std::memcpy(info.m_pDecodeBuffer.get(), previous.data(), previous.size());
    stream.resize(bulb.CompressXOR_RLE(frame.data(), stream.data(), Len(frame), Len(frame)));
    Bytes out(frame.size());
    for (auto _ : state) {
      std::memcpy(info.m_pDecodeBuffer.get(), previous.data(), previous.size());
      benchmark::DoNotOptimize(bulb.DecompressXOR_RLE(stream.data(), out.data(), Len(stream)));
    }
    SetThroughput(state, frame.size(), stream.size());
    if (out != frame) state.SkipWithError("decoded frame differs");
  });
}

// A "bulb" chunk in a buffer, compressed or expanded through the chunk copy.
struct Chunk {
  explicit Chunk(const Bytes& body) : bytes(8 + body.size() + 1, 0) {
    WriteChunkHeader(bytes.data(), n4::MakeFourCC("bulb"), Len(body), 0);
    std::memcpy(bytes.data() + 8, body.data(), body.size());
    bulb.AttachToFile(bytes.data());
  }
  Bytes bytes;
  CN4BulbData bulb;
};

void RegisterVideo(const Size& size, int bitCount) {
  if (!n4::HaveVideoCodec()) return;
  const DWORD color = bitCount == 16 ? RGB32KB : RGB16MB;
  const Bytes frame = n4test::ColourPicture(size.height, size.width, bitCount);
  const std::string suffix = "/cinepak/pic" + std::to_string(bitCount) + "/" + size.Name();
  auto setUp = [size, color](SN4BulbCompInfo& info) {
    info.SetSizeAndColor(static_cast<DWORD>(size.height), static_cast<DWORD>(size.width), color);
  };
  Register("encode" + suffix, [frame, setUp](benchmark::State& state) {
    SN4BulbCompInfo info;
    setUp(info);
    Chunk chunk(frame);
    chunk.bulb.SetBulbCompInfoPtr(&info);
    Bytes dest(8 + frame.size() + 1);
    for (auto _ : state) chunk.bulb.CopyEx(dest.data(), 0, -30);
    if (chunk.bulb.GetCompressMethod() != N4_BULB_COMPRESS_VIDEO) state.SkipWithError("not stored as Cinepak");
    SetThroughput(state, frame.size(), n4::ReadLE32(dest.data() + 4));
  });
  Register("decode" + suffix, [frame, setUp](benchmark::State& state) {
    SN4BulbCompInfo info;
    setUp(info);
    Chunk source(frame);
    source.bulb.SetBulbCompInfoPtr(&info);
    Bytes stored(8 + frame.size() + 1);
    source.bulb.CopyEx(stored.data(), 0, -30);
    Chunk chunk(Bytes(stored.begin() + 8, stored.begin() + 8 + n4::ReadLE32(stored.data() + 4)));
    chunk.bulb.SetBulbCompInfoPtr(&info);
    chunk.bulb.SetCompressMethod(N4_BULB_COMPRESS_VIDEO);
    Bytes dest(8 + frame.size() + 1);
    for (auto _ : state) chunk.bulb.CopyEx(dest.data(), 0, 1);
    SetThroughput(state, frame.size(), chunk.bulb.GetSize());
  });
}

std::vector<n4bench::Ratio> RegisterAll() {
  std::vector<n4bench::Ratio> ratios;
  for (const Size& size : kSizes) {
    const Bytes text = n4test::PlanarTextFrame(size.height, size.width, Tri256);
    const Bytes mono = n4test::PlanarTextFrame(size.height, size.width, Mono1);
    const Bytes pic16 = n4test::ColourPicture(size.height, size.width, 16);
    const Bytes pic24 = n4test::ColourPicture(size.height, size.width, 24);
    RegisterReferences("text", size, text);
    RegisterReferences("mono", size, mono);
    RegisterReferences("pic16", size, pic16);
    RegisterReferences("pic24", size, pic24);
    RegisterFloors("text", size, text);
    RegisterFloors("mono", size, mono);

    RegisterMethod(
        "rle", "text", size, text, [](const Bytes& in, Bytes& out) {
          return CN4BulbData::CompressRLE(in.data(), out.data(), Len(in));
        },
        [](const Bytes& in, Bytes& out) { return CN4BulbData::DecompressRLE(in.data(), out.data(), Len(in), Len(out)); });
    RegisterMethod(
        "top4", "text", size, text, [](const Bytes& in, Bytes& out) {
          return CN4BulbData::CompressTop4(in.data(), out.data(), Len(in));
        },
        [](const Bytes& in, Bytes& out) { return CN4BulbData::DecompressTop4(in.data(), out.data(), Len(in), Len(out)); });
    RegisterMethod(
        "top2", "text", size, text, [](const Bytes& in, Bytes& out) {
          return CN4BulbData::CompressTop2(in.data(), out.data(), Len(in));
        },
        [](const Bytes& in, Bytes& out) { return CN4BulbData::DecompressTop2(in.data(), out.data(), Len(in), Len(out)); });
    RegisterMethod(
        "top1", "text", size, text, [](const Bytes& in, Bytes& out) {
          return CN4BulbData::CompressTop1(in.data(), out.data(), Len(in));
        },
        [](const Bytes& in, Bytes& out) { return CN4BulbData::DecompressTop1(in.data(), out.data(), Len(in), Len(out)); });
    RegisterMethod(
        "rle_word", "pic16", size, pic16, [](const Bytes& in, Bytes& out) {
          return CN4BulbData::CompressRLEWord(in.data(), out.data(), Len(in));
        },
        [](const Bytes& in, Bytes& out) {
          return CN4BulbData::DecompressRLEWord(in.data(), out.data(), Len(in), Len(out));
        });
    RegisterMethod(
        "rgb24", "pic24", size, pic24, [](const Bytes& in, Bytes& out) {
          return CN4BulbData::CompressRGB24(in.data(), out.data(), Len(in));
        },
        [](const Bytes& in, Bytes& out) {
          return CN4BulbData::DecompressRGB24(in.data(), out.data(), Len(in), Len(out));
        });
    RegisterMethod(
        "rle", "mono", size, mono, [](const Bytes& in, Bytes& out) {
          return CN4BulbData::CompressRLE(in.data(), out.data(), Len(in));
        },
        [](const Bytes& in, Bytes& out) { return CN4BulbData::DecompressRLE(in.data(), out.data(), Len(in), Len(out)); });
    RegisterMethod(
        "top4", "mono", size, mono, [](const Bytes& in, Bytes& out) {
          return CN4BulbData::CompressTop4(in.data(), out.data(), Len(in));
        },
        [](const Bytes& in, Bytes& out) { return CN4BulbData::DecompressTop4(in.data(), out.data(), Len(in), Len(out)); });
    RegisterXor(size, text);
    RegisterVideo(size, 16);
    RegisterVideo(size, 24);

    const std::string s = size.Name();
    ratios.push_back({"encode/rle/text/" + s, "lz4_compress/text/" + s, "<= 0.50 (2x LZ4)", 0.5});
    ratios.push_back({"decode/rle/text/" + s, "lz4_decompress/text/" + s, "<= 1.00", 1.0});
    for (const char* top : {"top4", "top2", "top1"}) {
      ratios.push_back({std::string("encode/") + top + "/text/" + s, "lz4_compress/text/" + s, "<= 1.00", 1.0});
    }
    ratios.push_back({"encode/rle/mono/" + s, "lz4_compress/mono/" + s, "<= 0.50 (2x LZ4)", 0.5});
    ratios.push_back({"decode/rle/mono/" + s, "lz4_decompress/mono/" + s, "<= 1.00", 1.0});
    ratios.push_back({"encode/top4/mono/" + s, "lz4_compress/mono/" + s, "<= 1.00", 1.0});
    ratios.push_back({"encode/rle_word/pic16/" + s, "lz4_compress/pic16/" + s, "", 0});
    ratios.push_back({"encode/rgb24/pic24/" + s, "lz4_compress/pic24/" + s, "", 0});
    ratios.push_back({"encode/xor_rle/text/" + s, "lz4_compress/text/" + s, "", 0});
    // The library's Cinepak against libavcodec's default settings (CinepakOptions.cpp).
    if (size.width >= 256) {
      ratios.push_back({"encode/cinepak/pic24/" + s, "cinepak_options/today/" + s, "<= 0.20 (5x faster)", 0.2});
    }
    ratios.push_back({"encode/rle/text/" + s, "memcpy/text/" + s, "", 0});
    for (const char* content : {"text", "mono"}) {
      const std::string c = std::string("/") + content + "/" + s;
      ratios.push_back({"floor_token_walk" + c, "lz4_decompress" + c, "", 0});
      ratios.push_back({"floor_run_edges" + c, "lz4_compress" + c, "", 0});
    }
  }
  return ratios;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<n4bench::Ratio> ratios = RegisterAll();
  return n4bench::RunWithRatios(argc, argv, ratios);
}
