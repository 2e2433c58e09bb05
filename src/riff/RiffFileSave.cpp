// CN4RiffFile: copying an original into the working file, and saving.
#include <algorithm>
#include <climits>

#include "n4file/RiffFile.h"
#include "platform/AtomicFile.h"
#include "platform/Env.h"
#include "platform/Path.h"
#include "riff/SaveStream.h"
#include "util/OrderedWork.h"
#include "riff/LastError.h"
#include "util/ByteOrder.h"

using n4::Env;
using n4::LastSysError;

namespace {

// Room beyond what a record says it writes: a record that was absent in the
// working file (an INFO string, say) is written as a minimal chunk.
constexpr std::size_t kCopySlack = 512;

// Compressed results waiting for the writer, per worker: enough to keep every
// worker busy while the writer is behind, without holding the whole file.
constexpr std::size_t kResultsAheadPerWorker = 4;

const char kNoRiff[] = "No RIFF chunk";
const char kUpdateError[] = "Update error";
const char kNotWriteable[] = "File is not writeable";
const char kNoSpace[] = "There is not enough space on the disk.\n";
const char kSaveElsewhere[] = "Please save to another location.\n";
const char kRunning[] = "Sequence is running.  Could not save.\n";
const char kStopAndRetry[] = "Either stop the sequence and try again\n";
const char kDifferentName[] = "     or save to a different name.\n";
const char kCouldNotSave[] = "Could not save.\n";

// A record whose copy is its stored bytes, moved from where it lies. The pad
// byte is written as zero, as a copy leaves it.
bool AppendStored(n4::SaveStream& stream, const CN4RiffChunk& object) {
  const DWORD size = object.GetSize();
  if (!stream.AppendInPlace(static_cast<const std::byte*>(object.StartOfChunkPtr()), std::size_t{size} + 8)) return false;
  constexpr std::byte kPad[1] = {std::byte{0}};
  return size % 2 == 0 || stream.Append(kPad, 1);
}

// The room a record's saved copy is given.
std::size_t SavedRoom(const CN4RiffChunk& object, int compress) {
  return std::size_t{object.CopyBytesRequired(-1, compress)} + kCopySlack;
}

// Copies a record for saving into [dest, dest + room); the end of the copy,
// or null when the record wrote more than it said it would.
std::byte* CopySaved(CN4RiffChunk& object, std::byte* dest, std::size_t room, int compress) {
  auto* end = static_cast<std::byte*>(object.CopyEx(dest, -1, compress));
  return end && end >= dest && end <= dest + room ? end : nullptr;
}

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
  // No pages are mapped in ahead: records copied as stored go from file to
  // file and never touch theirs, and the rest fault in as they are read.
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
  std::vector<std::byte> scratch;
  m_bCopyingIn = true;
  std::byte* p = static_cast<std::byte*>(riff.Data());
  while (p < riffEnd && riffEnd - p >= 8) {
    if (!n4::ChunkFits(p, riffEnd)) break;
    std::byte* next = static_cast<std::byte*>(NextChunkPtr(p));
    std::unique_ptr<CN4RiffChunk> object = CreateChunk(ChunkId(p));
    if (object && object->AttachToFile(p)) {
      if (AppendCopy(object.get(), *original, IsFileCompressionOn(), scratch) < 0) {
        result = 0;
        break;
      }
    }
    p = next;
    if (m_fnProgress) m_fnProgress(static_cast<std::uint64_t>(p - base), static_cast<std::uint64_t>(riffEnd - base));
  }
  m_bCopyingIn = false;
  original.reset();
  if (result) RecordError(0, "");
  return result;
}

