// A "bulb" chunk in a plain buffer, and copies of it out (compressed) and in
// (expanded) through CN4BulbData::CopyEx with guard bytes behind each copy.
#pragma once

#include <gtest/gtest.h>

#include <cstring>

#include "SignContent.h"
#include "n4file/BulbData.h"
#include "util/ByteOrder.h"

namespace n4test {

struct BulbChunk {
  explicit BulbChunk(const Bytes& body) : bytes(8 + body.size() + (body.size() & 1), 0) {
    WriteChunkHeader(bytes.data(), n4::MakeFourCC("bulb"), static_cast<DWORD>(body.size()), 0);
    if (!body.empty()) std::memcpy(bytes.data() + 8, body.data(), body.size());
    bytes.resize(8 + body.size());
    bulb.AttachToFile(bytes.data());
  }
  Bytes bytes;
  CN4BulbData bulb;
};

struct Stored {
  Bytes body;
  int method = 0;
};

constexpr BYTE kGuard = 0xE7;
constexpr size_t kGuardBytes = 32;

inline Stored Compress(const Bytes& frame, SN4BulbCompInfo& info, int level) {
  BulbChunk chunk(frame);
  chunk.bulb.SetBulbCompInfoPtr(&info);
  Bytes dest(8 + frame.size() + 1 + kGuardBytes, kGuard);
  void* end = chunk.bulb.CopyEx(dest.data(), 0, level);
  const DWORD size = n4::ReadLE32(dest.data() + 4);
  EXPECT_EQ(n4::ReadLE32(dest.data()), n4::MakeFourCC("bulb"));
  EXPECT_EQ(end, NextChunkPtr(dest.data()));
  EXPECT_LE(size, frame.size());
  EXPECT_EQ(Bytes(dest.end() - static_cast<long>(kGuardBytes), dest.end()), Bytes(kGuardBytes, kGuard));
  Stored out;
  out.method = chunk.bulb.GetCompressMethod();
  out.body.assign(dest.begin() + 8, dest.begin() + 8 + std::min<size_t>(size, frame.size()));
  return out;
}

inline Bytes Expand(const Stored& stored, SN4BulbCompInfo& info) {
  BulbChunk chunk(stored.body);
  chunk.bulb.SetBulbCompInfoPtr(&info);
  chunk.bulb.SetCompressMethod(stored.method);
  const DWORD frame = info.FrameSize();
  Bytes dest(ChunkBytesRequired(frame) + kGuardBytes, kGuard);
  void* end = chunk.bulb.CopyEx(dest.data(), 0, 1);
  EXPECT_EQ(end, dest.data() + ChunkBytesRequired(frame));
  EXPECT_EQ(n4::ReadLE32(dest.data() + 4), frame);
  EXPECT_EQ(Bytes(dest.end() - static_cast<long>(kGuardBytes), dest.end()), Bytes(kGuardBytes, kGuard));
  return Bytes(dest.begin() + 8, dest.begin() + 8 + frame);
}

}  // namespace n4test
