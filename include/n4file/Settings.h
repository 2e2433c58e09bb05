// The initialisation-style settings files: the display controller's
// configuration, page groups and pages, statistics interfaces, selection lists
// and input templates.
//
// CN4FileDsplyCtrl is the base of every one: it holds the file's full path and
// a section base name and reads or writes one key per call. Files are plain
// profile (INI) text; keys and sections match without regard to case, a write
// changes only its own line, and every write is atomic and locked against
// writers in other processes. Repeated reads of an unchanged file are served
// from a process-wide cache of parsed files.
//
// Relative names resolve against the product data directory of the registry
// (CN4Registry::GetDataPath; its default when the registry has none).
//
// Numbers are stored as signed decimal text. The 32-bit unsigned values of the
// files (colours, sign sizes) are DWORD here, so they read the same on every
// platform: a stored -1 is 4294967295.
//
// Thread safety: one object belongs to one thread. The paste cell shared by
// all page objects is not guarded; use pages from one thread.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "n4file/Export.h"
#include "n4file/Types.h"

class N4FILE_API CN4FileDsplyCtrl {
 public:
  // The path is the data directory, the separator and `fileName`.
  CN4FileDsplyCtrl(const std::string& fileName, const std::string& sectionBase);
  virtual ~CN4FileDsplyCtrl();

  // The default when the key or the section (or the file) is missing.
  int GetInt(const std::string& section, const std::string& key, int defaultValue);
  // Nonzero on success.
  int WriteInt(const std::string& section, const std::string& key, int value);
  // At most 1023 characters; the default when missing.
  std::string GetString(const std::string& section, const std::string& key, const std::string& defaultValue);
  int WriteString(const std::string& section, const std::string& key, const std::string& value);
  // The base followed by index + 1 ("CATEGORY1" for 0); "" when the base is empty.
  std::string BuildSectionName(int index);
  // Removes every key of the section (its header stays). Nonzero on success.
  int ClearSection(const std::string& section);

  const std::string& GetPathName() const { return m_strPathName; }
  const std::string& GetSectionBase() const { return m_strSectionBase; }
  // Uses `path` as the file's full path from now on.
  void SetPathName(const std::string& path) { m_strPathName = path; }

  // The data directory joined with a relative name (either separator).
  static std::string BuildDataPath(const std::string& fileName);
  // A name that holds a path separator is a path and used as given.
  static bool IsPathName(const std::string& name);

 protected:
  std::string m_strPathName;
  std::string m_strSectionBase;
};

// "Config.dc": the group file in use and up to 50 message categories.
class N4FILE_API CN4FileDCConfig : public CN4FileDsplyCtrl {
 public:
  static constexpr int kMaxCategories = 50;

  struct SCategory {
    std::string strName;
    std::string strStyle;
    DWORD dwBkColor = 0;
    DWORD dwTextColor = 0;
  };

  // Reads the file at once.
  CN4FileDCConfig();

  void ReadConfigData();
  void WriteConfigData();

  int GetNumCategories() const { return m_nNumCategories; }
  // -1 when the table is full, else 1.
  int AddCategory(const std::string& name);
  int DeleteCategory(int index);
  // Exact (case-sensitive) match; -1 when none.
  int GetCategoryIndex(const std::string& name) const;
  std::string GetCategoryName(int index) const;
  std::string GetCategoryStyle(int index) const;
  DWORD GetCategoryBkColor(int index) const;
  DWORD GetCategoryTextColor(int index) const;
  int SetCategoryName(int index, const std::string& name);
  int SetCategoryStyle(int index, const std::string& style);
  int SetCategoryBkColor(int index, DWORD color);
  int SetCategoryTextColor(int index, DWORD color);
  const std::string& GetGroupName() const { return m_strGroupName; }
  int SetGroupName(const std::string& name);

