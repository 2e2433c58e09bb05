// Helpers the sequence subcommands share.
#pragma once

#include <n4file/SequenceFile.h>

#include "Tool.h"

namespace n4tool {

// Opens a sequence; false with a cause when it is not a readable sequence.
bool OpenSequence(CN4SequenceFile& file, const std::string& path, N4OpenFlags flags, std::string& cause);
std::string ColorName(DWORD color);
std::string PixelName(DWORD pixel);
// "graphic", "command", "end", ...
const char* FrameKind(CN4Frame* frame);
// "none", "run-length", ... for a bulb compression method.
const char* MethodName(DWORD method);
// The picture a graphic frame shows; empty when its pixels do not decode.
Picture FramePicture(CN4SequenceFile& file, CN4GphFrame* frame);

}  // namespace n4tool
