// CN4RiffFile: opening, mapping, growth and closing of the working file.
#include <algorithm>
#include <chrono>
#include <ctime>

#include "n4file/RiffFile.h"
#include "platform/Env.h"
#include "riff/LastError.h"
#include "riff/StaleWorkingCopies.h"
#include "util/ByteOrder.h"

namespace n4 {
SysError& LastSysError() {
  thread_local SysError error;
  return error;
}
}  // namespace n4

using n4::Env;
using n4::LastSysError;

N4_IMPLEMENT_DYNCREATE(CN4RiffFile)

CN4RiffFile::CN4RiffFile() = default;

CN4RiffFile::~CN4RiffFile() {
  Close();
  RemoveAllObjects();
}

void CN4RiffFile::GetLastErrorString() {
  m_dwLastError = LastSysError().code;
  m_strLastError = LastSysError().text;
}

void CN4RiffFile::RecordError(DWORD code, const std::string& text) {
  m_dwLastError = code;
  m_strLastError = text;
}

// A working copy untouched for this long and held by nobody is an orphan.
constexpr std::chrono::seconds kStaleWorkingCopyAge{60};

int CN4RiffFile::GetTmpN4File(std::string& name) {
  Env* env = Env::Default();
  std::string dir;
  if (!env->GetTempDirectory(&dir, &LastSysError())) return 0;
  if (!env->CreateTempFile(dir, "SQ4", &name, &LastSysError())) return 0;
  return 1;
}

int CN4RiffFile::Open(const char* path, N4OpenFlags flags, DWORD formType) {
  if (IsOpen()) Close();
  if (!path || (flags != OpenReadOnly && flags != OpenModify && flags != OpenCreate)) {
    n4::Fail(&LastSysError(), n4::kErrInvalidParameter);
    GetLastErrorString();
    return 0;
  }
  Env* env = Env::Default();
  m_strOriginalPath = m_strWorkingPath = path;
  m_nOpenFlags = flags;

  // Undo whatever an opening step left behind, so that a failed Open leaves
  // no working file and no handles.
  auto abandon = [&]() {
    m_pMapping.reset();
    m_pFile.reset();
    m_pOrigFile.reset();
    if (m_bUsesTempFile && m_strWorkingPath != m_strOriginalPath) {
      n4::SysError ignored;
      env->DeleteFile(m_strWorkingPath, &ignored);
    }
    m_bUsesTempFile = 0;
    m_pViewBase = m_pEnd = m_pNextUnparsed = nullptr;
    m_Chunk = _RIFFCHUNK{};
    return 0;
  };

  if (flags == OpenModify || flags == OpenCreate) {
    // An editor that was killed left its working copy behind; without this
    // the temporary directory would fill with whole copies of sequences.
    if (std::string dir; env->GetTempDirectory(&dir, &LastSysError())) {
      n4::RemoveStaleWorkingCopies(env, dir, kStaleWorkingCopyAge);
    }
    m_bUsesTempFile = 1;
    std::string tmp;
    if (!GetTmpN4File(tmp)) {
      GetLastErrorString();
      m_bUsesTempFile = 0;
      return 0;
    }
    m_strWorkingPath = tmp;
    if (!OpenOrigFileWriteMode(1, 0)) return abandon();
    m_pFile = env->OpenFile(m_strWorkingPath, n4::FileAccess::ReadWrite, n4::FileShare::None,
                            n4::FileDisposition::CreateAlways, &LastSysError());
  } else {
    m_bUsesTempFile = 0;
    m_pFile = env->OpenFile(m_strWorkingPath, n4::FileAccess::Read, n4::FileShare::ReadWrite,
                            n4::FileDisposition::OpenExisting, &LastSysError());
  }
  if (!m_pFile) {
    GetLastErrorString();
    return abandon();
  }
  if (!CreateMapping(nullptr)) return abandon();

  if (!m_bUsesTempFile) {
    m_pFile->MarkMapped();
    // Readers nearly always walk every chunk: bring a file of modest size in
    // at once rather than one page fault at a time.
    constexpr DWORD kPopulateAtOpen = 64u << 20;
    if (m_dwMappingSize <= kPopulateAtOpen) m_pMapping->Populate(0, m_dwMappingSize, false);
    // The outer chunk is viewed without checking its ID or form type; its
    // claimed size is only trusted as far as the file's bytes reach.
    if (m_dwMappingSize >= 12) {
      ParseChunk(m_pViewBase, &m_Chunk);
      m_pEnd = std::min(static_cast<std::byte*>(NextChunk()), m_pViewBase + m_dwMappingSize);
    } else {
      m_pEnd = m_pViewBase;
    }
    RemoveAllObjects();
  } else {
    m_pEnd = m_pViewBase;
    m_qwHighWater = 0;  // the working file was created empty
    if (!CN4RiffChunk::AppendToFile(this, n4::kFourccRIFF, 4, formType)) {
      Close();
      return 0;
    }
    if (flags == OpenModify) {
      if (!CopyToTemp()) {
        Close();
        return 0;
      }
      if (!InfoChunk()) AddObject(n4::kFourccINFO, 0);
    } else {
      RemoveAllObjects();
      if (AddObject(n4::kFourccINFO, -1) < 0 || AddObject(n4::kFourccN4HD, -1) < 0) {
        Close();
        return 0;
      }
      if (tag_N4_RIFF_FILE_DATA* hdr = RiffHdr()) {
        hdr->wCreatedMajor = n4::kFormatMajor;
        hdr->wCreatedMinor = n4::kFormatMinor;
      }
      char date[32] = "";
      const std::tm local = n4::ToLocalTime(n4::Env::Default()->Now());
      std::strftime(date, sizeof date, "%Y-%m-%d", &local);
      SetCreationDateString(date);
    }
  }
  m_strLastError.clear();
  return 1;
}

