// Creating, saving and reading whole sequences, beside plain file operations
// on the same saved bytes measured in the same run.
//
//   A: 5000 frames of a 96 x 32 "Mono1" sign (text-and-graphics pixels)
//   B: 500 frames of a 256 x 128 "RGB16MB" sign (a colour picture)
//
//   C: 100 frames of a 1024 x 512 "RGB16MB" sign through the video codec
//
// Goals: an uncompressed save within 3x the CPU time of a plain copy of the
// saved file; reading every frame of A read-only within 1.5x reading the
// file's bytes; a compressed save of B at least 1.7x faster with two workers
// than with one; the video show C saved in under 15 s.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "RatioReporter.h"
#include "n4file/SequenceFile.h"
#include "platform/Env.h"

namespace {

namespace fs = std::filesystem;

struct Shape {
  const char* name;
  WORD height;
  WORD width;
  tag_N4_SIGN_COLOR color;
  int frames;
};

const Shape kA{"A", 32, 96, Mono1, 4999};   // with the end frame: 5000 frames
const Shape kB{"B", 128, 256, RGB16MB, 499};
const Shape kC{"C", 512, 1024, RGB16MB, 99};

std::string Dir() {
  static const std::string dir = [] {
    fs::path p = fs::temp_directory_path() / "n4file-sequence-bench";
    fs::create_directories(p);
    return p.string();
  }();
  return dir;
}

std::string PathOf(const Shape& s, const char* what) { return Dir() + "/" + s.name + "-" + what + ".sq4"; }

// Sign-like pixels: text lines on a dark background for planar signs, a
// gradient with flat panels for colour signs.
void FillFrame(BYTE* p, DWORD size, const Shape& s, int frame) {
  if (s.color == RGB16MB) {
    const DWORD row = (s.width * 3 + 3) & ~3u;
    for (DWORD y = 0; y < s.height; ++y) {
      for (DWORD x = 0; x < s.width; ++x) {
        BYTE* px = p + y * row + x * 3;
        const bool panel = (x / 32 + y / 16 + frame) % 3 == 0;
        px[0] = panel ? 200 : static_cast<BYTE>(y * 2);
        px[1] = panel ? 40 : static_cast<BYTE>(x);
        px[2] = panel ? 40 : static_cast<BYTE>(frame);
      }
    }
    return;
  }
  std::memset(p, 0, size);
  for (DWORD i = 0; i < size; ++i) {
    const DWORD line = (i / 12) % 8;
    if (line >= 2 && line <= 5 && ((i * 2654435761u + static_cast<DWORD>(frame)) >> 29) < 3) {
      p[i] = static_cast<BYTE>(0x3C ^ (i * 7 + static_cast<DWORD>(frame)));
    }
  }
}

// Builds a working sequence with every frame filled.
void Build(CN4SequenceFile& f, const Shape& s, const std::string& path, DWORD compression) {
  if (!f.OpenCreate(path.c_str(), s.height, s.width, s.color, s.color == RGB16MB ? PixelTechL : PixelTechI)) {
    std::abort();
  }
  f.RiffHdr()->dwCompression = compression;
  for (int i = 0; i < s.frames; ++i) {
    const int n = f.AddFrame(n4::kFourccGrp, 9999);
    auto* g = dynamic_cast<CN4GphFrame*>(f.Frame(n));
    if (!g) std::abort();
    FillFrame(g->BulbData(), g->GetBulbObj()->GetSize(), s, i);
    g->GphHdr()->lHoldTime = 60;
  }
}

void BM_CreateAndSave(benchmark::State& state, const Shape* s, DWORD compression) {
  const std::string path = PathOf(*s, compression ? "compressed" : "plain");
  for (auto _ : state) {
    CN4SequenceFile f;
    Build(f, *s, path, compression);
    if (!f.Update()) state.SkipWithError(f.GetPtrToErrorString());
  }
}

void BM_Save(benchmark::State& state, const Shape* s, DWORD compression) {
  const std::string path = PathOf(*s, compression ? "compressed" : "plain");
  for (auto _ : state) {
    state.PauseTiming();
    {
      CN4SequenceFile f;
      Build(f, *s, path, compression);
      state.ResumeTiming();
      if (!f.Update()) state.SkipWithError(f.GetPtrToErrorString());
      state.PauseTiming();
    }
    state.ResumeTiming();
  }
}

// A compressed save with a given number of workers.
void BM_SaveThreads(benchmark::State& state, const Shape* s, DWORD compression) {
  // The worker count of a save, as a user sets it.
  n4::EnvWithVariables env(n4::Env::Default(), {{"N4FILE_THREADS", std::to_string(state.range(0))}});
  n4::ScopedEnv scoped(&env);
  BM_Save(state, s, compression);
}

void BM_PlainCopy(benchmark::State& state, const Shape* s, DWORD compression) {
  const std::string path = PathOf(*s, compression ? "compressed" : "plain");
  if (!fs::exists(path)) {
    CN4SequenceFile f;
    Build(f, *s, path, compression);
    f.Update();
  }
  const std::string copy = path + ".copy";
  for (auto _ : state) fs::copy_file(path, copy, fs::copy_options::overwrite_existing);
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(fs::file_size(path)));
}

