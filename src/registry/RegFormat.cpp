#include "registry/RegFormat.h"

#include <cstdint>
#include <cstdio>

#include "registry/Utf16.h"

namespace n4 {
namespace {

constexpr std::string_view kHeader5 = "Windows Registry Editor Version 5.00";
constexpr std::string_view kHeader4 = "REGEDIT4";

std::string_view Trim(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
  return s;
}

bool StartsWithNoCase(std::string_view s, std::string_view prefix) {
  return s.size() >= prefix.size() && RegNamesEqual(s.substr(0, prefix.size()), prefix);
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Parses 1 to `maxDigits` hex digits making up all of `s`.
bool ParseHexNumber(std::string_view s, std::size_t maxDigits, std::uint32_t* out) {
  if (s.empty() || s.size() > maxDigits) return false;
  std::uint32_t v = 0;
  for (char c : s) {
    int d = HexDigit(c);
    if (d < 0) return false;
    v = (v << 4) | static_cast<std::uint32_t>(d);
  }
  *out = v;
  return true;
}

// The text of the file as 8-bit text: UTF-16LE files (marked by their
// byte-order mark) are converted, 8-bit files are taken as they are.
bool DecodeFile(std::string_view bytes, std::string* text, bool* utf16, std::string* error) {
  *utf16 = false;
  if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFF &&
      static_cast<unsigned char>(bytes[1]) == 0xFE) {
    bytes.remove_prefix(2);
    if (bytes.size() % 2 != 0) {
      if (error != nullptr) *error = "UTF-16 text cut in the middle of a character";
      return false;
    }
    *text = Utf16LeToUtf8(bytes);
    *utf16 = true;
    return true;
  }
  if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFE &&
      static_cast<unsigned char>(bytes[1]) == 0xFF) {
    if (error != nullptr) *error = "big-endian UTF-16 is not a registry export";
    return false;
  }
  if (bytes.substr(0, 3) == "\xEF\xBB\xBF") bytes.remove_prefix(3);
  text->assign(bytes);
  return true;
}

class Parser {
 public:
  Parser(std::string_view text, bool machineWritten, RegKey* top, std::string* error)
      : text_(text), machineWritten_(machineWritten), top_(top), error_(error) {}

  bool Run() {
    std::string_view line;
    bool sawHeader = false;
    while (NextLine(&line)) {
      line = Trim(line);
      if (line.empty()) continue;
      if (!sawHeader) {
        if (line == kHeader5) {
          regedit4_ = false;
        } else if (line == kHeader4) {
          regedit4_ = true;
        } else {
          return Fail("not a registry export (no REGEDIT4 or version 5.00 header)");
        }
        sawHeader = true;
        continue;
      }
      if (line.front() == ';') continue;
      bool ok = line.front() == '[' ? KeyLine(line)
                : (line.front() == '"' || line.front() == '@') ? ValueLine(line)
                                                                : Fail("unrecognised line");
      if (!ok) return false;
    }
    if (!sawHeader) return Fail("empty file");
    // Editors end every line, so a UTF-16 file whose last line is open was cut short.
    if (machineWritten_ && text_.back() != '\n' && text_.back() != '\r') {
      return Fail("file ends inside a line");
    }
    return true;
  }

 private:
  bool Fail(const std::string& what) {
    if (error_ != nullptr) *error_ = "line " + std::to_string(lineNo_) + ": " + what;
    return false;
  }

  bool NextLine(std::string_view* line) {
    if (pos_ >= text_.size()) return false;
    std::size_t end = text_.find_first_of("\r\n", pos_);
    if (end == std::string_view::npos) end = text_.size();
    *line = text_.substr(pos_, end - pos_);
    pos_ = end;
    if (pos_ < text_.size() && text_[pos_] == '\r') {
      ++pos_;
      if (pos_ < text_.size() && text_[pos_] == '\n') ++pos_;
    } else if (pos_ < text_.size()) {
      ++pos_;
    }
    ++lineNo_;
    return true;
  }

