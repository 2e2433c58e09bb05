// Conversions between the library's 8-bit text and the UTF-16LE the registry
// keeps its strings in.
//
// 8-bit text is taken as UTF-8, the code page of POSIX systems. Bytes that are
// not valid UTF-8 stand for the Latin-1 character of the same number, so any
// 8-bit input converts to something rather than failing. Unpaired surrogates
// read from UTF-16 are kept as three-byte sequences and convert back unchanged.
#pragma once

#include <string>
#include <string_view>

namespace n4 {

// UTF-16LE bytes (an odd last byte counts as a unit of its own) to 8-bit text.
std::string Utf16LeToUtf8(std::string_view utf16le);

// 8-bit text to UTF-16LE bytes.
std::string Utf8ToUtf16Le(std::string_view text);

}  // namespace n4
