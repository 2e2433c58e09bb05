// n4file script: the lines of a script file and the tokens of each.
#include <filesystem>

#include <n4file/Script.h>

#include "Commands.h"

namespace n4tool {
namespace {

int Tokens(const std::string& path, bool json) {
  std::error_code error;
  if (!std::filesystem::exists(path, error)) return Fail(path, "no such file");
  if (std::filesystem::is_directory(path, error)) return Fail(path, "is a directory");
  CN4FileScript script;
  if (!script.Open(path, 0)) {
    const n4::FileException& e = script.GetFileError();
    return Fail(path, "cannot be opened: " + CauseWithoutFile(e.what(), e.GetFileName()));
  }
  try {
    script.ReadScriptFile();
  } catch (const n4::FileException& e) {
    return Fail(path, "cannot be read: " + CauseWithoutFile(e.what(), e.GetFileName()));
  }
  nlohmann::ordered_json lines = nlohmann::ordered_json::array();
  std::string text;
  for (int i = 0; i < script.GetLineCount(); ++i) {
    std::string line;
    script.GetLine(i, line);
    script.ParseLine(i);
    nlohmann::ordered_json tokens = nlohmann::ordered_json::array();
    text += std::to_string(i + 1) + ": " + line + "\n ";
    if (script.GetTokenCount() == 0) text += " (no tokens)";
    for (int t = 0; t < script.GetTokenCount(); ++t) {
      std::string token;
      script.GetToken(t, token);
      text += " [" + token + "]";
      tokens.push_back(token);
    }
    text += "\n";
    lines.push_back({{"line", i + 1}, {"text", line}, {"tokens", tokens}});
  }
  if (json) {
    const nlohmann::ordered_json doc = {{"file", path}, {"lines", lines}};
    // Scripts are single-byte text in any code page; bytes that are not
    // UTF-8 show as U+FFFD rather than failing the whole listing.
    std::printf("%s\n", doc.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace).c_str());
  } else {
    std::fwrite(text.data(), 1, text.size(), stdout);
  }
  return kExitOk;
}

}  // namespace

void AddScriptCommand(CLI::App& app) {
  auto* cmd = app.add_subcommand("script", "Show how script files split into tokens");
  cmd->require_subcommand(1);
  cmd->footer("Example:\n  n4file script tokens startup.scr --json");
  auto path = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  auto* tokens = cmd->add_subcommand("tokens", "Print each line of a script and its tokens");
  tokens->add_option("FILE", *path, "The script file")->required();
  tokens->add_flag("--json", *json, "As one JSON object");
  tokens->footer("Example:\n  n4file script tokens startup.scr");
  tokens->callback([path, json] { SetExitStatus(Tokens(*path, *json)); });
}

}  // namespace n4tool
