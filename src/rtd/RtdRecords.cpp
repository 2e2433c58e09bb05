// The records of a real-time data configuration: ports, syncs, commands and
// transmissions. Each writes its class's version first; on loading, another
// version stops the record at once, keeping its current values, without an
// error (the rest of the archive is then out of step; the framework accepted
// that).
#include <string>

#include "archive/Archive.h"
#include "n4file/Rtd.h"
#include "rtd/OwnedArray.h"

N4_IMPLEMENT_SERIAL(CN4FileCRtdPort, n4::kVersionableSchema | 1)
N4_IMPLEMENT_SERIAL(CN4FileCRtdSync, n4::kVersionableSchema | 1)
N4_IMPLEMENT_SERIAL(CN4FileCRtdCmd, n4::kVersionableSchema | 1)
N4_IMPLEMENT_SERIAL(CN4FileCRtdTrans, n4::kVersionableSchema | 1)

// ---------------------------------------------------------------------------
// Port

void CN4FileCRtdPort::Serialize(n4::Archive& ar) {
  const int version = GetRuntimeClass()->Version();
  if (ar.IsStoring()) {
    ar.WriteInt(version);
    ar.WriteString(m_strName);
    ar.WriteInt(m_nType);
    ar.WriteInt(m_nPort);
    ar.WriteInt(m_nBaud);
    ar.WriteInt(m_nDatabits);
    ar.WriteString(m_strParity);
    ar.WriteInt(m_nCTSTrans);
    ar.WriteInt(m_nDSRTrans);
    ar.WriteInt(m_nRLSDTrans);
    ar.WriteInt(m_nRINGTrans);
    return;
  }
  if (ar.ReadInt() != version) return;
  m_strName = ar.ReadString();
  m_nType = ar.ReadInt();
  m_nPort = ar.ReadInt();
  m_nBaud = ar.ReadInt();
  m_nDatabits = ar.ReadInt();
  m_strParity = ar.ReadString();
  m_nCTSTrans = ar.ReadInt();
  m_nDSRTrans = ar.ReadInt();
  m_nRLSDTrans = ar.ReadInt();
  m_nRINGTrans = ar.ReadInt();
}

std::string CN4FileCRtdPort::GetDescription() const {
  switch (m_nType) {
    case 0:
      return m_strName + " - COM" + std::to_string(m_nPort) + "," + std::to_string(m_nBaud) + "," +
             std::to_string(m_nDatabits) + "," + m_strParity;
    case 1:
      return m_strName + " - IPX Socket - " + std::to_string(m_nPort);
    default:
      return {};
  }
}

bool CN4FileCRtdPort::operator==(const CN4FileCRtdPort& other) const {
  if (m_nType != other.m_nType) return false;
  switch (m_nType) {
    case 0:
      // Only the parity letter counts: "N" and "None" name the same setting.
      // An empty parity compares as its terminating zero.
      return m_nPort == other.m_nPort && m_nBaud == other.m_nBaud && m_nDatabits == other.m_nDatabits &&
             m_strParity.c_str()[0] == other.m_strParity.c_str()[0];
    case 1:
      return m_nPort == other.m_nPort;
    default:
      return false;
  }
}

// ---------------------------------------------------------------------------
// Sync

void CN4FileCRtdSync::Serialize(n4::Archive& ar) {
  const int version = GetRuntimeClass()->Version();
  if (ar.IsStoring()) {
    ar.WriteInt(version);
    ar.WriteInt(m_nType);
    ar.WriteInt(m_nEndLength);
    ar.WriteInt(m_nOffset);
    ar.WriteInt(m_nRangeFirst);
    ar.WriteInt(m_nRangeLast);
    ar.WriteCount(m_awIndivBytes.size());
    for (WORD value : m_awIndivBytes) ar.WriteWord(value);
    return;
  }
  if (ar.ReadInt() != version) return;
  m_nType = ar.ReadInt();
  m_nEndLength = ar.ReadInt();
  m_nOffset = ar.ReadInt();
  m_nRangeFirst = ar.ReadInt();
  m_nRangeLast = ar.ReadInt();
  const DWORD count = ar.ReadCount();
  ar.RequireElements(count, 2);
  std::vector<WORD> values(count);
  for (WORD& value : values) value = ar.ReadWord();
  m_awIndivBytes = std::move(values);
}

