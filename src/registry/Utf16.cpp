#include "registry/Utf16.h"

#include <cstdint>

namespace n4 {
namespace {

void AppendUtf8(std::string& out, std::uint32_t cp) {
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

void AppendUnit(std::string& out, std::uint32_t unit) {
  out += static_cast<char>(unit & 0xFF);
  out += static_cast<char>((unit >> 8) & 0xFF);
}

// Decodes one UTF-8 sequence at text[i]; returns its length, or 0 when the
// bytes there are not a sequence we accept (the caller then takes one byte as
// Latin-1). Surrogate code points are accepted so that they round-trip.
std::size_t DecodeUtf8(std::string_view text, std::size_t i, std::uint32_t* cp) {
  const auto b0 = static_cast<unsigned char>(text[i]);
  std::size_t len;
  std::uint32_t min;
  if (b0 < 0x80) {
    *cp = b0;
    return 1;
  } else if ((b0 & 0xE0) == 0xC0) {
    len = 2;
    min = 0x80;
    *cp = b0 & 0x1F;
  } else if ((b0 & 0xF0) == 0xE0) {
    len = 3;
    min = 0x800;
    *cp = b0 & 0x0F;
  } else if ((b0 & 0xF8) == 0xF0) {
    len = 4;
    min = 0x10000;
    *cp = b0 & 0x07;
  } else {
    return 0;
  }
  if (text.size() - i < len) return 0;
  for (std::size_t k = 1; k < len; ++k) {
    const auto b = static_cast<unsigned char>(text[i + k]);
    if ((b & 0xC0) != 0x80) return 0;
    *cp = (*cp << 6) | (b & 0x3F);
  }
  // Overlong forms and values past Unicode would not come back the same.
  if (*cp < min || *cp > 0x10FFFF) return 0;
  return len;
}

}  // namespace

std::string Utf16LeToUtf8(std::string_view utf16le) {
  std::string out;
  out.reserve(utf16le.size());
  auto unitAt = [&](std::size_t i) -> std::uint32_t {
    std::uint32_t lo = static_cast<unsigned char>(utf16le[i]);
    std::uint32_t hi = i + 1 < utf16le.size() ? static_cast<unsigned char>(utf16le[i + 1]) : 0;
    return lo | (hi << 8);
  };
  for (std::size_t i = 0; i < utf16le.size(); i += 2) {
    std::uint32_t unit = unitAt(i);
    if (unit >= 0xD800 && unit <= 0xDBFF && i + 3 < utf16le.size()) {
      std::uint32_t next = unitAt(i + 2);
      if (next >= 0xDC00 && next <= 0xDFFF) {
        AppendUtf8(out, 0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00));
        i += 2;
        continue;
      }
    }
    AppendUtf8(out, unit);
  }
  return out;
}

std::string Utf8ToUtf16Le(std::string_view text) {
  std::string out;
  out.reserve(text.size() * 2);
  for (std::size_t i = 0; i < text.size();) {
    std::uint32_t cp = 0;
    std::size_t len = DecodeUtf8(text, i, &cp);
    if (len == 0) {
      cp = static_cast<unsigned char>(text[i]);
      len = 1;
    }
    i += len;
    if (cp >= 0x10000) {
      cp -= 0x10000;
      AppendUnit(out, 0xD800 + (cp >> 10));
      AppendUnit(out, 0xDC00 + (cp & 0x3FF));
    } else {
      AppendUnit(out, cp);
    }
  }
  return out;
}

}  // namespace n4
