// CN4FileInputTemplate: the fields of a fixed-width input record.
#include <algorithm>

#include "n4file/Settings.h"
#include "profile/Profile.h"

namespace {

constexpr const char* kTemplateSection = "TEMPLATE";

}  // namespace

CN4FileInputTemplate::CN4FileInputTemplate(const std::string& path) : CN4FileDsplyCtrl(path, "FIELD") {
  if (IsPathName(path)) SetPathName(path);
  ReadTemplateData();
}

void CN4FileInputTemplate::ReadTemplateData() {
  m_Fields.clear();
  m_strTemplateDesc = GetString(kTemplateSection, "DESCRIPTION", "");
  const int count = std::min(GetInt(kTemplateSection, "NUMFIELDS", 0), kMaxFields);
  for (int i = 0; i < count; ++i) ReadField(i);
}

void CN4FileInputTemplate::ReadField(int index) {
  const std::string section = BuildSectionName(index);
  SField field;
  field.strName = GetString(section, "NAME", "");
  if (field.strName.empty()) return;
  field.nLength = GetInt(section, "LENGTH", 0);
  // "N" for a missing key, unlike the "L" of AddField: both are kept as found.
  field.strJust = GetString(section, "JUSTIFY", "N");
  field.strSampleText = GetString(section, "SAMPLE_TEXT", "");
  m_Fields.push_back(std::move(field));
}

int CN4FileInputTemplate::WriteTemplateData() {
  n4::ProfileDeleteFile(m_strPathName);
  int ok = WriteString(kTemplateSection, "DESCRIPTION", m_strTemplateDesc);
  if (!WriteInt(kTemplateSection, "NUMFIELDS", GetNumFields())) ok = 0;
  if (!ok) return 0;
  for (int i = 0; i < GetNumFields(); ++i) {
    if (!WriteField(i)) ok = 0;
  }
  return ok;
}

int CN4FileInputTemplate::WriteField(int index) {
  if (!ValidIndex(index)) return 0;
  const SField& field = m_Fields[static_cast<std::size_t>(index)];
  const std::string section = BuildSectionName(index);
  int failures = 0;
  if (!WriteString(section, "NAME", field.strName)) ++failures;
  if (!WriteInt(section, "LENGTH", field.nLength)) ++failures;
  if (!WriteString(section, "JUSTIFY", field.strJust)) ++failures;
  if (!WriteString(section, "SAMPLE_TEXT", field.strSampleText)) ++failures;
  return failures == 0 ? 1 : 0;
}

int CN4FileInputTemplate::GetTotalLength() const {
  long long total = 0;
  for (const auto& field : m_Fields) total += field.nLength;
  return static_cast<int>(total);
}

int CN4FileInputTemplate::GetFieldIndex(const std::string& name) const {
  for (int i = 0; i < GetNumFields(); ++i) {
    if (m_Fields[static_cast<std::size_t>(i)].strName == name) return i;
  }
  return -1;
}

std::string CN4FileInputTemplate::GetFieldName(int index) const {
  return ValidIndex(index) ? m_Fields[static_cast<std::size_t>(index)].strName : std::string();
}

int CN4FileInputTemplate::GetFieldLength(int index) const {
  return ValidIndex(index) ? m_Fields[static_cast<std::size_t>(index)].nLength : -1;
}

std::string CN4FileInputTemplate::GetFieldJust(int index) const {
  return ValidIndex(index) ? m_Fields[static_cast<std::size_t>(index)].strJust : std::string();
}

std::string CN4FileInputTemplate::GetFieldSampleText(int index) const {
  return ValidIndex(index) ? m_Fields[static_cast<std::size_t>(index)].strSampleText : std::string();
}

int CN4FileInputTemplate::SetFieldName(int index, const std::string& name) {
  if (!ValidIndex(index)) return 0;
  m_Fields[static_cast<std::size_t>(index)].strName = name;
  return 1;
}

int CN4FileInputTemplate::SetFieldLength(int index, int length) {
  if (!ValidIndex(index)) return 0;
  m_Fields[static_cast<std::size_t>(index)].nLength = length;
  return 1;
}

int CN4FileInputTemplate::SetFieldJust(int index, const std::string& just) {
  if (!ValidIndex(index)) return 0;
  m_Fields[static_cast<std::size_t>(index)].strJust = just;
  return 1;
}

int CN4FileInputTemplate::SetFieldSampleText(int index, const std::string& text) {
  if (!ValidIndex(index)) return 0;
  m_Fields[static_cast<std::size_t>(index)].strSampleText = text;
  return 1;
}

int CN4FileInputTemplate::AddField(const std::string& name, int index) {
  if (index < 0 || index > GetNumFields()) index = GetNumFields();
  SField field{name, 0, std::string(1, 'L'), std::string()};
  m_Fields.insert(m_Fields.begin() + index, std::move(field));
  return index;
}

int CN4FileInputTemplate::DeleteField(int index) {
  if (!ValidIndex(index)) return 0;
  m_Fields.erase(m_Fields.begin() + index);
  return 1;
}

int CN4FileInputTemplate::FindDuplicateFieldName(int index) const {
  if (!ValidIndex(index)) return -1;
  const std::string& name = m_Fields[static_cast<std::size_t>(index)].strName;
  for (int i = 0; i < GetNumFields(); ++i) {
    if (i != index && m_Fields[static_cast<std::size_t>(i)].strName == name) return i;
  }
  return -1;
}

int CN4FileInputTemplate::GetFieldItemNumber(int field, int textLength) const {
  if (!ValidIndex(field)) return 0;
  long long start = 1;
  for (int i = 0; i < field; ++i) start += m_Fields[static_cast<std::size_t>(i)].nLength;
  const SField& f = m_Fields[static_cast<std::size_t>(field)];
  if (textLength >= 1 && textLength < f.nLength) {
    const long long spare = static_cast<long long>(f.nLength) - textLength;
    if (f.strJust == "R") start += spare;
    else if (f.strJust == "C") start += spare / 2;
  }
  return static_cast<int>(start);
}
