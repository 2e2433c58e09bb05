#include "Sequence.h"

#include <cstring>
#include <filesystem>
#include <fstream>

#include <n4file/BulbPicture.h>

namespace n4tool {

bool OpenSequence(CN4SequenceFile& file, const std::string& path, N4OpenFlags flags, std::string& cause) {
  std::error_code error;
  if (!std::filesystem::exists(path, error)) {
    cause = "no such file";
    return false;
  }
  if (!file.Open(path.c_str(), flags)) {
    // A file that starts as a sequence but does not open is damaged; any
    // other file is simply not a sequence.
    char head[12] = {};
    std::ifstream(path, std::ios::binary).read(head, sizeof head);
    const bool looksLikeOne = std::memcmp(head, "RIFF", 4) == 0 && std::memcmp(head + 8, "seq4", 4) == 0;
    const std::string why = file.GetPtrToErrorString();
    cause = looksLikeOne ? "damaged sequence" : "not a sequence file";
    if (!why.empty()) cause += ": " + why;
    while (!cause.empty() && (cause.back() == '\n' || cause.back() == ' ')) cause.pop_back();
    return false;
  }
  if (!file.SosData()) {
    cause = "damaged sequence: no start frame";
    return false;
  }
  return true;
}

std::string ColorName(DWORD color) {
  return color < 15 ? n4::kColorTechNames[color] : "colour " + std::to_string(color);
}

std::string PixelName(DWORD pixel) { return pixel >= 1 && pixel <= 3 ? n4::kPixelTechLetters[pixel] : "?"; }

const char* FrameKind(CN4Frame* frame) {
  if (n4::KindOf<CN4GphFrame>(frame)) return "graphic";
  if (n4::KindOf<CN4CmdFrame>(frame)) return "command";
  if (n4::KindOf<CN4EosFrame>(frame)) return "end";
  if (n4::KindOf<CN4TxdFrame>(frame)) return "text data";
  if (n4::KindOf<CN4SndFrame>(frame)) return "sound";
  if (n4::KindOf<CN4TextFrame>(frame)) return "text";
  if (n4::KindOf<CN4DataFrame>(frame)) return "data";
  if (n4::KindOf<CN4IncFrame>(frame)) return "include";
  return "unknown";
}

const char* MethodName(DWORD method) {
  static const char* const kNames[] = {"none",  "run-length",      "top 4",   "top 2",         "top 1",
                                       "word run-length", "Cinepak", "RGB run-length", "XOR run-length"};
  return method < 9 ? kNames[method] : "unknown method";
}

Picture FramePicture(CN4SequenceFile& file, CN4GphFrame* frame) {
  Picture picture;
  const tag_N4_SOS_FRM* sos = file.SosData();
  const std::vector<BYTE> pixels = n4::GraphicFramePixels(frame);
  if (!sos || pixels.empty()) return picture;
  picture.rgb = n4::BulbDataToPicture(pixels.data(), static_cast<DWORD>(pixels.size()), sos->wHeight, sos->wWidth,
                                      sos->dwColorTech);
  if (!picture.rgb.empty()) {
    picture.width = sos->wWidth;
    picture.height = sos->wHeight;
  }
  return picture;
}

}  // namespace n4tool
