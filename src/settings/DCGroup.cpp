// CN4FileDCGroup: a group file's page names, one page at a time.
#include "n4file/Settings.h"

CN4FileDCGroup::CN4FileDCGroup(const std::string& groupName) : CN4FileDsplyCtrl(groupName + ".dcg", "PAGE") {}

int CN4FileDCGroup::ReadPage(int page) {
  if (!ValidatePageNumber(page) || m_strSectionBase.empty()) return 0;
  m_strPageName = GetString(BuildSectionName(page), "NAME", "");
  return 1;
}

int CN4FileDCGroup::WritePage(int page) {
  if (!ValidatePageNumber(page) || m_strSectionBase.empty()) return 0;
  const std::string section = BuildSectionName(page);
  ClearSection(section);
  if (!m_strPageName.empty() && !WriteString(section, "NAME", m_strPageName)) return 0;
  return 1;
}

int CN4FileDCGroup::ClearPage() {
  m_strPageName.clear();
  return 1;
}

int CN4FileDCGroup::SetPageName(const std::string& name) {
  m_strPageName = name;
  return 1;
}
