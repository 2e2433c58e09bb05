// Messages and text rules shared by the group database operations.
#pragma once

#include <string>

#include "n4file/Message.h"

namespace n4 {

// A query failed: "Error opening record set!  " and the engine's description.
inline void ShowRecordSetError(const std::string& description) {
  ShowMessage("Error opening record set!  " + description, MB_OK);
}

// The longest text a "[Sign]" or "[Group]" column takes.
constexpr std::size_t kGroupMaxText = 255;

// Lookups by value compare texts as the original filters did: a value was put
// between single quotes as it stood, so one holding "'" never matched. It
// still never matches, and is never part of a statement either.
inline bool NeverMatches(const std::string& text) { return text.find('\'') != std::string::npos; }

}  // namespace n4