  bool KeyLine(std::string_view line) {
    if (line.back() != ']') return Fail("key name without closing ']'");
    std::string_view inner = line.substr(1, line.size() - 2);
    bool remove = !inner.empty() && inner.front() == '-';
    if (remove) inner.remove_prefix(1);
    std::vector<std::string> path;
    while (true) {
      std::size_t sep = inner.find('\\');
      std::string_view part = inner.substr(0, sep);
      if (part.empty()) return Fail("empty key name");
      path.emplace_back(part);
      if (sep == std::string_view::npos) break;
      inner.remove_prefix(sep + 1);
    }
    if (remove) {
      std::string last = path.back();
      path.pop_back();
      if (RegKey* parent = top_->Find(path)) parent->RemoveSubkey(last);
      current_ = nullptr;
    } else {
      current_ = top_->Create(path, nullptr);
    }
    inKey_ = true;
    return true;
  }

  // `s` starts at an opening quote; the unescaped text goes to *out and `s`
  // is left after the closing quote.
  bool Quoted(std::string_view* s, std::string* out) {
    out->clear();
    for (std::size_t i = 1; i < s->size(); ++i) {
      char c = (*s)[i];
      if (c == '"') {
        s->remove_prefix(i + 1);
        return true;
      }
      if (c == '\\' && i + 1 < s->size() && ((*s)[i + 1] == '\\' || (*s)[i + 1] == '"')) {
        c = (*s)[++i];
      }
      *out += c;
    }
    return Fail("missing closing quote");
  }

  bool ValueLine(std::string_view line) {
    if (!inKey_) return Fail("value outside any key");
    std::string name;
    if (line.front() == '@') {
      line.remove_prefix(1);
    } else if (!Quoted(&line, &name)) {
      return false;
    }
    line = Trim(line);
    if (line.empty() || line.front() != '=') return Fail("'=' expected after the value name");
    line = Trim(line.substr(1));

    DWORD type = REG_NONE;
    std::string data;
    if (line == "-") {
      if (current_ != nullptr) current_->RemoveValue(name);
      return true;
    } else if (!line.empty() && line.front() == '"') {
      std::string text;
      if (!Quoted(&line, &text)) return false;
      if (!Trim(line).empty()) return Fail("text after the closing quote");
      type = REG_SZ;
      data = Utf8ToUtf16Le(text);
      data.append(2, '\0');
    } else if (StartsWithNoCase(line, "dword:")) {
      std::uint32_t v = 0;
      if (!ParseHexNumber(line.substr(6), 8, &v)) return Fail("bad dword value");
      type = REG_DWORD;
      for (int i = 0; i < 4; ++i) data += static_cast<char>((v >> (8 * i)) & 0xFF);
    } else if (StartsWithNoCase(line, "hex:")) {
      type = REG_BINARY;
      if (!HexList(line.substr(4), &data)) return false;
    } else if (StartsWithNoCase(line, "hex(")) {
      std::size_t close = line.find("):");
      std::uint32_t t = 0;
      if (close == std::string_view::npos || !ParseHexNumber(line.substr(4, close - 4), 8, &t)) {
        return Fail("bad hex(type) prefix");
      }
      type = t;
      if (!HexList(line.substr(close + 2), &data)) return false;
      // REGEDIT4 wrote text types in 8 bits; the registry holds them in UTF-16.
      if (regedit4_ && (type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ)) {
        data = Utf8ToUtf16Le(data);
      }
    } else {
      return Fail("unknown value data");
    }
    if (current_ != nullptr) current_->SetValue(name, type, std::move(data));
    return true;
  }

  bool HexList(std::string_view first, std::string* bytes) {
    std::string list(Trim(first));
    while (!list.empty() && list.back() == '\\') {
      list.pop_back();
      std::string_view next;
      if (!NextLine(&next)) return Fail("hex list continued past the end of the file");
      next = Trim(next);
      if (next.empty()) return Fail("hex list continued onto an empty line");
      list += next;
    }
    std::string_view rest = list;
    while (!rest.empty()) {
      std::size_t comma = rest.find(',');
      std::string_view item = Trim(rest.substr(0, comma));
      std::uint32_t v = 0;
      // A trailing comma is tolerated; an empty item elsewhere is not.
      if (item.empty() && comma == std::string_view::npos) break;
      if (!ParseHexNumber(item, 2, &v)) return Fail("bad hex byte");
      *bytes += static_cast<char>(v);
      if (comma == std::string_view::npos) break;
      rest.remove_prefix(comma + 1);
    }
    return true;
  }

