// Page and group files as JSON and as readable text, shared by `dc pages`
// and `info`.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace n4tool {

// `name` (the file name without extension), `file`, `pages`: per named page
// `number` (from 1) and `name`.
nlohmann::ordered_json DcGroupJson(const std::string& path);
// `name`, `file`, the configuration and `cells`: every configured cell.
nlohmann::ordered_json DcPageJson(const std::string& path);
std::string DcGroupText(const nlohmann::ordered_json& group);
std::string DcPageText(const nlohmann::ordered_json& page);

}  // namespace n4tool
