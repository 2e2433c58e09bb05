// n4file dc pages: the page groups of a display-controller directory, the
// pages each group names, and every page file with its configured cells.
#include <algorithm>
#include <filesystem>

#include "Commands.h"
#include "DcJson.h"

namespace n4tool {
namespace {

namespace fs = std::filesystem;

// The files in `dir` with this extension (any case), sorted so
// the listing is the same on every file system.
std::vector<fs::path> FilesWithExtension(const fs::path& dir, const std::string& extension) {
  std::vector<fs::path> found;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(dir, error)) {
    if (entry.is_regular_file(error) && EqualsNoCase(entry.path().extension().string(), extension)) {
      found.push_back(entry.path());
    }
  }
  std::sort(found.begin(), found.end());
  return found;
}

int Run(const std::string& dir, bool json) {
  std::error_code error;
  if (!fs::exists(dir, error)) return Fail(dir, "no such directory");
  if (!fs::is_directory(dir, error)) return Fail(dir, "not a directory");
  nlohmann::ordered_json groups = nlohmann::ordered_json::array();
  for (const auto& file : FilesWithExtension(dir, ".dcg")) groups.push_back(DcGroupJson(file.string()));
  nlohmann::ordered_json pages = nlohmann::ordered_json::array();
  for (const auto& file : FilesWithExtension(dir, ".dcp")) pages.push_back(DcPageJson(file.string()));
  if (json) {
    const nlohmann::ordered_json all = {{"directory", dir}, {"groups", groups}, {"pages", pages}};
    std::printf("%s\n", all.dump(2).c_str());
    return kExitOk;
  }
  std::string text;
  for (const auto& g : groups) text += DcGroupText(g);
  for (const auto& p : pages) text += DcPageText(p);
  std::fputs(text.c_str(), stdout);
  return kExitOk;
}

}  // namespace

void AddDcCommand(CLI::App& app) {
  auto* cmd = app.add_subcommand("dc", "Inspect the display controller's settings");
  cmd->require_subcommand(1);
  cmd->footer("Example:\n  n4file dc pages /srv/controller");
  auto dir = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  auto* pages = cmd->add_subcommand("pages", "List the page groups, the pages and their cells in a directory");
  pages->add_option("DIR", *dir, "The directory of the group (.dcg) and page (.dcp) files")->required();
  pages->add_flag("--json", *json, "As one JSON object; keys in the README");
  pages->footer("Example:\n  n4file dc pages /srv/controller\n  n4file dc pages --json /srv/controller");
  pages->callback([dir, json] { SetExitStatus(Run(*dir, *json)); });
}

}  // namespace n4tool