 protected:
  // The next free record, not cleared; -1 when 50 are in use.
  int AddCategory();
  bool ValidIndex(int index) const { return index >= 0 && index < m_nNumCategories; }
  int IsSectionValid(const std::string& section);
  int ReadCategory(int index, const std::string& section);
  int WriteCategory(int index, const std::string& section);
  void ReadAllCategories();
  void WriteAllCategories();

  std::string m_strGroupName;
  std::array<SCategory, kMaxCategories> m_Categories;
  int m_nNumCategories = 0;
};

// A group file ("<name>.dcg"): up to 10 page names, one at a time in memory.
class N4FILE_API CN4FileDCGroup : public CN4FileDsplyCtrl {
 public:
  static constexpr int kNumPages = 10;

  explicit CN4FileDCGroup(const std::string& groupName);

  int GetNumPages() const { return kNumPages; }
  int ValidatePageNumber(int page) const { return page >= 0 && page < kNumPages ? 1 : 0; }
  int ReadPage(int page);
  // Writing an empty name removes the page's entry.
  int WritePage(int page);
  int IsPageValid() const { return m_strPageName.empty() ? 0 : 1; }
  int ClearPage();
  const std::string& GetPageName() const { return m_strPageName; }
  int SetPageName(const std::string& name);

 protected:
  std::string m_strPageName;
};

// One button of a page.
struct SCell {
  std::string strType;
  std::string strName;
  std::string strCategory;
  std::string strPath;
  std::string strMode;
  int nNumTimes = 0;
  int nSelFrame = 0;
  int nWinNum = -1;
  int nRow = 0;
  int nCol = 0;
  int nTimesPlayed = 0;  // never stored in the file
};

// A page file ("<name>.dcp"): its configuration and up to 100 cells.
class N4FILE_API CN4FileDCPage : public CN4FileDsplyCtrl {
 public:
  static constexpr int kNumCells = 100;

  // Does not read the file.
  explicit CN4FileDCPage(const std::string& pageName);
  ~CN4FileDCPage() override;

  void ReadPageData();
  void WritePageData();

  int ValidateCellNumber(int cell) const { return cell >= 0 && cell < kNumCells ? 1 : 0; }
  int ReadCell(int cell);
  int WriteCell(int cell);
  int ClearCell();
  int CopyCell(int cell);
  int CutCell(int cell);
  int PasteCell(int cell);
  std::string GetPasteCellPath() const;
  int IsCellConfigured() const { return (!m_Cell.strType.empty() || !m_Cell.strName.empty()) ? 1 : 0; }
  // The cell read or to be written.
  const SCell& GetCell() const { return m_Cell; }

  void SetFastReadMode(int fastRead);
  int GetFastReadMode() const { return m_bFastRead; }
  // Only for a cell cached in fast-read mode; otherwise 0, and the set is ignored.
  int GetCellNumTimesPlayed(int cell) const;
  void SetCellNumTimesPlayed(int count, int cell);

  int IsInterface() const;
  int IsScripting() const;

  const std::string& GetServiceName() const { return m_strServiceName; }
  int SetServiceName(const std::string& v) { m_strServiceName = v; return 1; }
  const std::string& GetSignName() const { return m_strSignName; }
  int SetSignName(const std::string& v) { m_strSignName = v; return 1; }
  int GetGridRows() const { return m_nGridRows; }
  int SetGridRows(int v) { m_nGridRows = v; return 1; }
  int GetGridCols() const { return m_nGridCols; }
  int SetGridCols(int v) { m_nGridCols = v; return 1; }
  const std::string& GetPageType() const { return m_strPageType; }
  int SetPageType(const std::string& v) { m_strPageType = v; return 1; }
  DWORD GetSignRows() const { return m_dwSignRows; }
  int SetSignRows(DWORD v) { m_dwSignRows = v; return 1; }
  DWORD GetSignCols() const { return m_dwSignCols; }
  int SetSignCols(DWORD v) { m_dwSignCols = v; return 1; }
  DWORD GetSignPixel() const { return m_dwSignPixel; }
  int SetSignPixel(DWORD v) { m_dwSignPixel = v; return 1; }
  DWORD GetSignColor() const { return m_dwSignColor; }
  int SetSignColor(DWORD v) { m_dwSignColor = v; return 1; }
  const std::string& GetInterfaceName() const { return m_strInterfaceName; }
  int SetInterfaceName(const std::string& v) { m_strInterfaceName = v; return 1; }
  int GetRequestPort() const { return m_nRequestPort; }
  int SetRequestPort(int v) { m_nRequestPort = v; return 1; }
  int GetUseQueuedStatus() const { return m_bUseQueuedStatus; }
  int SetUseQueuedStatus(int v) { m_bUseQueuedStatus = v; return 1; }

