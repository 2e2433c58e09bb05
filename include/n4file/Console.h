// What a program built on the library may ask of the console it runs in.
#pragma once

#include "n4file/Export.h"

namespace n4 {

// Whether the process's standard error is a terminal (a person watching),
// not a file or a pipe: progress is then shown in place.
N4FILE_API bool StandardErrorIsTerminal();

}  // namespace n4
