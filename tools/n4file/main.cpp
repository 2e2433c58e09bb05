// n4file: the command line over the N4FILE library. It parses arguments and
// calls the library's public API, nothing more.
//
// One subcommand is one file. To add a subcommand `foo`: write foo.cpp
// defining `void n4tool::AddFooCommand(CLI::App& app)` (options, a help
// footer with an example, and a callback that calls SetExitStatus), then add
// X(Foo) to N4_TOOL_COMMANDS in Commands.h.
// To let `info` describe a new kind of file: write its recogniser in a file
// of its own, defining `const n4tool::Recogniser n4tool::kFooRecogniser`
// (see Tool.h), then add X(Foo) to N4_INFO_RECOGNISERS in Commands.h.
//
// Exit status: 0 done, 1 a file could not be read or written ("n4file: FILE:
// cause" on standard error), 2 a usage error.
#include "Commands.h"

namespace n4tool {
namespace {
int g_exitStatus = kExitOk;
}
void SetExitStatus(int status) { g_exitStatus = status; }
int ExitStatus() { return g_exitStatus; }
}  // namespace n4tool

int main(int argc, char** argv) {
  CLI::App app{"n4file: make, inspect and convert the files of electronic signs", "n4file"};
  app.set_version_flag("--version", std::string("n4file ") + N4FILE_TOOL_VERSION);
  app.require_subcommand(1);
  app.footer("Example:\n  n4file create -o show.SQ4 --size 16x48 --color RGB4K title.png\n"
             "  n4file info show.SQ4\nRun `n4file COMMAND --help` for each command.");
  app.failure_message([](const CLI::App*, const CLI::Error& e) {
    return "n4file: " + std::string(e.what()) + "\nRun with --help for more information.\n";
  });
#define N4_ADD_COMMAND(name) n4tool::Add##name##Command(app);
  N4_TOOL_COMMANDS(N4_ADD_COMMAND)
#undef N4_ADD_COMMAND
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    const int code = app.exit(e);
    return code == 0 ? 0 : n4tool::kExitUsage;
  }
  return n4tool::ExitStatus();
}
