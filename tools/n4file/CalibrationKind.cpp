// `info` for calibration files: a bitmap file header ("BM") followed by a
// 40-byte info header of 24 bits per pixel. Any such bitmap is read as a
// calibration file, since that is all a calibration file is; ".ca4" alone
// is the weaker, extension match.
#include "CalibrationKind.h"

#include <algorithm>
#include <cstring>

#include "Commands.h"
#include "RiffKind.h"

namespace n4tool {
namespace {

constexpr WORD kBitmapType = 0x4D42;  // "BM" read little-endian

std::string OpenCause(const n4::FileErrorRecord& error) {
  switch (error.m_cause) {
    case n4::FileErrorRecord::fileNotFound: return "no such file";
    case n4::FileErrorRecord::accessDenied: return "permission denied";
    case n4::FileErrorRecord::sharingViolation: return "in use by another program";
    default: return "cannot be opened";
  }
}

struct Component {
  const char* name;
  int offset;  // within a pixel: blue, green, red
  int min = 127, max = -128;
  long long sum = 0;
};

Match MatchCalibration(const std::vector<BYTE>& head, const std::string& extension,
                      const std::string& /*path*/) {
  // Offsets: bfType 0, biSize 14, biBitCount 28.
  if (head.size() >= 30 && head[0] == 'B' && head[1] == 'M' && head[14] == 40 && head[15] == 0 &&
      head[16] == 0 && head[17] == 0 && head[28] == 24 && head[29] == 0) {
    return Match::kContent;
  }
  return extension == "ca4" ? Match::kExtension : Match::kNone;
}

}  // namespace

std::unique_ptr<CN4FileCalibrationEx> ReadCalibration(const std::string& path, std::string& cause) {
  auto file = std::make_unique<CN4FileCalibrationEx>(0, 0);
  if (!file->Open(path.c_str(), 1, 0, 1)) {
    cause = OpenCause(file->GetFileError());
    return nullptr;
  }
  // Reading is lenient (missing bytes read as zero), so a failure here is
  // the file itself failing, and the headers decide what the file is.
  const int read = file->ReadFile();
  file->Close();
  BITMAPFILEHEADER fh{};
  BITMAPINFOHEADER ih{};
  file->GetFileHeader(&fh);
  file->GetInfoHeader(&ih);
  if (!read) {
    cause = "cannot be read";
  } else if (fh.bfType != kBitmapType || ih.biBitCount != 24) {
    cause = "not a calibration file (a 24-bit \"BM\" bitmap)";
  } else {
    return file;
  }
  return nullptr;
}

bool DescribeCalibration(const std::string& path, nlohmann::ordered_json& json, std::string& text,
                         std::string& cause) {
  auto file = ReadCalibration(path, cause);
  if (!file) return false;
  BITMAPFILEHEADER fh{};
  BITMAPINFOHEADER ih{};
  file->GetFileHeader(&fh);
  file->GetInfoHeader(&ih);
  unsigned long dataSize = 0;
  const char* data = file->GetPtrToFileData(&dataSize);
  if (!data) dataSize = 0;

  // Pixels are packed (y * width + x) * 3 in the buffer; only those wholly
  // inside the data read from the file are counted.
  const long long width = std::max<LONG>(ih.biWidth, 0), height = std::max<LONG>(ih.biHeight, 0);
  const long long pixels = std::min<long long>(width * height, static_cast<long long>(dataSize / 3));
  Component components[] = {{"red", 2}, {"green", 1}, {"blue", 0}};
  for (long long i = 0; i < pixels; ++i) {
    for (Component& c : components) {
      const int v = static_cast<signed char>(data[i * 3 + c.offset]);
      c.min = std::min(c.min, v);
      c.max = std::max(c.max, v);
      c.sum += v;
    }
  }

  json["rows"] = +ih.biHeight;
  json["columns"] = +ih.biWidth;
  json["data_bytes"] = dataSize;
  json["file_header"] = {{"type", "BM"},
                         {"size", +fh.bfSize},
                         {"reserved1", +fh.bfReserved1},
                         {"reserved2", +fh.bfReserved2},
                         {"offset_bits", +fh.bfOffBits}};
  json["info_header"] = {{"size", +ih.biSize},
                         {"width", +ih.biWidth},
                         {"height", +ih.biHeight},
                         {"planes", +ih.biPlanes},
                         {"bit_count", +ih.biBitCount},
                         {"compression", +ih.biCompression},
                         {"size_image", +ih.biSizeImage},
                         {"x_pels_per_meter", +ih.biXPelsPerMeter},
                         {"y_pels_per_meter", +ih.biYPelsPerMeter},
                         {"colors_used", +ih.biClrUsed},
                         {"colors_important", +ih.biClrImportant}};
  auto& stats = json["components"];
  stats["signed"] = true;
  stats["pixels"] = pixels;
  text = Format("%s: calibration, %ld rows x %ld columns, %lu data bytes\n", path.c_str(),
                static_cast<long>(ih.biHeight), static_cast<long>(ih.biWidth), dataSize);
  text += Format("  file header: type BM, size %lu, reserved %u %u, offset %lu\n",
                 static_cast<unsigned long>(fh.bfSize), fh.bfReserved1, fh.bfReserved2,
                 static_cast<unsigned long>(fh.bfOffBits));
  text += Format("  info header: size %lu, %ld x %ld, %u plane(s), %u bits, compression %lu, image %lu bytes,\n"
                 "               %ld x %ld pixels per metre, %lu colours used, %lu important\n",
                 static_cast<unsigned long>(ih.biSize), static_cast<long>(ih.biWidth),
                 static_cast<long>(ih.biHeight), ih.biPlanes, ih.biBitCount,
                 static_cast<unsigned long>(ih.biCompression), static_cast<unsigned long>(ih.biSizeImage),
                 static_cast<long>(ih.biXPelsPerMeter), static_cast<long>(ih.biYPelsPerMeter),
                 static_cast<unsigned long>(ih.biClrUsed), static_cast<unsigned long>(ih.biClrImportant));
  text += Format("  corrections over %lld pixels, signed (-128 to 127):\n", pixels);
  for (const Component& c : components) {
    const double mean = pixels ? static_cast<double>(c.sum) / static_cast<double>(pixels) : 0.0;
    const int min = pixels ? c.min : 0, max = pixels ? c.max : 0;
    stats[c.name] = {{"min", min}, {"mean", mean}, {"max", max}};
    text += Format("    %-5s min %4d  mean %8.3f  max %4d\n", c.name, min, mean, max);
  }
  return true;
}

const Recogniser kCalibrationRecogniser = {"calibration", MatchCalibration, DescribeCalibration};

}  // namespace n4tool
