// n4file watch: one line per change notification for a directory, until
// interrupted.
#include <chrono>
#include <csignal>
#include <ctime>
#include <filesystem>

#include <n4file/DirWatch.h>

#include "Commands.h"

namespace n4tool {
namespace {

volatile std::sig_atomic_t g_stop = 0;

void RequestStop(int) { g_stop = 1; }

constexpr UINT kChangedMessage = 0x8001;  // the first application message number, plus one
constexpr DWORD kPollMs = 200;            // how soon an interrupt is noticed

std::string Now() {
  const auto now = std::chrono::system_clock::now();
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  std::tm local{};
  localtime_r(&seconds, &local);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
  char withMs[40];
  std::snprintf(withMs, sizeof withMs, "%s.%03d", text, static_cast<int>(ms));
  return withMs;
}

int Watch(const std::string& directory) {
  std::error_code error;
  if (!std::filesystem::exists(directory, error)) return Fail(directory, "no such directory");
  if (!std::filesystem::is_directory(directory, error)) return Fail(directory, "not a directory");
  g_stop = 0;
  std::signal(SIGINT, RequestStop);
  std::signal(SIGTERM, RequestStop);
  n4::MessageQueue queue;
  CN4FileDirWatchThread watch(queue.GetHandle(), kChangedMessage, directory);
  // The first notification comes at once, when the watch starts; later ones
  // after a burst of changes has been quiet for a moment.
  bool first = true;
  while (!g_stop) {
    const auto message = queue.Wait(kPollMs);
    if (!message || message->message != kChangedMessage) continue;
    std::printf("%s %s %s\n", Now().c_str(), first ? "watching" : "changed", directory.c_str());
    std::fflush(stdout);
    first = false;
  }
  std::signal(SIGINT, SIG_DFL);
  std::signal(SIGTERM, SIG_DFL);
  return kExitOk;
}

}  // namespace

void AddWatchCommand(CLI::App& app) {
  auto* cmd = app.add_subcommand("watch", "Print a line whenever the files in a directory change (Ctrl-C ends)");
  cmd->footer("Example:\n  n4file watch /srv/shows/16x80.Mono1.I.Sign/Weather.Lib");
  auto directory = std::make_shared<std::string>();
  cmd->add_option("DIR", *directory, "The directory (its subdirectories are not watched)")->required();
  cmd->callback([directory] { SetExitStatus(Watch(*directory)); });
}

}  // namespace n4tool
