// CN4RiffFile: copying an original into the working file, and saving.
#include <algorithm>
#include <climits>

#include "n4file/RiffFile.h"
#include "platform/AtomicFile.h"
#include "platform/Env.h"
#include "platform/Path.h"
#include "riff/LastError.h"
#include "util/ByteOrder.h"

using n4::Env;
using n4::LastSysError;

namespace {

// Slack beyond the used bytes for the save mapping: compaction never grows a
// record, but a record that was absent in the working file is written as a
// minimal chunk, so a little room is kept.
constexpr std::uint64_t kSaveSlack = 64 * 1024;

const char kNoRiff[] = "No RIFF chunk";
const char kUpdateError[] = "Update error";
const char kNotWriteable[] = "File is not writeable";
const char kNoSpace[] = "There is not enough space on the disk.\n";
const char kSaveElsewhere[] = "Please save to another location.\n";
const char kRunning[] = "Sequence is running.  Could not save.\n";
const char kStopAndRetry[] = "Either stop the sequence and try again\n";
const char kDifferentName[] = "     or save to a different name.\n";
const char kCouldNotSave[] = "Could not save.\n";

}  // namespace

int CN4RiffFile::CopyToTemp() {
  if (!IsWriteable()) return 0;
  RemoveAllObjects();
  if (!m_pOrigFile) {
    n4::Fail(&LastSysError(), n4::kErrInvalidHandle);
    GetLastErrorString();
    return 0;
  }
  std::uint64_t size = 0;
  if (!m_pOrigFile->GetSize(&size, &LastSysError())) {
    GetLastErrorString();
    return 0;
  }
  if (size < 12) {
    RecordError(0, kNoRiff);
    return 0;
  }
  std::unique_ptr<n4::MappedView> original =
      m_pOrigFile->Map(std::min<std::uint64_t>(size, 0xFFFFFFFFu), false, &LastSysError());
  if (!original) {
    GetLastErrorString();
    return 0;
  }
  original->Populate(0, original->size(), false);
  std::byte* base = original->data();
  const std::byte* limit = base + original->size();

  CN4RiffChunk riff;
  riff.AttachToFile(base);
  if (!riff.IsRiffChunk() || riff.Type() != Type()) {
    RecordError(0, kNoRiff);
    return 0;
  }
  // A truncated file keeps the chunks that are whole.
  const std::byte* riffEnd = std::min<const std::byte*>(static_cast<std::byte*>(riff.Data()) - 4 + riff.GetSize(), limit);

  int result = 1;
  std::byte* p = static_cast<std::byte*>(riff.Data());
  while (p < riffEnd && riffEnd - p >= 8) {
    if (!n4::ChunkFits(p, riffEnd)) break;
    std::byte* next = static_cast<std::byte*>(NextChunkPtr(p));
    std::unique_ptr<CN4RiffChunk> object = CreateChunk(ChunkId(p));
    if (object && object->AttachToFile(p)) {
      if (AddObject(object.get(), -1, 1, IsFileCompressionOn()) < 0) {
        result = 0;
        break;
      }
    }
    p = next;
    if (m_fnProgress) m_fnProgress(static_cast<std::uint64_t>(p - base), static_cast<std::uint64_t>(riffEnd - base));
  }
  original.reset();
  if (result) RecordError(0, "");
  return result;
}

int CN4RiffFile::IsSpaceAvailable(const std::string& newFile) {
  Env* env = Env::Default();
  const std::string& path = m_strOriginalPath;
  // Windows rules wherever the path is written with backslashes (a drive or
  // a network share); a path of this platform's otherwise.
  const bool windowsPath = path.find('\\') != std::string::npos;
  const std::string root =
      n4::path::VolumeRoot(path, windowsPath ? n4::path::Style::Windows : n4::path::Style::Native);
  if (root.empty()) return 1;

  n4::DiskFreeSpace space;
  n4::SysError ignored;
  if (!env->GetDiskFreeSpace(root, &space, &ignored)) return 1;
  std::uint64_t newSize = 0;
  std::uint64_t originalSize = 0;
  if (!env->GetFileSize(newFile, &newSize, &ignored)) return 1;
  if (!m_pOrigFile || !m_pOrigFile->GetSize(&originalSize, &ignored)) return 1;
  if (originalSize > newSize) return 1;
  if (space.bytesPerSector == 0) return 1;
  const std::uint64_t sectorsNeeded = (newSize - originalSize) / space.bytesPerSector + 1;
  const std::uint64_t sectorsFree = std::uint64_t{space.sectorsPerCluster} * space.freeClusters;
  return sectorsNeeded > sectorsFree ? 0 : 1;
}

