// CN4RiffFile: the array of top-level objects, lazy parsing, header and INFO.
#include <algorithm>
#include <cstring>

#include "n4file/RiffFile.h"

namespace {
const char kEmpty[] = "";
}

const CRuntimeClass* CN4RiffFile::IDToRtClass(DWORD id) {
  if (id == n4::kFourccINFO) return RUNTIME_CLASS(CN4RiffInfo);
  if (id == n4::kFourccN4HD) return RUNTIME_CLASS(CN4RiffHdr);
  return nullptr;
}

std::unique_ptr<CN4RiffChunk> CN4RiffFile::CreateChunk(DWORD id) {
  const CRuntimeClass* rtc = IDToRtClass(id);
  return rtc ? rtc->CreateObject() : nullptr;
}

void CN4RiffFile::RemoveAllObjects() {
  m_aObjects.clear();
  m_pNextUnparsed = m_Chunk.pData;
}

int CN4RiffFile::AddObject(DWORD id, int pos) {
  if (!IsWriteable()) return -1;
  std::unique_ptr<CN4RiffChunk> object = CreateChunk(id);
  if (!object) return -1;
  void* end = object->AppendToFile(this);
  if (!end) return -1;
  SizeChunk(end);
  // Positions past the end append, so the array never holds gaps.
  int index = (pos < 0 || pos > GetArraySize()) ? GetArraySize() : pos;
  m_aObjects.insert(m_aObjects.begin() + index, std::move(object));
  return index;
}

int CN4RiffFile::AddObject(CN4RiffChunk* src, int pos, int mode, int compress) {
  // REQUIRES: src views a chunk outside this file's mapping, or is one of this
  // file's own objects (growth re-bases only those).
  if (!IsWriteable() || !src) return -1;
  // The copy is written over the fresh chunk and may be larger (longer
  // records, or pixels expanded for another sign's geometry): reserve room
  // for the larger of the two before the fresh append.
  // A record copied from a saved file arrives compacted (strings with room
  // for their own text only); the working copy expands it.
  mode = std::max(mode, 1);
  const DWORD sourceBytes = src->StartOfChunkPtr() ? src->CopyBytesRequired(mode, compress) : 0;
  if (!GrowFile(sourceBytes)) return -1;
  const int index = AddObject(src->Type(), pos);
  if (index < 0) return -1;
  CN4RiffChunk* object = m_aObjects[index].get();
  void* copyEnd = src->CopyEx(object->StartOfChunkPtr(), mode, compress);
  if (copyEnd > GetEnd()) {
    SetEnd(copyEnd);
    SizeChunk(copyEnd);
  }
  // The copy may lay its sub-chunks out differently from the fresh chunk.
  if (!object->AttachToFile(object->StartOfChunkPtr())) {
    m_aObjects.erase(m_aObjects.begin() + index);
    return -1;
  }
  return index;
}

int CN4RiffFile::RemoveObject(int index) {
  if (!IsWriteable() || index < 0 || index >= GetArraySize()) return 0;
  m_aObjects.erase(m_aObjects.begin() + index);
  return 1;
}

CN4RiffChunk* CN4RiffFile::GetObject(int index) {
  if (index < 0) return nullptr;
  if (IsOpen() && !m_bUsesTempFile && index >= GetArraySize()) BuildObjectArray(index);
  return index < GetArraySize() ? m_aObjects[index].get() : nullptr;
}

int CN4RiffFile::BuildObjectArray(int upTo) {
  // Creating an object may look up other objects (a frame asks for the start
  // record); those lookups see what is parsed so far and never parse again.
  if (!IsOpen() || !m_pNextUnparsed || !m_pEnd || m_bParsing) return 0;
  struct Guard {
    bool& flag;
    explicit Guard(bool& f) : flag(f) { flag = true; }
    ~Guard() { flag = false; }
  } guard(m_bParsing);
  bool first = true;
  while (m_pNextUnparsed < m_pEnd && m_pEnd - m_pNextUnparsed >= 8 &&
         (upTo < 0 || GetArraySize() <= upTo)) {
    if (!n4::ChunkFits(m_pNextUnparsed, m_pEnd)) return 0;
    std::unique_ptr<CN4RiffChunk> object = CreateChunk(ChunkId(m_pNextUnparsed));
    if (!object) return 0;
    // Deliberate guard: the header is expected to be reached in the same pass
    // as the INFO list in front of it, never as the first chunk of a pass.
    if (first && object->GetRuntimeClass() == CN4RiffHdr::ThisClass()) return 0;
    if (!object->AttachToFile(m_pNextUnparsed)) return 0;
    m_aObjects.push_back(std::move(object));
    m_pNextUnparsed = static_cast<std::byte*>(NextChunkPtr(m_pNextUnparsed));
    first = false;
  }
  return upTo < 0 || GetArraySize() >= upTo;
}

