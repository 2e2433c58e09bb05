// n4file calib: calibration files shown, drawn and named.
#include <climits>

#include "CalibrationKind.h"
#include "Commands.h"

namespace n4tool {
namespace {

int Show(const std::string& path, bool json) {
  nlohmann::ordered_json j = {{"file", path}, {"kind", "calibration"}};
  std::string text, cause;
  if (!DescribeCalibration(path, j, text, cause)) return Fail(path, cause);
  std::fputs(json ? (j.dump(2) + "\n").c_str() : text.c_str(), stdout);
  return kExitOk;
}

// Corrections are signed; grey 128 is no correction, 0 is -128, 255 is 127.
BYTE Grey(const char* data, long long pixel, int offset) {
  return static_cast<BYTE>(static_cast<signed char>(data[pixel * 3 + offset]) + 128);
}

int Render(const std::string& path, const std::string& out, bool rgb) {
  std::string cause;
  auto file = ReadCalibration(path, cause);
  if (!file) return Fail(path, cause);
  unsigned long dataSize = 0;
  const char* data = file->GetPtrToFileData(&dataSize);
  const long long width = file->GetCols(), height = file->GetRows();
  // Rows run top-down as the face's pixel addresses do; pixels beyond the
  // data read from the file are drawn as no correction.
  if (width <= 0 || height <= 0 || width > INT_MAX / 3 || width * height > (1LL << 28)) {
    return Fail(path, "no picture of this size (" + std::to_string(height) + " x " + std::to_string(width) + ")");
  }
  const long long available = data ? static_cast<long long>(dataSize / 3) : 0;
  Picture picture;
  picture.width = static_cast<DWORD>(rgb ? width : width * 3);
  picture.height = static_cast<DWORD>(height);
  picture.rgb.assign(static_cast<size_t>(picture.width) * picture.height * 3, 128);
  const int offsets[] = {2, 1, 0};  // red, green, blue
  for (long long y = 0; y < height; ++y) {
    for (long long x = 0; x < width; ++x) {
      const long long pixel = y * width + x;
      if (pixel >= available) continue;
      for (int c = 0; c < 3; ++c) {
        const BYTE value = Grey(data, pixel, offsets[c]);
        if (rgb) {
          picture.rgb[static_cast<size_t>(pixel) * 3 + c] = value;
        } else {
          // Red, green and blue panels side by side.
          const size_t at = static_cast<size_t>(y * picture.width + c * width + x) * 3;
          picture.rgb[at] = picture.rgb[at + 1] = picture.rgb[at + 2] = value;
        }
      }
    }
  }
  if (!WritePng(out, picture, cause)) return Fail(out, cause);
  return kExitOk;
}

int NewName(const std::string& name, int face, const std::string& language) {
  char out[260] = {};
  CN4FileCalibration::CreateNewFileName(out, name.c_str(), face, language.empty() ? nullptr : language.c_str());
  if (out[0] == '\0') return Fail(name, "the name would be longer than a path may be");
  std::printf("%s\n", out);
  return kExitOk;
}

}  // namespace

void AddCalibCommand(CLI::App& app) {
  auto* cmd = app.add_subcommand("calib", "Show, draw and name calibration files (CA4)");
  cmd->require_subcommand(1);
  cmd->footer("Example:\n  n4file calib show face.CA4\n  n4file calib render face.CA4 -o face.png --rgb\n"
              "  n4file calib new-name Lobby --face 2");

  auto file = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  auto* show = cmd->add_subcommand("show", "Print the size, both headers and each component's minimum, mean and maximum");
  show->add_option("FILE", *file, "The calibration file")->required();
  show->add_flag("--json", *json, "One JSON object; keys in the README");
  show->footer("Example:\n  n4file calib show --json face.CA4");
  show->callback([file, json] { SetExitStatus(Show(*file, *json)); });

  auto out = std::make_shared<std::string>();
  auto rgb = std::make_shared<bool>(false);
  auto* render = cmd->add_subcommand("render", "Draw the corrections as a PNG (grey 128 is no correction)");
  render->add_option("FILE", *file, "The calibration file")->required();
  render->add_option("-o,--output", *out, "The PNG to write")->required();
  render->add_flag("--rgb", *rgb, "One colour picture instead of red, green and blue side by side");
  render->footer("Example:\n  n4file calib render face.CA4 -o face.png");
  render->callback([file, out, rgb] { SetExitStatus(Render(*file, *out, *rgb)); });

  auto name = std::make_shared<std::string>();
  auto face = std::make_shared<int>(1);
  auto language = std::make_shared<std::string>();
  auto* newName = cmd->add_subcommand("new-name", "Print the name of the next calibration file of a sign face, dated today");
  newName->add_option("NAME", *name, "The sign's name")->required();
  newName->add_option("--face", *face, "The face: 1 to 8 are FA to FH")->required();
  newName->add_option("--language", *language, "The language of the month names (default English)");
  newName->footer("Example:\n  n4file calib new-name Lobby --face 2 --language English");
  newName->callback([name, face, language] { SetExitStatus(NewName(*name, *face, *language)); });
}

}  // namespace n4tool
