// Custom real-time data configuration: the records that tell the sign-control
// service how to pick transmissions out of the bytes arriving on a port, and
// the configuration file that holds them.
//
// Records are plain values; containers (a transmission's syncs and commands,
// a configuration's transmissions and outputs) own their records: add
// operations copy the caller's record, remove operations delete, getters
// return records that stay owned by the container.
//
// A configuration file is one binary archive. CN4FileCRtd::ReadFile lets the
// archive's errors (n4::ArchiveException) pass to the caller, and WriteFile
// its write errors (n4::FileException); see n4file/Exceptions.h.
//
// Thread safety: an object is used by one thread at a time.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "n4file/Exceptions.h"
#include "n4file/Serializable.h"
#include "n4file/Types.h"

// A serial or IPX port.
class N4FILE_API CN4FileCRtdPort : public n4::Serializable {
  N4_DECLARE_SERIAL(CN4FileCRtdPort)
 public:
  CN4FileCRtdPort() = default;
  CN4FileCRtdPort(const CN4FileCRtdPort&) = default;
  CN4FileCRtdPort& operator=(const CN4FileCRtdPort&) = default;
  ~CN4FileCRtdPort() override = default;
  void Serialize(n4::Archive& ar) override;

  // "name - COMport,baud,databits,parity" for a serial port,
  // "name - IPX Socket - port" for an IPX socket, "" otherwise.
  std::string GetDescription() const;
  // Whether both address the same physical port: same type and, for a
  // serial port, the same port, baud, data bits and parity letter; for an
  // IPX socket the same socket. Ports of any other type are never equal.
  bool operator==(const CN4FileCRtdPort& other) const;

  std::string GetName() const { return m_strName; }
  int SetName(const std::string& name) { m_strName = name; return 1; }
  int GetType() const { return m_nType; }
  int SetType(const int& type) { m_nType = type; return 1; }
  int GetPort() const { return m_nPort; }
  int SetPort(const int& port) { m_nPort = port; return 1; }
  int GetBaud() const { return m_nBaud; }
  int SetBaud(const int& baud) { m_nBaud = baud; return 1; }
  int GetDatabits() const { return m_nDatabits; }
  int SetDatabits(const int& databits) { m_nDatabits = databits; return 1; }
  std::string GetParity() const { return m_strParity; }
  int SetParity(const std::string& parity) { m_strParity = parity; return 1; }
  int GetCTSTrans() const { return m_nCTSTrans; }
  int SetCTSTrans(const int& value) { m_nCTSTrans = value; return 1; }
  int GetDSRTrans() const { return m_nDSRTrans; }
  int SetDSRTrans(const int& value) { m_nDSRTrans = value; return 1; }
  int GetRLSDTrans() const { return m_nRLSDTrans; }
  int SetRLSDTrans(const int& value) { m_nRLSDTrans = value; return 1; }
  int GetRINGTrans() const { return m_nRINGTrans; }
  int SetRINGTrans(const int& value) { m_nRINGTrans = value; return 1; }

 private:
  std::string m_strName;
  int m_nType = -1;  // 0 serial (COM) port, 1 IPX socket, -1 not set
  int m_nPort = 0;
  int m_nBaud = 0;
  int m_nDatabits = 8;
  std::string m_strParity = "N";
  int m_nCTSTrans = -1;
  int m_nDSRTrans = -1;
  int m_nRLSDTrans = -1;
  int m_nRINGTrans = -1;
};

// How the start or the end of a transmission is recognised.
class N4FILE_API CN4FileCRtdSync : public n4::Serializable {
  N4_DECLARE_SERIAL(CN4FileCRtdSync)
 public:
  CN4FileCRtdSync() = default;
  CN4FileCRtdSync(const CN4FileCRtdSync&) = default;
  CN4FileCRtdSync& operator=(const CN4FileCRtdSync&) = default;
  ~CN4FileCRtdSync() override = default;
  void Serialize(n4::Archive& ar) override;

  // "Start Char", "End Char" (with "  Len: n" for an end length above 0),
  // "Sync Offset n", or "" for another type.
  std::string GetDescription() const;

  int GetType() const { return m_nType; }
  int SetType(const int& type) { m_nType = type; return 1; }
  int GetEndLength() const { return m_nEndLength; }
  int SetEndLength(const int& length) { m_nEndLength = length; return 1; }
  int GetOffset() const { return m_nOffset; }
  int SetOffset(const int& offset) { m_nOffset = offset; return 1; }
  int GetRangeFirst() const { return m_nRangeFirst; }
  int SetRangeFirst(const int& first) { m_nRangeFirst = first; return 1; }
  int GetRangeLast() const { return m_nRangeLast; }
  int SetRangeLast(const int& last) { m_nRangeLast = last; return 1; }
  int GetIndivByteCount() const { return static_cast<int>(m_awIndivBytes.size()); }
  // The value, or 0xFFFF for an index out of range.
  unsigned short GetIndivByte(int index) const;

  // The individual bytes as a whole. The records' own interface fills them
  // only by loading or copying; programs that build configurations from
  // another description (the command-line tool's JSON import) set them here.
  const std::vector<WORD>& GetIndivBytes() const { return m_awIndivBytes; }
  void SetIndivBytes(std::vector<WORD> bytes) { m_awIndivBytes = std::move(bytes); }

 private:
  int m_nType = 2;  // 0 start character, 1 end character, 2 fixed offset
  int m_nEndLength = 0;
  int m_nOffset = 1;
  int m_nRangeFirst = 0;
  int m_nRangeLast = 0;
  std::vector<WORD> m_awIndivBytes;
};

