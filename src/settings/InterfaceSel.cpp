// CN4FileInterfaceSel: a tab-separated selection list (".lci").
#include "n4file/Settings.h"
#include "platform/Env.h"
#include "profile/ProfileText.h"
#include "settings/SettingsText.h"

CN4FileInterfaceSel::CN4FileInterfaceSel(const std::string& interfaceName, const std::string& listName)
    : CN4FileDsplyCtrl("Stats Interface\\" + interfaceName + "\\" + listName + ".lci", "") {
  ReadSelectionData();
}

void CN4FileInterfaceSel::ReadSelectionData() {
  m_strFieldNames.clear();
  m_Selections.clear();
  std::string bytes;
  // Read as text: a list too large to be one is no list.
  n4::FileStamp stamp;
  if (!n4::Env::Default()->GetFileStamp(m_strPathName, &stamp, nullptr) || stamp.size > n4::kMaxProfileBytes ||
      !n4::Env::Default()->ReadWholeFile(m_strPathName, &bytes, nullptr) || bytes.empty()) {
    return;
  }
  // Lines end with LF or CRLF; the end of the file ends the last line.
  bool first = true;
  std::size_t pos = 0;
  while (pos < bytes.size()) {
    std::size_t end = bytes.find('\n', pos);
    if (end == std::string::npos) end = bytes.size();
    std::string_view line(bytes.data() + pos, end - pos);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    pos = end + 1;
    std::vector<std::string> tokens = n4::SplitTokens(line, "\t");
    if (first) {
      m_strFieldNames = std::move(tokens);
      first = false;
      continue;
    }
    auto selection = std::make_unique<CSelection>();
    if (tokens.size() < m_strFieldNames.size()) tokens.resize(m_strFieldNames.size());
    selection->m_strFields = std::move(tokens);
    m_Selections.push_back(std::move(selection));
  }
}

std::string CN4FileInterfaceSel::GetFieldName(int index) const {
  if (index < 0 || index >= GetNumFieldNames()) return {};
  return m_strFieldNames[static_cast<std::size_t>(index)];
}

std::string CN4FileInterfaceSel::GetSelectionField(int selection, int field) const {
  if (selection < 0 || selection >= GetNumSelections()) return {};
  const auto& fields = m_Selections[static_cast<std::size_t>(selection)]->m_strFields;
  if (field < 0 || static_cast<std::size_t>(field) >= fields.size()) return {};
  return fields[static_cast<std::size_t>(field)];
}

CSelection* CN4FileInterfaceSel::GetSelectionPtr(int selection) {
  if (selection < 0 || selection >= GetNumSelections()) return nullptr;
  return m_Selections[static_cast<std::size_t>(selection)].get();
}
