#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "n4file/Script.h"

namespace {

std::vector<std::string> Tokens(const CN4FileScript& script) {
  std::vector<std::string> tokens;
  std::string token;
  for (int i = 0; script.GetToken(i, token); ++i) tokens.push_back(token);
  EXPECT_EQ(static_cast<int>(tokens.size()), script.GetTokenCount());
  return tokens;
}

TEST(ScriptTokens, SplitsWordsAndQuotedPhrases) {
  using V = std::vector<std::string>;
  struct Case {
    const char* text;
    V tokens;
  };
  const Case cases[] = {
      {"SHOW \"Home Team\" 3", {"SHOW", "Home Team", "3"}},
      {" \t  \t", {}},
      {"", {}},
      {"a\tb\r\nc", {"a", "b", "c"}},
      {"\"  keep  inner  \"", {"  keep  inner  "}},
      {"a \"\" b", {"a", "", "b"}},
      {"say \"never closed  here", {"say", "never closed  here"}},
      {"end \"", {"end", ""}},
      {"\"ab\"cd", {"ab", "cd"}},
      {"\"ab\"\"cd\"", {"ab", "cd"}},
      {"ab\"cd ef", {"ab\"cd", "ef"}},
      {"  lead and trail  ", {"lead", "and", "trail"}},
  };
  CN4FileScript script;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(script.ParseLine(std::string(c.text)), 1);
    EXPECT_EQ(Tokens(script), c.tokens);
  }
}

TEST(ScriptTokens, ParsesLinesByIndexAndEditsTheTokens) {
  CN4FileScript script;
  script.AddLine("PLAY \"Game Day\" now");
  EXPECT_EQ(script.ParseLine(0), 1);
  EXPECT_EQ(Tokens(script), (std::vector<std::string>{"PLAY", "Game Day", "now"}));
  // Out of range: nothing parsed, the last tokens stay.
  EXPECT_EQ(script.ParseLine(1), 0);
  EXPECT_EQ(script.ParseLine(-1), 0);
  EXPECT_EQ(script.GetTokenCount(), 3);

  std::string token = "untouched";
  EXPECT_EQ(script.GetToken(3, token), 0);
  EXPECT_EQ(script.GetToken(-1, token), 0);
  EXPECT_EQ(token, "untouched");
  EXPECT_EQ(script.SetToken(3, "x"), 0);
  EXPECT_EQ(script.SetToken(1, "Other"), 1);
  EXPECT_EQ(script.AddToken("late"), 3);
  EXPECT_EQ(Tokens(script), (std::vector<std::string>{"PLAY", "Other", "now", "late"}));
  script.ClearTokens();
  EXPECT_EQ(script.GetTokenCount(), 0);
}

}  // namespace
