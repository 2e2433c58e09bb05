// CN4FileInterface: a statistics interface's "Interface.ini".
#include <algorithm>

#include "n4file/Settings.h"
#include "profile/ProfileText.h"
#include "settings/SettingsText.h"

namespace {

std::string InterfaceFile(const std::string& name) {
  return "Stats Interface\\" + name + "\\Interface.ini";
}

int BoundedCount(int count) { return std::min(count, CN4FileInterface::kMaxEntries); }

}  // namespace

CN4FileInterface::CN4FileInterface(const std::string& name) : CN4FileDsplyCtrl(InterfaceFile(name), "") {
  if (IsPathName(name)) SetPathName(name);
  ReadInterfaceData();
}

void CN4FileInterface::ReadInterfaceData() {
  m_strComboBox1Label = GetString("Configuration", "ComboBox1Label", "Guest:");
  m_strComboBox2Label = GetString("Configuration", "ComboBox2Label", "Home:");
  m_strComboBoxField = GetString("Configuration", "ComboBoxField", "");
  m_nRequestCommand = GetInt("Configuration", "RequestCommand", 801);
  ReadAllFormats();
  ReadAllFields();
}

void CN4FileInterface::ReadAllFormats() {
  const int count = BoundedCount(GetInt("Formats", "Count", 0));
  m_Formats.clear();
  for (int i = 0; i < count; ++i) ReadFormat(i);
}

void CN4FileInterface::ReadFormat(int index) {
  if (index < 0 || index >= BoundedCount(GetInt("Formats", "Count", 0))) return;
  const std::string value = GetString("Formats", "Format" + std::to_string(index), "");
  if (m_Formats.size() <= static_cast<std::size_t>(index)) m_Formats.resize(static_cast<std::size_t>(index) + 1);
  m_Formats[static_cast<std::size_t>(index)] = n4::SplitTokens(value, "\t ");
}

void CN4FileInterface::ReadAllFields() {
  const int count = BoundedCount(GetInt("FieldParams", "Count", 0));
  m_Fields.clear();
  for (int i = 0; i < count; ++i) ReadField(i);
}

void CN4FileInterface::ReadField(int index) {
  if (index < 0 || index >= BoundedCount(GetInt("FieldParams", "Count", 0))) return;
  const std::string value = GetString("FieldParams", "Field" + std::to_string(index), "");
  const std::vector<std::string> tokens = n4::SplitTokens(value, ",");
  if (tokens.empty()) return;
  SField field;
  field.strName = tokens[0];
  if (tokens.size() > 1) field.nEditWidth = n4::TextToInt(tokens[1]);
  if (tokens.size() > 2) {
    std::string label = tokens[2];
    while (!label.empty() && (label.back() == ' ' || (label.back() >= '\t' && label.back() <= '\r'))) label.pop_back();
    field.strLabel = label;
  }
  if (tokens.size() > 3) field.nMaxChars = n4::TextToInt(tokens[3]);
  m_Fields.push_back(std::move(field));
}

const CN4FileInterface::SField* CN4FileInterface::FindField(const std::string& name) const {
  for (const auto& field : m_Fields) {
    if (n4::EqualsIgnoreCase(field.strName, name)) return &field;
  }
  return nullptr;
}

const CN4FileInterface::SField* CN4FileInterface::GetField(int index) const {
  return index >= 0 && index < GetNumFields() ? &m_Fields[static_cast<std::size_t>(index)] : nullptr;
}

int CN4FileInterface::GetNumParams(int format) const {
  if (format < 0 || format >= GetNumFormats()) return 0;
  return static_cast<int>(m_Formats[static_cast<std::size_t>(format)].size());
}

std::string CN4FileInterface::GetFormatParam(int format, int param) const {
  if (param < 0 || param >= GetNumParams(format)) return {};
  return m_Formats[static_cast<std::size_t>(format)][static_cast<std::size_t>(param)];
}

int CN4FileInterface::GetFormatNumber(const std::string& name) const {
  for (int i = 0; i < GetNumFormats(); ++i) {
    const auto& params = m_Formats[static_cast<std::size_t>(i)];
    if (!params.empty() && n4::EqualsIgnoreCase(params[0], name)) return i;
  }
  return -1;
}

int CN4FileInterface::GetFieldMaxChars(const std::string& name) const {
  const SField* field = FindField(name);
  return field ? field->nMaxChars : 0;
}

int CN4FileInterface::GetFieldEditWidth(const std::string& name) const {
  const SField* field = FindField(name);
  return field ? field->nEditWidth : 10;
}

std::string CN4FileInterface::GetFieldLabel(const std::string& name) const {
  const SField* field = FindField(name);
  return field ? field->strLabel : std::string();
}
