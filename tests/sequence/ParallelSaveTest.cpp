// Saves that compress on several worker threads write the bytes one thread
// writes, and the ordered work under them stops cleanly at a failure.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

#include "SequenceTestSupport.h"
#include "support/TestSupport.h"
#include "util/OrderedWork.h"

namespace {

using n4test::Bytes;

std::string SaveWithThreads(const std::string& path, const char* threads, WORD height, WORD width,
                      tag_N4_SIGN_COLOR color, DWORD compression) {
  n4::EnvWithVariables env(n4::Env::Default(), {{"N4FILE_THREADS", threads}});
  n4::ScopedEnv scoped(&env);
  CN4SequenceFile f;
  EXPECT_TRUE(f.OpenCreate(path.c_str(), height, width, color, PixelTechL));
  f.RiffHdr()->dwCompression = compression;
  for (int i = 0; i < 24; ++i) {
    EXPECT_GT(n4test::AddGraphic(f, n4test::FrameContent(height, width, color, 7 * i + 1)), 0);
    if (i % 8 == 3) {
      auto* cmd = dynamic_cast<CN4CmdFrame*>(f.Frame(f.AddFrame(n4::kFourccCmd, 9999)));
      EXPECT_NE(cmd, nullptr);
      if (cmd) cmd->AddCommand("SYNC");
    }
  }
  EXPECT_EQ(f.Update(), 1) << f.GetPtrToErrorString();
  f.Close();
  return n4test::ReadFile(path);
}

TEST(ParallelSave, WorkersWriteTheBytesOneThreadWrites) {
  n4test::TempDir dir;
  struct Case {
    WORD height, width;
    tag_N4_SIGN_COLOR color;
    DWORD compression;
  };
  // Planar run-length and bit packing, direct-colour run-length, and the
  // video codec (stored raw when the library has none).
  const Case cases[] = {{32, 96, Mono1, 10}, {24, 64, Tri256, 30}, {24, 50, RGB32KB, 10},
                        {20, 37, RGB16MB, 10}, {64, 96, RGB16MB, 30}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.height << "x" << c.width << " color " << c.color << " level "
                                    << c.compression);
    const std::string path = dir.File("show.sq4");
    const std::string one = SaveWithThreads(path, "1", c.height, c.width, c.color, c.compression);
    for (const char* threads : {"2", "5"}) {
      EXPECT_EQ(SaveWithThreads(path, threads, c.height, c.width, c.color, c.compression), one)
          << threads << " workers";
    }
  }
}

TEST(ParallelSave, OrderedWorkConsumesInOrderAndStopsAtAFailure) {
  for (unsigned threads : {1u, 2u, 4u}) {
    for (std::size_t failAt : {std::size_t{1000}, std::size_t{0}, std::size_t{37}}) {
      SCOPED_TRACE(testing::Message() << threads << " threads, failing at " << failAt);
      std::vector<std::size_t> seen;
      std::atomic<std::size_t> produced{0};
      n4::OrderedJob job;
      job.count = 200;
      job.produce = [&](std::size_t i, std::vector<std::byte>& out) {
        ++produced;
        out.assign(i % 13 + 1, static_cast<std::byte>(i));
        return i != failAt;
      };
      job.consume = [&](std::size_t i, std::vector<std::byte>& out) {
        if (out.size() != i % 13 + 1 || out.back() != static_cast<std::byte>(i)) return false;
        seen.push_back(i);
        return true;
      };
      EXPECT_EQ(n4::RunOrdered(job, threads, 8), failAt >= job.count);
      const std::size_t expected = std::min(failAt, job.count);
      ASSERT_EQ(seen.size(), expected);
      for (std::size_t i = 0; i < seen.size(); ++i) EXPECT_EQ(seen[i], i);
      // Workers never run further ahead of the writer than they were allowed.
      EXPECT_LE(produced.load(), expected + 8 + threads);
    }
  }
}

}  // namespace
