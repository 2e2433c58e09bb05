// Page and group files read through the library's classes into JSON.
#include "DcJson.h"

#include <filesystem>

#include <n4file/Settings.h>

#include "RiffKind.h"

namespace n4tool {
namespace {

std::string Stem(const std::string& path) { return std::filesystem::path(path).stem().string(); }

nlohmann::ordered_json CellJson(int number, const SCell& c) {
  return {{"number", number},   {"type", c.strType},   {"name", c.strName},    {"category", c.strCategory},
          {"path", c.strPath},  {"mode", c.strMode},   {"times", c.nNumTimes}, {"frame", c.nSelFrame},
          {"window", c.nWinNum}, {"row", c.nRow},      {"column", c.nCol}};
}

}  // namespace

nlohmann::ordered_json DcGroupJson(const std::string& path) {
  CN4FileDCGroup group(Stem(path));
  group.SetPathName(path);
  nlohmann::ordered_json pages = nlohmann::ordered_json::array();
  for (int i = 0; i < group.GetNumPages(); ++i) {
    if (group.ReadPage(i) && group.IsPageValid()) pages.push_back({{"number", i + 1}, {"name", group.GetPageName()}});
  }
  return {{"name", Stem(path)}, {"file", path}, {"pages", pages}};
}

nlohmann::ordered_json DcPageJson(const std::string& path) {
  CN4FileDCPage page(Stem(path));
  page.SetPathName(path);
  page.ReadPageData();
  nlohmann::ordered_json cells = nlohmann::ordered_json::array();
  for (int i = 0; i < CN4FileDCPage::kNumCells; ++i) {
    if (page.ReadCell(i) && page.IsCellConfigured()) cells.push_back(CellJson(i + 1, page.GetCell()));
  }
  nlohmann::ordered_json j = {{"name", Stem(path)},
                              {"file", path},
                              {"type", page.GetPageType()},
                              {"service", page.GetServiceName()},
                              {"sign", page.GetSignName()},
                              {"grid_rows", page.GetGridRows()},
                              {"grid_columns", page.GetGridCols()}};
  if (page.IsInterface()) {
    j["interface"] = page.GetInterfaceName();
    j["request_port"] = page.GetRequestPort();
    j["queued_status"] = page.GetUseQueuedStatus() != 0;
  }
  j["cells"] = cells;
  return j;
}

std::string DcGroupText(const nlohmann::ordered_json& group) {
  std::string text = Format("group %s: %zu pages\n", group["name"].get<std::string>().c_str(), group["pages"].size());
  for (const auto& p : group["pages"]) {
    text += Format("  page %d: %s\n", p["number"].get<int>(), p["name"].get<std::string>().c_str());
  }
  return text;
}

std::string DcPageText(const nlohmann::ordered_json& page) {
  std::string text = Format("page %s: %s, %d x %d grid, %zu cells\n", page["name"].get<std::string>().c_str(),
                            page["type"].get<std::string>().c_str(), page["grid_rows"].get<int>(),
                            page["grid_columns"].get<int>(), page["cells"].size());
  for (const auto& c : page["cells"]) {
    const std::string& path = c["path"].get_ref<const std::string&>();
    text += Format("  cell %3d  row %d col %d  %-10s %s%s\n", c["number"].get<int>(), c["row"].get<int>(),
                   c["column"].get<int>(), c["type"].get_ref<const std::string&>().c_str(),
                   c["name"].get_ref<const std::string&>().c_str(), path.empty() ? "" : (" (" + path + ")").c_str());
  }
  return text;
}

}  // namespace n4tool
