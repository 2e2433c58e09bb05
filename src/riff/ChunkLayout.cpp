// Chunk layout helpers: the on-disk rules every record follows.
#include <cstring>

#include "n4file/RiffFile.h"
#include "util/ByteOrder.h"

namespace {

std::byte* Bytes(void* p) { return static_cast<std::byte*>(p); }
const std::byte* Bytes(const void* p) { return static_cast<const std::byte*>(p); }

bool IsContainerId(DWORD id) { return id == n4::kFourccRIFF || id == n4::kFourccLIST; }

}  // namespace

void* ParseChunk(void* p, _RIFFCHUNK* view) {
  if (!p) return nullptr;
  std::byte* chunk = Bytes(p);
  view->pChunk = chunk;
  view->pSize = chunk + 4;
  if (IsContainerId(n4::ReadLE32(chunk))) {
    view->pType = chunk + 8;
    view->pData = chunk + 12;
  } else {
    view->pType = nullptr;
    view->pData = chunk + 8;
  }
  return NextChunkPtr(chunk);
}

void* WriteChunkHeader(void* p, DWORD id, DWORD size, DWORD type) {
  std::byte* chunk = Bytes(p);
  const bool container = IsContainerId(id);
  if (container && size < 4) size = 4;
  n4::WriteLE32(chunk, id);
  n4::WriteLE32(chunk + 4, size);
  if (container) {
    n4::WriteLE32(chunk + 8, type);
    std::memset(chunk + 12, 0, size - 4);
  } else {
    std::memset(chunk + 8, 0, size);
  }
  return chunk + 8 + size + (size & 1);
}

int SetChunkSize(_RIFFCHUNK* view, void* end) {
  if (!view || !end) return 0;
  std::byte* from = view->pType ? view->pType : view->pData;
  if (!from || !view->pSize) return 0;
  std::byte* e = Bytes(end);
  if (e < from) return 0;
  n4::WriteLE32(view->pSize, static_cast<DWORD>(e - from));
  return 1;
}

void* NextChunkPtr(const void* chunk) {
  if (!chunk) return nullptr;
  DWORD size = n4::ReadLE32(Bytes(chunk) + 4);
  return const_cast<std::byte*>(Bytes(chunk)) + 8 + size + (size & 1);
}

// Saturates instead of wrapping: a size near 4 GiB must ask for more room
// than any file can give, not for a few bytes.
DWORD ChunkBytesRequired(DWORD size) { return size > 0xFFFFFFFFu - 9 ? 0xFFFFFFFFu : 8 + size + (size & 1); }

DWORD ChunkId(const void* chunk) {
  if (!chunk) return 0;
  DWORD id = n4::ReadLE32(chunk);
  return IsContainerId(id) ? n4::ReadLE32(Bytes(chunk) + 8) : id;
}

namespace n4 {

bool ChunkFits(const void* p, const void* limit) {
  if (!p || !limit) return false;
  const std::byte* chunk = Bytes(p);
  const std::byte* end = Bytes(limit);
  if (chunk >= end || end - chunk < 8) return false;
  const std::uint64_t room = static_cast<std::uint64_t>(end - chunk) - 8;
  const DWORD size = ReadLE32(chunk + 4);
  if (size > room) return false;
  if (IsContainerId(ReadLE32(chunk)) && size < 4) return false;
  return true;
}

const std::byte* BoundedNextChunk(const void* p, const void* limit) {
  const std::byte* next = static_cast<const std::byte*>(NextChunkPtr(p));
  return next > Bytes(limit) ? Bytes(limit) : next;
}

}  // namespace n4
