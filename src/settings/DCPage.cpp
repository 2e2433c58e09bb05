// CN4FileDCPage: a page's configuration and its cells.
#include <cstring>
#include <string_view>

#include "n4file/Settings.h"
#include "profile/Profile.h"
#include "profile/ProfileText.h"
#include "settings/SettingsText.h"

namespace {

constexpr const char* kConfigSection = "CONFIGURATION";
constexpr DWORD kCellBufferSize = 5120;

}  // namespace

SCell CN4FileDCPage::m_PasteCell;
int CN4FileDCPage::m_bPasteCellValid = 0;

CN4FileDCPage::CN4FileDCPage(const std::string& pageName) : CN4FileDsplyCtrl(pageName + ".dcp", "CELL") {}

CN4FileDCPage::~CN4FileDCPage() { DeleteFastReadCells(); }

int CN4FileDCPage::IsQuickDisplay() const { return n4::EqualsIgnoreCase(m_strPageType, "Quick Display") ? 1 : 0; }

int CN4FileDCPage::IsInterface() const { return n4::EqualsIgnoreCase(m_strPageType, "Interface") ? 1 : 0; }

// An interface page is deliberately a scripting page too.
int CN4FileDCPage::IsScripting() const {
  return (n4::EqualsIgnoreCase(m_strPageType, "Scripting") || IsInterface()) ? 1 : 0;
}

void CN4FileDCPage::ReadPageData() {
  m_strServiceName = GetString(kConfigSection, "SERVICE", "");
  m_strSignName = GetString(kConfigSection, "SIGN", "");
  m_nGridRows = GetInt(kConfigSection, "GRIDROWS", 18);
  m_nGridCols = GetInt(kConfigSection, "GRIDCOLS", 5);
  m_strPageType = GetString(kConfigSection, "PAGETYPE", "Quick Display");
  m_strInterfaceName = GetString(kConfigSection, "INTERFACENAME", "");
  m_nRequestPort = GetInt(kConfigSection, "REQUESTPORT", -1);
  m_bUseQueuedStatus = GetInt(kConfigSection, "USEQUEUEDSTATUS", 0) != 0 ? 1 : 0;
  if (IsQuickDisplay()) {
    m_dwSignRows = static_cast<DWORD>(GetInt(kConfigSection, "SIGNROWS", 2048));
    m_dwSignCols = static_cast<DWORD>(GetInt(kConfigSection, "SIGNCOLS", 16384));
    m_dwSignPixel = static_cast<DWORD>(GetInt(kConfigSection, "SIGNPIXEL", 0));
    m_dwSignColor = static_cast<DWORD>(GetInt(kConfigSection, "SIGNCOLOR", 0));
  }
}

void CN4FileDCPage::WritePageData() {
  WriteString(kConfigSection, "SERVICE", m_strServiceName);
  WriteString(kConfigSection, "SIGN", m_strSignName);
  WriteInt(kConfigSection, "GRIDROWS", m_nGridRows);
  WriteInt(kConfigSection, "GRIDCOLS", m_nGridCols);
  WriteString(kConfigSection, "PAGETYPE", m_strPageType);
  WriteString(kConfigSection, "INTERFACENAME", m_strInterfaceName);
  WriteInt(kConfigSection, "REQUESTPORT", m_nRequestPort);
  WriteInt(kConfigSection, "USEQUEUEDSTATUS", m_bUseQueuedStatus ? 1 : 0);
  if (IsQuickDisplay()) {
    WriteInt(kConfigSection, "SIGNROWS", static_cast<int>(m_dwSignRows));
    WriteInt(kConfigSection, "SIGNCOLS", static_cast<int>(m_dwSignCols));
    WriteInt(kConfigSection, "SIGNPIXEL", static_cast<int>(m_dwSignPixel));
    WriteInt(kConfigSection, "SIGNCOLOR", static_cast<int>(m_dwSignColor));
  }
}

