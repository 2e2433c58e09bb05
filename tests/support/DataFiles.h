// Test data kept under tests/data: golden files, and cases kept as
// tab-separated rows: one case a line, fields with C escapes (\r \n \t \0
// \\ \xHH) so that any bytes can be written, "\N" for a null pointer, lines
// starting with '#' for notes.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "support/TestSupport.h"

namespace n4test {

struct CaseField {
  std::string text;
  bool null = false;
  const char* c_str() const { return null ? nullptr : text.c_str(); }
};
using CaseRow = std::vector<CaseField>;

inline CaseField UnescapeField(const std::string& s) {
  if (s == "\\N") return {{}, true};
  CaseField f;
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (s[i] != '\\' || i + 1 == s.size()) {
      f.text += s[i];
      continue;
    }
    const char c = s[++i];
    if (c == 'x' && i + 2 < s.size()) {
      f.text += static_cast<char>(std::stoi(s.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      f.text += c == 'r' ? '\r' : c == 'n' ? '\n' : c == 't' ? '\t' : c == '0' ? '\0' : c;
    }
  }
  return f;
}

// The rows of tests/data/<name>.
inline std::vector<CaseRow> ReadCases(const std::string& name) {
  std::istringstream in(ReadFile(std::string(N4_TEST_DATA_DIR) + "/" + name));
  std::vector<CaseRow> rows;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();  // a checkout with CRLF line ends
    if (line.empty() || line[0] == '#') continue;
    CaseRow row;
    std::size_t start = 0;
    for (std::size_t tab; (tab = line.find('\t', start)) != std::string::npos; start = tab + 1) {
      row.push_back(UnescapeField(line.substr(start, tab - start)));
    }
    row.push_back(UnescapeField(line.substr(start)));
    rows.push_back(row);
  }
  EXPECT_FALSE(rows.empty()) << name;
  return rows;
}

// Compares bytes with tests/data/<name>; with N4_UPDATE_GOLDEN set in the
// environment the file is rewritten instead, to be reviewed in the diff.
inline void ExpectGolden(const std::string& name, const std::string& bytes) {
  const std::string golden = std::string(N4_TEST_DATA_DIR) + "/" + name;
  if (std::getenv("N4_UPDATE_GOLDEN")) WriteFile(golden, bytes);
  EXPECT_EQ(bytes, ReadFile(golden)) << name;
}

}  // namespace n4test
