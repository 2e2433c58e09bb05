#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "n4file/RiffFile.h"
#include "util/ByteOrder.h"

namespace {

using Bytes = std::vector<std::byte>;

// A string chunk at full capacity inside a scratch buffer.
struct StringFixture {
  Bytes buf = Bytes(1024, std::byte{0});
  CN4RiffString str{n4::kFourccICMT};
  StringFixture() {
    str.AddToBuffer(buf.data());
    str.AttachToFile(buf.data());
  }
};

// Up to the capacity; a shorter string leaves the rest of the body as it was.
TEST(RiffString, SetStringAcceptsExactlyTheCapacity) {
  StringFixture f;
  EXPECT_EQ(f.str.SetString(std::string(255, 'x').c_str()), 1);
  EXPECT_EQ(std::strlen(f.str.GetPtrToString()), 255u);
  EXPECT_EQ(f.str.SetString(std::string(256, 'y').c_str()), 0);
  EXPECT_EQ(f.str.GetPtrToString()[0], 'x');  // unchanged
  EXPECT_EQ(f.str.SetString(nullptr), 0);
  f.str.SetString("hello");
  f.str.SetString("hi");
  EXPECT_STREQ(f.str.GetPtrToString(), "hi");
  EXPECT_EQ(std::memcmp(f.str.GetPtrToString() + 3, "lo", 2), 0);
}

// Another chunk's id, or a body without its terminator: no string there.
TEST(RiffString, AbsentStringsReadEmptyAndRefuseWrites) {
  Bytes buf(64);
  WriteChunkHeader(buf.data(), n4::kFourccIKEY, 8, 0);
  CN4RiffString s(n4::kFourccICMT);
  EXPECT_EQ(s.AttachToFile(buf.data()), nullptr);
  EXPECT_EQ(s.StartOfChunkPtr(), nullptr);
  EXPECT_STREQ(s.GetPtrToString(), "");
  EXPECT_EQ(s.SetString("x"), 0);
  WriteChunkHeader(buf.data(), n4::kFourccICMT, 4, 0);
  std::memcpy(buf.data() + 8, "abcd", 4);
  EXPECT_EQ(s.AttachToFile(buf.data()), nullptr);
}

struct CopyCase {
  const char* name;
  const char* text;  // null: the string is absent
  int mode;
  DWORD bytes;
  DWORD size;
};

TEST(RiffString, CopyModesCompactAndExpand) {
  const CopyCase cases[] = {
      {"saving an empty string", "", -1, 10, 2},
      {"saving an absent string", nullptr, -1, 10, 1},
      {"saving a text of odd length", "abc", -1, 12, 4},
      {"saving a text of even length", "ab", -1, 12, 4},
      {"expanding an empty string", "", 1, 264, 256},
      {"expanding an absent string", nullptr, 1, 264, 256},
      {"expanding a text", "abc", 1, 264, 256},
      {"verbatim copy", "abc", 0, 264, 256},
      {"verbatim copy of an absent string", nullptr, 0, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    StringFixture f;
    CN4RiffString absent(n4::kFourccICMT);
    CN4RiffString& s = c.text ? f.str : absent;
    if (c.text) s.SetString(c.text);
    Bytes out(512, std::byte{0x5A});
    auto* end = static_cast<std::byte*>(s.CopyEx(out.data(), c.mode, 0));
    EXPECT_EQ(static_cast<DWORD>(end - out.data()), c.bytes);
    if (c.bytes == 0) continue;
    EXPECT_EQ(n4::ReadLE32(out.data()), n4::kFourccICMT);
    EXPECT_EQ(n4::ReadLE32(out.data() + 4), c.size);
    CN4RiffString copy(n4::kFourccICMT);
    ASSERT_NE(copy.AttachToFile(out.data()), nullptr);
    EXPECT_STREQ(copy.GetPtrToString(), c.text ? c.text : "");
  }
}

TEST(RiffString, ExpandingAnOversizedForeignStringCutsItToCapacity) {
  Bytes in(2048);
  WriteChunkHeader(in.data(), n4::kFourccICMT, 1001, 0);
  std::memset(in.data() + 8, 'z', 1000);
  CN4RiffString s(n4::kFourccICMT);
  ASSERT_NE(s.AttachToFile(in.data()), nullptr);
  Bytes out(2048, std::byte{0x5A});
  auto* end = static_cast<std::byte*>(s.CopyEx(out.data(), 1, 0));
  EXPECT_EQ(end - out.data(), 264);
  EXPECT_EQ(out[264], std::byte{0x5A});  // nothing written past the slot
  CN4RiffString copy(n4::kFourccICMT);
  ASSERT_NE(copy.AttachToFile(out.data()), nullptr);
  EXPECT_EQ(std::strlen(copy.GetPtrToString()), 255u);
}

TEST(RiffInfo, LayoutAndPartialLists) {
  CN4RiffInfo info;
  EXPECT_EQ(info.BytesRequired(), 1332u);

  // A saved list holding only two of the five strings.
  Bytes in(256);
  std::byte* p = in.data();
  WriteChunkHeader(p, n4::kFourccLIST, 4, n4::kFourccINFO);
  std::byte* s = p + 12;
  std::byte* next = static_cast<std::byte*>(WriteChunkHeader(s, n4::kFourccISFT, 4, 0));
  std::memcpy(s + 8, "abc", 4);
  std::byte* end = static_cast<std::byte*>(WriteChunkHeader(next, n4::kFourccICMT, 2, 0));
  std::memcpy(next + 8, "x", 2);
  n4::WriteLE32(p + 4, static_cast<DWORD>(end - p - 8));

  ASSERT_EQ(info.AttachToFile(p), end);
  EXPECT_STREQ(info.String(CN4RiffInfo::Software).GetPtrToString(), "abc");
  EXPECT_STREQ(info.String(CN4RiffInfo::Comments).GetPtrToString(), "x");
  EXPECT_EQ(info.String(CN4RiffInfo::Keywords).StartOfChunkPtr(), nullptr);

  // Expanding writes all five at full capacity, in their fixed order.
  Bytes out(2048, std::byte{0x5A});
  auto* copyEnd = static_cast<std::byte*>(info.CopyEx(out.data(), 1, 0));
  EXPECT_EQ(copyEnd - out.data(), 1332);
  EXPECT_EQ(n4::ReadLE32(out.data() + 4), 1324u);
  EXPECT_EQ(n4::ReadLE32(out.data() + 12), n4::kFourccICMT);
  CN4RiffInfo copy;
  ASSERT_NE(copy.AttachToFile(out.data()), nullptr);
  EXPECT_STREQ(copy.String(CN4RiffInfo::Software).GetPtrToString(), "abc");

  // Compacting the expanded copy: 12 + five minimal strings.
  Bytes saved(2048);
  auto* savedEnd = static_cast<std::byte*>(copy.CopyEx(saved.data(), -1, 0));
  EXPECT_EQ(savedEnd - saved.data(), 12 + 10 + 10 + 12 + 10 + 10);

  // A list of another type is not an INFO list.
  n4::WriteLE32(p + 8, n4::MakeFourCC("XXXX"));
  CN4RiffInfo other;
  EXPECT_EQ(other.AttachToFile(p), nullptr);
}

}  // namespace