  const std::string& GetCellType() const { return m_Cell.strType; }
  int SetCellType(const std::string& v) { m_Cell.strType = v; return 1; }
  const std::string& GetCellName() const { return m_Cell.strName; }
  int SetCellName(const std::string& v) { m_Cell.strName = v; return 1; }
  const std::string& GetCellCategory() const { return m_Cell.strCategory; }
  int SetCellCategory(const std::string& v) { m_Cell.strCategory = v; return 1; }
  const std::string& GetCellPath() const { return m_Cell.strPath; }
  int SetCellPath(const std::string& v) { m_Cell.strPath = v; return 1; }
  const std::string& GetCellMode() const { return m_Cell.strMode; }
  int SetCellMode(const std::string& v) { m_Cell.strMode = v; return 1; }
  int GetCellNumTimes() const { return m_Cell.nNumTimes; }
  int SetCellNumTimes(int v) { m_Cell.nNumTimes = v; return 1; }
  int GetCellSelFrame() const { return m_Cell.nSelFrame; }
  int SetCellSelFrame(int v) { m_Cell.nSelFrame = v; return 1; }
  int GetCellWinNum() const { return m_Cell.nWinNum; }
  int SetCellWinNum(int v) { m_Cell.nWinNum = v; return 1; }
  int GetCellRow() const { return m_Cell.nRow; }
  int SetCellRow(int v) { m_Cell.nRow = v; return 1; }
  int GetCellCol() const { return m_Cell.nCol; }
  int SetCellCol(int v) { m_Cell.nCol = v; return 1; }

 protected:
  void DeleteFastReadCells();
  int IsQuickDisplay() const;

  std::string m_strServiceName;
  std::string m_strSignName;
  int m_nGridRows = 18;
  int m_nGridCols = 5;
  std::string m_strPageType = "Quick Display";
  int m_bFastRead = 0;
  DWORD m_dwSignRows = 2048;
  DWORD m_dwSignCols = 16384;
  DWORD m_dwSignPixel = 0;
  DWORD m_dwSignColor = 0;
  std::string m_strInterfaceName;
  int m_nRequestPort = -1;
  int m_bUseQueuedStatus = 0;
  SCell m_Cell;
  std::array<std::unique_ptr<SCell>, kNumCells> m_pCachedCells;

  static SCell m_PasteCell;
  static int m_bPasteCellValid;
};

// "Interface.ini" of a statistics interface: labels, formats and fields.
class N4FILE_API CN4FileInterface : public CN4FileDsplyCtrl {
 public:
  struct SField {
    std::string strName;
    int nEditWidth = 0;
    int nMaxChars = 0;
    std::string strLabel;
  };

  // "Stats Interface/<name>/Interface.ini" in the data directory, or `name`
  // itself when it holds a path separator. Reads the file at once.
  explicit CN4FileInterface(const std::string& name);

