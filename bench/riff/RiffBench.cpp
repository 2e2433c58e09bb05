// Editing and saving a large RIFF file, beside a plain copy of the same file.
//
// The file holds 256 MiB in 4096 chunks of 64 KiB. "OpenModify+Update" opens
// it for editing (a copy into the working file) and saves it (a compacted copy,
// then an atomic replacement of the original); the reference is a plain copy
// of the file, measured in the same run. Goals: at most 2.5 times the copy's
// CPU time, and at most twice a copy synced to the disk in wall time.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "RatioReporter.h"
#include "n4file/RiffFile.h"
#include "platform/Env.h"

namespace {

namespace fs = std::filesystem;

constexpr DWORD kForm = n4::MakeFourCC("bnch");
constexpr DWORD kBlob = n4::MakeFourCC("blob");
constexpr DWORD kChunkBody = 64 * 1024 - 8;
constexpr int kChunks = 4096;

class CBenchBlob : public CN4RiffChunk {
  N4_DECLARE_DYNCREATE(CBenchBlob)
 public:
  void* AppendToFile(CN4RiffFile* file) override { return CN4RiffChunk::AppendToFile(file, kBlob, kChunkBody, 0); }
  // CopyEx is the plain copy: the file may move the stored bytes itself.
  int IsCopyVerbatim(int, int) const override { return StartOfChunkPtr() != nullptr; }
};
N4_IMPLEMENT_DYNCREATE(CBenchBlob)

class CBenchFile : public CN4RiffFile {
 public:
  const CRuntimeClass* IDToRtClass(DWORD id) override {
    if (const CRuntimeClass* base = CN4RiffFile::IDToRtClass(id)) return base;
    return id == kBlob ? RUNTIME_CLASS(CBenchBlob) : nullptr;
  }
  void SetMappingPageSize() override { m_dwMappingPageSize = 16 * 1024 * 1024; }
};

struct Files {
  fs::path dir;
  std::string original;
  std::string copy;
  Files() {
    dir = fs::temp_directory_path() / "n4file-riff-bench";
    fs::create_directories(dir);
    original = (dir / "big.bnch").string();
    copy = (dir / "copy.bnch").string();
    CBenchFile f;
    if (!f.Open(original.c_str(), OpenCreate, kForm)) std::abort();
    for (int i = 0; i < kChunks; ++i) {
      int index = f.AddObject(kBlob, -1);
      if (index < 0) std::abort();
      auto* data = static_cast<unsigned char*>(f.GetObject(index)->Data());
      for (DWORD b = 0; b < kChunkBody; b += 512) data[b] = static_cast<unsigned char>(i + b);
    }
    if (!f.Update()) std::abort();
  }
  ~Files() {
    std::error_code ec;
    fs::remove_all(dir, ec);
  }
};

Files& TheFiles() {
  static Files files;
  return files;
}

void BM_PlainCopy(benchmark::State& state) {
  Files& files = TheFiles();
  for (auto _ : state) {
    fs::copy_file(files.original, files.copy, fs::copy_options::overwrite_existing);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(fs::file_size(files.original)));
}

void BM_PlainCopySynced(benchmark::State& state) {
  Files& files = TheFiles();
  for (auto _ : state) {
    fs::copy_file(files.original, files.copy, fs::copy_options::overwrite_existing);
    n4::SysError err;
    auto handle = n4::Env::Default()->OpenFile(files.copy, n4::FileAccess::ReadWrite, n4::FileShare::None,
                                               n4::FileDisposition::OpenExisting, &err);
    if (!handle || !handle->Sync(&err)) state.SkipWithError("sync failed");
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(fs::file_size(files.original)));
}

void BM_OpenModifyUpdate(benchmark::State& state) {
  Files& files = TheFiles();
  for (auto _ : state) {
    CBenchFile f;
    if (!f.Open(files.original.c_str(), OpenModify, kForm) || !f.Update()) {
      state.SkipWithError(f.GetPtrToErrorString());
      break;
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(fs::file_size(files.original)));
}

// The two halves alone, for comparing changes to one of them: the copy made
// at opening (and the close that deletes it), and the save.
void BM_OpenModify(benchmark::State& state) {
  Files& files = TheFiles();
  for (auto _ : state) {
    CBenchFile f;
    if (!f.Open(files.original.c_str(), OpenModify, kForm)) {
      state.SkipWithError(f.GetPtrToErrorString());
      break;
    }
  }
}

void BM_Update(benchmark::State& state) {
  Files& files = TheFiles();
  for (auto _ : state) {
    state.PauseTiming();
    {
      CBenchFile f;
      if (!f.Open(files.original.c_str(), OpenModify, kForm)) {
        state.SkipWithError(f.GetPtrToErrorString());
        break;
      }
      state.ResumeTiming();
      if (!f.Update()) state.SkipWithError(f.GetPtrToErrorString());
      state.PauseTiming();
    }
    state.ResumeTiming();
  }
}

BENCHMARK(BM_PlainCopy)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime()->Iterations(4);
BENCHMARK(BM_PlainCopySynced)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime()->Iterations(4);
BENCHMARK(BM_OpenModifyUpdate)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime()->Iterations(4);
BENCHMARK(BM_OpenModify)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime()->Iterations(4);
BENCHMARK(BM_Update)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime()->Iterations(4);

}  // namespace

int main(int argc, char** argv) {
  const char* kOpenSave = "BM_OpenModifyUpdate/iterations:4/process_time/real_time";
  const char* kCopy = "BM_PlainCopy/iterations:4/process_time/real_time";
  const char* kCopySynced = "BM_PlainCopySynced/iterations:4/process_time/real_time";
  return n4bench::RunWithRatios(
      argc, argv,
      {{kOpenSave, kCopy, "cpu <= 2.5", 2.5, true, true},
       {kOpenSave, kCopySynced, "wall <= 2 (both synced)", 2},
       {"BM_OpenModify/iterations:4/process_time/real_time", kCopy, "(the copy for editing, and its close)", 0},
       {"BM_Update/iterations:4/process_time/real_time", kCopySynced, "(the save)", 0}});
}
