// The run time of a sequence: every frame's entry, hold and exit in ticks of
// 1/120 second, summed and turned into milliseconds.
#include <cstdint>

#include "n4file/SequenceFile.h"

namespace {

// Ticks an entry or exit takes. Signed arithmetic, as the sequence format
// has always computed it; 64 bits so that no header can overflow it.
std::int64_t EffectTicks(int effect, LONG rate, WORD divider, DWORD h, DWORD w) {
  const std::int64_t steps = n4::EffectSteps(effect, h, w);
  return (static_cast<std::int64_t>(rate) + 4) * steps / n4::EffectDivisor(effect, divider);
}

}  // namespace

int CN4SequenceFile::CalcRunTime() {
  tag_N4_SOS_FRM* sos = SosData();
  const DWORD h = sos ? sos->wHeight : 0;
  const DWORD w = sos ? sos->wWidth : 0;
  std::int64_t total = 0;
  int includes = 0;
  for (int i = 1; i <= FrameCount(); ++i) {
    CN4Frame* frame = Frame(i);
    if (!frame) continue;
    frame->SetFrameNumber(static_cast<WORD>(i));
    if (auto* graphic = dynamic_cast<CN4GphFrame*>(frame)) {
      const tag_N4_GRP_HDR* g = graphic->GphHdr();
      if (!g) continue;
      const std::int64_t in = EffectTicks(g->lEntryEffect, g->lEntryRate, g->wEntryDivider, h, w);
      const std::int64_t out = EffectTicks(g->lExitEffect, g->lExitRate, g->wExitDivider, h, w);
      std::int64_t hold = g->lHoldTime;
      if (hold == 0 && g->lEntryEffect == 0 && g->lExitEffect == 0) hold = 4;
      total += in + out + hold;
    } else if (dynamic_cast<CN4IncFrame*>(frame)) {
      ++includes;
    }
  }
  const auto result = static_cast<std::int32_t>(total * 1000 / 120);
  if (sos) {
    sos = SosData();  // frame lookups may have parsed more of a read-only file
    sos->dwRunTime = static_cast<DWORD>(result);
    sos->wIncludeCount = static_cast<WORD>(includes);
  }
  return result;
}
