// CN4FileCRtd: one real-time data configuration and its archive file.
#include "archive/Archive.h"
#include "archive/ArchiveFile.h"
#include "n4file/Rtd.h"
#include "platform/Errors.h"
#include "rtd/OwnedArray.h"

N4_IMPLEMENT_SERIAL(CN4FileCRtd, n4::kVersionableSchema | 1)

CN4FileCRtd::~CN4FileCRtd() {
  RemoveAllTransmissions();
  RemoveAllOutputs();
}

void CN4FileCRtd::Serialize(n4::Archive& ar) {
  const int version = GetRuntimeClass()->Version();
  if (ar.IsStoring()) {
    ar.WriteInt(version);
    ar.WriteString(m_strFileDescription);
    n4::StoreRecords(ar, m_aTrans);
    n4::StoreRecords(ar, m_aOutputs);
    m_Input.Serialize(ar);  // held by value: its fields without an object tag
    ar.WriteInt(m_nMaxTransLength);
    return;
  }
  if (ar.ReadInt() != version) return;
  m_strFileDescription = ar.ReadString();
  n4::LoadRecords(ar, m_aTrans);
  n4::LoadRecords(ar, m_aOutputs);
  // Loaded into a copy so that a fault inside it leaves the input port as it
  // was, like every other record that is not read whole.
  CN4FileCRtdPort input = m_Input;
  input.Serialize(ar);
  m_Input = input;
  m_nMaxTransLength = ar.ReadInt();
}

int CN4FileCRtd::AddTrans(int index, const CN4FileCRtdTrans* source) { return n4::AddRecord(m_aTrans, index, source); }
int CN4FileCRtd::RemoveTrans(int index) { return n4::RemoveRecord(m_aTrans, index); }
void CN4FileCRtd::RemoveAllTransmissions() { m_aTrans.clear(); }
CN4FileCRtdTrans* CN4FileCRtd::GetTransPtr(int index) const { return n4::RecordAt(m_aTrans, index); }

int CN4FileCRtd::AddOutput(int index, const CN4FileCRtdPort* source) { return n4::AddRecord(m_aOutputs, index, source); }
int CN4FileCRtd::RemoveOutput(int index) { return n4::RemoveRecord(m_aOutputs, index); }
void CN4FileCRtd::RemoveAllOutputs() { m_aOutputs.clear(); }
CN4FileCRtdPort* CN4FileCRtd::GetOutputPtr(int index) const { return n4::RecordAt(m_aOutputs, index); }

void CN4FileCRtd::DeleteContents() {
  m_strFileDescription.clear();
  RemoveAllTransmissions();
  RemoveAllOutputs();
}

int CN4FileCRtd::ReadFile(const std::string& path) {
  m_strPath = path;
  DeleteContents();
  n4::ArchiveFile file;
  n4::SysError err;
  if (!file.OpenForLoading(path, &err)) return 0;
  n4::Archive ar(file, n4::Archive::load);
  Serialize(ar);
  return 1;
}

namespace {

// Failures that mean the file could not be created at all (WriteFile returns
// 0); anything else went wrong while writing and is raised.
bool IsCreateFailure(DWORD code) {
  switch (code) {
    case n4::kErrFileNotFound:
    case n4::kErrPathNotFound:
    case n4::kErrAccessDenied:
    case n4::kErrWriteProtect:
    case n4::kErrInvalidName:
    case n4::kErrFilenameTooLong:
    case n4::kErrSharingViolation:
      return true;
    default:
      return false;
  }
}

}  // namespace

int CN4FileCRtd::WriteFile() {
  if (m_strPath.empty()) return 0;
  n4::ArchiveFile file;
  file.OpenForStoring(m_strPath);
  n4::Archive ar(file, n4::Archive::store);
  Serialize(ar);
  ar.Close();
  n4::SysError err;
  if (file.Commit(&err)) return 1;
  if (IsCreateFailure(err.code)) return 0;
  throw n4::FileException(n4::FileException::OsErrorToException(static_cast<LONG>(err.code)),
                          static_cast<LONG>(err.code), m_strPath);
}
