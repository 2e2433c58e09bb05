// Shared parts of the n4file subcommands: error lines, exit codes, progress,
// name lookup without regard to case, pictures and the file recognisers of
// `info`.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <n4file/Types.h>

namespace n4tool {

constexpr int kExitOk = 0;
constexpr int kExitFailure = 1;  // a file could not be read, made or written
constexpr int kExitUsage = 2;    // the command line itself is wrong

// Prints "n4file: FILE: cause" on standard error and returns kExitFailure.
int Fail(const std::string& file, const std::string& cause);

// A library exception's text without the file name it starts with, for
// Fail, whose line names the file already.
std::string CauseWithoutFile(const std::string& what, const std::string& fileName);

// A usage error: CLI11 prints it and main exits with kExitUsage.
[[noreturn]] void UsageError(const std::string& message);

// A bar on standard error for work that may take a while: drawn once the
// work has run for a second, never when standard error is not a terminal.
class Progress {
 public:
  Progress(std::string what, std::uint64_t total);
  ~Progress();
  void Step();
  void Set(std::uint64_t done, std::uint64_t total);
  // For the library's long steps (CN4RiffFile::SetProgressHandler); the
  // handler refers to this object.
  std::function<void(std::uint64_t, std::uint64_t)> Handler();

 private:
  void Draw();

  std::string m_what;
  std::uint64_t m_total;
  std::uint64_t m_done = 0;
  bool m_terminal;
  bool m_drawn = false;
  std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

bool EqualsNoCase(const std::string& a, const std::string& b);
std::string Lowercase(std::string s);
// The colour technology named `name` (any case) or given as its number.
std::optional<DWORD> ColorByName(const std::string& name);
// An entry or exit effect by name (any case) or number 0 ... 53.
std::optional<int> EffectByName(const std::string& name, bool exit);
// "Mono1, Quad16, ..." for messages.
std::string ColorNames();

// An RGB picture: top-down rows of red, green, blue bytes.
struct Picture {
  DWORD width = 0;
  DWORD height = 0;
  std::vector<BYTE> rgb;
};
// Reads any PNG as 8-bit RGB; false with a cause on failure.
bool ReadPng(const std::string& path, Picture& picture, std::string& cause);
// Writes the picture as an RGB PNG, complete or not at all.
bool WritePng(const std::string& path, const Picture& picture, std::string& cause);

// Writes `text` at (x, y) in a 5 x 7 font, `scale` pixels per dot.
void DrawText(Picture& picture, int x, int y, const std::string& text, int scale, const BYTE rgb[3]);
int TextWidth(const std::string& text, int scale);

// --- `info` recognisers. Each file kind supplies one (see main.cpp).
enum class Match { kNone, kExtension, kContent };

struct Recogniser {
  const char* kind;
  // How well the file matches: its first bytes (up to 64), its extension in
  // lower case without the dot, and its path (for a kind without a signature
  // that is recognised by loading the file).
  Match (*match)(const std::vector<BYTE>& head, const std::string& extension, const std::string& path);
  // Fills `json` and `text` (the readable summary); false with a cause when
  // the file is damaged.
  bool (*describe)(const std::string& path, nlohmann::ordered_json& json, std::string& text, std::string& cause);
};

}  // namespace n4tool