// A command number with text parameters.
class N4FILE_API CN4FileCRtdCmd : public n4::Serializable {
  N4_DECLARE_SERIAL(CN4FileCRtdCmd)
 public:
  CN4FileCRtdCmd() = default;
  CN4FileCRtdCmd(const CN4FileCRtdCmd&) = default;
  CN4FileCRtdCmd& operator=(const CN4FileCRtdCmd&) = default;
  ~CN4FileCRtdCmd() override = default;
  void Serialize(n4::Archive& ar) override;

  int GetCommand() const { return m_nCommand; }
  int SetCommand(const int& command) { m_nCommand = command; return 1; }
  int GetParamsCount() const { return static_cast<int>(m_astrParams.size()); }
  // A copy of the parameter, or "" for an index out of range.
  std::string GetParam(int index) const;

  // The parameters as a whole; see CN4FileCRtdSync::SetIndivBytes.
  const std::vector<std::string>& GetParams() const { return m_astrParams; }
  void SetParams(std::vector<std::string> params) { m_astrParams = std::move(params); }

 private:
  int m_nCommand = 0;  // a new command has number 0
  std::vector<std::string> m_astrParams;
};

// One transmission: its sync rules and its commands.
class N4FILE_API CN4FileCRtdTrans : public n4::Serializable {
  N4_DECLARE_SERIAL(CN4FileCRtdTrans)
 public:
  CN4FileCRtdTrans() = default;
  CN4FileCRtdTrans(const CN4FileCRtdTrans& other);
  CN4FileCRtdTrans& operator=(const CN4FileCRtdTrans& other);
  ~CN4FileCRtdTrans() override;
  void Serialize(n4::Archive& ar) override;

  int GetEnabled() const { return m_nEnabled; }
  int SetEnabled(int enabled) { m_nEnabled = enabled; return 1; }
  std::string GetDescription() const { return m_strDescription; }
  int SetDescription(const std::string& description) { m_strDescription = description; return 1; }

  // A copy of source (a default record when null) inserted before index, or
  // appended for a negative index: returns its index, or -1 when index is at
  // or beyond the count (nothing is added then).
  int AddSync(int index, const CN4FileCRtdSync* source);
  // 1 when the record at index was removed and deleted, 0 when out of range.
  int RemoveSync(int index);
  void RemoveAllSyncs();
  // The record itself, still owned here; null when out of range.
  CN4FileCRtdSync* GetSyncPtr(int index) const;
  int GetSyncCount() const { return static_cast<int>(m_aSyncs.size()); }
  void CopySyncArray(const CN4FileCRtdTrans& other);

  int AddCmd(int index, const CN4FileCRtdCmd* source);
  int RemoveCmd(int index);
  void RemoveAllCmds();
  CN4FileCRtdCmd* GetCmdPtr(int index) const;
  int GetCmdCount() const { return static_cast<int>(m_aCmds.size()); }
  void CopyCmdArray(const CN4FileCRtdTrans& other);

 private:
  int m_nEnabled = 1;
  std::string m_strDescription;
  std::vector<std::unique_ptr<CN4FileCRtdSync>> m_aSyncs;
  std::vector<std::unique_ptr<CN4FileCRtdCmd>> m_aCmds;
};

// One configuration and its file.
class N4FILE_API CN4FileCRtd : public n4::Serializable {
  N4_DECLARE_SERIAL(CN4FileCRtd)
 public:
  CN4FileCRtd() = default;
  CN4FileCRtd(const CN4FileCRtd&) = delete;
  CN4FileCRtd& operator=(const CN4FileCRtd&) = delete;
  ~CN4FileCRtd() override;
  void Serialize(n4::Archive& ar) override;

  std::string GetPath() const { return m_strPath; }
  std::string GetFileDescription() const { return m_strFileDescription; }
  int SetFileDescription(const std::string& description) { m_strFileDescription = description; return 1; }
  int GetMaxTransLength() const { return m_nMaxTransLength; }
  int SetMaxTransLength(int length) { m_nMaxTransLength = length; return 1; }
  // The input port, held here (never null).
  CN4FileCRtdPort* GetInputPtr() { return &m_Input; }
  const CN4FileCRtdPort* GetInputPtr() const { return &m_Input; }

  // As CN4FileCRtdTrans::AddSync and its family.
  int AddTrans(int index, const CN4FileCRtdTrans* source);
  int RemoveTrans(int index);
  void RemoveAllTransmissions();
  CN4FileCRtdTrans* GetTransPtr(int index) const;
  int GetTransCount() const { return static_cast<int>(m_aTrans.size()); }

  int AddOutput(int index, const CN4FileCRtdPort* source);
  int RemoveOutput(int index);
  void RemoveAllOutputs();
  CN4FileCRtdPort* GetOutputPtr(int index) const;
  int GetOutputCount() const { return static_cast<int>(m_aOutputs.size()); }

  // Empties the description and both arrays; keeps the input port, the
  // maximum transmission length and the path.
  void DeleteContents();

  // Binds path (first, before anything can fail), empties the configuration
  // and loads the file. 0 when the file cannot be read: the configuration
  // then stays empty and bound to path, and WriteFile creates the file.
  // A damaged file raises n4::ArchiveException; the records read before the
  // damage stay.
  int ReadFile(const std::string& path);
  // Replaces the file at the bound path atomically: a failed or interrupted
  // write leaves the previous file whole. 0 when it cannot be created (no
  // path yet, a missing directory, no access); other write errors raise
  // n4::FileException.
  int WriteFile();

 private:
  std::string m_strPath;
  std::string m_strFileDescription;
  std::vector<std::unique_ptr<CN4FileCRtdTrans>> m_aTrans;
  std::vector<std::unique_ptr<CN4FileCRtdPort>> m_aOutputs;
  CN4FileCRtdPort m_Input;
  int m_nMaxTransLength = 0;
};
