// Text-mode line handling for script files, the same on every platform.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace n4 {

// The lines of a text file's bytes, without their ends. A line ends at "\n";
// one "\r" right before it goes too, as text mode turns "\r\n" into "\n". A
// Ctrl-Z (0x1A) ends the text, as text mode reads it. The last line needs no
// end; an empty text has no lines.
std::vector<std::string> SplitTextLines(std::string_view bytes);

// Every line followed by "\n", with each "\n" (a line's own included) written
// as lineEnd, as text mode writes it.
std::string JoinTextLines(const std::vector<std::string>& lines, std::string_view lineEnd);

}  // namespace n4
