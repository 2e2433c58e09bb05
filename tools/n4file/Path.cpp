// n4file path: sign-library paths built from their parts and taken apart.
#include <n4file/Files.h>

#include "Commands.h"
#include "RiffKind.h"
#include "Sequence.h"

namespace n4tool {
namespace {

struct BuildOptions {
  std::string share, color, pixel = "I", library, file, extension = "SQ4", size;
  bool palette = false;
};

int Build(const BuildOptions& o) {
  const auto color = ColorByName(o.color);
  if (!color) UsageError("unknown colour technology \"" + o.color + "\"; one of " + ColorNames());
  const std::string letter = Lowercase(o.pixel);
  if (letter != "i" && letter != "r" && letter != "l") UsageError("--pixel must be I, R or L");
  unsigned rows = 16, cols = 16;
  char x = 0, extra = 0;
  if (!o.palette && (std::sscanf(o.size.c_str(), "%u%c%u%c", &rows, &x, &cols, &extra) != 3 ||
                     (x != 'x' && x != 'X') || rows == 0 || cols == 0)) {
    UsageError("--size must be ROWSxCOLS (or give --palette)");
  }
  CN4Files names;
  const tag_N4_PIXEL_TECH pixel = names.StringToPixelTech(letter);
  names.BuildSign(rows, cols, static_cast<tag_N4_SIGN_COLOR>(*color), pixel, o.palette ? 1 : 0);
  const std::string path = names.BuildPath(o.share, rows, cols, static_cast<tag_N4_SIGN_COLOR>(*color), pixel,
                                           o.library, o.file, o.extension);
  if (path.empty()) UsageError("a path needs a share directory, a library, a file and an extension");
  std::printf("%s\n", path.c_str());
  return kExitOk;
}

int Parse(const std::string& path, bool json) {
  CN4Files names;
  if (!names.ParsePath(path)) return Fail(path, "not a sign-library path (SHARE/ROWSxCOLS.COLOUR.PIXEL.Sign/LIB.Lib/FILE.EXT)");
  nlohmann::ordered_json j = {{"share", names.GetShareDir()},
                              {"palette", names.IsPaletteType() != 0},
                              {"rows", names.GetRows()},
                              {"columns", names.GetCols()},
                              {"color", ColorName(names.GetColorTech())},
                              {"pixel", PixelName(names.GetPixelTech())},
                              {"library", names.GetLibrary()},
                              {"file", names.GetFile()},
                              {"extension", names.GetExtension()},
                              {"kind", names.GetFccType() ? FourccText(names.GetFccType()) : ""}};
  if (json) {
    std::printf("%s\n", j.dump(2).c_str());
    return kExitOk;
  }
  for (const auto& [key, value] : j.items()) {
    std::printf("%-10s %s\n", (key + ":").c_str(), value.is_string() ? value.get<std::string>().c_str() : value.dump().c_str());
  }
  return kExitOk;
}

}  // namespace

void AddPathCommand(CLI::App& app) {
  auto* cmd = app.add_subcommand("path", "Build a sign-library path from its parts, or take one apart");
  cmd->require_subcommand(1);
  cmd->footer("Example:\n  n4file path build --share /srv/shows --size 16x80 --color Mono1 --library Weather --file Rain\n"
              "  n4file path parse /srv/shows/16x80.Mono1.I.Sign/Weather.Lib/Rain.SQ4");
  auto b = std::make_shared<BuildOptions>();
  auto* build = cmd->add_subcommand("build", "Print the path of a library file");
  build->add_option("--share", b->share, "The share directory")->required();
  build->add_option("--size", b->size, "The sign: ROWSxCOLS");
  build->add_flag("--palette", b->palette, "A palette folder instead of a sign size");
  build->add_option("--color", b->color, "Colour technology (any case)")->required();
  build->add_option("--pixel", b->pixel, "Pixel technology I, R or L")->capture_default_str();
  build->add_option("--library", b->library, "The library name")->required();
  build->add_option("--file", b->file, "The file name without extension")->required();
  build->add_option("--ext", b->extension, "SQ4, SD4, SC4 or SEQ")->capture_default_str();
  build->callback([b] { SetExitStatus(Build(*b)); });
  auto path = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  auto* parse = cmd->add_subcommand("parse", "Print the parts of a library path");
  parse->add_option("PATH", *path, "The path")->required();
  parse->add_flag("--json", *json, "As one JSON object");
  parse->callback([path, json] { SetExitStatus(Parse(*path, *json)); });
}

}  // namespace n4tool
