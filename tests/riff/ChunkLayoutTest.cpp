#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <vector>

#include "n4file/RiffFile.h"
#include "util/ByteOrder.h"

namespace {

using Bytes = std::vector<std::byte>;

TEST(ChunkLayout, OddBodiesArePaddedToWordBoundaries) {
  Bytes buf(64, std::byte{0xAA});
  void* next = WriteChunkHeader(buf.data(), n4::kFourccICMT, 5, 0);
  EXPECT_EQ(static_cast<std::byte*>(next), buf.data() + 14);
  EXPECT_EQ(NextChunkPtr(buf.data()), next);
  EXPECT_EQ(ChunkBytesRequired(5), 14u);
  EXPECT_EQ(ChunkBytesRequired(6), 14u);
  // The body is zeroed; the pad byte is skipped, not written.
  for (int i = 8; i < 13; ++i) EXPECT_EQ(buf[i], std::byte{0});
  EXPECT_EQ(buf[13], std::byte{0xAA});
}

// A list carries its type even when empty; parsing null leaves the view.
TEST(ChunkLayout, ListsAlwaysCarryTheirType) {
  Bytes buf(32, std::byte{0xAA});
  void* next = WriteChunkHeader(buf.data(), n4::kFourccLIST, 0, n4::kFourccINFO);
  EXPECT_EQ(n4::ReadLE32(buf.data() + 4), 4u);
  EXPECT_EQ(static_cast<std::byte*>(next), buf.data() + 12);
  EXPECT_EQ(ChunkId(buf.data()), n4::kFourccINFO);

  _RIFFCHUNK view;
  EXPECT_EQ(ParseChunk(buf.data(), &view), next);
  EXPECT_EQ(view.pType, buf.data() + 8);
  EXPECT_EQ(view.pData, buf.data() + 12);
  EXPECT_EQ(ParseChunk(nullptr, &view), nullptr);
  EXPECT_EQ(view.pData, buf.data() + 12);
}

TEST(ChunkLayout, SetChunkSizeRefusesEndsBeforeTheBody) {
  Bytes buf(64);
  WriteChunkHeader(buf.data(), n4::kFourccLIST, 4, n4::kFourccINFO);
  _RIFFCHUNK view;
  ParseChunk(buf.data(), &view);
  EXPECT_EQ(SetChunkSize(&view, buf.data() + 7), 0);
  EXPECT_EQ(n4::ReadLE32(buf.data() + 4), 4u);
  EXPECT_EQ(SetChunkSize(&view, nullptr), 0);
  EXPECT_EQ(SetChunkSize(nullptr, buf.data() + 20), 0);
  EXPECT_EQ(SetChunkSize(&view, buf.data() + 30), 1);
  EXPECT_EQ(n4::ReadLE32(buf.data() + 4), 22u);  // counted from the type
}

TEST(ChunkLayout, ChunkFitsChecksHeaderBodyAndListType) {
  Bytes buf(40);
  WriteChunkHeader(buf.data(), n4::kFourccICMT, 20, 0);
  EXPECT_TRUE(n4::ChunkFits(buf.data(), buf.data() + 28));
  EXPECT_FALSE(n4::ChunkFits(buf.data(), buf.data() + 27));
  EXPECT_FALSE(n4::ChunkFits(buf.data(), buf.data() + 7));
  n4::WriteLE32(buf.data() + 4, 0xFFFFFFF0u);  // a size that points far beyond
  EXPECT_FALSE(n4::ChunkFits(buf.data(), buf.data() + 40));

  // A list without room for its type is not a chunk we can view.
  WriteChunkHeader(buf.data(), n4::kFourccLIST, 4, n4::kFourccINFO);
  n4::WriteLE32(buf.data() + 4, 2);
  EXPECT_FALSE(n4::ChunkFits(buf.data(), buf.data() + 40));
}

TEST(ChunkLayout, FindSubChunkMatchesListTypesAndStopsAtLyingChunks) {
  Bytes buf(128);
  std::byte* p = buf.data();
  WriteChunkHeader(p, n4::kFourccLIST, 4 + 14 + 20, n4::MakeFourCC("outr"));
  std::byte* sub = p + 12;
  WriteChunkHeader(sub, n4::kFourccICMT, 5, 0);
  WriteChunkHeader(sub + 14, n4::kFourccLIST, 12, n4::MakeFourCC("innr"));

  CN4RiffChunk chunk;
  chunk.AttachToFile(p);
  EXPECT_EQ(chunk.FindSubChunk(n4::kFourccICMT), sub);
  EXPECT_EQ(chunk.FindSubChunk(n4::MakeFourCC("innr")), sub + 14);
  EXPECT_EQ(chunk.FindSubChunk(n4::kFourccLIST), nullptr);

  CN4RiffChunk plain;
  plain.AttachToFile(sub);
  EXPECT_EQ(plain.FindSubChunk(n4::kFourccICMT), nullptr);

  // A sub-chunk claiming to run past its parent ends the walk.
  n4::WriteLE32(sub + 4, 1000);
  EXPECT_EQ(chunk.FindSubChunk(n4::MakeFourCC("innr")), nullptr);
}

TEST(ChunkLayout, RebaseMovesEveryPointerButANullType) {
  Bytes a(32), b(32);
  WriteChunkHeader(a.data(), n4::kFourccICMT, 4, 0);
  CN4RiffChunk chunk;
  chunk.AttachToFile(a.data());
  chunk.AdjustToNewBase(b.data(), a.data());
  EXPECT_EQ(chunk.StartOfChunkPtr(), b.data());
  EXPECT_EQ(chunk.Data(), b.data() + 8);
  EXPECT_EQ(chunk.Chunk()->pType, nullptr);
}

TEST(ChunkLayout, HeaderRefusesOtherChunksButKeepsThemInView) {
  std::vector<std::byte> buf(2 * 1040);
  WriteChunkHeader(buf.data(), n4::kFourccICMT, 1024, 0);
  CN4RiffHdr hdr;
  EXPECT_EQ(hdr.AttachToFile(buf.data()), nullptr);
  EXPECT_EQ(hdr.StartOfChunkPtr(), buf.data());
  WriteChunkHeader(buf.data(), n4::kFourccN4HD, 1024, 0);
  EXPECT_EQ(hdr.AttachToFile(buf.data()), buf.data() + 1032);
  WriteChunkHeader(buf.data(), n4::kFourccN4HD, 16, 0);  // too short for its record
  EXPECT_EQ(hdr.AttachToFile(buf.data()), nullptr);
  EXPECT_EQ(hdr.StartOfChunkPtr(), nullptr);
}
}  // namespace
