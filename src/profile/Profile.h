// Reading and writing profile (INI) files with the observable behaviour of the
// Windows private-profile functions the settings files were built on.
//
// Reads come from the process-wide cache (ProfileCache.h), which parses a file
// again only when it changed. Every write is a locked read-modify-write: an
// exclusive lock on "<file>.lock" (left in place; deleting a lock file others
// may be waiting on would let two writers in), the file read afresh under it,
// one in-place edit (ProfileEdit.h), and an atomic replacement (temporary file
// beside it, synced, renamed). Two processes writing different keys of one file
// therefore lose neither, and a reader sees the old or the new file.
//
// Names are matched without regard to ASCII case; see ProfileText.h for how
// lines are read. A missing file reads as empty and is created by the first
// write that changes it; a missing directory makes writes fail. A file larger
// than kMaxProfileBytes reads as empty and writes to it fail.
//
// Thread safety: all functions may be called from any thread.
#pragma once

#include <string>

#include "n4file/Types.h"

namespace n4 {

// GetPrivateProfileInt: the value trimmed and unquoted, then an optional sign
// and the leading decimal digits (no digits: 0; more than 32 bits wrap, so
// "4294967295" and "-1" read alike). A missing key or an empty value gives
// `defaultValue`.
UINT ProfileGetInt(const char* section, const char* key, int defaultValue, const std::string& file);

// GetPrivateProfileString: the value trimmed and unquoted (one surrounding pair
// of equal double or single quotes), or `defaultValue` (null: "") when the key
// is missing; an empty value is returned as "". At most size - 1 characters are
// copied and terminated; returns the count copied (0 when size is 0).
// A null key lists the section's key names, a null section the section names,
// each zero-terminated and the list ended by an empty string; when the list
// does not fit it is cut and size - 2 is returned.
DWORD ProfileGetString(const char* section, const char* key, const char* defaultValue, char* buffer,
                       DWORD size, const std::string& file);

// GetPrivateProfileSection: every line of the first matching section except
// blank and comment lines, as "key=value" (name and value trimmed, quotes
// kept) or, for a line without "=", trimmed as it stands; each zero-terminated,
// the list ended by an empty string. Cut to fit as above (size - 2 returned).
DWORD ProfileGetSection(const char* section, char* buffer, DWORD size, const std::string& file);

// WritePrivateProfileString: sets key=value in place; a null value deletes the
// first matching key, a null key the first matching section. Returns 0 for a
// null section and for a name or value holding CR or LF (it would inject a
// line), or when the file cannot be locked, read or written; else 1.
BOOL ProfileWriteString(const char* section, const char* key, const char* value, const std::string& file);

// WritePrivateProfileSection: replaces the section's content with `lines`, a
// list of zero-terminated strings ended by an empty string, each written as a
// line as it stands. An empty list keeps the header and removes the rest; a
// missing section is then not created. A null list deletes the section.
BOOL ProfileWriteSection(const char* section, const char* lines, const std::string& file);

// Deletes the file under its write lock (a missing file counts as deleted).
BOOL ProfileDeleteFile(const std::string& file);

}  // namespace n4
