#include <gtest/gtest.h>

#include "support/DataFiles.h"
#include "registry/RegFormat.h"
#include "registry/Utf16.h"
#include "RegistryTestEnv.h"

namespace {

using n4::RegKey;
using n4::RegValue;

std::vector<std::string> Split(const std::string& path) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  while (true) {
    std::size_t sep = path.find('\\', start);
    parts.push_back(path.substr(start, sep - start));
    if (sep == std::string::npos) return parts;
    start = sep + 1;
  }
}

const RegValue* Value(RegKey& top, const std::string& key, const std::string& name) {
  RegKey* k = top.Find(Split(key));
  return k != nullptr ? k->FindValue(name) : nullptr;
}

std::string Wide(const std::string& text) { return n4::Utf8ToUtf16Le(text); }
std::string WideZ(const std::string& text) { return Wide(text) + std::string(2, '\0'); }

void ExpectValue(RegKey& top, const std::string& key, const std::string& name, DWORD type,
                 const std::string& data) {
  SCOPED_TRACE(key + " : " + name);
  const RegValue* v = Value(top, key, name);
  ASSERT_NE(v, nullptr);
  EXPECT_EQ(v->type, type);
  EXPECT_EQ(v->data, data);
}

TEST(RegFormat, ImportsARegedit4FileAsTheEditorWould) {
  RegKey top;
  std::string error;
  ASSERT_TRUE(n4::ParseRegFile(n4test::ReadFile(n4test::FixturePath("regedit4-import.reg")), &top,
                               &error))
      << error;
  // Sections of another spelling add to the same key and delete from it; 8-bit
  // text types are widened to the UTF-16 the registry holds; bytes that are
  // not UTF-8 stand for their Latin-1 characters.
  n4test::ExpectGolden("registry/regedit4-import.expected", n4::FormatRegText(top));
}

TEST(RegFormat, EveryValueSurvivesAWriteAndRead) {
  const std::vector<RegValue> values = {
      {"plain", REG_SZ, WideZ("text")},
      {"with \"quotes\" and \\", REG_SZ, WideZ("a \\\"b\"\\")},
      {"line break", REG_SZ, WideZ("one\r\ntwo")},
      {"no terminator", REG_SZ, Wide("abc")},
      {"inner zero", REG_SZ, Wide(std::string("a\0b", 3)) + std::string(2, '\0')},
      {"odd length", REG_SZ, std::string("a\0b", 3)},
      {"empty text type", REG_SZ, ""},
      {"short dword", REG_DWORD, "\1\2"},
      {"dword", REG_DWORD, std::string("\xff\xee\xdd\xcc", 4)},
      {"big endian", 5, std::string("\0\0\0\1", 4)},
      {"long binary", REG_BINARY, std::string(1000, '\xa5')},
      {"unknown type", 0x12345678, "xyz"},
      {"surrogates", REG_SZ, WideZ("\xf0\x9f\x98\x80 \xed\xa0\x80")},
      {"", REG_BINARY, ""},
  };
  RegKey top;
  RegKey* key = top.Create(Split("HKEY_CURRENT_USER\\a\\b"), nullptr);
  for (const auto& v : values) key->SetValue(v.name, v.type, v.data);
  top.Create(Split("HKEY_CURRENT_USER\\empty key"), nullptr);

  RegKey back;
  std::string error;
  ASSERT_TRUE(n4::ParseRegFile(n4::FormatRegFile(top), &back, &error)) << error;
  for (const auto& v : values) ExpectValue(back, "HKEY_CURRENT_USER\\a\\b", v.name, v.type, v.data);
  EXPECT_NE(back.Find(Split("HKEY_CURRENT_USER\\empty key")), nullptr);
  // Keys that only lead somewhere are not listed; the others are.
  const std::string text = n4::FormatRegText(top);
  EXPECT_EQ(text.find("[HKEY_CURRENT_USER\\a]"), std::string::npos);
  EXPECT_NE(text.find("[HKEY_CURRENT_USER\\empty key]"), std::string::npos);
  // Every line fits the editor's 80 columns.
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find("\r\n", start);
    EXPECT_LE(end - start, 80u) << text.substr(start, end - start);
    start = end + 2;
  }
}

TEST(RegFormat, RejectsDamagedFiles) {
  for (const auto& c : n4test::ReadCases("registry/damaged.tsv")) {
    SCOPED_TRACE(c[0].text);
    RegKey top;
    std::string error;
    EXPECT_FALSE(n4::ParseRegFile(c[1].text, &top, &error));
    EXPECT_FALSE(error.empty());
  }
}

TEST(RegFormat, AcceptsTheLooserFormsTheEditorAccepts) {
  RegKey top;
  std::string error;
  // LF and lone CR line ends, a UTF-8 byte-order mark, a trailing comma,
  // uppercase hex, a short dword and no line end at the end.
  ASSERT_TRUE(n4::ParseRegFile("\xef\xbb\xbfREGEDIT4\n[HKEY_CURRENT_USER\\k]\r\"a\"=hex:0A,ff,\n"
                               "\"b\" = dword:7",
                               &top, &error))
      << error;
  ExpectValue(top, "HKEY_CURRENT_USER\\k", "a", REG_BINARY, "\x0a\xff");
  ExpectValue(top, "HKEY_CURRENT_USER\\k", "b", REG_DWORD, std::string("\7\0\0\0", 4));
}

TEST(Utf16, ConvertsBothWaysWithoutLoss) {
  EXPECT_EQ(n4::Utf8ToUtf16Le("A\xc3\xa9"), std::string("A\0\xe9\0", 4));
  // A character outside the basic plane becomes a surrogate pair and back.
  const std::string smile = "\xf0\x9f\x98\x80";
  const std::string pair("\x3d\xd8\x00\xde", 4);
  EXPECT_EQ(n4::Utf8ToUtf16Le(smile), pair);
  EXPECT_EQ(n4::Utf16LeToUtf8(pair), smile);
  // A lone surrogate survives the trip through 8-bit text.
  const std::string lone("\x3d\xd8" "a\0", 4);
  EXPECT_EQ(n4::Utf8ToUtf16Le(n4::Utf16LeToUtf8(lone)), lone);
  // Bytes that are not UTF-8 (a cut sequence, an overlong form) are Latin-1.
  EXPECT_EQ(n4::Utf8ToUtf16Le("\xe9"), std::string("\xe9\0", 2));
  EXPECT_EQ(n4::Utf8ToUtf16Le("\xc0\xaf"), std::string("\xc0\0\xaf\0", 4));
  EXPECT_EQ(n4::Utf8ToUtf16Le("\xe2\x82"), std::string("\xe2\0\x82\0", 4));
}

}  // namespace