// The same copy, synced to the disk as a save is.
void BM_PlainCopySynced(benchmark::State& state, const Shape* s, DWORD compression) {
  const std::string path = PathOf(*s, compression ? "compressed" : "plain");
  const std::string copy = path + ".copy";
  for (auto _ : state) {
    fs::copy_file(path, copy, fs::copy_options::overwrite_existing);
    n4::SysError err;
    auto handle = n4::Env::Default()->OpenFile(copy, n4::FileAccess::ReadWrite, n4::FileShare::None,
                                               n4::FileDisposition::OpenExisting, &err);
    if (!handle || !handle->Sync(&err)) state.SkipWithError("sync failed");
  }
}

// Reads every frame as a player does and folds its pixels into a checksum.
void BM_ReadFrames(benchmark::State& state, const Shape* s, DWORD compression) {
  const std::string path = PathOf(*s, compression ? "compressed" : "plain");
  std::vector<std::byte> scratch(8 + n4::FrameSize(s->height, s->width, s->color) + 64);
  for (auto _ : state) {
    CN4SequenceFile f;
    if (!f.Open(path.c_str(), OpenReadOnly)) {
      state.SkipWithError("open failed");
      break;
    }
    std::uint64_t sum = 0;
    const int count = f.FrameCount();
    for (int i = 1; i <= count; ++i) {
      auto* g = dynamic_cast<CN4GphFrame*>(f.Frame(i));
      if (!g) continue;
      const BYTE* pixels = g->BulbData();
      DWORD size = g->GetBulbObj()->GetSize();
      if (g->GphHdr()->dwCompressMethod != 0) {
        g->GetBulbObj()->SetCompressMethod(static_cast<int>(g->GphHdr()->dwCompressMethod));
        g->GetBulbObj()->CopyEx(scratch.data(), 0, 1);
        pixels = reinterpret_cast<const BYTE*>(scratch.data() + 8);
        size = static_cast<DWORD>(scratch.size() - 72);
      }
      for (DWORD b = 0; b < size; b += 8) sum += pixels[b];
    }
    benchmark::DoNotOptimize(sum);
  }
}

// Reads the file's bytes and folds them the same way.
void BM_ReadBytes(benchmark::State& state, const Shape* s, DWORD compression) {
  const std::string path = PathOf(*s, compression ? "compressed" : "plain");
  for (auto _ : state) {
    std::string data;
    n4::SysError err;
    if (!n4::Env::Default()->ReadWholeFile(path, &data, &err)) {
      state.SkipWithError("read failed");
      break;
    }
    std::uint64_t sum = 0;
    for (std::size_t b = 0; b < data.size(); b += 8) sum += static_cast<BYTE>(data[b]);
    benchmark::DoNotOptimize(sum);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(fs::file_size(path)));
}

