// Messages for the user.
//
// Where the library has something to tell the user (a database that does not
// open, a refused operation) it calls ShowMessage with the text and a message
// box style (MB_* values). The text goes to the current sink: by default it is
// written to standard error, one message per line. An application with a user
// interface installs its own sink to show a message box; tests install one to
// capture what was said.
//
// Thread safety: SetMessageSink and ShowMessage may be called from any thread;
// the sink itself is called on the thread that shows the message.
#pragma once

#include <functional>
#include <string>

#include "n4file/Export.h"
#include "n4file/Types.h"

namespace n4 {

using MessageSink = std::function<void(const std::string& text, UINT style)>;

// Installs sink (an empty function restores the default) and returns the
// sink that was installed before.
N4FILE_API MessageSink SetMessageSink(MessageSink sink);

N4FILE_API void ShowMessage(const std::string& text, UINT style);

}  // namespace n4
