// n4file create: a sequence with one graphic frame per picture.
#include <cmath>
#include <filesystem>

#include <n4file/BulbPicture.h>
#include <n4file/SequenceFile.h>

#include "Commands.h"
#include "Sequence.h"

namespace n4tool {
namespace {

struct Options {
  std::string out;
  std::string size;
  std::string color;
  std::string pixel;
  std::string entry = "Change";
  std::string exit = "Stay";
  double hold = 2.0;
  int compress = -1;  // the library's best lossless level
  bool fit = false;
  std::string comment, keywords, copyright, created;
  std::vector<std::string> images;
};

struct Sign {
  WORD rows = 0;
  WORD cols = 0;
  DWORD color = 0;
  tag_N4_PIXEL_TECH pixel = PixelTechI;
};

Sign ParseSign(const Options& o) {
  Sign sign;
  unsigned rows = 0, cols = 0;
  char x = 0, extra = 0;
  if (std::sscanf(o.size.c_str(), "%u%c%u%c", &rows, &x, &cols, &extra) != 3 || (x != 'x' && x != 'X') ||
      rows == 0 || cols == 0 || rows > 0xFFFF || cols > 0xFFFF) {
    UsageError("--size must be ROWSxCOLS, for example 16x48, got \"" + o.size + "\"");
  }
  sign.rows = static_cast<WORD>(rows);
  sign.cols = static_cast<WORD>(cols);
  const auto color = ColorByName(o.color);
  if (!color) UsageError("unknown colour technology \"" + o.color + "\"; one of " + ColorNames());
  sign.color = *color;
  if (n4::FrameSize(rows, cols, sign.color) > n4::kLargestFrameSize) UsageError("the sign " + o.size + " is too large");
  // Without --pixel, the first pixel technology the colour allows.
  std::vector<std::string> valid;
  for (int p = PixelTechI; p <= PixelTechL; ++p) {
    if (CN4Files::IsColorAndPixelTechValid(static_cast<tag_N4_SIGN_COLOR>(sign.color), static_cast<tag_N4_PIXEL_TECH>(p)))
      valid.push_back(n4::kPixelTechLetters[p]);
  }
  if (o.pixel.empty()) {
    CN4Files names;
    sign.pixel = names.StringToPixelTech(valid.front());
    return sign;
  }
  const std::string letter = Lowercase(o.pixel);
  if (letter != "i" && letter != "r" && letter != "l") UsageError("--pixel must be I, R or L, got \"" + o.pixel + "\"");
  CN4Files names;
  sign.pixel = names.StringToPixelTech(letter);
  if (!CN4Files::IsColorAndPixelTechValid(static_cast<tag_N4_SIGN_COLOR>(sign.color), sign.pixel)) {
    std::string list;
    for (const auto& v : valid) list += (list.empty() ? "" : ", ") + v;
    UsageError(ColorName(sign.color) + " signs cannot have pixel technology " + PixelName(sign.pixel) +
               "; valid: " + list);
  }
  return sign;
}

// Scales the picture into the sign's rows and columns, aspect kept, each
// bulb the average of the picture area it covers; the rest stays dark.
Picture Fit(const Picture& in, DWORD rows, DWORD cols) {
  Picture out;
  out.width = cols;
  out.height = rows;
  out.rgb.assign(static_cast<size_t>(rows) * cols * 3, 0);
  const double scale = std::min(static_cast<double>(cols) / in.width, static_cast<double>(rows) / in.height);
  const DWORD w = std::max<DWORD>(1, static_cast<DWORD>(std::lround(in.width * scale)));
  const DWORD h = std::max<DWORD>(1, static_cast<DWORD>(std::lround(in.height * scale)));
  const DWORD left = (cols - std::min(w, cols)) / 2, top = (rows - std::min(h, rows)) / 2;
  for (DWORD y = 0; y < h && y < rows; ++y) {
    const DWORD y0 = y * in.height / h, y1 = std::max(y0 + 1, (y + 1) * in.height / h);
    for (DWORD x = 0; x < w && x < cols; ++x) {
      const DWORD x0 = x * in.width / w, x1 = std::max(x0 + 1, (x + 1) * in.width / w);
      unsigned long sum[3] = {0, 0, 0};
      for (DWORD sy = y0; sy < y1; ++sy)
        for (DWORD sx = x0; sx < x1; ++sx)
          for (int c = 0; c < 3; ++c) sum[c] += in.rgb[(static_cast<size_t>(sy) * in.width + sx) * 3 + c];
      const unsigned long n = static_cast<unsigned long>(y1 - y0) * (x1 - x0);
      BYTE* p = &out.rgb[(static_cast<size_t>(top + y) * cols + left + x) * 3];
      for (int c = 0; c < 3; ++c) p[c] = static_cast<BYTE>((sum[c] + n / 2) / n);
    }
  }
  return out;
}

int Run(const Options& o) {
  const Sign sign = ParseSign(o);
  const auto entry = EffectByName(o.entry, false);
  if (!entry) UsageError("unknown entry effect \"" + o.entry + "\"");
  const auto exit = EffectByName(o.exit, true);
  if (!exit) UsageError("unknown exit effect \"" + o.exit + "\"");
  if (!(o.hold >= 0 && o.hold <= 3600)) UsageError("--hold must be 0 to 3600 seconds");
  if (o.compress < -1) UsageError("--compress must be 0 or more");
  if (o.images.size() + 1 >= static_cast<size_t>(n4::kMaxFrames)) UsageError("too many pictures for one sequence");

  // Every picture is read and checked before anything is written.
  std::vector<Picture> pictures(o.images.size());
  for (size_t i = 0; i < o.images.size(); ++i) {
    std::string cause;
    if (!ReadPng(o.images[i], pictures[i], cause)) return Fail(o.images[i], cause);
    if (pictures[i].width == sign.cols && pictures[i].height == sign.rows) continue;
    if (!o.fit) {
      return Fail(o.images[i], "the picture is " + std::to_string(pictures[i].height) + "x" +
                                   std::to_string(pictures[i].width) + " (rows x columns) but the sign is " +
                                   std::to_string(sign.rows) + "x" + std::to_string(sign.cols) +
                                   "; use --fit to scale it");
    }
    pictures[i] = Fit(pictures[i], sign.rows, sign.cols);
  }

  // The library writes the working copy to a temporary file and replaces OUT
  // only when the whole sequence is saved; a failure leaves OUT as it was.
  CN4SequenceFile file;
  if (!file.OpenCreate(o.out.c_str(), sign.rows, sign.cols, static_cast<tag_N4_SIGN_COLOR>(sign.color), sign.pixel)) {
    return Fail(o.out, std::string("cannot create: ") + file.GetPtrToErrorString());
  }
  if (!o.comment.empty()) file.SetCommentsString(o.comment.c_str());
  if (!o.keywords.empty()) file.SetKeywordsString(o.keywords.c_str());
  if (!o.copyright.empty()) file.SetCopyrightString(o.copyright.c_str());
  if (!o.created.empty()) file.SetCreationDateString(o.created.c_str());
  Progress progress("creating", pictures.size());
  for (const Picture& picture : pictures) {
    const int n = file.AddFrame(n4::kFourccGrp, 9999);
    auto* frame = n > 0 ? n4::KindOf<CN4GphFrame>(file.Frame(n)) : nullptr;
    const std::vector<BYTE> pixels = n4::PictureToBulbData(picture.rgb.data(), sign.rows, sign.cols, sign.color);
    if (!frame || pixels.size() != frame->GetBulbObj()->GetSize()) {
      return Fail(o.out, std::string("cannot add a frame: ") + file.GetPtrToErrorString());
    }
    std::copy(pixels.begin(), pixels.end(), frame->BulbData());
    tag_N4_GRP_HDR* hdr = frame->GphHdr();
    hdr->lEntryEffect = *entry;
    hdr->lExitEffect = *exit;
    hdr->lHoldTime = static_cast<LONG>(std::lround(o.hold * 120));
    progress.Step();
  }
  file.RiffHdr()->dwCompression = o.compress < 0 ? n4::BestLosslessLevel(sign.color) : static_cast<DWORD>(o.compress);
  // Compressing (the video codec above all) can take far longer than
  // adding the frames did.
  Progress saving("saving", 1);
  file.SetProgressHandler(saving.Handler());
  if (!file.Update()) return Fail(o.out, std::string("cannot save: ") + file.GetPtrToErrorString());
  file.Close();
  return kExitOk;
}

}  // namespace

void AddCreateCommand(CLI::App& app) {
  auto o = std::make_shared<Options>();
  auto* cmd = app.add_subcommand("create", "Build a sequence with one graphic frame per PNG picture");
  cmd->add_option("-o,--output", o->out, "The sequence file to write")->required();
  cmd->add_option("--size", o->size, "The sign: ROWSxCOLS bulbs")->required();
  cmd->add_option("--color", o->color, "Colour technology: " + ColorNames() + " (any case)")->required();
  cmd->add_option("--pixel", o->pixel, "Pixel technology I, R or L (default: the first the colour allows)");
  cmd->add_option("--entry", o->entry, "Entry effect, by name or number")->capture_default_str();
  cmd->add_option("--hold", o->hold, "Hold time in seconds")->capture_default_str();
  cmd->add_option("--exit", o->exit, "Exit effect, by name or number")->capture_default_str();
  cmd->add_option("--compress", o->compress,
                  "File compression level (0 none, 1 or 10 run-length, 30 best; default: best lossless)");
  cmd->add_flag("--fit", o->fit, "Scale pictures of another size to the sign (aspect kept, dark borders)");
  cmd->add_option("--comment", o->comment, "INFO comments");
  cmd->add_option("--keywords", o->keywords, "INFO keywords");
  cmd->add_option("--copyright", o->copyright, "INFO copyright");
  cmd->add_option("--created", o->created, "INFO creation date (default: today)");
  cmd->add_option("IMAGE", o->images, "PNG pictures, one frame each, in order")->required();
  cmd->footer(
      "Example:\n  n4file create -o show.SQ4 --size 16x48 --color RGB4K --entry \"wand left\" --hold 3 a.png b.png");
  cmd->callback([o] { SetExitStatus(Run(*o)); });
}

}  // namespace n4tool
