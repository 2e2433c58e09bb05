// Reading and writing registry export files (".reg").
//
// Reads both formats the Windows registry editor has written:
//   - "Windows Registry Editor Version 5.00": UTF-16LE with a byte-order mark,
//     as the editor writes it, or the same text in 8 bits;
//   - "REGEDIT4": 8-bit text (taken as UTF-8, see Utf16.h).
// A file is read the way the editor imports it, into an initially empty tree:
// "[key]" creates the key and its parents, "[-key]" deletes a key with its
// subkeys, "name"=- deletes a value. Values: "text" (escapes \\ and \"),
// dword:1 to 8 hex digits, hex:bytes (binary) and hex(N):bytes for any other
// type N, kept as they are. Hex lists continue onto following lines after a
// trailing backslash. Lines starting with ";" are comments. In a REGEDIT4 file
// the bytes of hex(1), hex(2) and hex(7) are 8-bit text and are widened to
// UTF-16 as the registry holds them.
//
// Writes always "Windows Registry Editor Version 5.00" in UTF-16LE with the
// byte-order mark and CRLF line ends, so a written file imports on Windows
// as is. Text values that a quoted string cannot carry exactly (a line break,
// an inner zero, no terminator) are written as hex(1): so nothing is lost.
//
// Anything else (no header, a line that is none of the above, a value outside
// any key, a bad hex digit, an unclosed quote) makes the whole file unreadable:
// ParseRegFile fails and says where. So do the marks of a file cut short: a hex
// list continued onto an empty line or past the end, and a UTF-16 file (always
// written by a program, which ends every line) whose last line has no line end.
// Hand-written 8-bit files may omit the last line end.
#pragma once

#include <string>
#include <string_view>

#include "registry/RegTree.h"

namespace n4 {

// Applies the file's content to `top`, whose subkeys are the root keys
// ("HKEY_LOCAL_MACHINE", ...). On failure `error` (when not null) names the
// line and `top` may hold part of the file.
bool ParseRegFile(std::string_view bytes, RegKey* top, std::string* error);

// The whole tree as a version 5.00 file: UTF-16LE bytes with byte-order mark.
std::string FormatRegFile(const RegKey& top);

// The same text as 8-bit text (for display and diagnostics).
std::string FormatRegText(const RegKey& top);

}  // namespace n4