#define N4_SEQ_BENCH(fn, shape, compression, iterations)                                            \
  BENCHMARK_CAPTURE(fn, shape##_##compression, &k##shape, compression)->Unit(benchmark::kMillisecond) \
      ->MeasureProcessCPUTime()->UseRealTime()->Iterations(iterations)

N4_SEQ_BENCH(BM_CreateAndSave, A, 0, 3);
N4_SEQ_BENCH(BM_Save, A, 0, 5);
N4_SEQ_BENCH(BM_PlainCopy, A, 0, 20);
N4_SEQ_BENCH(BM_PlainCopySynced, A, 0, 20);
N4_SEQ_BENCH(BM_Save, A, 1, 5);
N4_SEQ_BENCH(BM_PlainCopy, A, 1, 20);
N4_SEQ_BENCH(BM_ReadFrames, A, 0, 20);
N4_SEQ_BENCH(BM_ReadBytes, A, 0, 20);
N4_SEQ_BENCH(BM_ReadFrames, A, 1, 10);
N4_SEQ_BENCH(BM_CreateAndSave, B, 0, 2);
N4_SEQ_BENCH(BM_Save, B, 0, 3);
N4_SEQ_BENCH(BM_PlainCopy, B, 0, 10);
N4_SEQ_BENCH(BM_PlainCopySynced, B, 0, 10);
N4_SEQ_BENCH(BM_Save, B, 10, 3);
N4_SEQ_BENCH(BM_PlainCopy, B, 10, 10);
N4_SEQ_BENCH(BM_SaveThreads, B, 10, 3)->Arg(1)->Arg(2);
N4_SEQ_BENCH(BM_Save, C, 30, 1);
N4_SEQ_BENCH(BM_ReadFrames, B, 0, 10);
N4_SEQ_BENCH(BM_ReadBytes, B, 0, 10);

std::string Name(const char* fn, const char* arg, int iterations) {
  return std::string(fn) + "/" + arg + "/iterations:" + std::to_string(iterations) + "/process_time/real_time";
}

}  // namespace

int main(int argc, char** argv) {
  int rc = n4bench::RunWithRatios(
      argc, argv,
      {
          {Name("BM_Save", "A_0", 5), Name("BM_PlainCopy", "A_0", 20), "cpu <= 3 (A, uncompressed save)", 3, true,
           true},
          {Name("BM_Save", "A_0", 5), Name("BM_PlainCopySynced", "A_0", 20), "(A, both synced)", 0},
          {Name("BM_Save", "A_1", 5), Name("BM_PlainCopy", "A_1", 20), "(A, compressed save)", 0},
          {Name("BM_ReadFrames", "A_0", 20), Name("BM_ReadBytes", "A_0", 20), "<= 1.5 (A, read every frame)", 1.5},
          {Name("BM_ReadFrames", "A_1", 10), Name("BM_ReadBytes", "A_0", 20), "(A compressed, decoding)", 0},
          {Name("BM_Save", "B_0", 3), Name("BM_PlainCopy", "B_0", 10), "cpu <= 3 (B, uncompressed save)", 3, true,
           true},
          {Name("BM_Save", "B_0", 3), Name("BM_PlainCopySynced", "B_0", 10), "(B, both synced)", 0},
          {Name("BM_Save", "B_10", 3), Name("BM_PlainCopy", "B_10", 10), "(B, compressed save)", 0},
          {Name("BM_ReadFrames", "B_0", 10), Name("BM_ReadBytes", "B_0", 10), "(B, read every frame)", 0},
          {Name("BM_SaveThreads", "B_10/1", 3), Name("BM_SaveThreads", "B_10/2", 3),
           ">= 1.7 (B compressed, one worker / two)", 1.7, false},
          {Name("BM_Save", "C_30", 1), "", "< 15 s (C, 100 video frames)", 15},
      });
  std::error_code ec;
  fs::remove_all(Dir(), ec);
  return rc;
}