int CN4FileDCPage::ReadCell(int cell) {
  if (!ValidateCellNumber(cell) || m_strSectionBase.empty()) return 0;
  if (m_bFastRead && m_pCachedCells[cell]) {
    m_Cell = *m_pCachedCells[cell];
    return 1;
  }
  char buffer[kCellBufferSize];
  m_Cell = SCell{};
  const DWORD used = n4::ProfileGetSection(BuildSectionName(cell).c_str(), buffer, kCellBufferSize,
                                           m_strPathName);
  // Keys compare case-sensitively here, unlike everywhere else, and the walk
  // ends at the first entry without "=".
  for (DWORD pos = 0; pos < used && buffer[pos] != '\0';) {
    const char* entry = buffer + pos;
    const std::size_t length = std::strlen(entry);
    pos += static_cast<DWORD>(length) + 1;
    const char* eq = static_cast<const char*>(std::memchr(entry, '=', length));
    if (eq == nullptr) break;
    const std::string_view key(entry, static_cast<std::size_t>(eq - entry));
    const std::string_view value(eq + 1, static_cast<std::size_t>(entry + length - eq - 1));
    if (key == "TYPE") m_Cell.strType = value;
    else if (key == "NAME") m_Cell.strName = value;
    else if (key == "CATEGORY") m_Cell.strCategory = value;
    else if (key == "PATH") m_Cell.strPath = value;
    else if (key == "MODE") m_Cell.strMode = value;
    else if (key == "NUMTIMES") m_Cell.nNumTimes = n4::TextToInt(value);
    else if (key == "SELFRAME") m_Cell.nSelFrame = n4::TextToInt(value);
    else if (key == "WINDOWNUMBER") m_Cell.nWinNum = n4::TextToInt(value);
    else if (key == "ROW") m_Cell.nRow = n4::TextToInt(value);
    else if (key == "COL") m_Cell.nCol = n4::TextToInt(value);
  }
  if (m_bFastRead) m_pCachedCells[cell] = std::make_unique<SCell>(m_Cell);
  return 1;
}

int CN4FileDCPage::WriteCell(int cell) {
  if (!ValidateCellNumber(cell) || m_strSectionBase.empty()) return 0;
  const std::string section = BuildSectionName(cell);
  int failures = 0;
  if (!ClearSection(section)) ++failures;
  auto text = [&](const char* key, const std::string& value) {
    if (!value.empty() && !WriteString(section, key, value)) ++failures;
  };
  auto number = [&](const char* key, int value, bool written) {
    if (written && !WriteInt(section, key, value)) ++failures;
  };
  text("TYPE", m_Cell.strType);
  text("NAME", m_Cell.strName);
  text("CATEGORY", m_Cell.strCategory);
  text("PATH", m_Cell.strPath);
  text("MODE", m_Cell.strMode);
  number("NUMTIMES", m_Cell.nNumTimes, m_Cell.nNumTimes != 0);
  number("SELFRAME", m_Cell.nSelFrame, m_Cell.nSelFrame != 0);
  number("WINDOWNUMBER", m_Cell.nWinNum, m_Cell.nWinNum >= 0);
  number("ROW", m_Cell.nRow, m_Cell.nRow != 0);
  number("COL", m_Cell.nCol, m_Cell.nCol != 0);
  if (m_bFastRead) {
    if (!m_pCachedCells[cell]) m_pCachedCells[cell] = std::make_unique<SCell>();
    *m_pCachedCells[cell] = m_Cell;
  }
  return failures == 0 ? 1 : 0;
}

int CN4FileDCPage::ClearCell() {
  const int timesPlayed = m_Cell.nTimesPlayed;
  m_Cell = SCell{};
  m_Cell.nTimesPlayed = timesPlayed;
  return 1;
}

int CN4FileDCPage::CopyCell(int cell) {
  if (!ReadCell(cell)) return 0;
  m_PasteCell = m_Cell;
  m_bPasteCellValid = 1;
  return 1;
}

int CN4FileDCPage::CutCell(int cell) {
  if (!CopyCell(cell)) return 0;
  ClearCell();
  return WriteCell(cell);
}

int CN4FileDCPage::PasteCell(int cell) {
  if (!m_bPasteCellValid) return 0;
  m_Cell = m_PasteCell;
  return WriteCell(cell);
}

std::string CN4FileDCPage::GetPasteCellPath() const {
  return m_bPasteCellValid ? m_PasteCell.strPath : std::string();
}

void CN4FileDCPage::DeleteFastReadCells() {
  for (auto& cached : m_pCachedCells) cached.reset();
}

void CN4FileDCPage::SetFastReadMode(int fastRead) {
  DeleteFastReadCells();
  m_bFastRead = fastRead;
}

int CN4FileDCPage::GetCellNumTimesPlayed(int cell) const {
  if (!ValidateCellNumber(cell) || !m_pCachedCells[cell]) return 0;
  return m_pCachedCells[cell]->nTimesPlayed;
}

void CN4FileDCPage::SetCellNumTimesPlayed(int count, int cell) {
  if (!ValidateCellNumber(cell) || !m_pCachedCells[cell]) return;
  m_pCachedCells[cell]->nTimesPlayed = count;
}
