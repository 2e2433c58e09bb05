// Method 6 through FFmpeg's libavcodec "cinepak" encoder and decoder.
//
// The only file that sees libavcodec. Cinepak codes 4x4 blocks, so pictures
// are padded to multiples of four by repeating the edge pixels and cropped
// again after decoding.
#include "bulb/VideoCodec.h"

#if N4FILE_WITH_CINEPAK

#include <algorithm>
#include <cstring>
#include <mutex>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/dict.h>
#include <libavutil/frame.h>
#include <libavutil/log.h>
}

namespace n4 {
namespace {

// libavcodec reports damaged frames on standard error by default. A library
// must not talk on its host's terminal, but an application that chose a log
// level itself keeps it.
void QuietLibav() {
  static std::once_flag once;
  std::call_once(once, [] {
    if (av_log_get_level() == AV_LOG_INFO) av_log_set_level(AV_LOG_QUIET);
  });
}

struct ContextFree {
  void operator()(AVCodecContext* c) const { avcodec_free_context(&c); }
};
struct FrameFree {
  void operator()(AVFrame* f) const { av_frame_free(&f); }
};
struct PacketFree {
  void operator()(AVPacket* p) const { av_packet_free(&p); }
};
using ContextPtr = std::unique_ptr<AVCodecContext, ContextFree>;
using FramePtr = std::unique_ptr<AVFrame, FrameFree>;
using PacketPtr = std::unique_ptr<AVPacket, PacketFree>;

int PadToBlock(LONG v) { return static_cast<int>((v + 3) & ~3); }

// Strips per frame. The encoder codes a frame once for every strip count
// from min_strips to max_strips (by default 1 to 3, later two counts around
// its last choice) and keeps the best, which on our pictures is three; asking
// for exactly three gives that frame from a single encode.
// 1024x512 picture, CPU and PSNR: 0.55 s 28.83 dB, defaults 1.09 s 28.84 dB.
// Older players decode at most three strips. Frames under three block rows
// get one strip per row, as the search would try no count at all. The extra
// codebook passes (max_extra_cb_iterations) only act on inter frames.
constexpr int kStrips = 3;

ContextPtr OpenEncoder(int width, int height) {
  const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_CINEPAK);
  if (!codec) return nullptr;
  ContextPtr ctx(avcodec_alloc_context3(codec));
  if (!ctx) return nullptr;
  ctx->width = width;
  ctx->height = height;
  ctx->pix_fmt = AV_PIX_FMT_RGB24;
  ctx->time_base = AVRational{1, 30};
  ctx->framerate = AVRational{30, 1};
  // A key frame every frame: any stored frame must decode on its own.
  ctx->keyint_min = 1;
  ctx->gop_size = 1;
  const int strips = std::min(kStrips, height / 4);
  AVDictionary* options = nullptr;
  av_dict_set_int(&options, "min_strips", strips, 0);
  av_dict_set_int(&options, "max_strips", strips, 0);
  const int opened = avcodec_open2(ctx.get(), codec, &options);
  // Options the encoder did not take stay in the dictionary; an encoder
  // without them would search strip counts again, slowly but correctly.
  av_dict_free(&options);
  if (opened < 0) return nullptr;
  return ctx;
}

class CinepakCodec final : public VideoCodec {
 public:
  bool BeginCompress(LONG width, LONG height, int bitCount, LONG quality) override {
    EndCompress();
    if (!ValidGeometry(width, height, bitCount)) return false;
    // Opened here only to learn early that the codec takes this geometry.
    ContextPtr probe = OpenEncoder(PadToBlock(width), PadToBlock(height));
    if (!probe) return false;
    FramePtr picture(av_frame_alloc());
    PacketPtr packet(av_packet_alloc());
    if (!picture || !packet) return false;
    picture->format = AV_PIX_FMT_RGB24;
    picture->width = probe->width;
    picture->height = probe->height;
    if (av_frame_get_buffer(picture.get(), 0) < 0) return false;
    picture_ = std::move(picture);
    packet_ = std::move(packet);
    width_ = width;
    height_ = height;
    bitCount_ = bitCount;
    // The encoder trades size for error by lambda: none at the best quality,
    // its own default halfway.
    const LONG q = quality < 0 ? 0 : quality > 10000 ? 10000 : quality;
    lambdaPlusOne_ = 1 + static_cast<int>((10000 - q) * 4 * FF_LAMBDA_SCALE / 10000);
    return true;
  }

