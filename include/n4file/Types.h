// Windows names used in the N4FILE interfaces.
//
// On Windows they come from <windows.h> and <vfw.h>. Elsewhere this header
// defines the same names with the same field names, sizes and packed layouts,
// so records written into files are byte-identical on every platform.
#pragma once

#include <cstddef>
#include <cstdint>

#include "n4file/Export.h"

#if defined(_WIN32)
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#include <vfw.h>
#else

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using LONG = std::int32_t;
using BOOL = int;
#ifndef FALSE
#define FALSE 0
#endif
#ifndef TRUE
#define TRUE 1
#endif
using FOURCC = DWORD;

// Opaque handles. Their values mean something only to the layer that made them.
using HANDLE = void*;
struct HKEY__;
using HKEY = HKEY__*;
struct HWND__;
using HWND = HWND__*;
struct HIC__;
using HIC = HIC__*;

#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1)))

// Predefined registry roots, as on Windows.
#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x80000001u)))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x80000002u)))

#define REG_NONE 0
#define REG_SZ 1
#define REG_EXPAND_SZ 2
#define REG_BINARY 3
#define REG_DWORD 4
#define REG_MULTI_SZ 7
#define REG_QWORD 11

#define KEY_READ 0x20019u
#define KEY_WRITE 0x20006u
#define KEY_ALL_ACCESS 0xF003Fu

#define MAX_PATH 260

// Message box styles, as on Windows.
#define MB_OK 0x00000000u
#define MB_OKCANCEL 0x00000001u
#define MB_YESNO 0x00000004u
#define MB_ICONHAND 0x00000010u
#define MB_ICONERROR MB_ICONHAND
#define MB_ICONQUESTION 0x00000020u
#define MB_ICONEXCLAMATION 0x00000030u
#define MB_ICONWARNING MB_ICONEXCLAMATION
#define MB_ICONASTERISK 0x00000040u
#define MB_ICONINFORMATION MB_ICONASTERISK

#pragma pack(push, 1)
struct RGBTRIPLE {
  BYTE rgbtBlue;
  BYTE rgbtGreen;
  BYTE rgbtRed;
};

struct RGBQUAD {
  BYTE rgbBlue;
  BYTE rgbGreen;
  BYTE rgbRed;
  BYTE rgbReserved;
};

struct BITMAPFILEHEADER {
  WORD bfType;
  DWORD bfSize;
  WORD bfReserved1;
  WORD bfReserved2;
  DWORD bfOffBits;
};
#pragma pack(pop)

#pragma pack(push, 2)
struct BITMAPINFOHEADER {
  DWORD biSize;
  LONG biWidth;
  LONG biHeight;
  WORD biPlanes;
  WORD biBitCount;
  DWORD biCompression;
  DWORD biSizeImage;
  LONG biXPelsPerMeter;
  LONG biYPelsPerMeter;
  DWORD biClrUsed;
  DWORD biClrImportant;
};
#pragma pack(pop)

struct BITMAPINFO {
  BITMAPINFOHEADER bmiHeader;
  RGBQUAD bmiColors[1];
};
using LPBITMAPINFO = BITMAPINFO*;

#define BI_RGB 0
#define ICTYPE_VIDEO 0x63646976u  // "vidc"
#define ICMF_COMPVARS_VALID 0x00000001u
#define AVIIF_KEYFRAME 0x00000010u

struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

struct BY_HANDLE_FILE_INFORMATION {
  DWORD dwFileAttributes;
  FILETIME ftCreationTime;
  FILETIME ftLastAccessTime;
  FILETIME ftLastWriteTime;
  DWORD dwVolumeSerialNumber;
  DWORD nFileSizeHigh;
  DWORD nFileSizeLow;
  DWORD nNumberOfLinks;
  DWORD nFileIndexHigh;
  DWORD nFileIndexLow;
};

#define FILE_ATTRIBUTE_READONLY 0x00000001u
#define FILE_ATTRIBUTE_DIRECTORY 0x00000010u
#define FILE_ATTRIBUTE_NORMAL 0x00000080u

// The video compression manager's per-stream settings record.
struct COMPVARS {
  LONG cbSize;
  DWORD dwFlags;
  HIC hic;
  DWORD fccType;
  DWORD fccHandler;
  LPBITMAPINFO lpbiIn;
  LPBITMAPINFO lpbiOut;
  void* lpBitsOut;
  void* lpBitsPrev;
  LONG lFrame;
  LONG lKey;
  LONG lDataRate;
  LONG lQ;
  LONG lKeyCount;
  void* lpState;
  LONG cbState;
};

#endif  // !_WIN32

static_assert(sizeof(RGBTRIPLE) == 3);
static_assert(sizeof(BITMAPFILEHEADER) == 14);
static_assert(sizeof(BITMAPINFOHEADER) == 40);

// MFC's small geometry types, with MFC's field names.
struct CPoint {
  LONG x = 0;
  LONG y = 0;
  constexpr CPoint() = default;
  constexpr CPoint(LONG px, LONG py) : x(px), y(py) {}
  friend constexpr bool operator==(const CPoint&, const CPoint&) = default;
};

struct CSize {
  LONG cx = 0;
  LONG cy = 0;
  constexpr CSize() = default;
  constexpr CSize(LONG w, LONG h) : cx(w), cy(h) {}
  friend constexpr bool operator==(const CSize&, const CSize&) = default;
};

struct CRect {
  LONG left = 0;
  LONG top = 0;
  LONG right = 0;
  LONG bottom = 0;
  constexpr CRect() = default;
  constexpr CRect(LONG l, LONG t, LONG r, LONG b) : left(l), top(t), right(r), bottom(b) {}
  constexpr LONG Width() const { return right - left; }
  constexpr LONG Height() const { return bottom - top; }
  constexpr bool IsRectEmpty() const { return right <= left || bottom <= top; }
  constexpr bool PtInRect(CPoint p) const { return p.x >= left && p.x < right && p.y >= top && p.y < bottom; }
  friend constexpr bool operator==(const CRect&, const CRect&) = default;
};

// The sign enumerations shared by the bulb data, sequence and library-path
// families.

// Colour technology of a sign.
enum tag_N4_SIGN_COLOR {
  Mono1 = 0,
  Quad16 = 1,
  Tri3 = 2,
  Quad256 = 3,
  Mono4 = 4,
  Quad64K = 5,
  Mono16 = 6,
  Tri256 = 7,
  Quad16M = 8,
  RGB64 = 9,
  RGB4K = 10,
  RGB16M = 11,
  Mono64 = 12,
  RGB32KB = 13,  // one 16-bit (5-5-5) pixel per bulb
  RGB16MB = 14,  // one 24-bit BGR pixel per bulb
};

// Pixel technology of a sign, written as the letters "I", "R" and "L".
enum tag_N4_PIXEL_TECH : int {
  PixelTechI = 1,
  PixelTechR = 2,
  PixelTechL = 3,
};

namespace n4 {

// A four-character code with its first character in the lowest byte.
constexpr DWORD MakeFourCC(const char (&s)[5]) {
  return static_cast<DWORD>(static_cast<unsigned char>(s[0])) |
         (static_cast<DWORD>(static_cast<unsigned char>(s[1])) << 8) |
         (static_cast<DWORD>(static_cast<unsigned char>(s[2])) << 16) |
         (static_cast<DWORD>(static_cast<unsigned char>(s[3])) << 24);
}

}  // namespace n4

// After the Windows names: the message sink uses UINT.
#include "n4file/Message.h"
