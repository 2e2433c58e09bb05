// CN4FileDCConfig: "Config.dc", the group in use and the message categories.
#include "n4file/Settings.h"

namespace {

constexpr const char* kGroupSection = "GROUP";

}  // namespace

CN4FileDCConfig::CN4FileDCConfig() : CN4FileDsplyCtrl("Config.dc", "CATEGORY") { ReadConfigData(); }

void CN4FileDCConfig::ReadConfigData() {
  m_strGroupName = GetString(kGroupSection, "FILENAME", "Default");
  ReadAllCategories();
}

void CN4FileDCConfig::WriteConfigData() {
  WriteString(kGroupSection, "FILENAME", m_strGroupName);
  WriteAllCategories();
}

int CN4FileDCConfig::AddCategory(const std::string& name) {
  int index = AddCategory();
  if (index < 0) return -1;
  return SetCategoryName(index, name);
}

int CN4FileDCConfig::AddCategory() {
  if (m_nNumCategories >= kMaxCategories) return -1;
  return m_nNumCategories++;
}

int CN4FileDCConfig::DeleteCategory(int index) {
  if (!ValidIndex(index)) return 0;
  for (int i = index; i + 1 < m_nNumCategories; ++i) m_Categories[i] = m_Categories[i + 1];
  --m_nNumCategories;
  return 1;
}

int CN4FileDCConfig::GetCategoryIndex(const std::string& name) const {
  for (int i = 0; i < m_nNumCategories; ++i) {
    if (m_Categories[i].strName == name) return i;
  }
  return -1;
}

std::string CN4FileDCConfig::GetCategoryName(int index) const {
  return ValidIndex(index) ? m_Categories[index].strName : std::string();
}

std::string CN4FileDCConfig::GetCategoryStyle(int index) const {
  return ValidIndex(index) ? m_Categories[index].strStyle : std::string();
}

DWORD CN4FileDCConfig::GetCategoryBkColor(int index) const {
  return ValidIndex(index) ? m_Categories[index].dwBkColor : static_cast<DWORD>(-1);
}

DWORD CN4FileDCConfig::GetCategoryTextColor(int index) const {
  return ValidIndex(index) ? m_Categories[index].dwTextColor : static_cast<DWORD>(-1);
}

int CN4FileDCConfig::SetCategoryName(int index, const std::string& name) {
  if (!ValidIndex(index)) return 0;
  m_Categories[index].strName = name;
  return 1;
}

int CN4FileDCConfig::SetCategoryStyle(int index, const std::string& style) {
  if (!ValidIndex(index)) return 0;
  m_Categories[index].strStyle = style;
  return 1;
}

int CN4FileDCConfig::SetCategoryBkColor(int index, DWORD color) {
  if (!ValidIndex(index)) return 0;
  m_Categories[index].dwBkColor = color;
  return 1;
}

int CN4FileDCConfig::SetCategoryTextColor(int index, DWORD color) {
  if (!ValidIndex(index)) return 0;
  m_Categories[index].dwTextColor = color;
  return 1;
}

int CN4FileDCConfig::SetGroupName(const std::string& name) {
  m_strGroupName = name;
  return 1;
}

int CN4FileDCConfig::IsSectionValid(const std::string& section) {
  return GetString(section, "NAME", "").empty() ? 0 : 1;
}

int CN4FileDCConfig::ReadCategory(int index, const std::string& section) {
  if (!ValidIndex(index)) return 0;
  SCategory& c = m_Categories[index];
  c.strName = GetString(section, "NAME", "");
  c.strStyle = GetString(section, "STYLE", "NORMAL");
  c.dwBkColor = static_cast<DWORD>(GetInt(section, "BACKGROUNDCOLOR", -1));
  c.dwTextColor = static_cast<DWORD>(GetInt(section, "TEXTCOLOR", -1));
  return 1;
}

int CN4FileDCConfig::WriteCategory(int index, const std::string& section) {
  if (!ValidIndex(index)) return 0;
  const SCategory& c = m_Categories[index];
  int failures = 0;
  if (!WriteString(section, "NAME", c.strName)) ++failures;
  if (!WriteString(section, "STYLE", c.strStyle)) ++failures;
  if (!WriteInt(section, "BACKGROUNDCOLOR", static_cast<int>(c.dwBkColor))) ++failures;
  if (!WriteInt(section, "TEXTCOLOR", static_cast<int>(c.dwTextColor))) ++failures;
  return failures == 0 ? 1 : 0;
}

void CN4FileDCConfig::ReadAllCategories() {
  if (m_strSectionBase.empty()) return;
  m_nNumCategories = 0;
  for (int i = 0; i < kMaxCategories; ++i) {
    const std::string section = BuildSectionName(i);
    if (!IsSectionValid(section)) continue;
    int index = AddCategory();
    if (index < 0) break;
    ReadCategory(index, section);
  }
}

void CN4FileDCConfig::WriteAllCategories() {
  if (m_strSectionBase.empty()) return;
  for (int i = 0; i < m_nNumCategories; ++i) WriteCategory(i, BuildSectionName(i));
  for (int i = m_nNumCategories; i < kMaxCategories; ++i) ClearSection(BuildSectionName(i));
}
