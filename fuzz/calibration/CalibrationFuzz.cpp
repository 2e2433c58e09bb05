// libFuzzer target for calibration files: the input is a file's bytes. It is
// read as a calibration file (leniently, whatever its headers say), its pixels
// are read and edited through points and rectangles taken from the input's
// last bytes, and a face small enough is written and read back, which must
// give the same headers and pixels. Nothing may touch memory outside the
// buffers.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "n4file/Calibration.h"

namespace {

// Faces larger than this are read but not walked or written: a header may
// claim a face of two gigabytes that the buffer only holds as zero pages.
constexpr unsigned long kWalkLimit = 1 << 16;

std::string ScratchDir() {
  static const std::string dir = [] {
    auto p = std::filesystem::temp_directory_path() / ("n4file-calfuzz-" + std::to_string(std::random_device{}()));
    std::filesystem::create_directories(p);
    return p.string();
  }();
  return dir;
}

// Signed 32-bit values from the end of the input, zero when it is short.
LONG Tail(const std::uint8_t* data, std::size_t size, std::size_t index) {
  const std::size_t from = 4 * (index + 1);
  if (size < from) return 0;
  std::int32_t v = 0;
  std::memcpy(&v, data + size - from, 4);
  // Mostly small values, so the walks meet the face; sometimes extreme ones.
  return (v & 0x40000000) ? v : v % 64;
}

void Exercise(CN4FileCalibrationEx& f, const std::uint8_t* data, std::size_t size) {
  CRect area(Tail(data, size, 0), Tail(data, size, 1), Tail(data, size, 2), Tail(data, size, 3));
  CPoint pt(Tail(data, size, 4), Tail(data, size, 5));
  const RGBTRIPLE value{static_cast<BYTE>(size), static_cast<BYTE>(size >> 3), 0x80};
  RGBTRIPLE out{};
  int clipped = 0;

  CPoint p = pt;
  f.GetPixelCalData(&p, &out);
  p = pt;
  f.OffsetPixelCalData(&p, value, &clipped);
  CRect a = area;
  f.OffsetAreaCalData(&a, value, &clipped);
  f.GetAreaAvgCalData(&a, &out);
  f.GetAreaTopLeftCalData(&a, &out);
  f.SetAreaCalData(&a, value);

  std::vector<RGBTRIPLE> values(256, value);
  f.SetAreaData(&a, values.data(), values.size());
  f.GetAreaData(&a, values.data(), values.size());

  // Module copies through the size query, into buffers of exactly that size.
  const int need = f.GetModuleData(&a, nullptr, 0);
  if (need > 0 && static_cast<unsigned long>(need) <= kWalkLimit) {
    std::vector<unsigned char> module(static_cast<std::size_t>(need));
    f.GetModuleData(&a, module.data(), module.size());
    f.SetModuleData(&a, module.data(), module.size());
  }
  CSize face(static_cast<LONG>(f.GetCols()), static_cast<LONG>(f.GetRows()));
  unsigned long bytes = 0;
  auto* buffer = reinterpret_cast<unsigned char*>(f.GetPtrToFileData(&bytes));
  unsigned char c1 = 0, c2 = 0, c3 = 0;
  p = pt;
  CN4FileCalibration::GetPixelData(&p, &c1, &c2, &c3, &face, buffer, bytes);
  CN4FileCalibration::SetPixelData(&p, c3, c2, c1, &face, buffer, bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string path = ScratchDir() + "/input.CA4";
  const std::string copy = ScratchDir() + "/copy.CA4";
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  CN4FileCalibrationEx f(0, 0);
  if (!f.Open(path.c_str(), 1, 0, 1)) std::abort();
  if (!f.ReadFile()) return 0;
  f.Close();
  if (f.GetDataSize() > kWalkLimit) return 0;
  Exercise(f, data, size);

  if (!f.Open(copy.c_str(), 0, 1, 0) || !f.WriteFile()) std::abort();
  f.Close();
  CN4FileCalibrationEx r(0, 0);
  if (!r.Open(copy.c_str(), 1, 0, 1) || !r.ReadFile()) std::abort();
  BITMAPINFOHEADER written{}, read{};
  f.GetInfoHeader(&written);
  r.GetInfoHeader(&read);
  unsigned long a = 0, b = 0;
  const char* pa = f.GetPtrToFileData(&a);
  const char* pb = r.GetPtrToFileData(&b);
  if (std::memcmp(&written, &read, sizeof written) != 0 || a != b || std::memcmp(pa, pb, a) != 0) {
    std::abort();
  }
  return 0;
}
