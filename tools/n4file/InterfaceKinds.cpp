// `info` for the statistics interfaces' files: "Interface.ini", selection
// lists (".lci") and input templates. Interfaces and lists are known by their
// extension; a template has none of its own and is known by its first
// section, "[TEMPLATE]".
#include <algorithm>
#include <filesystem>

#include <n4file/Settings.h>

#include "Commands.h"
#include "RiffKind.h"

namespace n4tool {
namespace {

// The library names these files relative to the data directory unless the
// name holds a separator; an absolute path always does.
std::string AbsolutePath(const std::string& path) {
  std::error_code error;
  const auto absolute = std::filesystem::absolute(path, error);
  return error ? path : absolute.string();
}

Match MatchInterface(const std::vector<BYTE>&, const std::string& extension, const std::string&) {
  return extension == "ini" ? Match::kExtension : Match::kNone;
}

bool DescribeInterface(const std::string& path, nlohmann::ordered_json& json, std::string& text, std::string&) {
  const CN4FileInterface in(AbsolutePath(path));
  json["combo_box_1_label"] = in.GetComboBox1Label();
  json["combo_box_2_label"] = in.GetComboBox2Label();
  json["combo_box_field"] = in.GetComboBoxField();
  json["request_command"] = in.GetRequestCommand();
  text = Format("%s: statistics interface\n  labels:  \"%s\", \"%s\" (field \"%s\")\n  request: %d\n", path.c_str(),
                in.GetComboBox1Label().c_str(), in.GetComboBox2Label().c_str(), in.GetComboBoxField().c_str(),
                in.GetRequestCommand());
  auto& formats = json["formats"];
  formats = nlohmann::ordered_json::array();
  for (int f = 0; f < in.GetNumFormats(); ++f) {
    nlohmann::ordered_json params = nlohmann::ordered_json::array();
    std::string line;
    for (int p = 0; p < in.GetNumParams(f); ++p) {
      params.push_back(in.GetFormatParam(f, p));
      line += (p ? ", " : "") + in.GetFormatParam(f, p);
    }
    formats.push_back(params);
    text += Format("  format %d: %s\n", f + 1, line.c_str());
  }
  auto& fields = json["fields"];
  fields = nlohmann::ordered_json::array();
  for (int i = 0; i < in.GetNumFields(); ++i) {
    const CN4FileInterface::SField* f = in.GetField(i);
    if (!f) continue;
    fields.push_back({{"name", f->strName}, {"label", f->strLabel}, {"edit_width", f->nEditWidth},
                      {"max_chars", f->nMaxChars}});
    text += Format("  field %-16s label \"%s\", width %d, at most %d characters\n", f->strName.c_str(),
                   f->strLabel.c_str(), f->nEditWidth, f->nMaxChars);
  }
  return true;
}

// A selection list read from any path: the class names its file after an
// interface in the data directory, so the path is set before reading.
class SelectionList : public CN4FileInterfaceSel {
 public:
  explicit SelectionList(const std::string& path) : CN4FileInterfaceSel("", "") {
    SetPathName(path);
    ReadSelectionData();
  }
};

Match MatchSelectionList(const std::vector<BYTE>&, const std::string& extension, const std::string&) {
  return extension == "lci" ? Match::kExtension : Match::kNone;
}

bool DescribeSelectionList(const std::string& path, nlohmann::ordered_json& json, std::string& text, std::string&) {
  SelectionList list(path);
  nlohmann::ordered_json names = nlohmann::ordered_json::array();
  std::string header;
  for (int i = 0; i < list.GetNumFieldNames(); ++i) {
    names.push_back(list.GetFieldName(i));
    header += (i ? ", " : "") + list.GetFieldName(i);
  }
  json["field_names"] = names;
  text = Format("%s: selection list, %d selections\n  fields: %s\n", path.c_str(), list.GetNumSelections(),
                header.c_str());
  auto& selections = json["selections"];
  selections = nlohmann::ordered_json::array();
  for (int s = 0; s < list.GetNumSelections(); ++s) {
    nlohmann::ordered_json one = nlohmann::ordered_json::array();
    std::string line;
    for (int f = 0; f < list.GetNumFieldNames(); ++f) {
      one.push_back(list.GetSelectionField(s, f));
      line += (f ? " | " : "") + list.GetSelectionField(s, f);
    }
    selections.push_back(one);
    text += Format("  %d: %s\n", s + 1, line.c_str());
  }
  return true;
}

// The first section header in the head of the file, blanks and comments
// before it allowed.
Match MatchTemplate(const std::vector<BYTE>& head, const std::string&, const std::string&) {
  std::string text(head.begin(), head.end());
  if (text.rfind("\xEF\xBB\xBF", 0) == 0) text.erase(0, 3);
  std::size_t pos = 0;
  while (pos < text.size()) {
    const std::size_t end = std::min(text.find('\n', pos), text.size());
    std::string line = text.substr(pos, end - pos);
    line.erase(0, line.find_first_not_of(" \t\r"));
    pos = end + 1;
    if (line.empty() || line[0] == ';') continue;
    std::string section = Lowercase(line.substr(0, 10));
    return section == "[template]" ? Match::kContent : Match::kNone;
  }
  return Match::kNone;
}

bool DescribeTemplate(const std::string& path, nlohmann::ordered_json& json, std::string& text, std::string&) {
  const CN4FileInputTemplate input(AbsolutePath(path));
  json["description"] = input.GetTemplateDesc();
  json["total_length"] = input.GetTotalLength();
  text = Format("%s: input template \"%s\", %d fields, %d characters\n", path.c_str(),
                input.GetTemplateDesc().c_str(), input.GetNumFields(), input.GetTotalLength());
  auto& fields = json["fields"];
  fields = nlohmann::ordered_json::array();
  for (int i = 0; i < input.GetNumFields(); ++i) {
    fields.push_back({{"name", input.GetFieldName(i)},
                      {"length", input.GetFieldLength(i)},
                      {"justify", input.GetFieldJust(i)},
                      {"sample", input.GetFieldSampleText(i)}});
    text += Format("  field %-16s %3d characters, justify %s, sample \"%s\"\n", input.GetFieldName(i).c_str(),
                   input.GetFieldLength(i), input.GetFieldJust(i).c_str(), input.GetFieldSampleText(i).c_str());
  }
  return true;
}

}  // namespace

const Recogniser kInterfaceRecogniser = {"interface", MatchInterface, DescribeInterface};
const Recogniser kSelectionListRecogniser = {"selection-list", MatchSelectionList, DescribeSelectionList};
const Recogniser kInputTemplateRecogniser = {"input-template", MatchTemplate, DescribeTemplate};

}  // namespace n4tool
