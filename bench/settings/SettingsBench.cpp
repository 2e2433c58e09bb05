// Showing a full page: its configuration and all 100 cells, beside one plain
// read and parse of the same file, measured in the same run.
//
// "cold" starts each iteration with the file out of the cache, as when a page
// is first shown; "warm" is showing it again, each read checking only that
// the file did not change. Goal: cold within 3 times the plain parse.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "RatioReporter.h"
#include "n4file/Settings.h"
#include "platform/Env.h"
#include "profile/ProfileCache.h"
#include "profile/ProfileText.h"

namespace {

namespace fs = std::filesystem;

struct PageFile {
  fs::path dir;
  std::string path;
  PageFile() {
    dir = fs::temp_directory_path() / "n4file-settings-bench";
    fs::create_directories(dir);
    path = (dir / "Full.dcp").string();
    std::string text =
        "[CONFIGURATION]\r\nSERVICE=SignService\r\nSIGN=Main Board\r\nGRIDROWS=20\r\nGRIDCOLS=5\r\n"
        "PAGETYPE=Quick Display\r\nINTERFACENAME=\r\nREQUESTPORT=-1\r\nUSEQUEUEDSTATUS=0\r\n"
        "SIGNROWS=96\r\nSIGNCOLS=512\r\nSIGNPIXEL=2\r\nSIGNCOLOR=11\r\n";
    for (int c = 1; c <= 100; ++c) {
      const std::string n = std::to_string(c);
      text += "\r\n[CELL" + n + "]\r\nTYPE=Sequence\r\nNAME=Message " + n + "\r\nCATEGORY=Scores\r\n" +
              "PATH=D:\\N4000\\Signs\\96x512.L.RGB16M\\Home.Lib\\Message" + n + ".SQ4\r\nMODE=Loop\r\n" +
              "NUMTIMES=" + n + "\r\nWINDOWNUMBER=0\r\nROW=" + std::to_string(c / 5) + "\r\nCOL=" +
              std::to_string(c % 5) + "\r\n";
    }
    n4::SysError err;
    if (!n4::Env::Default()->WriteFileAtomic(path, text, &err)) std::abort();
  }
  ~PageFile() {
    std::error_code ec;
    fs::remove_all(dir, ec);
  }
};

PageFile& ThePage() {
  static PageFile page;
  return page;
}

void ShowPage(CN4FileDCPage& page) {
  page.ReadPageData();
  for (int c = 0; c < CN4FileDCPage::kNumCells; ++c) {
    if (!page.ReadCell(c)) std::abort();
    benchmark::DoNotOptimize(page.GetCell());
  }
}

void BM_PlainParse(benchmark::State& state) {
  const std::string& path = ThePage().path;
  for (auto _ : state) {
    std::string bytes;
    if (!n4::Env::Default()->ReadWholeFile(path, &bytes, nullptr)) std::abort();
    n4::ProfileText text(std::move(bytes));
    benchmark::DoNotOptimize(text.lines().data());
  }
}

void BM_ShowPageCold(benchmark::State& state) {
  CN4FileDCPage page("Full");
  page.SetPathName(ThePage().path);
  for (auto _ : state) {
    n4::ProfileCache::Instance().Forget(page.GetPathName());
    ShowPage(page);
  }
  if (page.GetCellName() != "Message 100") state.SkipWithError("wrong cell read");
}

void BM_ShowPageWarm(benchmark::State& state) {
  CN4FileDCPage page("Full");
  page.SetPathName(ThePage().path);
  for (auto _ : state) ShowPage(page);
}

BENCHMARK(BM_PlainParse);
BENCHMARK(BM_ShowPageCold);
BENCHMARK(BM_ShowPageWarm);

}  // namespace

int main(int argc, char** argv) {
  return n4bench::RunWithRatios(argc, argv,
                                {{"BM_ShowPageCold", "BM_PlainParse", "<= 3", 3.0},
                                 {"BM_ShowPageWarm", "BM_PlainParse", "", 0}});
}
