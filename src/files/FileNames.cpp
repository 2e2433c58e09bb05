// CN4Files: the names of colour and pixel technologies and of file kinds.
#include <cctype>

#include "n4file/Files.h"

namespace n4 {

const char* const kColorTechNames[16] = {
    "Mono1", "Quad16",  "Tri3",   "Quad256", "Mono4",  "Quad64K", "Mono16",  "Tri256",
    "Quad16M", "RGB64", "RGB4K", "RGB16M", "Mono64", "RGB32KB", "RGB16MB", "",
};

const char* const kPixelTechLetters[4] = {"", "I", "R", "L"};

}  // namespace n4

namespace {

struct FileKind {
  const char* extension;
  DWORD fccType;
};

constexpr FileKind kFileKinds[] = {
    {"SQ4", n4::MakeFourCC("seq4")},
    {"SD4", n4::MakeFourCC("schd")},
    {"SC4", n4::MakeFourCC("scpt")},
    {"SEQ", n4::MakeFourCC("seq3")},
};

bool EqualNoCase(const std::string& a, const char* b) {
  std::size_t i = 0;
  for (; i < a.size() && b[i] != '\0'; ++i) {
    if (std::toupper(static_cast<unsigned char>(a[i])) !=
        std::toupper(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return i == a.size() && b[i] == '\0';
}

}  // namespace

CN4Files::CN4Files() = default;

CN4Files::~CN4Files() = default;

std::string CN4Files::ColorTechToString(tag_N4_SIGN_COLOR color) {
  m_eColorTech = color;
  return ColorTechToString();
}

std::string CN4Files::ColorTechToString() {
  auto index = static_cast<unsigned>(m_eColorTech);
  return index < 16 ? n4::kColorTechNames[index] : "";
}

tag_N4_SIGN_COLOR CN4Files::StringToColorTech(std::string text) {
  m_eColorTech = Mono1;
  // Only the fifteen named values: the empty sixteenth name must not match.
  for (int value = 0; value < 15; ++value) {
    if (EqualNoCase(text, n4::kColorTechNames[value])) {
      m_eColorTech = static_cast<tag_N4_SIGN_COLOR>(value);
      break;
    }
  }
  return m_eColorTech;
}

tag_N4_SIGN_COLOR CN4Files::IntToColorTech(int value) {
  m_eColorTech = (value >= 0 && value <= 15) ? static_cast<tag_N4_SIGN_COLOR>(value) : Mono1;
  return m_eColorTech;
}

std::string CN4Files::PixelTechToString(tag_N4_PIXEL_TECH pixel) {
  m_ePixelTech = pixel;
  return PixelTechToString();
}

std::string CN4Files::PixelTechToString() {
  return (m_ePixelTech >= 1 && m_ePixelTech <= 3) ? n4::kPixelTechLetters[m_ePixelTech] : "";
}

tag_N4_PIXEL_TECH CN4Files::StringToPixelTech(std::string text) {
  if (EqualNoCase(text, "R")) {
    m_ePixelTech = PixelTechR;
  } else if (EqualNoCase(text, "L")) {
    m_ePixelTech = PixelTechL;
  } else {
    m_ePixelTech = PixelTechI;
  }
  return m_ePixelTech;
}

tag_N4_PIXEL_TECH CN4Files::IntToPixelTech(int value) {
  m_ePixelTech = (value >= 1 && value <= 3) ? static_cast<tag_N4_PIXEL_TECH>(value) : PixelTechI;
  return m_ePixelTech;
}

std::string CN4Files::FourccToExtension(DWORD fccType) {
  m_fccType = fccType;
  return FourccToExtension();
}

std::string CN4Files::FourccToExtension() {
  for (const auto& kind : kFileKinds) {
    if (kind.fccType == m_fccType) {
      m_strExtension = kind.extension;
      return m_strExtension;
    }
  }
  m_strExtension.clear();
  m_fccType = 0;
  return m_strExtension;
}

DWORD CN4Files::ExtensionToFourcc(const std::string& extension) {
  m_strExtension = extension;
  return ExtensionToFourcc();
}

DWORD CN4Files::ExtensionToFourcc() {
  for (const auto& kind : kFileKinds) {
    if (m_strExtension == kind.extension) {
      m_fccType = kind.fccType;
      return m_fccType;
    }
  }
  m_strExtension.clear();
  m_fccType = 0;
  return m_fccType;
}

int CN4Files::IsColorAndPixelTechValid(tag_N4_SIGN_COLOR color, tag_N4_PIXEL_TECH pixel) {
  switch (static_cast<int>(color)) {
    case Mono1:
      return 1;
    case Mono4:
    case Mono16:
    case Mono64:
      return pixel != PixelTechR ? 1 : 0;
    case Quad16:
    case Quad256:
    case Quad64K:
    case Quad16M:
      return pixel == PixelTechI ? 1 : 0;
    case Tri3:
    case Tri256:
    case RGB64:
    case RGB4K:
    case RGB16M:
    case RGB32KB:
    case RGB16MB:
      return pixel == PixelTechL ? 1 : 0;
    default:
      return 0;
  }
}

int CN4Files::IsColorAndPixelTechValid() { return IsColorAndPixelTechValid(m_eColorTech, m_ePixelTech); }
