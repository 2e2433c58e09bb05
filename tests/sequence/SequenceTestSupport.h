// Helpers for sequence tests: frames filled with sign content.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "bulb/SignContent.h"
#include "n4file/SequenceFile.h"
#include "util/ByteOrder.h"

namespace n4test {

// Content for one frame of the given technology: text and graphics for
// planar signs, a picture for direct-colour signs.
inline Bytes FrameContent(int height, int width, DWORD color, std::uint32_t seed) {
  if (color == RGB32KB) return ColourPicture(height, width, 16, seed);
  if (color == RGB16MB) return ColourPicture(height, width, 24, seed);
  return PlanarTextFrame(height, width, color, seed);
}

// Adds a graphic frame at pos holding content; returns its number.
inline int AddGraphic(CN4SequenceFile& file, const Bytes& pixels, int pos = 9999, LONG hold = 120) {
  const int n = file.AddFrame(n4::kFourccGrp, pos);
  if (n < 0) return n;
  auto* frame = dynamic_cast<CN4GphFrame*>(file.Frame(n));
  if (!frame || frame->GetBulbObj()->GetSize() != pixels.size()) return -100;
  std::memcpy(frame->BulbData(), pixels.data(), pixels.size());
  frame->GphHdr()->lHoldTime = hold;
  return n;
}

// Saves a new sequence for a sign of the given size and colour holding one
// graphic frame per entry of `frames`, with header compression `compression`.
inline void SaveSequence(const std::string& path, WORD height, WORD width, tag_N4_SIGN_COLOR color,
                         DWORD compression, const std::vector<Bytes>& frames) {
  CN4SequenceFile f;
  ASSERT_EQ(f.OpenCreate(path.c_str(), height, width, color, PixelTechI), 1);
  f.RiffHdr()->dwCompression = compression;
  for (const Bytes& frame : frames) ASSERT_GT(AddGraphic(f, frame), 0);
  ASSERT_EQ(f.Update(), 1) << f.GetPtrToErrorString();
}

}  // namespace n4test
