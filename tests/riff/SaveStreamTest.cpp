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

constexpr std::size_t kSource = 8u << 20;

// Appends a random mix of records, copied in or left in place (side by side
// in the source view, or in memory of their own), some larger than the
// stream's 4 MiB blocks, and returns the bytes they make.
std::string AppendMix(n4::SaveStream& stream, const n4::MappedView& source, unsigned seed) {
  std::mt19937 random(seed);
  auto below = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
  static const std::string loose = [] {
    std::string bytes(5u << 20, '\0');
    for (std::size_t k = 0; k < bytes.size(); ++k) bytes[k] = static_cast<char>(k * 13 + k / 4099);
    return bytes;
  }();
  const auto* looseBytes = reinterpret_cast<const std::byte*>(loose.data());
  const auto* from = reinterpret_cast<const char*>(source.data());
  std::string expected;
  std::size_t at = below(4096);
  for (int i = 0; i < 150; ++i) {
    const std::size_t size = 1 + (below(25) == 0 ? below(5u << 20) : below(40 * 1024));
    switch (below(4)) {
      case 0:  // a gap: the next record in place starts a new run
        at += 1 + below(100);
        [[fallthrough]];
      case 1:
        if (at + size > source.size()) at = 0;
        EXPECT_TRUE(stream.AppendInPlace(source.data() + at, size));
        expected.append(from + at, size);
        at += size;
        break;
      case 2:
        EXPECT_TRUE(stream.AppendInPlace(looseBytes, size));
        expected.append(loose.data(), size);
        break;
      default:
        EXPECT_TRUE(stream.Append(looseBytes + i, size - i % 2));
        expected.append(loose.data() + i, size - i % 2);
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

  for (unsigned seed = 1; seed <= 3; ++seed) {
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