int CN4RiffFile::OpenOrigFileWriteMode(int skipIfCreating, int ignoreFailure) {
  if (skipIfCreating && m_nOpenFlags == OpenCreate) {
    m_pOrigFile.reset();
    return 1;
  }
  m_pOrigFile = Env::Default()->OpenFile(m_strOriginalPath, n4::FileAccess::ReadWrite, n4::FileShare::Read,
                                         n4::FileDisposition::OpenExisting, &LastSysError());
  if (m_pOrigFile) return 1;
  if (ignoreFailure) return 1;
  GetLastErrorString();
  return 0;
}

std::uint64_t CN4RiffFile::UsedBytes() const {
  if (!m_pViewBase || !m_pEnd || m_pEnd < m_pViewBase) return 0;
  return static_cast<std::uint64_t>(m_pEnd - m_pViewBase);
}

DWORD CN4RiffFile::MappingSize(void* wantedEnd) {
  if (!m_bUsesTempFile) {
    std::uint64_t size = 0;
    if (!m_pFile || !m_pFile->GetSize(&size, &LastSysError())) return 0;
    return static_cast<DWORD>(std::min<std::uint64_t>(size, 0xFFFFFFFFu));
  }
  auto* end = static_cast<std::byte*>(wantedEnd);
  if (!m_pViewBase || !end || end < m_pViewBase) return m_dwMappingPageSize;
  std::uint64_t used = static_cast<std::uint64_t>(end - m_pViewBase);
  std::uint64_t size = ((used + 5) / m_dwMappingPageSize + 1) * m_dwMappingPageSize;
  return size > 0xFFFFFFFFu ? 0 : static_cast<DWORD>(size);
}

int CN4RiffFile::CreateMapping(void* wantedEnd) {
  return CreateMappingForLength(MappingSize(wantedEnd));
}

int CN4RiffFile::CreateMappingForLength(std::uint64_t size) {
  m_pMapping.reset();
  if (size == 0) {
    // Nothing to map (an empty file) or a size beyond what a mapping holds.
    n4::Fail(&LastSysError(), m_bUsesTempFile ? n4::kErrNotEnoughMemory : n4::kErrFileInvalid);
    GetLastErrorString();
    m_dwMappingSize = 0;
    return 0;
  }
  m_pMapping = m_pFile->Map(size, m_bUsesTempFile != 0, &LastSysError());
  if (!m_pMapping) {
    GetLastErrorString();
    m_dwMappingSize = 0;
    return 0;
  }
  m_dwMappingSize = static_cast<DWORD>(size);
  m_pViewBase = m_pMapping->data();
  return 1;
}

void CN4RiffFile::SetMappingPageSize() { m_dwMappingPageSize = 65536; }

