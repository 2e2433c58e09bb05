// The script file's tokeniser and its list of tokens.
#include <climits>

#include "n4file/Script.h"

namespace {

constexpr const char* kWhiteSpace = " \t\r\n";
constexpr char kQuote = '"';

bool InRange(int index, std::size_t size) { return index >= 0 && static_cast<std::size_t>(index) < size; }

}  // namespace

int CN4FileScript::ParseLine(int index) {
  if (!InRange(index, m_astrLines.size())) return 0;
  return ParseLine(m_astrLines[static_cast<std::size_t>(index)]);
}

int CN4FileScript::ParseLine(const std::string& text) {
  std::vector<std::string> tokens;
  std::size_t pos = 0;
  for (;;) {
    pos = text.find_first_not_of(kWhiteSpace, pos);
    if (pos == std::string::npos) break;
    const bool quoted = text[pos] == kQuote;
    if (quoted) ++pos;
    std::size_t end = quoted ? text.find(kQuote, pos) : text.find_first_of(kWhiteSpace, pos);
    if (end == std::string::npos) end = text.size();
    tokens.push_back(text.substr(pos, end - pos));
    pos = end;
    if (quoted && pos < text.size()) ++pos;  // the closing quote
  }
  m_astrTokens = std::move(tokens);
  return 1;
}

int CN4FileScript::GetTokenCount() const {
  return m_astrTokens.size() > INT_MAX ? INT_MAX : static_cast<int>(m_astrTokens.size());
}

int CN4FileScript::GetToken(int index, std::string& token) const {
  if (!InRange(index, m_astrTokens.size())) return 0;
  token = m_astrTokens[static_cast<std::size_t>(index)];
  return 1;
}

int CN4FileScript::SetToken(int index, const std::string& token) {
  if (!InRange(index, m_astrTokens.size())) return 0;
  m_astrTokens[static_cast<std::size_t>(index)] = token;
  return 1;
}

int CN4FileScript::AddToken(const std::string& token) {
  m_astrTokens.push_back(token);
  return GetTokenCount() - 1;
}

void CN4FileScript::ClearTokens() { m_astrTokens.clear(); }
