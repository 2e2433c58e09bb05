#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "profile/Profile.h"
#include "profile/ProfileCache.h"
#include "profile/ProfileText.h"
#include "support/DataFiles.h"
#include "support/TestSupport.h"

namespace {

using n4test::ReadFile;
using n4test::WriteFile;

class ProfileTest : public ::testing::Test {
 protected:
  std::string Path() const { return dir_.File("test.ini"); }
  void Put(const std::string& bytes) {
    WriteFile(Path(), bytes);
    n4::ProfileCache::Instance().Forget(Path());
  }
  std::string Get(const char* section, const char* key, const char* def = "<default>", DWORD size = 1024) {
    std::vector<char> buffer(size + 1, 'X');
    DWORD n = n4::ProfileGetString(section, key, def, buffer.data(), size, Path());
    EXPECT_EQ(buffer[n], '\0');
    return std::string(buffer.data(), n);
  }
  std::vector<std::string> Section(const char* section, DWORD size = 4096) {
    std::vector<char> buffer(size, 'X');
    DWORD n = n4::ProfileGetSection(section, buffer.data(), size, Path());
    std::vector<std::string> items;
    for (DWORD i = 0; i < n && buffer[i] != '\0'; i += static_cast<DWORD>(items.back().size()) + 1) {
      items.emplace_back(buffer.data() + i);
    }
    return items;
  }

  n4test::TempDir dir_;
};

// Awkward files: how they read.
TEST_F(ProfileTest, ReadsAwkwardFiles) {
  for (const auto& c : n4test::ReadCases("profile/reads.tsv")) {
    SCOPED_TRACE(c[0].text);
    Put(c[1].text);
    EXPECT_EQ(Get(c[2].c_str(), c[3].c_str()), c[4].text);
  }
}

TEST_F(ProfileTest, IntegersTakeSignAndLeadingDigits) {
  Put("[N]\na=42\nb=-7\nc=+3x\nd=abc\ne=\nf=\"12\"\ng=4294967295\nh= 9 \n");
  const struct {
    const char* key;
    int expected;
  } cases[] = {{"a", 42}, {"b", -7}, {"c", 3}, {"d", 0}, {"e", 99}, {"f", 12}, {"g", -1}, {"h", 9}, {"none", 99}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.key);
    EXPECT_EQ(static_cast<int>(n4::ProfileGetInt("N", c.key, 99, Path())), c.expected);
  }
  EXPECT_EQ(n4::ProfileGetInt("N", "a", 5, dir_.File("missing.ini")), 5u);
}

TEST_F(ProfileTest, StringReadsAreCutToTheBuffer) {
  Put("[A]\nk=abcdef\n");
  EXPECT_EQ(Get("A", "k", nullptr, 4), "abc");
  EXPECT_EQ(Get("A", "none", "defaults", 4), "def");
  EXPECT_EQ(Get("A", "none", nullptr), "");
  char one = 'X';
  EXPECT_EQ(n4::ProfileGetString("A", "k", "", &one, 1, Path()), 0u);
  EXPECT_EQ(one, '\0');
  EXPECT_EQ(n4::ProfileGetString("A", "k", "", &one, 0, Path()), 0u);
}

TEST_F(ProfileTest, SectionReadsListLinesAndCutToFit) {
  Put("[A]\n ; note\n  Name = \"Q\" \n\nbare line \nk=\n[B]\nx=1\n");
  EXPECT_EQ(Section("a"), (std::vector<std::string>{"Name=\"Q\"", "bare line", "k="}));
  EXPECT_TRUE(Section("none").empty());
  char buffer[8];
  EXPECT_EQ(n4::ProfileGetSection("A", buffer, sizeof buffer, Path()), 6u);
  EXPECT_EQ(std::string(buffer, 8), std::string("Name=\"\0\0", 8));
  // Key and section name lists.
  std::vector<char> list(64);
  DWORD n = n4::ProfileGetString("A", nullptr, "", list.data(), 64, Path());
  EXPECT_EQ(std::string(list.data(), n), std::string("Name\0k\0", 7));
  n = n4::ProfileGetString(nullptr, nullptr, "", list.data(), 64, Path());
  EXPECT_EQ(std::string(list.data(), n), std::string("A\0B\0", 4));
}