  std::string_view text_;
  bool machineWritten_;
  RegKey* top_;
  std::string* error_;
  std::size_t pos_ = 0;
  int lineNo_ = 0;
  bool regedit4_ = false;
  bool inKey_ = false;         // a key line has been seen
  RegKey* current_ = nullptr;  // null after a "[-key]" line: its values are ignored
};

void AppendQuoted(std::string& out, std::string_view s) {
  out += '"';
  for (char c : s) {
    if (c == '\\' || c == '"') out += '\\';
    out += c;
  }
  out += '"';
}

// Whether a text value can be written as a quoted string and read back as
// the same bytes.
bool IsPlainText(const RegValue& value) {
  const std::string& d = value.data;
  if (value.type != REG_SZ || d.size() < 2 || d.size() % 2 != 0) return false;
  for (std::size_t i = 0; i + 2 < d.size(); i += 2) {
    if (d[i + 1] != 0) continue;
    if (d[i] == 0 || d[i] == '\r' || d[i] == '\n') return false;
  }
  return d[d.size() - 2] == 0 && d[d.size() - 1] == 0;
}

// Wraps as the registry editor does: after a comma, once the line has
// reached 77 columns, it continues on a new line indented by two spaces.
void AppendHexList(std::string& out, const std::string& data, std::size_t column) {
  static constexpr char kDigits[] = "0123456789abcdef";
  for (std::size_t i = 0; i < data.size(); ++i) {
    auto b = static_cast<unsigned char>(data[i]);
    out += kDigits[b >> 4];
    out += kDigits[b & 0xF];
    if (i + 1 == data.size()) break;
    out += ',';
    column += 3;
    if (column >= 77) {
      out += "\\\r\n  ";
      column = 2;
    }
  }
}

void AppendValue(std::string& out, const RegValue& value) {
  const std::size_t lineStart = out.size();
  if (value.name.empty()) {
    out += '@';
  } else {
    AppendQuoted(out, value.name);
  }
  out += '=';
  if (IsPlainText(value)) {
    AppendQuoted(out, Utf16LeToUtf8(std::string_view(value.data).substr(0, value.data.size() - 2)));
  } else if (value.type == REG_DWORD && value.data.size() == 4) {
    std::uint32_t v = 0;
    for (int i = 3; i >= 0; --i) v = (v << 8) | static_cast<unsigned char>(value.data[i]);
    char buf[16];
    std::snprintf(buf, sizeof buf, "dword:%08x", static_cast<unsigned>(v));
    out += buf;
  } else {
    if (value.type == REG_BINARY) {
      out += "hex:";
    } else {
      char buf[24];
      std::snprintf(buf, sizeof buf, "hex(%x):", static_cast<unsigned>(value.type));
      out += buf;
    }
    // Columns count UTF-16 characters, as in the file the editor writes.
    AppendHexList(out, value.data, Utf8ToUtf16Le(out.substr(lineStart)).size() / 2);
  }
  out += "\r\n";
}

void AppendKey(std::string& out, const RegKey& key, const std::string& parentPath) {
  std::string path = parentPath.empty() ? key.name() : parentPath + "\\" + key.name();
  // Keys that only lead to others are implied by them (see RegKey::IsExplicit).
  if (key.IsExplicit() || !key.values().empty() || key.subkeys().empty()) {
    out += "[" + path + "]\r\n";
    for (const auto& value : key.values()) AppendValue(out, value);
    out += "\r\n";
  }
  for (const auto& sub : key.subkeys()) AppendKey(out, *sub, path);
}

}  // namespace

bool ParseRegFile(std::string_view bytes, RegKey* top, std::string* error) {
  std::string text;
  bool utf16 = false;
  if (!DecodeFile(bytes, &text, &utf16, error)) return false;
  return Parser(text, utf16, top, error).Run();
}

std::string FormatRegText(const RegKey& top) {
  std::string out(kHeader5);
  out += "\r\n\r\n";
  for (const auto& root : top.subkeys()) AppendKey(out, *root, "");
  return out;
}

std::string FormatRegFile(const RegKey& top) {
  return "\xFF\xFE" + Utf8ToUtf16Le(FormatRegText(top));
}

}  // namespace n4
