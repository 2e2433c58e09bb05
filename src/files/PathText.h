// Name comparisons for library paths: names match without regard to case.
// Splitting and joining is the path module's (platform/Path.h).
#pragma once

#include <string_view>

namespace n4::files {

bool EqualNoCase(std::string_view a, std::string_view b);
bool EndsWithNoCase(std::string_view text, std::string_view suffix);

}  // namespace n4::files
