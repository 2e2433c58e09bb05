// The subcommands and the file kinds `info` knows, in the order they are
// listed. main.cpp explains how to add to either list.
#pragma once

#include "Tool.h"

#define N4_TOOL_COMMANDS(X)                                                              \
  X(Info) X(Create) X(Render) X(Compress) X(Registry) X(Path) X(Rtd) X(Script) X(Watch) X(Calib) \
  X(Dc) N4_TOOL_GROUP_COMMAND(X)

// `group` only where the library was built with the group database.
#ifdef N4FILE_TOOL_WITH_GROUP
#define N4_TOOL_GROUP_COMMAND(X) X(Group)
#else
#define N4_TOOL_GROUP_COMMAND(X)
#endif

// Tried in order; put a more specific kind before the kind it refines.
#define N4_INFO_RECOGNISERS(X)                                                          \
  X(Sequence) X(Calibration) X(Riff) X(Rtd) X(DcConfig) X(DcGroup) X(DcPage) X(InputTemplate) \
  X(Interface) X(SelectionList)

namespace n4tool {

#define N4_DECLARE_COMMAND(name) void Add##name##Command(CLI::App& app);
N4_TOOL_COMMANDS(N4_DECLARE_COMMAND)
#undef N4_DECLARE_COMMAND

#define N4_DECLARE_RECOGNISER(kind) extern const Recogniser k##kind##Recogniser;
N4_INFO_RECOGNISERS(N4_DECLARE_RECOGNISER)
#undef N4_DECLARE_RECOGNISER

// The exit status the subcommand that ran asks for.
void SetExitStatus(int status);
int ExitStatus();

}  // namespace n4tool
