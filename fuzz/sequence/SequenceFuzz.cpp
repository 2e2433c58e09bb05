// libFuzzer target for sequence files: the input is a file's bytes. It is
// opened read-only and walked as a player walks it, then opened for editing
// and saved. Nothing may read or write outside the file's mapping, and a
// save, when the file opens for editing, must succeed and read back.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "n4file/BulbPicture.h"
#include "n4file/SequenceFile.h"

namespace {

std::string ScratchDir() {
  static const std::string dir = [] {
    auto p = std::filesystem::temp_directory_path() / ("n4file-fuzz-" + std::to_string(std::random_device{}()));
    std::filesystem::create_directories(p);
    return p.string();
  }();
  return dir;
}

void Walk(CN4SequenceFile& f) {
  (void)f.IsPreviewOnly();
  (void)f.EosData();
  const int count = f.FrameCount();
  std::vector<std::byte> scratch;
  for (int i = 0; i <= count + 1; ++i) {
    CN4Frame* frame = f.Frame(i);
    if (!frame) continue;
    (void)frame->GetFrameNumber();
    if (auto* g = dynamic_cast<CN4GphFrame*>(frame)) {
      (void)CN4GphFrame::Describe(*g->GphHdr());
      CN4BulbData* bulb = g->GetBulbObj();
      if (!bulb->GetBulbCompInfoPtr()) continue;
      bulb->SetCompressMethod(static_cast<int>(g->GphHdr()->dwCompressMethod));
      // The object's own bound: a damaged start record may claim a sign
      // of any size, and then the chunk is copied as stored.
      scratch.assign(bulb->CopyBytesRequired(0, 1) + 64, std::byte{0});
      bulb->CopyEx(scratch.data(), 0, 1);
      // The frame as a picture, the way the tool renders it.
      const std::vector<BYTE> pixels = n4::GraphicFramePixels(g);
      if (const tag_N4_SOS_FRM* sos = f.SosData(); sos && !pixels.empty()) {
        (void)n4::BulbDataToPicture(pixels.data(), static_cast<DWORD>(pixels.size()), sos->wHeight, sos->wWidth,
                                    sos->dwColorTech);
      }
    } else if (auto* c = dynamic_cast<CN4CmdFrame*>(frame)) {
      for (int k = 0; k < CN4CmdFrame::kSlots; ++k) (void)c->GetPtrToCommandString(k);
    }
  }
  (void)f.CalcRunTime();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string path = ScratchDir() + "/input.sq4";
  const std::string saved = ScratchDir() + "/saved.sq4";
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  {
    CN4SequenceFile f;
    f.Open(path.c_str(), OpenReadOnly);
    if (f.IsOpen()) Walk(f);
  }
  CN4SequenceFile f;
  if (!f.Open(path.c_str(), OpenModify)) return 0;
  f.SetOriginalPath(saved);
  if (!f.Update()) std::abort();
  f.Close();
  CN4SequenceFile r;
  if (r.Open(saved.c_str(), OpenReadOnly)) Walk(r);
  return 0;
}
