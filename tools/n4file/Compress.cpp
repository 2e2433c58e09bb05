// n4file compress: save a sequence again at another file compression level.
#include <n4file/SequenceFile.h>

#include "Commands.h"
#include "RiffKind.h"
#include "Sequence.h"

namespace n4tool {
namespace {

struct Options {
  std::string sequence;
  std::string out;
  int level = 0;
};

struct Stored {
  DWORD method;
  DWORD bytes;
};

// The stored method and size of every graphic frame, by frame number.
bool Survey(const std::string& path, std::vector<std::pair<int, Stored>>& frames, std::string& cause) {
  CN4SequenceFile file;
  if (!OpenSequence(file, path, OpenReadOnly, cause)) return false;
  frames.clear();
  for (int i = 1; i <= file.FrameCount(); ++i) {
    CN4Frame* frame = file.Frame(i);
    if (!frame) {
      cause = "damaged sequence: frame " + std::to_string(i) + " cannot be read";
      return false;
    }
    if (auto* g = n4::KindOf<CN4GphFrame>(frame)) {
      if (n4::GraphicFramePixels(g).empty()) {
        cause = "damaged sequence: the pixels of frame " + std::to_string(i) + " do not decode";
        return false;
      }
      frames.push_back({i, {g->GphHdr()->dwCompressMethod, g->GetBulbObj()->GetSize()}});
    }
  }
  return true;
}

int Run(const Options& o) {
  if (o.level < 0) UsageError("--level must be 0 or more");
  const std::string target = o.out.empty() ? o.sequence : o.out;
  std::vector<std::pair<int, Stored>> before, after;
  std::string cause;
  if (!Survey(o.sequence, before, cause)) return Fail(o.sequence, cause);
  {
    CN4SequenceFile file;
    Progress opening("expanding", 1), saving("saving", 1);
    file.SetProgressHandler(opening.Handler());
    if (!OpenSequence(file, o.sequence, OpenModify, cause)) return Fail(o.sequence, cause);
    file.SetProgressHandler(saving.Handler());
    file.RiffHdr()->dwCompression = static_cast<DWORD>(o.level);
    if (!o.out.empty() && !file.SetOriginalPath(o.out)) return Fail(o.out, "cannot be written");
    if (!file.Update()) return Fail(target, std::string("cannot save: ") + file.GetPtrToErrorString());
  }
  if (!Survey(target, after, cause)) return Fail(target, cause);
  std::printf("%s: file compression level %d\n", target.c_str(), o.level);
  std::uint64_t totalBefore = 0, totalAfter = 0;
  for (size_t k = 0; k < before.size() && k < after.size(); ++k) {
    const Stored& b = before[k].second;
    const Stored& a = after[k].second;
    totalBefore += b.bytes;
    totalAfter += a.bytes;
    std::printf("  frame %d: %s, %u bytes -> %s, %u bytes\n", before[k].first, MethodName(b.method),
                static_cast<unsigned>(b.bytes), MethodName(a.method), static_cast<unsigned>(a.bytes));
  }
  std::printf("  pixels: %llu bytes -> %llu bytes\n", static_cast<unsigned long long>(totalBefore),
              static_cast<unsigned long long>(totalAfter));
  return kExitOk;
}

}  // namespace

void AddCompressCommand(CLI::App& app) {
  auto o = std::make_shared<Options>();
  auto* cmd = app.add_subcommand("compress", "Save a sequence again at another file compression level");
  cmd->add_option("SEQ", o->sequence, "The sequence file")->required();
  cmd->add_option("--level", o->level,
                  "0 none; 1 or 10 run-length; 30 best (bit packing; Cinepak, lossy, for RGB32KB/RGB16MB)")
      ->required();
  cmd->add_option("-o,--output", o->out, "Write here instead of replacing SEQ");
  cmd->footer("Example:\n  n4file compress show.SQ4 --level 30 -o small.SQ4");
  cmd->callback([o] { SetExitStatus(Run(*o)); });
}

}  // namespace n4tool
