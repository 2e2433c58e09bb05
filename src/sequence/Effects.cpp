// The effect vocabulary of graphic frames: names, run-time classes, steps,
// and the one-line description of a graphic header.
#include <cstdio>
#include <string>

#include "n4file/SequenceFile.h"

namespace n4 {

namespace {

constexpr const char* kEffectNames[54] = {
    "Change", "Blank", "Coalesce",
    "Venetian Left", "Venetian Right", "Venetian Up", "Venetian Down",
    "Roll Left", "Roll Right", "Roll Up", "Roll Down",
    "Scroll Left", "Scroll Right", "Scroll Up", "Scroll Down",
    "Wand Left", "Wand Right", "Wand Up", "Wand Down",
    "Wand In", "Wand Out", "Wand Close", "Wand Open",
    "Unveil Left", "Unveil Right", "Unveil Up", "Unveil Down",
    "Unveil In", "Unveil Out", "Unveil Close", "Unveil Open",
    "Zoom Top Out", "Zoom Center Out", "Zoom Bottom Out", "Zoom Top In", "Zoom Center In", "Zoom Bottom In",
    "Pageturn Bottom Left", "Pageturn Bottom Right", "Pageturn Top Left", "Pageturn Top Right",
    "Splice Narrow", "Splice Wide", "Slot Machine", "Radar",
    "Kaleidoscope Large Diamond", "Kaleidoscope Small Diamond", "Kaleidoscope Spiral", "Kaleidoscope Zigzag",
    "Kaleidoscope Diagonal",
    "Wand Diamond Out", "Wand Diamond In", "Gradient Transition", "Fade",
};

constexpr const char* kHoldNames[8] = {"Twinkle",  "Flash Off", "Flash On",     "Flash Invert",
                                       "Bijou CW", "Bijou CCW", "Bijou Dbl CW", "Bijou Dbl CCW"};

// Run-time class by effect number.
constexpr signed char kEffectClass[54] = {
    -1, -1, 0,  0,  0,  0,  0,                     // 0-6
    2,  2,  1,  1,                                 // 7-10
    2,  2,  1,  1,                                 // 11-14
    2,  2,  1,  1,                                 // 15-18
    4,  4,  3,  3,                                 // 19-22
    2,  2,  1,  1,                                 // 23-26
    4,  4,  3,  3,                                 // 27-30
    5,  5,  5,  5,  5,  5,                         // 31-36
    6,  6,  6,  6,                                 // 37-40
    1,  1,  7,  8,                                 // 41-44
    9,  9,  10, 10, 0,                             // 45-49
    11, 11, 12, 12,                                // 50-53
};

std::string Format(const char* format, double value) {
  char buf[64];
  std::snprintf(buf, sizeof buf, format, value);
  return buf;
}

std::string Format(const char* format, int value) {
  char buf[64];
  std::snprintf(buf, sizeof buf, format, value);
  return buf;
}

std::string EffectText(const char* name, int effect) {
  return name ? std::string(name) : Format("Effect %d", effect);
}

}  // namespace

const char* EntryEffectName(int effect) { return effect >= 0 && effect <= 53 ? kEffectNames[effect] : nullptr; }

const char* ExitEffectName(int effect) {
  if (effect == 0) return "Stay";
  if (effect == 2) return "Dissolve";
  return EntryEffectName(effect);
}

const char* HoldEffectName(int effect) { return effect >= 31 && effect <= 38 ? kHoldNames[effect - 31] : "Steady"; }

int EffectClass(int effect) { return effect >= 0 && effect <= 53 ? kEffectClass[effect] : kEffectClass[0]; }

DWORD EffectSteps(int effect, DWORD h, DWORD w) {
  switch (EffectClass(effect)) {
    case 0: return 8;
    case 1: return h;
    case 2: return w;
    case 3: return (h + 1) / 2;
    case 4: return (w + 1) / 2;
    case 5: return (w + 7) / 16;
    case 6: return (h + w + 7) / 8;
    case 7: return (h + 1) & ~DWORD{1};
    case 8: return 24;
    case 9: return 7;
    case 10: return 16;
    case 11: return (h + w) / 2;
    case 12: return 255;
    default: return 0;
  }
}

int EffectDivisor(int effect, WORD divider) {
  const bool divisible = (effect >= 7 && effect <= 30) || effect > 49;
  return divisible && (divider == 2 || divider == 4 || divider == 8) ? divider : 1;
}

}  // namespace n4

std::string CN4GphFrame::Describe(const tag_N4_GRP_HDR& hdr) {
  const int entry = hdr.lEntryEffect;
  const int exit = hdr.lExitEffect;
  std::string text = n4::EffectText(n4::EntryEffectName(entry), entry);
  if (n4::EffectClass(entry) >= 0) text += n4::Format(" @%d", static_cast<int>(hdr.lEntryRate));

  text += ", ";
  const double seconds = hdr.lHoldTime / 120.0;
  const bool moving = hdr.lHoldEffect >= 31 && hdr.lHoldEffect <= 38;
  text += n4::HoldEffectName(hdr.lHoldEffect);
  if (moving) {
    text += n4::Format(" @%d", static_cast<int>(hdr.lHoldEffectRate));
    if (hdr.lHoldTime > 0) text += n4::Format(" for %-06.2f", seconds);
  } else if (hdr.lHoldTime >= 120) {
    text += n4::Format(" for %-06.2f", seconds);
  } else if (hdr.lHoldTime > 0) {
    text += n4::Format(" for 1/%2.0f", 120.0 / hdr.lHoldTime);
  }

  text += ", ";
  text += n4::EffectText(n4::ExitEffectName(exit), exit);
  if (n4::EffectClass(exit) >= 0) text += n4::Format(" @%d", static_cast<int>(hdr.lExitRate));
  return text;
}
