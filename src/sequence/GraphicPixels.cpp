// A graphic frame's pixels, expanded as a player expands them.
#include <cstring>

#include "n4file/SequenceFile.h"
#include "util/ByteOrder.h"

namespace n4 {

std::vector<BYTE> GraphicFramePixels(CN4GphFrame* frame) {
  if (!frame || !frame->GphHdr() || !frame->BulbData()) return {};
  CN4BulbData* bulb = frame->GetBulbObj();
  SN4BulbCompInfo* info = bulb->GetBulbCompInfoPtr();
  if (!info) return {};
  const DWORD want = info->FrameSize();
  if (want == 0 || want > kLargestFrameSize) return {};
  const BYTE* stored = frame->BulbData();
  const DWORD length = bulb->GetSize();
  const DWORD method = frame->GphHdr()->dwCompressMethod;
  if (method == N4_BULB_COMPRESS_NONE) {
    if (length < want) return {};
    return std::vector<BYTE>(stored, stored + want);
  }
  if (method > N4_BULB_COMPRESS_XOR_RLE) return {};
  // Every stream but the video codec's records the length it unpacks to; a
  // stream made for another geometry is damage, not a frame.
  if (method != N4_BULB_COMPRESS_VIDEO && StreamCount(stored, length) != want) return {};
  bulb->SetCompressMethod(static_cast<int>(method));
  std::vector<BYTE> chunk(8 + static_cast<size_t>(want) + 2);
  bulb->CopyEx(chunk.data(), 0, 1);
  if (ReadLE32(chunk.data() + 4) != want) return {};
  return std::vector<BYTE>(chunk.begin() + 8, chunk.begin() + 8 + want);
}

}  // namespace n4
