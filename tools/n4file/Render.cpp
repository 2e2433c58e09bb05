// n4file render: frames as the sign shows them, one or all on a contact sheet.
#include <algorithm>
#include <cmath>

#include <n4file/SequenceFile.h>

#include "Commands.h"
#include "Sequence.h"

namespace n4tool {
namespace {

struct Options {
  std::string sequence;
  std::string out;
  int frame = 0;
  bool sheet = false;
  int scale = 8;
};

// An unlit bulb still shows faintly, as on a real sign; the gaps between
// bulbs are darker still.
constexpr BYTE kUnlit[3] = {26, 26, 30};
constexpr BYTE kLabel[3] = {230, 230, 230};
constexpr BYTE kCommandLabel[3] = {120, 200, 255};

// Each bulb a round lamp of `scale` pixels with a dark gap; scale 1 is one
// pixel per bulb, the exact picture of the frame.
void PaintBulbs(const Picture& bulbs, int scale, Picture& out, int left, int top) {
  const int gap = scale >= 3 ? std::max(1, scale / 5) : 0;
  const double radius = (scale - gap) / 2.0;
  for (DWORD y = 0; y < bulbs.height; ++y) {
    for (DWORD x = 0; x < bulbs.width; ++x) {
      const BYTE* lit = &bulbs.rgb[(static_cast<size_t>(y) * bulbs.width + x) * 3];
      const BYTE* colour = (scale > 1 && lit[0] == 0 && lit[1] == 0 && lit[2] == 0) ? kUnlit : lit;
      for (int dy = 0; dy < scale; ++dy) {
        for (int dx = 0; dx < scale; ++dx) {
          if (scale >= 3) {
            const double cx = dx + 0.5 - radius - gap / 2.0, cy = dy + 0.5 - radius - gap / 2.0;
            if (cx * cx + cy * cy > radius * radius) continue;
          }
          const size_t px = static_cast<size_t>(left) + x * scale + dx, py = static_cast<size_t>(top) + y * scale + dy;
          std::copy(colour, colour + 3, &out.rgb[(py * out.width + px) * 3]);
        }
      }
    }
  }
}

Picture Blank(DWORD width, DWORD height) {
  Picture p;
  p.width = width;
  p.height = height;
  p.rgb.assign(static_cast<size_t>(width) * height * 3, 0);
  return p;
}

int RenderOne(CN4SequenceFile& file, const Options& o) {
  auto* frame = n4::KindOf<CN4GphFrame>(file.Frame(o.frame));
  if (o.frame < 1 || o.frame > file.FrameCount() || !frame) {
    return Fail(o.sequence, "frame " + std::to_string(o.frame) + " is not a graphic frame (the sequence has " +
                                std::to_string(file.FrameCount()) + " frames)");
  }
  const Picture bulbs = FramePicture(file, frame);
  if (bulbs.rgb.empty()) return Fail(o.sequence, "damaged sequence: the pixels of frame " + std::to_string(o.frame) + " do not decode");
  Picture out = Blank(bulbs.width * o.scale, bulbs.height * o.scale);
  PaintBulbs(bulbs, o.scale, out, 0, 0);
  std::string cause;
  if (!WritePng(o.out, out, cause)) return Fail(o.out, cause);
  return kExitOk;
}

// Label lines of a frame: its number and kind, then its effects or commands.
std::vector<std::string> Label(int n, CN4Frame* frame) {
  std::vector<std::string> lines = {"#" + std::to_string(n) + " " + FrameKind(frame)};
  if (auto* g = n4::KindOf<CN4GphFrame>(frame)) {
    std::string text = CN4GphFrame::Describe(*g->GphHdr());
    for (size_t start = 0;;) {
      const size_t comma = text.find(", ", start);
      std::string part = text.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
      while (!part.empty() && part.back() == ' ') part.pop_back();
      lines.push_back(part);
      if (comma == std::string::npos) break;
      start = comma + 2;
    }
  } else if (auto* c = n4::KindOf<CN4CmdFrame>(frame)) {
    for (int k = 0; k < c->GetCommandCount() && k < 3; ++k) lines.push_back(c->GetPtrToCommandString(k));
  }
  return lines;
}

int RenderSheet(CN4SequenceFile& file, const Options& o) {
  const tag_N4_SOS_FRM& sos = *file.SosData();
  std::vector<int> shown;  // every frame but the end marker
  for (int i = 1; i <= file.FrameCount(); ++i) {
    if (!n4::KindOf<CN4EosFrame>(file.Frame(i))) shown.push_back(i);
  }
  if (shown.empty()) return Fail(o.sequence, "the sequence has no frames to show");
  const int textScale = o.scale >= 4 ? 2 : 1;
  const int lineHeight = 9 * textScale, margin = 12;
  const int tileW = std::max<int>(sos.wWidth * o.scale, TextWidth("#0000 graphic", textScale));
  const int tileH = sos.wHeight * o.scale + 4 * lineHeight + 6;
  const int columns = std::max(1, std::min<int>(static_cast<int>(shown.size()), 1600 / (tileW + margin)));
  const int rows = (static_cast<int>(shown.size()) + columns - 1) / columns;
  Picture sheet = Blank(static_cast<DWORD>(margin + columns * (tileW + margin)),
                        static_cast<DWORD>(margin + rows * (tileH + margin)));
  std::fill(sheet.rgb.begin(), sheet.rgb.end(), BYTE{12});
  Progress progress("rendering", shown.size());
  for (size_t k = 0; k < shown.size(); ++k) {
    const int left = margin + static_cast<int>(k % columns) * (tileW + margin);
    const int top = margin + static_cast<int>(k / columns) * (tileH + margin);
    CN4Frame* frame = file.Frame(shown[k]);
    Picture bulbs;
    if (auto* g = n4::KindOf<CN4GphFrame>(frame)) {
      bulbs = FramePicture(file, g);
      if (bulbs.rgb.empty()) {
        return Fail(o.sequence, "damaged sequence: the pixels of frame " + std::to_string(shown[k]) + " do not decode");
      }
    } else {
      bulbs = Blank(sos.wWidth, sos.wHeight);  // a frame without a picture shows an unlit sign
    }
    PaintBulbs(bulbs, o.scale, sheet, left, top);
    const std::vector<std::string> lines = Label(shown[k], frame);
    for (size_t l = 0; l < lines.size() && l < 4; ++l) {
      const BYTE* colour = n4::KindOf<CN4GphFrame>(frame) ? kLabel : kCommandLabel;
      DrawText(sheet, left, top + sos.wHeight * o.scale + 6 + static_cast<int>(l) * lineHeight, lines[l], textScale,
               colour);
    }
    progress.Step();
  }
  std::string cause;
  if (!WritePng(o.out, sheet, cause)) return Fail(o.out, cause);
  return kExitOk;
}

int Run(const Options& o) {
  if (o.sheet == (o.frame != 0)) UsageError("give either --frame N or --sheet");
  if (o.scale < 1 || o.scale > 64) UsageError("--scale must be 1 to 64");
  CN4SequenceFile file;
  std::string cause;
  if (!OpenSequence(file, o.sequence, OpenReadOnly, cause)) return Fail(o.sequence, cause);
  const tag_N4_SOS_FRM& sos = *file.SosData();
  if (static_cast<std::uint64_t>(sos.wWidth) * o.scale * sos.wHeight * o.scale > (1u << 28)) {
    UsageError("the picture would be too large; use a smaller --scale");
  }
  return o.sheet ? RenderSheet(file, o) : RenderOne(file, o);
}

}  // namespace

void AddRenderCommand(CLI::App& app) {
  auto o = std::make_shared<Options>();
  auto* cmd = app.add_subcommand("render", "Write frames as the sign shows them, as PNG");
  cmd->add_option("SEQ", o->sequence, "The sequence file")->required();
  cmd->add_option("-o,--output", o->out, "The PNG file to write")->required();
  cmd->add_option("--frame", o->frame, "The graphic frame to render (1 is the first)");
  cmd->add_flag("--sheet", o->sheet, "Every frame on one contact sheet, labelled with number and effects");
  cmd->add_option("--scale", o->scale, "Pixels per bulb; 1 writes one pixel per bulb, no gap")->capture_default_str();
  cmd->footer("Example:\n  n4file render show.SQ4 --frame 1 -o frame1.png\n  n4file render show.SQ4 --sheet -o sheet.png");
  cmd->callback([o] { SetExitStatus(Run(*o)); });
}

}  // namespace n4tool
