// CN4Files: composing library paths and taking them apart.
#include <cstdio>
#include <optional>
#include <string_view>

#include "files/PathText.h"
#include "n4file/Files.h"
#include "platform/Path.h"

namespace {

using n4::files::EndsWithNoCase;
using n4::files::EqualNoCase;

constexpr std::string_view kSignSuffix = ".Sign";
constexpr std::string_view kLibSuffix = ".Lib";

struct SignFields {
  DWORD rows = 0;
  DWORD cols = 0;
  tag_N4_SIGN_COLOR color = Mono1;
  tag_N4_PIXEL_TECH pixel = PixelTechI;
  int palette = 0;
};

std::optional<DWORD> ParseCount(std::string_view digits) {
  if (digits.empty() || digits.size() > 10) return std::nullopt;
  unsigned long long value = 0;
  for (char c : digits) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + static_cast<unsigned>(c - '0');
  }
  if (value > 0xFFFFFFFFull) return std::nullopt;
  return static_cast<DWORD>(value);
}

// "<rows>x<cols>.<colour>.<pixel>" or "Palette.<colour>.<pixel>". The empty
// names that BuildSign writes for colour 15 and pixel 0 read back as those.
std::optional<SignFields> ParseSignName(std::string_view name) {
  if (EndsWithNoCase(name, kSignSuffix)) name.remove_suffix(kSignSuffix.size());
  std::size_t dot1 = name.find('.');
  if (dot1 == std::string_view::npos) return std::nullopt;
  std::size_t dot2 = name.find('.', dot1 + 1);
  if (dot2 == std::string_view::npos || name.find('.', dot2 + 1) != std::string_view::npos) {
    return std::nullopt;
  }
  std::string_view size = name.substr(0, dot1);
  std::string_view color = name.substr(dot1 + 1, dot2 - dot1 - 1);
  std::string_view pixel = name.substr(dot2 + 1);

  SignFields f;
  if (EqualNoCase(size, "Palette")) {
    f.palette = 1;
    f.rows = f.cols = 16;
  } else {
    std::size_t x = size.find_first_of("xX");
    if (x == std::string_view::npos) return std::nullopt;
    auto rows = ParseCount(size.substr(0, x));
    auto cols = ParseCount(size.substr(x + 1));
    if (!rows || !cols) return std::nullopt;
    f.rows = *rows;
    f.cols = *cols;
  }

  int colorValue = -1;
  for (int v = 0; v < 16; ++v) {
    if (EqualNoCase(color, n4::kColorTechNames[v])) {
      colorValue = v;
      break;
    }
  }
  if (colorValue < 0) return std::nullopt;
  f.color = static_cast<tag_N4_SIGN_COLOR>(colorValue);

  int pixelValue = -1;
  for (int v = 0; v < 4; ++v) {
    if (EqualNoCase(pixel, n4::kPixelTechLetters[v])) {
      pixelValue = v;
      break;
    }
  }
  if (pixelValue < 0) return std::nullopt;
  f.pixel = static_cast<tag_N4_PIXEL_TECH>(pixelValue);
  return f;
}

// Splits off the last name of `path`; false when there is no separator.
bool SplitLast(std::string_view* path, std::string_view* last) {
  std::size_t sep = n4::path::LastSeparator(*path);
  if (sep == std::string_view::npos) return false;
  *last = path->substr(sep + 1);
  *path = path->substr(0, sep);
  return true;
}

}  // namespace

std::string CN4Files::BuildSign(DWORD rows, DWORD cols, tag_N4_SIGN_COLOR color,
                                tag_N4_PIXEL_TECH pixel, int palette) {
  if (palette) {
    m_dwRows = m_dwCols = 16;
    m_bPalette = 1;
  } else {
    m_dwRows = rows;
    m_dwCols = cols;
    m_bPalette = 0;
  }
  const std::string colorName = ColorTechToString(color);
  const std::string pixelLetter = PixelTechToString(pixel);
  if (m_bPalette) return "Palette." + colorName + "." + pixelLetter;
  char size[32];
  std::snprintf(size, sizeof size, "%lux%lu", static_cast<unsigned long>(m_dwRows),
                static_cast<unsigned long>(m_dwCols));
  return size + ("." + colorName) + "." + pixelLetter;
}

