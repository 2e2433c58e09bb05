// n4file rtd: a real-time data configuration as JSON and back.
#include <fstream>
#include <sstream>

#include <n4file/Rtd.h>

#include "Commands.h"
#include "RtdJson.h"
#include "RtdKind.h"

namespace n4tool {
namespace {

int Export(const std::string& path, const std::string& out) {
  CN4FileCRtd rtd;
  std::string cause;
  if (!LoadRtd(path, rtd, cause)) return Fail(path, cause);
  const std::string text = RtdToJson(rtd).dump(2) + "\n";
  if (out.empty()) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    return kExitOk;
  }
  std::ofstream file(out, std::ios::binary | std::ios::trunc);
  file.write(text.data(), static_cast<std::streamsize>(text.size()));
  file.close();
  if (!file) return Fail(out, "cannot be written");
  return kExitOk;
}

int Import(const std::string& in, const std::string& out) {
  std::ifstream file(in, std::ios::binary);
  if (!file) return Fail(in, "cannot be read");
  nlohmann::ordered_json doc;
  try {
    doc = nlohmann::ordered_json::parse(file);
  } catch (const nlohmann::ordered_json::parse_error& e) {
    return Fail(in, std::string("not JSON: ") + e.what());
  }
  // Check the document before anything touches the output file.
  {
    CN4FileCRtd scratch;
    const std::string error = RtdFromJson(doc, scratch);
    if (!error.empty()) return Fail(in, error);
  }
  CN4FileCRtd rtd;
  try {
    // Binds the output path; an existing file there is replaced whole, so
    // whatever it held (even damage) does not matter.
    rtd.ReadFile(out);
  } catch (const n4::ArchiveException&) {
  } catch (const n4::FileException&) {
  }
  const std::string error = RtdFromJson(doc, rtd);
  if (!error.empty()) return Fail(in, error);
  try {
    if (!rtd.WriteFile()) return Fail(out, "cannot be created");
  } catch (const n4::FileException& e) {
    return Fail(out, CauseWithoutFile(e.what(), e.GetFileName()));
  } catch (const n4::ArchiveException& e) {
    return Fail(out, CauseWithoutFile(e.what(), e.m_strFileName));
  }
  return kExitOk;
}

}  // namespace

void AddRtdCommand(CLI::App& app) {
  auto* cmd = app.add_subcommand("rtd", "Convert a real-time data configuration to JSON and back");
  cmd->require_subcommand(1);
  cmd->footer("Example:\n  n4file rtd export scoreboard.rtd -o scoreboard.json\n"
              "  n4file rtd import scoreboard.json -o scoreboard.rtd");
  auto exportIn = std::make_shared<std::string>();
  auto exportOut = std::make_shared<std::string>();
  auto* exp = cmd->add_subcommand("export", "Write a configuration as JSON (standard output without -o)");
  exp->add_option("FILE", *exportIn, "The configuration file")->required();
  exp->add_option("-o,--output", *exportOut, "The JSON file to write");
  exp->footer("Example:\n  n4file rtd export scoreboard.rtd -o scoreboard.json");
  exp->callback([exportIn, exportOut] { SetExitStatus(Export(*exportIn, *exportOut)); });
  auto importIn = std::make_shared<std::string>();
  auto importOut = std::make_shared<std::string>();
  auto* imp = cmd->add_subcommand("import", "Write a configuration file from JSON");
  imp->add_option("IN", *importIn, "The JSON file")->required();
  imp->add_option("-o,--output", *importOut, "The configuration file to write")->required();
  imp->footer("Example:\n  n4file rtd import scoreboard.json -o scoreboard.rtd");
  imp->callback([importIn, importOut] { SetExitStatus(Import(*importIn, *importOut)); });
}

}  // namespace n4tool
