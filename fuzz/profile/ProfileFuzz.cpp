// libFuzzer target for profile (INI) files: the input is a file's bytes. It is
// parsed, every section and key is looked up, and each kind of in-place edit
// is applied and read back. Nothing may read outside the bytes, and a value
// just written must read back as written.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "profile/ProfileEdit.h"
#include "profile/ProfileText.h"

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

// A key written to a section reads back as written.
void WriteAndReadBack(const n4::ProfileText& text, std::string_view section) {
  std::string out;
  if (!n4::EditWriteString(text, section, "FuzzKey", "v1", &out)) {
    const auto* sec = text.FindSection(section);
    Check(sec && text.FindKey(*sec, "fuzzkey") && text.RawValue(*text.FindKey(*sec, "fuzzkey")) == "v1");
    return;
  }
  const n4::ProfileText written(out);
  const auto* sec = written.FindSection(section);
  Check(sec != nullptr);
  const auto* line = written.FindKey(*sec, "FUZZKEY");
  Check(line != nullptr && written.Value(*line) == "v1");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > (1u << 20)) return 0;
  const n4::ProfileText text(std::string(reinterpret_cast<const char*>(data), size));
  std::vector<std::string> names;
  for (const auto& sec : text.sections()) {
    names.emplace_back(text.SectionName(sec));
    for (std::uint32_t i = sec.firstLine; i < sec.endLine && i < text.lines().size(); ++i) {
      const auto& line = text.lines()[i];
      if (line.kind != n4::ProfileText::LineKind::Key) continue;
      const auto* found = text.FindKey(sec, text.Name(line));
      Check(found != nullptr);
      (void)text.Value(*found);
    }
  }
  names.emplace_back("FuzzSection");
  std::string out;
  for (std::size_t i = 0; i < names.size() && i < 8; ++i) {
    const std::string& name = names[i];
    WriteAndReadBack(text, name);
    if (n4::EditDeleteSection(text, name, &out)) (void)n4::ProfileText(out);
    if (n4::EditDeleteKey(text, name, "k", &out)) (void)n4::ProfileText(out);
    if (n4::EditReplaceSection(text, name, {"a=1", "bare"}, &out)) {
      const n4::ProfileText replaced(out);
      const auto* sec = replaced.FindSection(name);
      Check(sec != nullptr);
    }
    if (n4::EditReplaceSection(text, name, {}, &out)) (void)n4::ProfileText(out);
  }
  return 0;
}
