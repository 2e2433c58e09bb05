// `info` for the display controller's settings files: "Config.dc", page
// (".dcp") and group (".dcg") files. They are plain text with no signature,
// so the extension alone tells them apart.
#include <n4file/Settings.h>

#include "Commands.h"
#include "DcJson.h"
#include "RiffKind.h"

namespace n4tool {
namespace {

Match MatchConfig(const std::vector<BYTE>&, const std::string& extension, const std::string&) {
  return extension == "dc" ? Match::kExtension : Match::kNone;
}

bool DescribeConfig(const std::string& path, nlohmann::ordered_json& json, std::string& text, std::string&) {
  CN4FileDCConfig config;  // reads the data directory's file first
  config.SetPathName(path);
  config.ReadConfigData();
  json["group"] = config.GetGroupName();
  auto& categories = json["categories"];
  categories = nlohmann::ordered_json::array();
  text = Format("%s: display controller configuration\n  group:      %s\n  categories: %d\n", path.c_str(),
                config.GetGroupName().c_str(), config.GetNumCategories());
  for (int i = 0; i < config.GetNumCategories(); ++i) {
    categories.push_back({{"name", config.GetCategoryName(i)},
                          {"style", config.GetCategoryStyle(i)},
                          {"background", config.GetCategoryBkColor(i)},
                          {"text_color", config.GetCategoryTextColor(i)}});
    text += Format("    %-20s %-10s background %u, text %u\n", config.GetCategoryName(i).c_str(),
                   config.GetCategoryStyle(i).c_str(), static_cast<unsigned>(config.GetCategoryBkColor(i)),
                   static_cast<unsigned>(config.GetCategoryTextColor(i)));
  }
  return true;
}

Match MatchGroup(const std::vector<BYTE>&, const std::string& extension, const std::string&) {
  return extension == "dcg" ? Match::kExtension : Match::kNone;
}

bool DescribeGroup(const std::string& path, nlohmann::ordered_json& json, std::string& text, std::string&) {
  const nlohmann::ordered_json group = DcGroupJson(path);
  json["pages"] = group["pages"];
  text = path + ": display controller page " + DcGroupText(group);
  return true;
}

Match MatchPage(const std::vector<BYTE>&, const std::string& extension, const std::string&) {
  return extension == "dcp" ? Match::kExtension : Match::kNone;
}

bool DescribePage(const std::string& path, nlohmann::ordered_json& json, std::string& text, std::string&) {
  nlohmann::ordered_json page = DcPageJson(path);
  text = path + ": display controller " + DcPageText(page);
  page.erase("file");
  page.erase("name");
  json.update(page);
  return true;
}

}  // namespace

const Recogniser kDcConfigRecogniser = {"dc-config", MatchConfig, DescribeConfig};
const Recogniser kDcGroupRecogniser = {"dc-group", MatchGroup, DescribeGroup};
const Recogniser kDcPageRecogniser = {"dc-page", MatchPage, DescribePage};

}  // namespace n4tool
