#include <cstring>

#include "n4file/RiffFile.h"

N4_IMPLEMENT_DYNCREATE(CN4RiffInfo)

namespace {
constexpr DWORD kStringIds[CN4RiffInfo::StringCount] = {
    n4::kFourccICMT, n4::kFourccIKEY, n4::kFourccISFT, n4::kFourccICOP, n4::kFourccICRD};
}

CN4RiffInfo::CN4RiffInfo() {
  for (int i = 0; i < StringCount; ++i) m_aStrings[i].SetFCCID(kStringIds[i]);
}

DWORD CN4RiffInfo::BytesRequired() const {
  DWORD total = 12;
  for (const auto& s : m_aStrings) total += s.BytesRequired(-1);
  return total;
}

void* CN4RiffInfo::AppendToFile(CN4RiffFile* file) {
  CN4RiffChunk* members[StringCount];
  for (int i = 0; i < StringCount; ++i) members[i] = &m_aStrings[i];
  return AppendListToFile(file, n4::kFourccINFO, BytesRequired(), members);
}

void* CN4RiffInfo::AttachToFile(void* chunk) {
  if (!chunk) return nullptr;
  ParseChunk(chunk, &m_Chunk);
  if (Type() != n4::kFourccINFO) return nullptr;
  for (int i = 0; i < StringCount; ++i) {
    *m_aStrings[i].Chunk() = _RIFFCHUNK{};
    m_aStrings[i].AttachToFile(FindSubChunk(kStringIds[i]));
  }
  return NextChunk();
}

void* CN4RiffInfo::CopyEx(void* dest, int mode, int compress) {
  auto* out = static_cast<std::byte*>(dest);
  if (mode > 0) std::memset(out, 0, BytesRequired());
  if (m_Chunk.pChunk) {
    std::memcpy(out, m_Chunk.pChunk, 12);
  } else {
    WriteChunkHeader(out, n4::kFourccLIST, 4, n4::kFourccINFO);
  }
  _RIFFCHUNK copy;
  ParseChunk(out, &copy);
  void* end = out + 12;
  for (auto& s : m_aStrings) end = s.CopyEx(end, mode, compress);
  SetChunkSize(&copy, end);
  return end;
}

void CN4RiffInfo::AdjustToNewBase(void* newBase, void* oldBase) {
  CN4RiffChunk::AdjustToNewBase(newBase, oldBase);
  for (auto& s : m_aStrings) s.AdjustToNewBase(newBase, oldBase);
}
