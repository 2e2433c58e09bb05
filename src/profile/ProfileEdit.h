// In-place edits of a parsed profile file.
//
// Each edit rebuilds the file from the original bytes around the one span it
// changes, so every other line (comments, blank lines, spelling, line ends)
// stays byte for byte. Each returns true and fills *out with the new bytes
// when the file changes, false when the edit changes nothing.
//
// Section and key names are trimmed; they and values are written as given.
// REQUIRES: no name, value or line holds CR or LF (the caller refuses them).
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "profile/ProfileText.h"

namespace n4 {

// Replaces the value of the first matching key ("name=value", the name as
// stored), or adds the key after the last non-blank line of the first
// matching section, or adds the section at the end of the file.
bool EditWriteString(const ProfileText& text, std::string_view section, std::string_view key,
                     std::string_view value, std::string* out);

// Removes the line of the first matching key.
bool EditDeleteKey(const ProfileText& text, std::string_view section, std::string_view key, std::string* out);

// Removes the first matching section: its header and everything up to the next header.
bool EditDeleteSection(const ProfileText& text, std::string_view section, std::string* out);

// Replaces everything below the first matching section's header, up to its
// last non-blank line, with `lines`; blank lines before the next header stay.
// A missing section is added at the end of the file unless `lines` is empty.
bool EditReplaceSection(const ProfileText& text, std::string_view section,
                        const std::vector<std::string_view>& lines, std::string* out);

}  // namespace n4