  void ReadInterfaceData();
  std::string GetComboBox1Label() const { return m_strComboBox1Label; }
  std::string GetComboBox2Label() const { return m_strComboBox2Label; }
  std::string GetComboBoxField() const { return m_strComboBoxField; }
  int GetRequestCommand() const { return m_nRequestCommand; }
  int GetNumFormats() const { return static_cast<int>(m_Formats.size()); }
  int GetNumParams(int format) const;
  std::string GetFormatParam(int format, int param) const;
  int GetFormatNumber(const std::string& name) const;
  int GetFieldMaxChars(const std::string& name) const;
  int GetFieldEditWidth(const std::string& name) const;
  std::string GetFieldLabel(const std::string& name) const;
  // The field records in order of appearance (for listings).
  int GetNumFields() const { return static_cast<int>(m_Fields.size()); }
  const SField* GetField(int index) const;

  // Counts above this are read as this many: a damaged count must not make
  // the reader loop for ever or fill memory with empty formats.
  static constexpr int kMaxEntries = 4096;

 protected:
  void ReadAllFormats();
  void ReadFormat(int index);
  void ReadAllFields();
  void ReadField(int index);
  const SField* FindField(const std::string& name) const;

  std::string m_strComboBox1Label = "Guest:";
  std::string m_strComboBox2Label = "Home:";
  std::string m_strComboBoxField;
  int m_nRequestCommand = 801;
  std::vector<std::vector<std::string>> m_Formats;
  std::vector<SField> m_Fields;
};

// One selection of a selection list: one text per field name.
struct CSelection {
  std::vector<std::string> m_strFields;
};

// A selection list ("<list>.lci"): tab-separated field names, then one
// selection per line.
class N4FILE_API CN4FileInterfaceSel : public CN4FileDsplyCtrl {
 public:
  CN4FileInterfaceSel(const std::string& interfaceName, const std::string& listName);

  int GetNumFieldNames() const { return static_cast<int>(m_strFieldNames.size()); }
  std::string GetFieldName(int index) const;
  int GetNumSelections() const { return static_cast<int>(m_Selections.size()); }
  std::string GetSelectionField(int selection, int field) const;
  CSelection* GetSelectionPtr(int selection);

 protected:
  void ReadSelectionData();

  std::vector<std::string> m_strFieldNames;
  std::vector<std::unique_ptr<CSelection>> m_Selections;
};

// An input template: fixed-width fields of an incoming text record.
class N4FILE_API CN4FileInputTemplate : public CN4FileDsplyCtrl {
 public:
  struct SField {
    std::string strName;
    int nLength = 0;
    std::string strJust;
    std::string strSampleText;
  };

  // `path` is used as given when it holds a path separator, else it names a
  // file in the data directory. Reads the file at once.
  explicit CN4FileInputTemplate(const std::string& path);

  void ReadTemplateData();
  // Deletes the file first, so no section of a longer template survives.
  int WriteTemplateData();

  const std::string& GetTemplateDesc() const { return m_strTemplateDesc; }
  void SetTemplateDesc(const std::string& desc) { m_strTemplateDesc = desc; }
  int GetNumFields() const { return static_cast<int>(m_Fields.size()); }
  int GetTotalLength() const;
  int GetFieldIndex(const std::string& name) const;
  std::string GetFieldName(int index) const;
  int GetFieldLength(int index) const;
  std::string GetFieldJust(int index) const;
  std::string GetFieldSampleText(int index) const;
  int SetFieldName(int index, const std::string& name);
  int SetFieldLength(int index, int length);
  int SetFieldJust(int index, const std::string& just);
  int SetFieldSampleText(int index, const std::string& text);
  // An index below 0 or beyond the count appends; returns where the field went.
  int AddField(const std::string& name, int index);
  int DeleteField(int index);
  int FindDuplicateFieldName(int index) const;
  // Where a value of textLength characters starts in the record, counted from 1.
  int GetFieldItemNumber(int field, int textLength) const;

  static constexpr int kMaxFields = 4096;

 protected:
  void ReadField(int index);
  int WriteField(int index);
  bool ValidIndex(int index) const { return index >= 0 && index < GetNumFields(); }

  std::string m_strTemplateDesc;
  std::vector<SField> m_Fields;
};
