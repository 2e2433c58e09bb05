// The method 8 decoder shared by the chunk copy and the public member.
#pragma once

#include "n4file/BulbData.h"

namespace n4::bulb {

// Run-length decodes into the record's scratch buffer and XORs with its
// decode buffer (the previous frame) into dst, writing at most capacity
// bytes. Leaves the reference as it was. 0 when there is no previous frame.
DWORD DecodeXorRle(SN4BulbCompInfo& info, const BYTE* src, DWORD length, BYTE* dst, DWORD capacity);

}  // namespace n4::bulb
