// The Cinepak encoder's own settings on the colour pictures of the bulb
// benchmark: CPU time per frame and the PSNR of the decoded frame against the
// input, one line per setting (counters psnr_db and bytes of the frame).
// Run with --benchmark_filter=cinepak_options.
#if N4_BENCH_HAVE_LIBAV

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
#include <libavutil/opt.h>
}

#include "../../tests/bulb/SignContent.h"
#include "n4file/BulbData.h"

namespace {

struct Setting {
  const char* name;
  int extraIterations, minStrips, maxStrips, adaptivity;
  bool freshPerFrame;  // a new encoder for every frame instead of one per sequence
};

// "today" is libavcodec's defaults, one encoder per sequence as the library
// used to keep; "first" is the first frame of such a sequence. "lib" is what
// the library does now: three strips, a new encoder for every frame.
const Setting kSettings[] = {
    {"today", 2, 1, 3, 0, false}, {"first", 2, 1, 3, 0, true}, {"it0", 0, 1, 3, 0, false},
    {"adapt2", 2, 1, 3, 2, false}, {"s1", 2, 1, 1, 0, false},  {"s2", 2, 2, 2, 0, false},
    {"s3", 2, 3, 3, 0, false},     {"s8", 2, 8, 8, 0, false},  {"lib", 2, 3, 3, 0, true},
};

struct CodecDeleter {
  void operator()(AVCodecContext* c) const { avcodec_free_context(&c); }
};
using Context = std::unique_ptr<AVCodecContext, CodecDeleter>;

Context OpenEncoder(const Setting& s, int width, int height) {
  const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_CINEPAK);
  Context ctx(avcodec_alloc_context3(codec));
  ctx->width = width;
  ctx->height = height;
  ctx->pix_fmt = AV_PIX_FMT_RGB24;
  ctx->time_base = AVRational{1, 30};
  ctx->keyint_min = 1;
  ctx->gop_size = 1;
  av_opt_set_int(ctx->priv_data, "max_extra_cb_iterations", s.extraIterations, 0);
  av_opt_set_int(ctx->priv_data, "min_strips", s.minStrips, 0);
  av_opt_set_int(ctx->priv_data, "max_strips", s.maxStrips, 0);
  av_opt_set_int(ctx->priv_data, "strip_number_adaptivity", s.adaptivity, 0);
  if (avcodec_open2(ctx.get(), codec, nullptr) < 0) return nullptr;
  return ctx;
}

std::vector<BYTE> Encode(AVCodecContext* ctx, AVFrame* picture) {
  std::vector<BYTE> out;
  AVPacket* packet = av_packet_alloc();
  if (avcodec_send_frame(ctx, picture) == 0 && avcodec_receive_packet(ctx, packet) == 0) {
    out.assign(packet->data, packet->data + packet->size);
  }
  av_packet_free(&packet);
  return out;
}

double DecodedPsnr(const std::vector<BYTE>& coded, const AVFrame* input) {
  const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_CINEPAK);
  Context ctx(avcodec_alloc_context3(codec));
  ctx->width = input->width;
  ctx->height = input->height;
  if (coded.empty() || avcodec_open2(ctx.get(), codec, nullptr) < 0) return 0;
  std::vector<BYTE> padded(coded.size() + AV_INPUT_BUFFER_PADDING_SIZE, 0);
  std::memcpy(padded.data(), coded.data(), coded.size());
  AVPacket* packet = av_packet_alloc();
  packet->data = padded.data();
  packet->size = static_cast<int>(coded.size());
  AVFrame* decoded = av_frame_alloc();
  double psnr = 0;
  if (avcodec_send_packet(ctx.get(), packet) == 0 && avcodec_receive_frame(ctx.get(), decoded) == 0) {
    double sum = 0;
    for (int y = 0; y < input->height; ++y) {
      for (int x = 0; x < input->width * 3; ++x) {
        const double d = double(decoded->data[0][y * decoded->linesize[0] + x]) - input->data[0][y * input->linesize[0] + x];
        sum += d * d;
      }
    }
    const double mse = sum / (double(input->width) * input->height * 3);
    psnr = mse == 0 ? 99 : 10 * std::log10(255.0 * 255.0 / mse);
  }
  packet->data = nullptr;
  av_packet_free(&packet);
  av_frame_free(&decoded);
  return psnr;
}

// The benchmark picture as top-down RGB rows.
AVFrame* Picture(int height, int width) {
  const n4test::Bytes bitmap = n4test::ColourPicture(height, width, 24);
  AVFrame* f = av_frame_alloc();
  f->format = AV_PIX_FMT_RGB24;
  f->width = width;
  f->height = height;
  if (av_frame_get_buffer(f, 0) < 0) return f;
  const size_t stride = static_cast<size_t>(width) * 3;
  for (int y = 0; y < height; ++y) {
    const BYTE* row = bitmap.data() + static_cast<size_t>(height - 1 - y) * stride;
    BYTE* rgb = f->data[0] + y * f->linesize[0];
    for (int x = 0; x < width; ++x) {
      rgb[3 * x] = row[3 * x + 2];
      rgb[3 * x + 1] = row[3 * x + 1];
      rgb[3 * x + 2] = row[3 * x];
    }
  }
  return f;
}

void Run(benchmark::State& state, const Setting& s, int height, int width) {
  AVFrame* picture = Picture(height, width);
  picture->quality = 1;  // the library's best-quality lambda
  Context ctx = OpenEncoder(s, width, height);
  if (!ctx) {
    state.SkipWithError("encoder refused the setting");
    av_frame_free(&picture);
    return;
  }
  // The first frame of a sequence tries every strip count; the ones after
  // adapt, so time the steady state that a long show sees.
  picture->pts = 0;
  std::vector<BYTE> coded = Encode(ctx.get(), picture);
  for (auto _ : state) {
    if (s.freshPerFrame) ctx = OpenEncoder(s, width, height);
    ++picture->pts;
    coded = Encode(ctx.get(), picture);
  }
  state.counters["psnr_db"] = DecodedPsnr(coded, picture);
  state.counters["bytes"] = double(coded.size());
  av_frame_free(&picture);
}

const bool kRegistered = [] {
  for (const Setting& s : kSettings) {
    for (auto [height, width] : {std::pair{128, 256}, std::pair{512, 1024}}) {
      const std::string name = std::string("cinepak_options/") + s.name + "/" + std::to_string(width) + "x" +
                               std::to_string(height);
      benchmark::RegisterBenchmark(name.c_str(), [s, height = height, width = width](benchmark::State& state) {
        Run(state, s, height, width);
      });
    }
  }
  return true;
}();

}  // namespace

#endif