int CN4RiffFile::AppendCopy(CN4RiffChunk* src, const n4::MappedView& source, int compress,
                            std::vector<std::byte>& scratch) {
  // As AddObject(src, ...): room for the larger of the copy and a fresh
  // chunk, the fresh chunk appended, the copy over it, the object attached.
  constexpr int kExpand = 1;
  const DWORD sourceBytes = src->CopyBytesRequired(kExpand, compress);
  if (!GrowFile(sourceBytes)) return -1;
  const int index = AddObject(src->Type(), -1);
  if (index < 0) return -1;
  CN4RiffChunk* object = m_aObjects[index].get();
  auto* at = static_cast<std::byte*>(object->StartOfChunkPtr());
  const auto offset = static_cast<std::uint64_t>(at - m_pViewBase);

  // The copy's bytes: the stored ones, from the original's file to the
  // working file, or the record's own copy made in scratch.
  const void* bytes = nullptr;
  std::size_t length = std::size_t{src->GetSize()} + 8;
  bool fits = true;
  const bool verbatim = src->IsCopyVerbatim(kExpand, compress);
  if (!verbatim) {
    // A compacted record (a string saved with room for its own text only)
    // expands to the fresh chunk's size, which its stored size does not tell.
    const auto fresh = static_cast<std::size_t>(static_cast<std::byte*>(GetEnd()) - at);
    const std::size_t room = std::max<std::size_t>(sourceBytes, fresh) + kCopySlack;
    scratch.assign(room, std::byte{0});
    auto* end = static_cast<std::byte*>(src->CopyEx(scratch.data(), kExpand, compress));
    fits = end && end >= scratch.data() && end <= scratch.data() + room;
    bytes = scratch.data();
    length = fits ? static_cast<std::size_t>(end - scratch.data()) : 0;
  }
  fits = fits && offset + length <= m_dwMappingSize;
  if (!fits) n4::Fail(&LastSysError(), n4::kErrInvalidParameter);
  // Through the file where the system allows: the mapping sees the same
  // bytes without a fault-and-zero for each fresh page.
  const auto sourceOffset =
      static_cast<std::uint64_t>(static_cast<const std::byte*>(src->StartOfChunkPtr()) - source.data());
  if (!fits || !(verbatim ? m_pMapping->CopyFrom(offset, source, sourceOffset, length, &LastSysError())
                          : m_pMapping->Write(offset, bytes, length, &LastSysError()))) {
    GetLastErrorString();
    m_aObjects.erase(m_aObjects.begin() + index);
    return -1;
  }
  return AttachCopy(index, at + length);
}

int CN4RiffFile::AttachCopy(int index, std::byte* copyEnd) {
  if (copyEnd > GetEnd()) {
    SetEnd(copyEnd);
    SizeChunk(copyEnd);
  }
  CN4RiffChunk* object = m_aObjects[index].get();
  if (!object->AttachToFile(object->StartOfChunkPtr())) {
    m_aObjects.erase(m_aObjects.begin() + index);
    return -1;
  }
  return index;
}

int CN4RiffFile::WriteSavedCopy(n4::FileHandle* out, int compress, std::uint64_t* length) {
  // As at opening, nothing is mapped in ahead: stored records go from the
  // working file to the saved one without passing through the mapping.
  n4::SaveStream stream(out, &LastSysError(), m_pMapping.get());
  std::byte header[12];
  WriteChunkHeader(header, n4::kFourccRIFF, 4, Type());
  if (!stream.Append(header, sizeof header)) return 0;

  const std::size_t count = m_aObjects.size();
  auto overran = [&]() {
    // A record wrote more than it said it would: the copy cannot be trusted.
    n4::Fail(&LastSysError(), n4::kErrInvalidParameter);
    return 0;
  };
  // A copy that compresses spends its time in the codecs: the records are
  // compressed on several threads and written here in their order, the same
  // bytes one thread writes. Plain copies are bound by memory and stay on
  // this thread.
  const unsigned threads = compress != 0 ? n4::WorkerThreadCount() : 1;
  n4::OrderedJob job;
  job.count = count;
  job.produce = [&](std::size_t i, std::vector<std::byte>& result) {
    CN4RiffChunk* object = m_aObjects[i].get();
    if (!object || object->IsCopyVerbatim(-1, compress)) return true;  // written as stored
    result.assign(SavedRoom(*object, compress), std::byte{0});
    std::byte* end = CopySaved(*object, result.data(), result.size(), compress);
    if (!end) return false;
    result.resize(static_cast<std::size_t>(end - result.data()));
    return true;
  };
  bool writeFailed = false;
  job.consume = [&](std::size_t i, std::vector<std::byte>& result) {
    if (m_fnProgress) m_fnProgress(i, count);
    CN4RiffChunk* object = m_aObjects[i].get();
    if (object && result.empty() && object->IsCopyVerbatim(-1, compress)) {
      writeFailed = !AppendStored(stream, *object);
    } else {
      writeFailed = !stream.Append(result.data(), result.size());
    }
    return !writeFailed;
  };
  if (!n4::RunOrdered(job, threads, threads * kResultsAheadPerWorker)) return writeFailed ? 0 : overran();
  if (m_fnProgress) m_fnProgress(count, count);
  if (!stream.Flush()) return 0;
  *length = stream.Length();
  // The outer chunk's size, now that it is known.
  std::byte size[4];
  n4::WriteLE32(size, static_cast<DWORD>(std::min<std::uint64_t>(*length - 8, 0xFFFFFFFFu)));
  return out->WriteAt(4, size, 4, &LastSysError()) ? 1 : 0;
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
  int compress = 0;
  if (IsFileCompressionOn()) {
    compress = -static_cast<int>(std::min<DWORD>(RiffHdr()->dwCompression, INT_MAX));
  }
  std::uint64_t length = 0;
  if (!WriteSavedCopy(out.get(), compress, &length)) {
    GetLastErrorString();
    out.reset();
    return discard();
  }
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
