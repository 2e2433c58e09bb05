// Whether standard error is a terminal (the only OS question the tool asks).
#pragma once

namespace n4tool {
bool StderrIsTerminal();
}
