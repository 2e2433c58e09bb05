// A sequence file read as a player reads it, then opened for editing and
// saved elsewhere: the walk of the damage tests and of the fuzz target.
// Nothing here checks content; the sanitizers catch stray accesses, and the
// save must succeed for any file that opens for editing.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "n4file/BulbPicture.h"
#include "n4file/SequenceFile.h"

namespace n4test {

inline void PlaySequence(CN4SequenceFile& f) {
  (void)f.IsPreviewOnly();
  (void)f.EosData();
  std::vector<std::byte> scratch;
  for (int i = 0; i <= f.FrameCount() + 1; ++i) {
    CN4Frame* frame = f.Frame(i);
    if (!frame) continue;
    (void)frame->GetFrameNumber();
    if (auto* g = dynamic_cast<CN4GphFrame*>(frame)) {
      (void)CN4GphFrame::Describe(*g->GphHdr());
      CN4BulbData* bulb = g->GetBulbObj();
      if (!bulb->GetBulbCompInfoPtr()) continue;
      bulb->SetCompressMethod(static_cast<int>(g->GphHdr()->dwCompressMethod));
      // The object's own bound: a damaged start record may claim a sign of
      // any size, and then the chunk is copied as stored.
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
  (void)f.CalcRunTime();  // renumbers in this process's copy only
}

// Plays `path`, then opens it for editing, saves it as `saved` and plays the
// save. False when a file that opened for editing did not save. (A save may
// not open again: editing keeps a damaged file without its start frame.)
inline bool PlayAndSave(const std::string& path, const std::string& saved) {
  {
    CN4SequenceFile f;
    if (f.Open(path.c_str(), OpenReadOnly)) PlaySequence(f);
  }
  CN4SequenceFile f;
  if (!f.Open(path.c_str(), OpenModify)) return true;
  f.SetOriginalPath(saved);
  if (!f.Update()) return false;
  f.Close();
  CN4SequenceFile r;
  if (r.Open(saved.c_str(), OpenReadOnly)) PlaySequence(r);
  return true;
}

}  // namespace n4test
