// Working copies left behind by editors that were killed.
#pragma once

#include <chrono>
#include <string>

namespace n4 {

class Env;

// Deletes the "SQ4*.tmp" working copies in dir that no live process holds
// open, and that are older than minAge: a file an editor has only just
// created is not yet held, and probing it could make that editor's open
// fail. Returns the number deleted. Copies that are in use, and files this
// user may not open, are left alone.
int RemoveStaleWorkingCopies(Env* env, const std::string& dir, std::chrono::seconds minAge);

}  // namespace n4
