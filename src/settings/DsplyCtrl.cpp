// CN4FileDsplyCtrl: one key at a time through the profile reader and writer.
#include <cstdio>
#include <vector>

#include "n4file/Registry.h"
#include "n4file/Settings.h"
#include "platform/Env.h"
#include "profile/Profile.h"
#include "settings/SettingsText.h"

namespace {

// Values are read into a buffer of this many characters, terminator included.
constexpr DWORD kValueCapacity = 1024;

}  // namespace

CN4FileDsplyCtrl::CN4FileDsplyCtrl(const std::string& fileName, const std::string& sectionBase)
    : m_strPathName(BuildDataPath(fileName)), m_strSectionBase(sectionBase) {}

CN4FileDsplyCtrl::~CN4FileDsplyCtrl() = default;

std::string CN4FileDsplyCtrl::BuildDataPath(const std::string& fileName) {
  std::string dir;
  CN4Registry::GetDataPath(dir);
  // Without a "File Locations" key the registry leaves the directory unset;
  // the product's default directory is what the user expects then.
  if (dir.empty()) dir = CN4Registry::GetDefaultDirectory();
  std::string name = fileName;
  const char sep = n4::Env::Default()->PathSeparator();
  for (char& c : name) {
    if (c == '\\' || c == '/') c = sep;
  }
  return n4::JoinPath(dir, name);
}

bool CN4FileDsplyCtrl::IsPathName(const std::string& name) {
  return name.find_first_of("\\/") != std::string::npos;
}

int CN4FileDsplyCtrl::GetInt(const std::string& section, const std::string& key, int defaultValue) {
  return static_cast<int>(n4::ProfileGetInt(section.c_str(), key.c_str(), defaultValue, m_strPathName));
}

int CN4FileDsplyCtrl::WriteInt(const std::string& section, const std::string& key, int value) {
  char text[16];
  std::snprintf(text, sizeof text, "%d", value);
  return WriteString(section, key, text);
}

std::string CN4FileDsplyCtrl::GetString(const std::string& section, const std::string& key,
                                        const std::string& defaultValue) {
  char buffer[kValueCapacity];
  DWORD n = n4::ProfileGetString(section.c_str(), key.c_str(), defaultValue.c_str(), buffer, kValueCapacity,
                                 m_strPathName);
  return n4::UpToNul(buffer, n);
}

int CN4FileDsplyCtrl::WriteString(const std::string& section, const std::string& key, const std::string& value) {
  return n4::ProfileWriteString(section.c_str(), key.c_str(), value.c_str(), m_strPathName) ? 1 : 0;
}

std::string CN4FileDsplyCtrl::BuildSectionName(int index) {
  if (m_strSectionBase.empty()) return {};
  return m_strSectionBase + std::to_string(static_cast<long long>(index) + 1);
}

int CN4FileDsplyCtrl::ClearSection(const std::string& section) {
  static const char kEmptyList[2] = {'\0', '\0'};
  return n4::ProfileWriteSection(section.c_str(), kEmptyList, m_strPathName) ? 1 : 0;
}
