// Method 6: colour frames through the Cinepak codec and back, the stored
// header, the codec state of the shared record, and damaged payloads.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <thread>
#include <vector>

#include "BulbChunk.h"
#include "SignContent.h"
#include "n4file/BulbData.h"
#include "util/ByteOrder.h"

#if __has_include(<libavcodec/avcodec.h>)
#define N4_TEST_HAVE_LIBAV 1
extern "C" {
#include <libavcodec/avcodec.h>
}
#endif

namespace {

using n4test::Bytes;
using n4test::Compress;
using n4test::Expand;
using n4test::Stored;

// Cinepak codes 4x4 blocks from codebooks of 256 vectors with subsampled
// chroma, so the sharp one-bulb text of these pictures comes back at about
// 22-24 dB. A broken conversion lands far lower (swapped red and blue about
// 14 dB, upside-down rows about 9.5 dB), so 20 dB separates the two.
constexpr double kMinPsnr = 20.0;

// Colour channels 0..255 of a bitmap frame, top row first, red green blue.
std::vector<int> Channels(const BYTE* frame, int height, int width, int bitCount) {
  const size_t stride = ((static_cast<size_t>(width) * bitCount + 31) / 32) * 4;
  std::vector<int> out;
  for (int y = 0; y < height; ++y) {
    const BYTE* row = frame + static_cast<size_t>(height - 1 - y) * stride;
    for (int x = 0; x < width; ++x) {
      if (bitCount == 16) {
        const int v = row[2 * x] | (row[2 * x + 1] << 8);
        for (int shift : {10, 5, 0}) out.push_back(((v >> shift) & 31) * 255 / 31);
      } else {
        out.insert(out.end(), {row[3 * x + 2], row[3 * x + 1], row[3 * x]});
      }
    }
  }
  return out;
}

double Psnr(const std::vector<int>& a, const std::vector<int>& b) {
  if (a.size() != b.size() || a.empty()) return 0;
  double sum = 0;
  for (size_t i = 0; i < a.size(); ++i) sum += double(a[i] - b[i]) * (a[i] - b[i]);
  const double mse = sum / a.size();
  return mse == 0 ? 99.0 : 10.0 * std::log10(255.0 * 255.0 / mse);
}

class Video : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!n4::HaveVideoCodec()) GTEST_SKIP() << "built without a video codec";
  }
};

TEST_F(Video, PicturesSurviveAtBothDepths) {
  struct Size {
    int height, width;
  };
  // One and two block rows: fewer rows than the encoder's usual strips.
  for (Size s : {Size{32, 96}, Size{30, 90}, Size{128, 256}, Size{4, 400}, Size{7, 400}}) {
    for (int bitCount : {16, 24}) {
      SCOPED_TRACE(testing::Message() << s.height << "x" << s.width << " at " << bitCount << " bits");
      SN4BulbCompInfo info;
      info.SetSizeAndColor(static_cast<DWORD>(s.height), static_cast<DWORD>(s.width),
                           bitCount == 16 ? RGB32KB : RGB16MB);
      const Bytes picture = n4test::ColourPicture(s.height, s.width, bitCount, 5);
      const Stored stored = Compress(picture, info, -30);
      ASSERT_EQ(stored.method, N4_BULB_COMPRESS_VIDEO);
      EXPECT_EQ(info.m_dwCodecState, n4::kCodecCompressing);

      // The output header, key-frame flag in its eighth word, then the codec's bytes.
      const BYTE* h = stored.body.data();
      EXPECT_EQ(n4::ReadLE32(h), 40u);
      EXPECT_EQ(n4::ReadLE32(h + 4), static_cast<DWORD>(s.width));
      EXPECT_EQ(n4::ReadLE32(h + 8), static_cast<DWORD>(s.height));
      EXPECT_EQ(n4::ReadLE32(h + 16), n4::MakeFourCC("cvid"));
      EXPECT_EQ(n4::ReadLE32(h + 20), stored.body.size() - 40);
      EXPECT_EQ(n4::ReadLE32(h + 28), 1u);

      const Bytes back = Expand(stored, info);
      EXPECT_EQ(info.m_dwCodecState, n4::kCodecDecompressing);
      EXPECT_GE(Psnr(Channels(back.data(), s.height, s.width, bitCount),
                     Channels(picture.data(), s.height, s.width, bitCount)),
                kMinPsnr);
    }
  }
}

TEST_F(Video, CodecStateFollowsTheDirectionOfWork) {
  SN4BulbCompInfo info;
  info.SetSizeAndColor(32, 96, RGB16MB);
  const Bytes a = n4test::ColourPicture(32, 96, 24, 1);
  const Bytes b = n4test::ColourPicture(32, 96, 24, 2);
  const Stored first = Compress(a, info, -30);
  const Stored second = Compress(b, info, -30);
  EXPECT_EQ(info.m_dwCodecFrames, 2u);  // one sequence for both frames
  EXPECT_EQ(info.m_biIn.bmiHeader.biSizeImage, 24u * 32 * 96 / 8);
  EXPECT_EQ(info.m_CompVars.fccHandler, n4::MakeFourCC("cvid"));

  // Every frame is a key frame, so frames decode in any order.
  const Bytes backB = Expand(second, info);
  const Bytes backA = Expand(first, info);
  EXPECT_EQ(info.m_dwCodecState, n4::kCodecDecompressing);
  EXPECT_GE(Psnr(Channels(backA.data(), 32, 96, 24), Channels(a.data(), 32, 96, 24)), kMinPsnr);
  EXPECT_GE(Psnr(Channels(backB.data(), 32, 96, 24), Channels(b.data(), 32, 96, 24)), kMinPsnr);

  EXPECT_EQ(Compress(a, info, -30).method, N4_BULB_COMPRESS_VIDEO);
  EXPECT_EQ(info.m_dwCodecState, n4::kCodecCompressing);
  info.CleanUp();
  EXPECT_EQ(info.m_dwCodecState, n4::kCodecClosed);
  EXPECT_EQ(info.m_pCodec, nullptr);
}

