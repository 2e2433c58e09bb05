// The saved file's stream: records staged, joined into runs and copied from
// file to file must come out as the bytes appended, in their order.
#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <string>

#include "platform/Env.h"
#include "riff/SaveStream.h"
#include "support/FaultEnv.h"
#include "support/TestSupport.h"

namespace {

constexpr std::size_t kSource = 1u << 20;

// Appends a random mix of staged records, reserved records and in-place
// records (side by side in the source view, or in memory of their own) and
// returns the bytes they make.
std::string AppendMix(n4::SaveStream& stream, const n4::MappedView& source, unsigned seed) {
  std::mt19937 random(seed);
  auto below = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
  static std::string loose(64 * 1024, 'L');
  std::string expected;
  std::size_t at = below(4096);
  for (int i = 0; i < 400; ++i) {
    // Sizes around the point where a run is written rather than staged.
    const std::size_t size = 1 + (below(4) == 0 ? below(40 * 1024) : below(600));
    const auto* from = reinterpret_cast<const char*>(source.data());
    switch (below(5)) {
      case 0: {  // a gap: the next in-place record starts a new run
        at += 1 + below(100);
        [[fallthrough]];
      }
      case 1:
      case 2:
        if (at + size > source.size()) at = 0;
        EXPECT_TRUE(stream.AppendInPlace(source.data() + at, size));
        expected.append(from + at, size);
        at += size;
        break;
      case 3:
        EXPECT_TRUE(stream.AppendInPlace(reinterpret_cast<const std::byte*>(loose.data()), size % loose.size()));
        expected.append(loose.data(), size % loose.size());
        break;
      default: {
        std::byte* room = stream.Reserve(size + 8);
        EXPECT_NE(room, nullptr);
        if (!room) return expected;
        const std::size_t used = size - size / 3;
        for (std::size_t b = 0; b < used; ++b) room[b] = static_cast<std::byte>(i + b);
        stream.Commit(room + used);
        for (std::size_t b = 0; b < used; ++b) expected += static_cast<char>(i + b);
      }
    }
    EXPECT_EQ(stream.Length(), expected.size());
  }
  EXPECT_TRUE(stream.Flush());
  return expected;
}

// Bytes read from the source's file, and the copy from the view's bytes that a
// wrapped view (or another platform) gets.
class SaveStreamTest : public ::testing::TestWithParam<bool> {};

TEST_P(SaveStreamTest, WritesWhatWasAppendedInOrder) {
  n4test::TempDir dir;
  n4test::FaultEnv wrapped;
  std::optional<n4::ScopedEnv> scoped;
  if (GetParam()) scoped.emplace(&wrapped);
  n4::Env* env = n4::Env::Default();
  n4::SysError err;
  auto sourceFile = env->OpenFile(dir.File("source"), n4::FileAccess::ReadWrite, n4::FileShare::None,
                                  n4::FileDisposition::CreateAlways, &err);
  ASSERT_TRUE(sourceFile);
  auto source = sourceFile->Map(kSource, true, &err);
  ASSERT_TRUE(source);
  for (std::size_t b = 0; b < kSource; ++b) source->data()[b] = static_cast<std::byte>(b * 7 + b / 251);

  for (unsigned seed = 1; seed <= 6; ++seed) {
    const std::string path = dir.File("saved" + std::to_string(seed));
    auto out = env->OpenFile(path, n4::FileAccess::ReadWrite, n4::FileShare::None,
                             n4::FileDisposition::CreateAlways, &err);
    ASSERT_TRUE(out);
    n4::SaveStream stream(out.get(), &err, source.get());
    const std::string expected = AppendMix(stream, *source, seed);
    out.reset();
    EXPECT_TRUE(n4test::ReadFile(path) == expected) << "seed " << seed;
  }
}

INSTANTIATE_TEST_SUITE_P(Copies, SaveStreamTest, ::testing::Bool(),
                         [](const auto& info) { return info.param ? "CopiedFromTheView" : "ReadFromTheFile"; });

TEST(SaveStream, AFailedWriteIsReportedWithItsError) {
  n4test::TempDir dir;
  n4test::FaultEnv wrapped;
  n4::ScopedEnv scoped(&wrapped);
  n4::SysError err;
  auto sourceFile = wrapped.OpenFile(dir.File("source"), n4::FileAccess::ReadWrite, n4::FileShare::None,
                                     n4::FileDisposition::CreateAlways, &err);
  ASSERT_TRUE(sourceFile);
  auto source = sourceFile->Map(kSource, true, &err);
  ASSERT_TRUE(source);
  auto out = wrapped.OpenFile(dir.File("saved"), n4::FileAccess::ReadWrite, n4::FileShare::None,
                              n4::FileDisposition::CreateAlways, &err);
  ASSERT_TRUE(out);
  n4::SaveStream stream(out.get(), &err, source.get());
  wrapped.failWrite.at = 1;
  // A run long enough to be written on its own fails as it ends.
  EXPECT_TRUE(stream.AppendInPlace(source->data(), 100 * 1024));
  EXPECT_FALSE(stream.Flush());
  EXPECT_EQ(err.code, n4::kErrDiskFull);
}

}  // namespace