int CN4RiffFile::SetEnd(void* p) {
  if (!p) return 0;
  m_pEnd = static_cast<std::byte*>(p);
  if (m_pViewBase && m_pEnd > m_pViewBase) {
    m_qwHighWater = std::max<std::uint64_t>(m_qwHighWater, static_cast<std::uint64_t>(m_pEnd - m_pViewBase));
  }
  return 1;
}

bool CN4RiffFile::IsUnwrittenSpace(const void* p) const {
  const auto* at = static_cast<const std::byte*>(p);
  return m_bUsesTempFile && m_pViewBase && at >= m_pViewBase &&
         static_cast<std::uint64_t>(at - m_pViewBase) >= m_qwHighWater;
}

void CN4RiffFile::DropMapping() {
  // Without a mapping no view may be used again: forget every object too.
  m_pMapping.reset();
  RemoveAllObjects();
  m_pViewBase = m_pEnd = m_pNextUnparsed = nullptr;
  m_Chunk = _RIFFCHUNK{};
  m_dwMappingSize = 0;
}

int CN4RiffFile::GrowFile(DWORD bytes) {
  if (!IsWriteable()) return 0;
  const std::uint64_t used = UsedBytes();
  const std::uint64_t needed = used + bytes + 5;
  if (needed < m_dwMappingSize) return 1;

  SetMappingPageSize();
  std::byte* oldBase = m_pViewBase;
  const DWORD oldSize = m_dwMappingSize;
  const std::uint64_t size = ((needed + 5) / m_dwMappingPageSize + 1) * m_dwMappingPageSize;

  int result = 1;
  n4::SysError& err = LastSysError();
  if (size > 0xFFFFFFFFu) {
    n4::Fail(&err, n4::kErrNotEnoughMemory);
    GetLastErrorString();
    result = 0;
  } else if (m_pMapping->Grow(size, &err)) {
    // Grown in place (or moved with its pages): nothing is mapped twice.
    m_pViewBase = m_pMapping->data();
    m_dwMappingSize = static_cast<DWORD>(size);
  } else if (err.code != n4::kErrNotSupported) {
    GetLastErrorString();  // the old mapping is still in place
    result = 0;
  } else {
    m_pMapping.reset();
    if (!CreateMappingForLength(size)) {
      // Keep working with the old size; the append that asked reports failure.
      result = 0;
      n4::SysError failure = err;
      if (!CreateMappingForLength(oldSize)) {
        DropMapping();
        return 0;
      }
      err = failure;
      RecordError(failure.code, failure.text);
    }
  }
  // About to be appended to; the copy made at opening writes its pages
  // through the file instead, which spares the zeroing of fresh pages.
  if (result && !m_bCopyingIn) m_pMapping->Populate(used, m_dwMappingSize - used, true);
  std::byte* newBase = m_pViewBase;
  if (newBase == oldBase) return result;  // grown in place: every view still holds
  CN4RiffChunk::AdjustToNewBase(newBase, oldBase);
  Rebase(m_pEnd, newBase, oldBase);
  for (auto& object : m_aObjects) {
    if (object) object->AdjustToNewBase(newBase, oldBase);
  }
  return result;
}

void CN4RiffFile::Close() {
  if (!IsOpen()) return;
  m_pMapping.reset();
  // The working copy is not cut back to its used bytes before it is deleted
  // below (that would only make the system drop its pages twice), and a
  // read-only original cannot change its length.
  m_pFile.reset();
  RemoveAllObjects();
  m_pViewBase = m_pEnd = m_pNextUnparsed = nullptr;
  m_Chunk = _RIFFCHUNK{};
  m_dwMappingSize = 0;
  if (m_bUsesTempFile) {
    m_pOrigFile.reset();
    m_bUsesTempFile = 0;
    n4::SysError ignored;
    Env::Default()->DeleteFile(m_strWorkingPath, &ignored);  // unsaved edits are dropped
  }
}

int CN4RiffFile::SetOriginalPath(const std::string& path) {
  if (!IsWriteable()) return 0;
  m_strOriginalPath = path;
  m_pOrigFile.reset();
  return 1;
}

int CN4RiffFile::GetFileInformation(BY_HANDLE_FILE_INFORMATION* info) {
  if (!IsOpen() || !info || !m_pFile) return 0;
  if (!m_pFile->GetInformation(info, &LastSysError())) return 0;
  return 1;
}
