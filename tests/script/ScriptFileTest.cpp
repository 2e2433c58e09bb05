#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "n4file/Script.h"
#include "support/FullDiskEnv.h"
#include "support/TestSupport.h"

namespace {

std::vector<std::string> Lines(const CN4FileScript& script) {
  std::vector<std::string> lines;
  std::string line;
  for (int i = 0; script.GetLine(i, line); ++i) lines.push_back(line);
  EXPECT_EQ(static_cast<int>(lines.size()), script.GetLineCount());
  return lines;
}

TEST(ScriptFile, OpensWithTheModesAndSharingItPromises) {
  n4test::TempDir dir;
  const std::string missing = dir.File("missing.txt");
  CN4FileScript script;
  EXPECT_EQ(script.Open(missing, 0), 0);
  EXPECT_EQ(script.GetFileError().GetCause(), n4::FileException::fileNotFound);
  EXPECT_EQ(script.GetFileError().GetOsError(), 2);
  EXPECT_EQ(script.GetFileError().GetFileName(), missing);
  EXPECT_FALSE(n4test::Exists(missing));

  EXPECT_EQ(script.Open(missing, 1), 1);
  EXPECT_EQ(script.GetFileError().GetCause(), n4::FileException::none);
  EXPECT_EQ(script.GetFileError().GetOsError(), -1);
  EXPECT_EQ(n4test::ReadFile(missing), "");
  EXPECT_EQ(script.ReadScriptFile(), 0);

  // Exclusive: a second opener is refused while the first holds the file.
  CN4FileScript second;
  EXPECT_EQ(second.Open(missing, 1), 0);
  EXPECT_EQ(second.GetFileError().GetCause(), n4::FileException::sharingViolation);
  EXPECT_EQ(second.GetFileError().GetOsError(), 32);

  // Opening for writing never truncates what is there.
  const std::string existing = dir.File("existing.txt");
  n4test::WriteFile(existing, "one\ntwo\n");
  EXPECT_EQ(script.Open(existing, 1), 1);  // also lets go of the first file
  EXPECT_EQ(script.ReadScriptFile(), 2);
  EXPECT_EQ(second.Open(missing, 0), 1);
}

TEST(ScriptFile, ReadsLinesWhateverTheLineEnds) {
  using V = std::vector<std::string>;
  struct Case {
    const char* name;
    std::string bytes;
    V lines;
  };
  const Case cases[] = {
      {"empty", "", {}},
      {"LF", "a\nb c\n", {"a", "b c"}},
      {"CRLF", "a\r\nb c\r\n\r\nlast", {"a", "b c", "", "last"}},
      {"no final line end", "one\ntwo", {"one", "two"}},
      {"lone CR kept", "a\rb\n\r\r\n", {"a\rb", "\r"}},
      {"Ctrl-Z ends the text", "a\r\nb\r\n\x1A junk\r\n", {"a", "b"}},
      {"blank lines", "\n\n", {"", ""}},
  };
  n4test::TempDir dir;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string path = dir.File("s.txt");
    n4test::WriteFile(path, c.bytes);
    CN4FileScript script;
    ASSERT_EQ(script.Open(path, 0), 1);
    EXPECT_EQ(script.ReadScriptFile(), static_cast<int>(c.lines.size()));
    EXPECT_EQ(Lines(script), c.lines);
  }
}

TEST(ScriptFile, RewritesInPlaceAndLeavesNothingOfALongerScript) {
  n4test::TempDir dir;
  const std::string path = dir.File("s.txt");
  const std::string link = dir.File("link.txt");
  n4test::WriteFile(path, "one\r\ntwo\r\nthree\r\nfour\r\nfive\r\n");
  std::filesystem::create_hard_link(path, link);  // sees the file itself, not a replacement
  const std::vector<std::string> expected{"ONE", "three", "five"};
  {
    CN4FileScript script;
    ASSERT_EQ(script.Open(path, 1), 1);
    ASSERT_EQ(script.ReadScriptFile(), 5);
    EXPECT_EQ(script.DeleteLine(1), 1);
    EXPECT_EQ(script.DeleteLine(2), 1);
    EXPECT_EQ(script.SetLine(0, "ONE"), 1);
    script.WriteScriptFile();

    // Written again, the same script reads back as it stands.
    script.WriteScriptFile();
    EXPECT_EQ(script.ReadScriptFile(), 3);
    EXPECT_EQ(Lines(script), expected);
  }
  // Read once the script lets go: while open it refuses every other opener.
  const std::string eol = n4::TextLineEnd();
  EXPECT_EQ(n4test::ReadFile(link), "ONE" + eol + "three" + eol + "five" + eol);
}

TEST(ScriptFile, EditsLinesByIndex) {
  CN4FileScript script;
  EXPECT_EQ(script.AddLine(nullptr, -1), 0);
  EXPECT_EQ(Lines(script), (std::vector<std::string>{""}));
  EXPECT_EQ(script.AddLine("c", -1), 1);
  EXPECT_EQ(script.AddLine("a", 0), 0);     // inserted before
  EXPECT_EQ(script.AddLine("x", 5), 5);     // grows with empty lines
  EXPECT_EQ(Lines(script), (std::vector<std::string>{"a", "", "c", "", "", "x"}));

  std::string line = "untouched";
  for (int bad : {-1, 6}) {
    SCOPED_TRACE(bad);
    EXPECT_EQ(script.GetLine(bad, line), 0);
    EXPECT_EQ(script.SetLine(bad, "y"), 0);
    EXPECT_EQ(script.DeleteLine(bad), 0);
  }
  EXPECT_EQ(line, "untouched");
  EXPECT_EQ(script.SetLine(0, nullptr), 1);
  EXPECT_EQ(script.DeleteLine(5), 1);
  EXPECT_EQ(Lines(script), (std::vector<std::string>{"", "", "c", "", ""}));
}

TEST(ScriptFile, ReadAndWriteErrorsRaiseFileExceptions) {
  n4test::TempDir dir;
  const std::string path = dir.File("s.txt");
  n4test::WriteFile(path, "keep\n");
  {
    n4test::FullDiskEnv env;
    n4::ScopedEnv scoped(&env);
    CN4FileScript script;
    ASSERT_EQ(script.Open(path, 0), 1);
    ASSERT_EQ(script.ReadScriptFile(), 1);
    try {
      script.WriteScriptFile();
      ADD_FAILURE() << "a failed write must throw";
    } catch (const n4::FileException& e) {
      EXPECT_EQ(e.GetCause(), n4::FileException::diskFull);
      EXPECT_EQ(e.GetOsError(), 112);
      EXPECT_EQ(e.GetFileName(), path);
    }
  }
  EXPECT_EQ(n4test::ReadFile(path), "keep\n");  // a failed write does not cut the file

  // Without an open file there is nothing to read or write.
  CN4FileScript closed;
  closed.AddLine("x");
  EXPECT_THROW(closed.ReadScriptFile(), n4::FileException);
  EXPECT_THROW(closed.WriteScriptFile(), n4::FileException);
  EXPECT_EQ(closed.GetLineCount(), 0);
}

}  // namespace