int CN4RiffFile::Update() {
  RecordError(0, kUpdateError);
  if (!IsWriteable()) {
    m_strLastError = kNotWriteable;
    return 0;
  }
  Env* env = Env::Default();
  if (tag_N4_RIFF_FILE_DATA* hdr = RiffHdr()) {
    hdr->dwObjectCount = static_cast<DWORD>(GetArraySize());
    hdr->wSavedMajor = n4::kFormatMajor;
    hdr->wSavedMinor = n4::kFormatMinor;
  }

  std::string saved;
  if (!GetTmpN4File(saved)) {
    GetLastErrorString();
    return 0;
  }
  n4::SysError ignored;
  auto discard = [&]() {
    env->DeleteFile(saved, &ignored);
    return 0;
  };
  std::unique_ptr<n4::FileHandle> out = env->OpenFile(saved, n4::FileAccess::ReadWrite, n4::FileShare::None,
                                                      n4::FileDisposition::CreateAlways, &LastSysError());
  if (!out) {
    GetLastErrorString();
    return discard();
  }
  const std::uint64_t capacity = UsedBytes() + kSaveSlack;
  std::unique_ptr<n4::MappedView> view = out->Map(capacity, true, &LastSysError());
  if (!view) {
    GetLastErrorString();
    out.reset();
    return discard();
  }

  view->Populate(0, UsedBytes(), true);
  std::byte* start = view->data();
  const std::byte* limit = start + view->size();
  WriteChunkHeader(start, n4::kFourccRIFF, 4, Type());
  CN4RiffChunk riff;
  riff.AttachToFile(start);
  int compress = 0;
  if (IsFileCompressionOn()) {
    compress = -static_cast<int>(std::min<DWORD>(RiffHdr()->dwCompression, INT_MAX));
  }
  auto* p = static_cast<std::byte*>(riff.Data());
  std::uint64_t written = 0;
  for (auto& object : m_aObjects) {
    if (m_fnProgress) m_fnProgress(written++, m_aObjects.size());
    if (!object) continue;
    p = static_cast<std::byte*>(object->CopyEx(p, -1, compress));
    if (!p || p > limit) {
      // A record wrote more than it held: the copy cannot be trusted.
      view.reset();
      out.reset();
      n4::Fail(&LastSysError(), n4::kErrInvalidParameter);
      GetLastErrorString();
      return discard();
    }
  }
  riff.SizeChunk(p);
  if (m_fnProgress) m_fnProgress(written, m_aObjects.size());
  const std::uint64_t length = static_cast<std::uint64_t>(p - start);
  view.reset();
  if (!out->SetLength(length, &LastSysError())) {
    GetLastErrorString();
    out.reset();
    return discard();
  }

  if (!IsSpaceAvailable(saved)) {
    RecordError(n4::kErrDiskFull, std::string(kNoSpace) + kSaveElsewhere);
    return 0;  // the saved copy is deliberately left on disk
  }
  out.reset();
  m_pOrigFile.reset();

  if (!n4::ReplaceFileAtomic(env, saved, m_strOriginalPath, &LastSysError())) {
    GetLastErrorString();
    if (m_dwLastError == n4::kErrUserMappedFile) {
      m_strLastError = std::string(kRunning) + kStopAndRetry + kDifferentName;
    } else {
      // The system's text reads as its own line, as it does on Windows.
      if (!m_strLastError.empty() && m_strLastError.back() != '\n') m_strLastError += '\n';
      m_strLastError += std::string(kCouldNotSave) + kSaveElsewhere;
    }
    OpenOrigFileWriteMode(0, 1);
    return 0;
  }
  OpenOrigFileWriteMode(0, 1);
  env->DeleteFile(saved, &ignored);  // already gone when the replacement moved it
  if (m_pMapping) m_pMapping->Flush(&ignored);
  RecordError(0, "");
  return 1;
}