std::string CN4Files::BuildSign() {
  return BuildSign(m_dwRows, m_dwCols, m_eColorTech, m_ePixelTech, m_bPalette);
}

std::string CN4Files::BuildPath(const std::string& shareDir, DWORD rows, DWORD cols,
                                tag_N4_SIGN_COLOR color, tag_N4_PIXEL_TECH pixel,
                                const std::string& library, const std::string& file,
                                const std::string& extension) {
  m_strPath.clear();
  m_strExtension = extension;
  const auto colorValue = static_cast<int>(color);
  const auto pixelValue = static_cast<int>(pixel);
  const bool valid = !shareDir.empty() && rows != 0 && cols != 0 && colorValue >= 0 &&
                     colorValue <= 15 && pixelValue >= 0 && pixelValue <= 3 && !library.empty() &&
                     !file.empty();
  if (m_strExtension.empty() || !valid) return m_strPath;
  m_strShareDir = shareDir;
  m_dwRows = rows;
  m_dwCols = cols;
  m_eColorTech = color;
  m_ePixelTech = pixel;
  m_strLibrary = library;
  m_strFile = file;
  // Composed with this platform's separator; ParsePath accepts either.
  const char sep = n4::path::PreferredSeparator();
  m_strPath = m_strShareDir + sep + BuildSign() + std::string(kSignSuffix) + sep + m_strLibrary +
              std::string(kLibSuffix) + sep + m_strFile + "." + m_strExtension;
  return m_strPath;
}

std::string CN4Files::BuildPath(const std::string& shareDir, DWORD rows, DWORD cols,
                                tag_N4_SIGN_COLOR color, tag_N4_PIXEL_TECH pixel,
                                const std::string& library, const std::string& file,
                                DWORD fccType) {
  const std::string extension = FourccToExtension(fccType);
  return BuildPath(shareDir, rows, cols, color, pixel, library, file, extension);
}

int CN4Files::ParseSign(const std::string& sign) {
  auto fields = ParseSignName(sign);
  if (!fields) return 0;
  m_dwRows = fields->rows;
  m_dwCols = fields->cols;
  m_eColorTech = fields->color;
  m_ePixelTech = fields->pixel;
  m_bPalette = fields->palette;
  return 1;
}

int CN4Files::ParsePath(const std::string& path) {
  std::string_view rest = path;
  std::string_view fileName, libName, signName;
  if (!SplitLast(&rest, &fileName) || !SplitLast(&rest, &libName) ||
      !SplitLast(&rest, &signName) || rest.empty()) {
    return 0;
  }
  std::size_t dot = fileName.rfind('.');
  if (dot == std::string_view::npos || dot == 0 || dot + 1 == fileName.size()) return 0;
  if (!EndsWithNoCase(libName, kLibSuffix) || libName.size() == kLibSuffix.size()) return 0;
  if (!EndsWithNoCase(signName, kSignSuffix)) return 0;
  auto sign = ParseSignName(signName);
  if (!sign || sign->rows == 0 || sign->cols == 0) return 0;

  m_strPath = path;
  m_strShareDir = std::string(rest);
  m_dwRows = sign->rows;
  m_dwCols = sign->cols;
  m_eColorTech = sign->color;
  m_ePixelTech = sign->pixel;
  m_bPalette = sign->palette;
  m_strLibrary = std::string(libName.substr(0, libName.size() - kLibSuffix.size()));
  m_strFile = std::string(fileName.substr(0, dot));
  // The extension is kept as written even when its kind is unknown.
  const std::string extension(fileName.substr(dot + 1));
  m_fccType = ExtensionToFourcc(extension);
  m_strExtension = extension;
  return 1;
}
