// n4file info: what a file is and what it holds.
#include <filesystem>
#include <fstream>

#include "Commands.h"

namespace n4tool {
namespace {

const Recogniser* const kRecognisers[] = {
#define N4_RECOGNISER_ENTRY(kind) &k##kind##Recogniser,
    N4_INFO_RECOGNISERS(N4_RECOGNISER_ENTRY)
#undef N4_RECOGNISER_ENTRY
};

// Content first: a file named like one kind but holding another is the
// other. The extension decides only when no content matches.
const Recogniser* Recognise(const std::string& path) {
  std::vector<BYTE> head(64);
  std::ifstream in(path, std::ios::binary);
  in.read(reinterpret_cast<char*>(head.data()), static_cast<std::streamsize>(head.size()));
  head.resize(static_cast<size_t>(in.gcount()));
  const auto dot = path.find_last_of("./\\");
  const std::string extension = dot != std::string::npos && path[dot] == '.' ? Lowercase(path.substr(dot + 1)) : "";
  for (const Recogniser* r : kRecognisers) {
    if (r->match(head, extension, path) == Match::kContent) return r;
  }
  for (const Recogniser* r : kRecognisers) {
    if (r->match(head, extension, path) == Match::kExtension) return r;
  }
  return nullptr;
}

int Run(const std::vector<std::string>& files, bool json) {
  int status = kExitOk;
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  for (size_t i = 0; i < files.size(); ++i) {
    const std::string& path = files[i];
    nlohmann::ordered_json one;
    std::string text, cause;
    std::error_code error;
    bool ok = false;
    if (!std::filesystem::exists(path, error)) {
      cause = "no such file";
    } else if (std::filesystem::is_directory(path, error)) {
      cause = "is a directory";
    } else if (const Recogniser* r = Recognise(path)) {
      one["file"] = path;
      one["kind"] = r->kind;
      ok = r->describe(path, one, text, cause);
    } else {
      cause = "unknown kind of file";
    }
    if (!ok) {
      status = Fail(path, cause);
      one = {{"file", path}, {"error", cause}};
    }
    if (json) {
      all.push_back(one);
    } else if (ok) {
      std::fputs(text.c_str(), stdout);
    }
  }
  if (json) std::printf("%s\n", (files.size() == 1 ? all[0] : all).dump(2).c_str());
  return status;
}

}  // namespace

void AddInfoCommand(CLI::App& app) {
  auto* cmd = app.add_subcommand("info", "Describe sequence, calibration, RIFF, real-time data and settings files");
  auto files = std::make_shared<std::vector<std::string>>();
  auto json = std::make_shared<bool>(false);
  cmd->add_option("FILE", *files, "Files to describe")->required();
  cmd->add_flag("--json", *json, "One JSON object per file (an array for several); keys in the README");
  cmd->footer("Example:\n  n4file info show.SQ4\n  n4file info --json show.SQ4 other.SQ4");
  cmd->callback([files, json] { SetExitStatus(Run(*files, *json)); });
}

}  // namespace n4tool
