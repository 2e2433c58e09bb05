// Error lines, progress, names and PNG files for the subcommands.
#include "Tool.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <memory>

#include <spng.h>

#include <n4file/Console.h>
#include <n4file/Files.h>
#include <n4file/SequenceFile.h>

namespace n4tool {

int Fail(const std::string& file, const std::string& cause) {
  std::fprintf(stderr, "n4file: %s: %s\n", file.c_str(), cause.c_str());
  return kExitFailure;
}

std::string CauseWithoutFile(const std::string& what, const std::string& fileName) {
  const std::string prefix = fileName + ": ";
  return !fileName.empty() && what.compare(0, prefix.size(), prefix) == 0 ? what.substr(prefix.size()) : what;
}

void UsageError(const std::string& message) { throw CLI::ValidationError(message); }

Progress::Progress(std::string what, std::uint64_t total)
    : m_what(std::move(what)), m_total(total), m_terminal(n4::StandardErrorIsTerminal()) {}

Progress::~Progress() {
  if (m_drawn) std::fprintf(stderr, "\r\033[K");
}

void Progress::Step() { Set(m_done + 1, m_total); }

void Progress::Set(std::uint64_t done, std::uint64_t total) {
  m_done = done;
  m_total = total;
  if (!m_terminal) return;
  if (!m_drawn && std::chrono::steady_clock::now() - m_start < std::chrono::seconds(1)) return;
  m_drawn = true;
  Draw();
}

std::function<void(std::uint64_t, std::uint64_t)> Progress::Handler() {
  return [this](std::uint64_t done, std::uint64_t total) { Set(done, total); };
}

void Progress::Draw() {
  constexpr std::uint64_t kWidth = 30;
  const std::uint64_t filled = m_total > 0 ? std::min(m_done, m_total) * kWidth / m_total : kWidth;
  const int percent = m_total > 0 ? static_cast<int>(std::min(m_done, m_total) * 100 / m_total) : 100;
  std::fprintf(stderr, "\r%s [%-*s] %3d%%", m_what.c_str(), static_cast<int>(kWidth),
               std::string(filled, '#').c_str(), percent);
  std::fflush(stderr);
}

std::string Lowercase(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return s;
}

bool EqualsNoCase(const std::string& a, const std::string& b) { return Lowercase(a) == Lowercase(b); }

namespace {

std::optional<int> Number(const std::string& text, int low, int high) {
  if (text.empty() || text.size() > 3 || !std::all_of(text.begin(), text.end(), ::isdigit)) return std::nullopt;
  const int value = std::stoi(text);
  if (value < low || value > high) return std::nullopt;
  return value;
}

}  // namespace

std::optional<DWORD> ColorByName(const std::string& name) {
  for (DWORD c = 0; c < 15; ++c) {
    if (EqualsNoCase(name, n4::kColorTechNames[c])) return c;
  }
  if (auto n = Number(name, 0, 14)) return static_cast<DWORD>(*n);
  return std::nullopt;
}

std::string ColorNames() {
  std::string names;
  for (int c = 0; c < 15; ++c) names += std::string(c ? ", " : "") + n4::kColorTechNames[c];
  return names;
}

std::optional<int> EffectByName(const std::string& name, bool exit) {
  for (int e = 0; e <= 53; ++e) {
    if (exit && EqualsNoCase(name, n4::ExitEffectName(e))) return e;
  }
  for (int e = 0; e <= 53; ++e) {
    if (EqualsNoCase(name, n4::EntryEffectName(e))) return e;
  }
  return Number(name, 0, 53);
}

// --- PNG

namespace {

struct SpngDeleter {
  void operator()(spng_ctx* ctx) const { spng_ctx_free(ctx); }
};
using SpngContext = std::unique_ptr<spng_ctx, SpngDeleter>;

bool ReadWholeFile(const std::string& path, std::vector<BYTE>& bytes, std::string& cause) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) {
    cause = std::filesystem::exists(path, error) ? "not a regular file" : "no such file";
    return false;
  }
  std::ifstream in(path, std::ios::binary);
  bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  if (!in && !in.eof()) {
    cause = "cannot be read";
    return false;
  }
  return true;
}

}  // namespace

