// Writes the sample pictures of the README's tour into a directory: frames
// for a 24 x 64 colour sign, a larger poster that needs --fit, and frames
// for a 16 x 64 mono sign.
#include <cmath>
#include <cstdio>

#include "Tool.h"

namespace {

using n4tool::Picture;

Picture Make(DWORD height, DWORD width) {
  Picture p;
  p.width = width;
  p.height = height;
  p.rgb.assign(static_cast<size_t>(width) * height * 3, 0);
  return p;
}

void Set(Picture& p, int x, int y, int r, int g, int b) {
  if (x < 0 || y < 0 || x >= static_cast<int>(p.width) || y >= static_cast<int>(p.height)) return;
  BYTE* px = &p.rgb[(static_cast<size_t>(y) * p.width + x) * 3];
  px[0] = static_cast<BYTE>(r);
  px[1] = static_cast<BYTE>(g);
  px[2] = static_cast<BYTE>(b);
}

void Centred(Picture& p, int y, const std::string& text, int scale, const BYTE rgb[3]) {
  n4tool::DrawText(p, (static_cast<int>(p.width) - n4tool::TextWidth(text, scale) + scale) / 2, y, text, scale, rgb);
}

Picture Welcome() {
  Picture p = Make(24, 64);
  for (int y = 0; y < 24; ++y)
    for (int x = 0; x < 64; ++x) Set(p, x, y, 10 + y * 3, 0, 60 + y * 6);
  const BYTE yellow[3] = {255, 210, 0};
  Centred(p, 8, "WELCOME", 1, yellow);
  const BYTE cyan[3] = {0, 200, 255};
  for (int x = 4; x < 60; ++x) Set(p, x, 18, cyan[0], cyan[1], cyan[2]);
  return p;
}

Picture Sunset() {
  Picture p = Make(24, 64);
  for (int y = 0; y < 24; ++y)
    for (int x = 0; x < 64; ++x) {
      if (y >= 18) {
        Set(p, x, y, 0, 110 + (x % 7) * 6, 20);
      } else {
        Set(p, x, y, 40 + y * 11, 20 + y * 6, 120 - y * 5);
      }
    }
  for (int y = 0; y < 24; ++y)
    for (int x = 0; x < 64; ++x) {
      const double d = std::hypot(x - 44.0, y - 16.0);
      if (d < 7.5 && y < 18) Set(p, x, y, 255, 170 + static_cast<int>(d * 8), 0);
    }
  const BYTE white[3] = {255, 255, 255};
  n4tool::DrawText(p, 3, 3, "8 PM", 1, white);
  return p;
}

Picture Poster() {
  Picture p = Make(150, 400);
  for (int y = 0; y < 150; ++y)
    for (int x = 0; x < 400; ++x) Set(p, x, y, 120 + x / 4, 0, 0);
  const BYTE white[3] = {255, 255, 255};
  Centred(p, 30, "SALE", 10, white);
  const BYTE yellow[3] = {255, 230, 0};
  Centred(p, 115, "-50%", 3, yellow);
  return p;
}

Picture MonoText(const std::string& top, const std::string& bottom) {
  Picture p = Make(16, 64);
  const BYTE white[3] = {255, 255, 255};
  const BYTE grey[3] = {110, 110, 110};
  Centred(p, 0, top, 1, white);
  Centred(p, 9, bottom, 1, grey);
  return p;
}

Picture MonoRamp() {
  Picture p = Make(16, 64);
  for (int y = 0; y < 16; ++y)
    for (int x = 0; x < 64; ++x) {
      const int v = x * 255 / 63;
      if (y >= 9 && y < 15) Set(p, x, y, v, v, v);
    }
  const BYTE white[3] = {255, 255, 255};
  Centred(p, 0, "12:30", 1, white);
  return p;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: n4file_tour_pictures DIR\n");
    return 2;
  }
  const std::string dir = argv[1];
  const std::pair<const char*, Picture> pictures[] = {
      {"welcome.png", Welcome()},
      {"sunset.png", Sunset()},
      {"poster.png", Poster()},
      {"open.png", MonoText("OPEN", "DAILY")},
      {"clock.png", MonoRamp()},
  };
  for (const auto& [name, picture] : pictures) {
    std::string cause;
    if (!n4tool::WritePng(dir + "/" + name, picture, cause)) return n4tool::Fail(dir + "/" + name, cause);
  }
  return 0;
}