// Writes change only what they must: exact resulting bytes.
TEST_F(ProfileTest, WritesInPlace) {
  for (const auto& c : n4test::ReadCases("profile/writes.tsv")) {
    SCOPED_TRACE(c[0].text);
    if (c[1].text.empty()) {
      std::remove(Path().c_str());
      n4::ProfileCache::Instance().Forget(Path());
    } else {
      Put(c[1].text);
    }
    EXPECT_EQ(n4::ProfileWriteString(c[2].c_str(), c[3].c_str(), c[4].c_str(), Path()), 1);
    EXPECT_EQ(ReadFile(Path()), c[5].text);
  }
  for (const auto& c : n4test::ReadCases("profile/section-writes.tsv")) {
    SCOPED_TRACE(c[0].text);
    Put(c[1].text);
    const std::string lines = c[3].text + std::string(2, '\0');
    EXPECT_EQ(n4::ProfileWriteSection(c[2].c_str(), lines.c_str(), Path()), 1);
    EXPECT_EQ(ReadFile(Path()), c[4].text);
  }
}

TEST_F(ProfileTest, RefusesLineBreaksAndMissingDirectories) {
  Put("[A]\nk=1\n");
  EXPECT_EQ(n4::ProfileWriteString("A", "k", "1\r\n[B]", Path()), 0);
  EXPECT_EQ(n4::ProfileWriteString("A", "k\n", "1", Path()), 0);
  EXPECT_EQ(n4::ProfileWriteString("A\r", "k", "1", Path()), 0);
  EXPECT_EQ(n4::ProfileWriteString(nullptr, "k", "1", Path()), 0);
  EXPECT_EQ(n4::ProfileWriteSection("A", "x\ny\0", Path()), 0);
  EXPECT_EQ(ReadFile(Path()), "[A]\nk=1\n");
  EXPECT_EQ(n4::ProfileWriteString("A", "k", "1", dir_.File("no/such/dir.ini")), 0);
}

TEST_F(ProfileTest, CacheSeesChangesByOthersAndOwnWrites) {
  Put("[A]\nk=1\n");
  EXPECT_EQ(Get("A", "k"), "1");
  // Same size, written behind the cache's back by another writer: seen by
  // reads that start after the re-check interval.
  WriteFile(Path() + ".new", "[A]\nk=2\n");
  std::filesystem::rename(Path() + ".new", Path());  // replaces the file on Windows too
  std::this_thread::sleep_for(2 * n4::ProfileCache::kRecheckInterval);
  EXPECT_EQ(Get("A", "k"), "2");
  EXPECT_EQ(n4::ProfileWriteString("A", "k", "3", Path()), 1);
  EXPECT_EQ(Get("A", "k"), "3");
  std::remove(Path().c_str());
  std::this_thread::sleep_for(2 * n4::ProfileCache::kRecheckInterval);
  EXPECT_EQ(Get("A", "k"), "<default>");
  EXPECT_EQ(n4::ProfileDeleteFile(Path()), 1);
}

TEST_F(ProfileTest, HostileFilesReadAsMissingOrCut) {
  // Binary garbage and NUL bytes: values are cut at a NUL by their readers,
  // nothing reads outside the file.
  std::string garbage;
  for (int i = 0; i < 4096; ++i) garbage += static_cast<char>((i * 7919) & 0xFF);
  Put(garbage + "\n[A]\nk=a\0b\n" + garbage);
  EXPECT_EQ(Get("A", "k").substr(0, 1), "a");
  (void)Section("A");
  EXPECT_EQ(n4::ProfileWriteString("A", "j", "2", Path()), 1);
  EXPECT_EQ(Get("A", "j"), "2");

  // A long line: the value is cut to the buffer.
  Put("[A]\nk=" + std::string(1 << 20, 'v') + "\n");
  EXPECT_EQ(Get("A", "k"), std::string(1023, 'v'));

  // Larger than a settings file can be: reads as missing, never rewritten.
  const std::string huge = "[A]\nk=1\nbig=" + std::string(n4::kMaxProfileBytes, 'x');
  Put(huge);
  EXPECT_EQ(Get("A", "k"), "<default>");
  EXPECT_EQ(n4::ProfileWriteString("A", "k", "2", Path()), 0);
  EXPECT_EQ(ReadFile(Path()).size(), huge.size());
}

}  // namespace
