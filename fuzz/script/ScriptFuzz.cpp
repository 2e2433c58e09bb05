// libFuzzer target for script files: the input is a file's bytes. It is read,
// every line tokenised, edited and written back in place. The file must then
// hold exactly the lines written, each with one line end and nothing after
// the last, and reading it again must give the same lines and tokens.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "n4file/Script.h"

namespace {

std::string ScratchDir() {
  static const std::string dir = [] {
    auto p = std::filesystem::temp_directory_path() / ("n4file-fuzz-" + std::to_string(std::random_device{}()));
    std::filesystem::create_directories(p);
    return p.string();
  }();
  return dir;
}

std::vector<std::vector<std::string>> AllTokens(CN4FileScript& script) {
  std::vector<std::vector<std::string>> all;
  for (int i = 0; i < script.GetLineCount(); ++i) {
    if (!script.ParseLine(i)) std::abort();
    std::vector<std::string> tokens;
    std::string token;
    for (int k = 0; script.GetToken(k, token); ++k) tokens.push_back(token);
    if (static_cast<int>(tokens.size()) != script.GetTokenCount()) std::abort();
    all.push_back(std::move(tokens));
  }
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string path = ScratchDir() + "/input.txt";
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  std::vector<std::vector<std::string>> expected;
  std::vector<std::string> written;
  std::string text;  // the bytes the write must leave, with this platform's "\n"
  int lines = 0;
  {
    CN4FileScript script;
    if (!script.Open(path, 0)) std::abort();
    lines = script.ReadScriptFile();
    if (lines != script.GetLineCount()) std::abort();
    // Edits that keep lines free of line feeds, so the count survives a rewrite.
    if (lines > 0) {
      std::string first;
      script.GetLine(0, first);
      script.ParseLine(0);
      std::string token;
      if (script.GetToken(0, token)) script.SetLine(lines - 1, ("\"" + token + "\" tail").c_str());
      script.DeleteLine(lines / 2);
      script.AddLine(first.c_str(), lines / 3);
    }
    script.AddLine(nullptr, -1);
    // A carriage return that ends a line reads back as part of the line end;
    // every other byte comes back as it was.
    for (int i = 0; i < script.GetLineCount(); ++i) {
      std::string line;
      script.GetLine(i, line);
      line = line.c_str();  // SetLine takes a C string
      while (!line.empty() && line.back() == '\r') line.pop_back();
      script.SetLine(i, line.c_str());
      written.push_back(line);
      text += line + "\n";
    }
    expected = AllTokens(script);
    script.WriteScriptFile();
  }
  std::ifstream in(path, std::ios::binary);
  const std::string onDisk((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (onDisk != text) std::abort();
  CN4FileScript again;
  if (!again.Open(path, 0)) std::abort();
  if (again.ReadScriptFile() != static_cast<int>(written.size())) std::abort();
  for (int i = 0; i < again.GetLineCount(); ++i) {
    std::string line;
    if (!again.GetLine(i, line) || line != written[static_cast<std::size_t>(i)]) std::abort();
  }
  if (AllTokens(again) != expected) std::abort();
  return 0;
}