std::string CN4FileCRtdSync::GetDescription() const {
  switch (m_nType) {
    case 0:
      return "Start Char";
    case 1:
      return m_nEndLength > 0 ? "End Char  Len: " + std::to_string(m_nEndLength) : "End Char";
    case 2:
      return "Sync Offset " + std::to_string(m_nOffset);
    default:
      return {};
  }
}

unsigned short CN4FileCRtdSync::GetIndivByte(int index) const {
  if (index < 0 || static_cast<std::size_t>(index) >= m_awIndivBytes.size()) return 0xFFFF;
  return m_awIndivBytes[static_cast<std::size_t>(index)];
}

// ---------------------------------------------------------------------------
// Command

void CN4FileCRtdCmd::Serialize(n4::Archive& ar) {
  const int version = GetRuntimeClass()->Version();
  if (ar.IsStoring()) {
    ar.WriteInt(version);
    ar.WriteInt(m_nCommand);
    ar.WriteCount(m_astrParams.size());
    for (const std::string& param : m_astrParams) ar.WriteString(param);
    return;
  }
  if (ar.ReadInt() != version) return;
  m_nCommand = ar.ReadInt();
  const DWORD count = ar.ReadCount();
  ar.RequireElements(count, 1);  // every string takes at least its length byte
  std::vector<std::string> params;
  params.reserve(count);
  for (DWORD i = 0; i < count; ++i) params.push_back(ar.ReadString());
  m_astrParams = std::move(params);
}

std::string CN4FileCRtdCmd::GetParam(int index) const {
  if (index < 0 || static_cast<std::size_t>(index) >= m_astrParams.size()) return {};
  return m_astrParams[static_cast<std::size_t>(index)];
}

// ---------------------------------------------------------------------------
// Transmission

CN4FileCRtdTrans::CN4FileCRtdTrans(const CN4FileCRtdTrans& other)
    : n4::Serializable(other), m_nEnabled(other.m_nEnabled), m_strDescription(other.m_strDescription) {
  CopySyncArray(other);
  CopyCmdArray(other);
}

CN4FileCRtdTrans& CN4FileCRtdTrans::operator=(const CN4FileCRtdTrans& other) {
  if (this == &other) return *this;
  m_nEnabled = other.m_nEnabled;
  m_strDescription = other.m_strDescription;
  CopySyncArray(other);
  CopyCmdArray(other);
  return *this;
}

CN4FileCRtdTrans::~CN4FileCRtdTrans() = default;

void CN4FileCRtdTrans::Serialize(n4::Archive& ar) {
  const int version = GetRuntimeClass()->Version();
  if (ar.IsStoring()) {
    ar.WriteInt(version);
    ar.WriteInt(m_nEnabled);
    ar.WriteString(m_strDescription);
    n4::StoreRecords(ar, m_aSyncs);
    n4::StoreRecords(ar, m_aCmds);
    return;
  }
  if (ar.ReadInt() != version) return;
  m_nEnabled = ar.ReadInt();
  m_strDescription = ar.ReadString();
  n4::LoadRecords(ar, m_aSyncs);
  n4::LoadRecords(ar, m_aCmds);
}

int CN4FileCRtdTrans::AddSync(int index, const CN4FileCRtdSync* source) { return n4::AddRecord(m_aSyncs, index, source); }
int CN4FileCRtdTrans::RemoveSync(int index) { return n4::RemoveRecord(m_aSyncs, index); }
void CN4FileCRtdTrans::RemoveAllSyncs() { m_aSyncs.clear(); }
CN4FileCRtdSync* CN4FileCRtdTrans::GetSyncPtr(int index) const { return n4::RecordAt(m_aSyncs, index); }
void CN4FileCRtdTrans::CopySyncArray(const CN4FileCRtdTrans& other) { n4::CopyRecords(m_aSyncs, other.m_aSyncs); }

int CN4FileCRtdTrans::AddCmd(int index, const CN4FileCRtdCmd* source) { return n4::AddRecord(m_aCmds, index, source); }
int CN4FileCRtdTrans::RemoveCmd(int index) { return n4::RemoveRecord(m_aCmds, index); }
void CN4FileCRtdTrans::RemoveAllCmds() { m_aCmds.clear(); }
CN4FileCRtdCmd* CN4FileCRtdTrans::GetCmdPtr(int index) const { return n4::RecordAt(m_aCmds, index); }
void CN4FileCRtdTrans::CopyCmdArray(const CN4FileCRtdTrans& other) { n4::CopyRecords(m_aCmds, other.m_aCmds); }