  bool CompressFrame(const BYTE* bitmap, DWORD size, std::vector<BYTE>& out, bool& keyFrame) override {
    if (!picture_) return false;
    const DWORD stride = bulb::BitmapStride(static_cast<DWORD>(width_), bitCount_);
    if (size / stride < static_cast<DWORD>(height_)) return false;
    // A new encoder for every frame: the encoder carries its strip count and
    // its random seed from frame to frame, so a reused one would make a
    // frame's bytes depend on the frames coded before it (and, once frames
    // are spread over threads, on which thread coded which). Opening one
    // costs microseconds against a frame's encode.
    ContextPtr encoder = OpenEncoder(picture_->width, picture_->height);
    if (!encoder) return false;
    if (av_frame_make_writable(picture_.get()) < 0) return false;
    bulb::BitmapToRgb(bitmap, width_, height_, bitCount_, picture_->data[0], picture_->linesize[0],
                      picture_->width, picture_->height);
    picture_->pts = 0;
    picture_->quality = lambdaPlusOne_;
    if (avcodec_send_frame(encoder.get(), picture_.get()) < 0) return false;
    if (avcodec_receive_packet(encoder.get(), packet_.get()) < 0) return false;
    out.assign(packet_->data, packet_->data + packet_->size);
    keyFrame = (packet_->flags & AV_PKT_FLAG_KEY) != 0;
    av_packet_unref(packet_.get());
    return true;
  }

  void EndCompress() override {
    picture_.reset();
    packet_.reset();
  }

  bool BeginDecompress(LONG width, LONG height, int bitCount) override {
    EndDecompress();
    if (!ValidGeometry(width, height, bitCount)) return false;
    const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_CINEPAK);
    if (!codec) return false;
    ContextPtr ctx(avcodec_alloc_context3(codec));
    if (!ctx) return false;
    ctx->width = static_cast<int>(width);
    ctx->height = static_cast<int>(height);
    ctx->bits_per_coded_sample = 24;
    FramePtr picture(av_frame_alloc());
    PacketPtr packet(av_packet_alloc());
    if (!picture || !packet || avcodec_open2(ctx.get(), codec, nullptr) < 0) return false;
    decoder_ = std::move(ctx);
    decoded_ = std::move(picture);
    input_ = std::move(packet);
    dwidth_ = width;
    dheight_ = height;
    dbitCount_ = bitCount;
    return true;
  }

  DWORD DecompressFrame(const BYTE* data, DWORD size, bool keyFrame, BYTE* bitmap, DWORD capacity) override {
    if (!decoder_ || size == 0 || size > 0x7FFFFFFFu - AV_INPUT_BUFFER_PADDING_SIZE) return 0;
    // Decoders may read a little past the data; the padding must be zero.
    padded_.assign(size + AV_INPUT_BUFFER_PADDING_SIZE, 0);
    std::memcpy(padded_.data(), data, size);
    input_->data = padded_.data();
    input_->size = static_cast<int>(size);
    input_->flags = keyFrame ? AV_PKT_FLAG_KEY : 0;
    const int sent = avcodec_send_packet(decoder_.get(), input_.get());
    input_->data = nullptr;
    input_->size = 0;
    if (sent < 0) return 0;
    if (avcodec_receive_frame(decoder_.get(), decoded_.get()) < 0) return 0;
    DWORD written = 0;
    if (decoded_->format == AV_PIX_FMT_RGB24 && decoded_->width >= dwidth_ && decoded_->height >= dheight_) {
      written = bulb::RgbToBitmap(decoded_->data[0], decoded_->linesize[0], static_cast<int>(dwidth_),
                                  static_cast<int>(dheight_), dbitCount_, bitmap, capacity);
    }
    av_frame_unref(decoded_.get());
    return written;
  }

  void EndDecompress() override {
    decoder_.reset();
    decoded_.reset();
    input_.reset();
  }

 private:
  static bool ValidGeometry(LONG width, LONG height, int bitCount) {
    return width > 0 && height > 0 && width <= 0xFFFF && height <= 0xFFFF && (bitCount == 16 || bitCount == 24);
  }

  FramePtr picture_;
  PacketPtr packet_;
  LONG width_ = 0, height_ = 0;
  int bitCount_ = 24;
  int lambdaPlusOne_ = 1;

  ContextPtr decoder_;
  FramePtr decoded_;
  PacketPtr input_;
  std::vector<BYTE> padded_;
  LONG dwidth_ = 0, dheight_ = 0;
  int dbitCount_ = 24;
};

}  // namespace

std::unique_ptr<VideoCodec, VideoCodecDeleter> VideoCodec::Create() {
  QuietLibav();
  if (!avcodec_find_encoder(AV_CODEC_ID_CINEPAK) || !avcodec_find_decoder(AV_CODEC_ID_CINEPAK)) return nullptr;
  return std::unique_ptr<VideoCodec, VideoCodecDeleter>(std::make_unique<CinepakCodec>().release());
}

bool HaveVideoCodec() {
  return avcodec_find_encoder(AV_CODEC_ID_CINEPAK) != nullptr && avcodec_find_decoder(AV_CODEC_ID_CINEPAK) != nullptr;
}

}  // namespace n4

#else  // !N4FILE_WITH_CINEPAK

namespace n4 {
std::unique_ptr<VideoCodec, VideoCodecDeleter> VideoCodec::Create() { return nullptr; }
bool HaveVideoCodec() { return false; }
}  // namespace n4

#endif

void n4::VideoCodecDeleter::operator()(VideoCodec* codec) const { std::default_delete<VideoCodec>{}(codec); }