CN4RiffChunk* CN4RiffFile::FindObject(DWORD code, int hint, int* index) {
  if (hint >= 0) {
    CN4RiffChunk* object = GetObject(hint);
    if (object && object->Type() == code) {
      if (index) *index = hint;
      return object;
    }
  }
  for (int i = 0;; ++i) {
    CN4RiffChunk* object = GetObject(i);
    if (!object) return nullptr;
    if (object->Type() == code) {
      if (index) *index = i;
      return object;
    }
  }
}

int CN4RiffFile::GetObjectCount() {
  if (IsWriteable()) return GetArraySize();
  tag_N4_RIFF_FILE_DATA* hdr = RiffHdr();
  if (!hdr) return 0;
  // A damaged header may claim any count, and callers loop over it: no file
  // holds more chunks than its bytes allow (a chunk takes 8 bytes at least).
  const std::uint64_t room = m_pEnd > m_Chunk.pData ? static_cast<std::uint64_t>(m_pEnd - m_Chunk.pData) : 0;
  return static_cast<int>(std::min<std::uint64_t>(hdr->dwObjectCount, room / 8));
}

tag_N4_RIFF_FILE_DATA* CN4RiffFile::RiffHdr() {
  auto* hdr = n4::KindOf<CN4RiffHdr>(FindObject(n4::kFourccN4HD, 1, nullptr));
  return hdr ? hdr->RiffHdr() : nullptr;
}

CN4RiffInfo* CN4RiffFile::InfoChunk() { return n4::KindOf<CN4RiffInfo>(GetObject(0)); }

int CN4RiffFile::IsFileCompressionOn() {
  if (GetObjectCount() < 1) return 0;
  tag_N4_RIFF_FILE_DATA* hdr = RiffHdr();
  return hdr && hdr->dwCompression != 0;
}

const char* CN4RiffFile::InfoString(CN4RiffInfo::InfoString which) {
  CN4RiffInfo* info = InfoChunk();
  return info ? info->String(which).GetPtrToString() : kEmpty;
}

int CN4RiffFile::SetInfoString(CN4RiffInfo::InfoString which, const char* s) {
  // A read-only mapping cannot be written.
  if (!IsWriteable()) return 0;
  CN4RiffInfo* info = InfoChunk();
  return info ? info->String(which).SetString(s) : 0;
}

const char* CN4RiffFile::GetPtrToComments() { return InfoString(CN4RiffInfo::Comments); }
int CN4RiffFile::SetCommentsString(const char* s) { return SetInfoString(CN4RiffInfo::Comments, s); }
const char* CN4RiffFile::GetPtrToKeywords() { return InfoString(CN4RiffInfo::Keywords); }
int CN4RiffFile::SetKeywordsString(const char* s) { return SetInfoString(CN4RiffInfo::Keywords, s); }
const char* CN4RiffFile::GetPtrToSoftware() { return InfoString(CN4RiffInfo::Software); }
int CN4RiffFile::SetSoftwareString(const char* s) { return SetInfoString(CN4RiffInfo::Software, s); }
const char* CN4RiffFile::GetPtrToCopyright() { return InfoString(CN4RiffInfo::Copyright); }
int CN4RiffFile::SetCopyrightString(const char* s) { return SetInfoString(CN4RiffInfo::Copyright, s); }
const char* CN4RiffFile::GetPtrToCreationDate() { return InfoString(CN4RiffInfo::CreationDate); }
int CN4RiffFile::SetCreationDateString(const char* s) {
  return SetInfoString(CN4RiffInfo::CreationDate, s);
}