bool ReadPng(const std::string& path, Picture& picture, std::string& cause) {
  std::vector<BYTE> bytes;
  if (!ReadWholeFile(path, bytes, cause)) return false;
  static const BYTE kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  if (bytes.size() < 8 || !std::equal(kSignature, kSignature + 8, bytes.begin())) {
    cause = "not a PNG picture";
    return false;
  }
  SpngContext ctx(spng_ctx_new(0));
  if (!ctx) {
    cause = "out of memory";
    return false;
  }
  // Pictures for signs are small; refuse anything absurd before decoding it.
  spng_set_image_limits(ctx.get(), 1u << 15, 1u << 15);
  spng_set_png_buffer(ctx.get(), bytes.data(), bytes.size());
  spng_ihdr ihdr{};
  size_t size = 0;
  int rc = spng_get_ihdr(ctx.get(), &ihdr);
  if (rc == 0) rc = spng_decoded_image_size(ctx.get(), SPNG_FMT_RGBA8, &size);
  std::vector<BYTE> rgba;
  if (rc == 0) {
    rgba.resize(size);
    rc = spng_decode_image(ctx.get(), rgba.data(), size, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS);
  }
  if (rc != 0) {
    cause = std::string("damaged PNG picture: ") + spng_strerror(rc);
    return false;
  }
  picture.width = ihdr.width;
  picture.height = ihdr.height;
  picture.rgb.resize(static_cast<size_t>(ihdr.width) * ihdr.height * 3);
  // Transparent parts are dark, as an unlit bulb is.
  for (size_t i = 0, n = static_cast<size_t>(ihdr.width) * ihdr.height; i < n; ++i) {
    const unsigned alpha = rgba[4 * i + 3];
    for (int c = 0; c < 3; ++c) picture.rgb[3 * i + c] = static_cast<BYTE>((rgba[4 * i + c] * alpha + 127) / 255);
  }
  return true;
}

bool WritePng(const std::string& path, const Picture& picture, std::string& cause) {
  SpngContext ctx(spng_ctx_new(SPNG_CTX_ENCODER));
  if (!ctx) {
    cause = "out of memory";
    return false;
  }
  spng_set_option(ctx.get(), SPNG_ENCODE_TO_BUFFER, 1);
  spng_ihdr ihdr{};
  ihdr.width = picture.width;
  ihdr.height = picture.height;
  ihdr.bit_depth = 8;
  ihdr.color_type = SPNG_COLOR_TYPE_TRUECOLOR;
  spng_set_ihdr(ctx.get(), &ihdr);
  int rc = spng_encode_image(ctx.get(), picture.rgb.data(), picture.rgb.size(), SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE);
  size_t length = 0;
  void* png = rc == 0 ? spng_get_png_buffer(ctx.get(), &length, &rc) : nullptr;
  if (!png) {
    cause = std::string("cannot encode the picture: ") + spng_strerror(rc);
    return false;
  }
  std::unique_ptr<void, decltype(&std::free)> owned(png, &std::free);
  // Written beside the target and renamed over it, so a reader never sees
  // half a picture and a failure leaves any earlier file alone.
  const std::string temp = path + ".tmp";
  {
    std::ofstream out(temp, std::ios::binary | std::ios::trunc);
    out.write(static_cast<const char*>(png), static_cast<std::streamsize>(length));
    out.close();
    if (!out) {
      std::error_code ignored;
      std::filesystem::remove(temp, ignored);
      cause = "cannot be written";
      return false;
    }
  }
  std::error_code error;
  std::filesystem::rename(temp, path, error);
  if (error) {
    std::filesystem::remove(temp, error);
    cause = "cannot be written";
    return false;
  }
  return true;
}

}  // namespace n4tool