// Frames may be compressed on several threads, each with its own record; the
// saved bytes must not depend on which record coded which frame, or in what
// order.
TEST_F(Video, StoredBytesDependOnlyOnThePicture) {
  const Bytes a = n4test::ColourPicture(64, 128, 24, 1);
  const Bytes b = n4test::ColourPicture(64, 128, 24, 2);
  auto compressAll = [](const std::vector<const Bytes*>& frames) {
    SN4BulbCompInfo info;
    info.SetSizeAndColor(64, 128, RGB16MB);
    std::vector<Bytes> bodies;
    for (const Bytes* frame : frames) bodies.push_back(Compress(*frame, info, -30).body);
    return bodies;
  };
  const std::vector<Bytes> inOrder = compressAll({&a, &b, &a});
  EXPECT_EQ(inOrder[0], inOrder[2]);

  std::vector<Bytes> first, second;
  std::thread one([&] { first = compressAll({&b, &a}); });
  std::thread two([&] { second = compressAll({&a, &b}); });
  one.join();
  two.join();
  EXPECT_EQ(first, (std::vector<Bytes>{inOrder[1], inOrder[0]}));
  EXPECT_EQ(second, (std::vector<Bytes>{inOrder[0], inOrder[1]}));
}

// Frames too small for the codec's header and codebooks stay raw; damaged
// payloads decode to a frame.
TEST_F(Video, SmallFramesAndDamagedPayloads) {
  SN4BulbCompInfo tiny;
  tiny.SetSizeAndColor(4, 4, RGB16MB);  // 48 bytes
  const Bytes picture = n4test::ColourPicture(4, 4, 24);
  const Stored raw = Compress(picture, tiny, -30);
  EXPECT_EQ(raw.method, N4_BULB_COMPRESS_NONE);
  EXPECT_EQ(raw.body, picture);

  SN4BulbCompInfo info;
  info.SetSizeAndColor(32, 96, RGB32KB);
  const Stored good = Compress(n4test::ColourPicture(32, 96, 16), info, -30);
  ASSERT_EQ(good.method, N4_BULB_COMPRESS_VIDEO);
  const DWORD frame = info.FrameSize();
  std::vector<Bytes> bodies = {Bytes(good.body.begin(), good.body.begin() + 40),
                               Bytes(good.body.begin(), good.body.begin() + 60), Bytes(12, 1)};
  for (std::uint32_t seed = 1; seed <= 30; ++seed) {
    Bytes garbage = good.body;
    for (size_t i = 40 + seed; i < garbage.size(); i += 3 + seed % 7) garbage[i] = static_cast<BYTE>(seed * i);
    bodies.push_back(garbage);
    Bytes header = Bytes(good.body.begin(), good.body.begin() + 40);
    const Bytes noise = n4test::RandomBytes(20 + 50 * seed, seed);
    header.insert(header.end(), noise.begin(), noise.end());
    bodies.push_back(header);
  }
  for (const Bytes& body : bodies) EXPECT_EQ(Expand({body, N4_BULB_COMPRESS_VIDEO}, info).size(), frame);
}

#if N4_TEST_HAVE_LIBAV
// A stored frame is an ordinary Cinepak frame: FFmpeg's decoder, set up only
// from the stored header, reads it.
TEST_F(Video, StoredFramesAreCinepakForOtherDecoders) {
  SN4BulbCompInfo info;
  info.SetSizeAndColor(30, 90, RGB16MB);
  const Bytes picture = n4test::ColourPicture(30, 90, 24, 9);
  const Stored stored = Compress(picture, info, -30);
  ASSERT_EQ(stored.method, N4_BULB_COMPRESS_VIDEO);

  const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_CINEPAK);
  ASSERT_NE(codec, nullptr);
  AVCodecContext* ctx = avcodec_alloc_context3(codec);
  ctx->width = static_cast<int>(n4::ReadLE32(stored.body.data() + 4));
  ctx->height = static_cast<int>(n4::ReadLE32(stored.body.data() + 8));
  ASSERT_EQ(avcodec_open2(ctx, codec, nullptr), 0);
  Bytes payload(stored.body.begin() + 40, stored.body.end());
  payload.resize(payload.size() + AV_INPUT_BUFFER_PADDING_SIZE, 0);
  AVPacket* packet = av_packet_alloc();
  packet->data = payload.data();
  packet->size = static_cast<int>(stored.body.size() - 40);
  AVFrame* decoded = av_frame_alloc();
  ASSERT_EQ(avcodec_send_packet(ctx, packet), 0);
  ASSERT_EQ(avcodec_receive_frame(ctx, decoded), 0);
  ASSERT_EQ(decoded->format, AV_PIX_FMT_RGB24);
  std::vector<int> channels;
  for (int y = 0; y < 30; ++y)
    for (int x = 0; x < 90 * 3; ++x) channels.push_back(decoded->data[0][y * decoded->linesize[0] + x]);
  EXPECT_GE(Psnr(channels, Channels(picture.data(), 30, 90, 24)), kMinPsnr);
  av_frame_free(&decoded);
  packet->data = nullptr;
  packet->size = 0;
  av_packet_free(&packet);
  avcodec_free_context(&ctx);
}
#endif

}  // namespace
