// Command frames: a "cmd " list holding the command header and 128 string slots.
#include <cstring>

#include "n4file/SequenceFile.h"
#include "util/ByteOrder.h"

N4_IMPLEMENT_DYNCREATE(CN4CommandHdr)
N4_IMPLEMENT_DYNCREATE(CN4CmdFrame)

void* CN4CommandHdr::AppendToFile(CN4RiffFile* file) {
  return CN4RiffChunk::AppendToFile(file, n4::kFourccCmdh, sizeof(tag_N4_CMD_HDR), 0);
}

void* CN4CommandHdr::AttachToFile(void* chunk) {
  return AttachRecord(chunk, n4::kFourccCmdh, sizeof(tag_N4_CMD_HDR));
}

CN4CmdFrame::CN4CmdFrame() {
  for (auto& slot : m_aCommands) slot.SetFCCID(n4::kFourccCmds);
}

tag_N4_FRM* CN4CmdFrame::FrameHdr() { return reinterpret_cast<tag_N4_FRM*>(m_CommandHdr.CmdHdr()); }

void* CN4CmdFrame::AppendToFile(CN4RiffFile* file) {
  CN4RiffChunk* members[1 + kSlots];
  members[0] = &m_CommandHdr;
  for (int i = 0; i < kSlots; ++i) members[1 + i] = &m_aCommands[i];
  return AppendListToFile(file, n4::kFourccCmd, BytesRequired(), members);
}

void* CN4CmdFrame::AttachToFile(void* chunk) {
  if (!chunk) return nullptr;
  ParseChunk(chunk, &m_Chunk);
  *m_CommandHdr.Chunk() = _RIFFCHUNK{};
  for (auto& slot : m_aCommands) *slot.Chunk() = _RIFFCHUNK{};
  if (Type() != n4::kFourccCmd) {
    m_Chunk = _RIFFCHUNK{};
    return nullptr;
  }
  if (!m_CommandHdr.AttachToFile(FindSubChunk(n4::kFourccCmdh))) return nullptr;
  // The slots follow one another; the first chunk that is not a whole
  // "cmds" chunk inside the list ends them.
  const std::byte* listEnd = static_cast<std::byte*>(Data()) - 4 + GetSize();
  void* p = FindSubChunk(n4::kFourccCmds);
  for (auto& slot : m_aCommands) {
    if (!p || !n4::ChunkFits(p, listEnd) || n4::ReadLE32(p) != n4::kFourccCmds) break;
    void* next = NextChunkPtr(p);
    slot.AttachToFile(p);
    p = next;
  }
  return NextChunk();
}

void CN4CmdFrame::AdjustToNewBase(void* newBase, void* oldBase) {
  CN4Frame::AdjustToNewBase(newBase, oldBase);
  m_CommandHdr.AdjustToNewBase(newBase, oldBase);
  for (auto& slot : m_aCommands) slot.AdjustToNewBase(newBase, oldBase);
}

void* CN4CmdFrame::CopyEx(void* dest, int mode, int compress) {
  auto* out = static_cast<std::byte*>(dest);
  if (mode > 0) std::memset(out, 0, BytesRequired());
  if (StartOfChunkPtr()) {
    std::memcpy(out, StartOfChunkPtr(), 12);
  } else if (mode == 0) {
    return dest;
  } else {
    WriteChunkHeader(out, n4::kFourccLIST, 4, n4::kFourccCmd);
  }
  void* end = out + 12;
  if (m_CommandHdr.StartOfChunkPtr()) {
    end = m_CommandHdr.CopyEx(end, mode, compress);
  } else if (mode != 0) {
    end = WriteChunkHeader(end, n4::kFourccCmdh, sizeof(tag_N4_CMD_HDR), 0);
  }
  for (auto& slot : m_aCommands) end = slot.CopyEx(end, mode, compress);
  _RIFFCHUNK list;
  ParseChunk(out, &list);
  SetChunkSize(&list, end);
  return end;
}

const char* CN4CmdFrame::GetPtrToCommandString(int i) const {
  if (i < 0 || i >= kSlots) return nullptr;
  return m_aCommands[i].GetPtrToString();
}

int CN4CmdFrame::SetCommandString(int i, const char* s) {
  if (!s || i < 0 || i >= kSlots) return 0;
  return m_aCommands[i].SetString(s);
}

void CN4CmdFrame::SetCommandCount(int count) {
  if (tag_N4_CMD_HDR* hdr = CmdHdr()) hdr->wNumCommands = static_cast<WORD>(count);
}

int CN4CmdFrame::AddCommand(const char* s) {
  const int count = GetCommandCount();
  if (!CmdHdr() || count >= kSlots) return -1;
  if (!SetCommandString(count, s)) return -1;
  SetCommandCount(count + 1);
  return count;
}

int CN4CmdFrame::InsertCommand(int pos, const char* s) {
  const int count = GetCommandCount();
  if (!s || !CmdHdr() || pos < 0 || pos >= kSlots || count >= kSlots) return 0;
  for (int j = count; j > pos; --j) {
    // Copy through a buffer: the source slot is the next one to be cleared.
    std::string moved = m_aCommands[j - 1].GetPtrToString();
    m_aCommands[j].Initialize();
    SetCommandString(j, moved.c_str());
  }
  SetCommandCount(count + 1);
  m_aCommands[pos].Initialize();
  return SetCommandString(pos, s);
}

int CN4CmdFrame::DeleteCommand(int i) {
  if (i < 0 || i >= kSlots || !CmdHdr()) return 0;
  const int count = GetCommandCount();
  for (int k = i; k <= count - 2 && k + 1 < kSlots; ++k) {
    std::string moved = m_aCommands[k + 1].GetPtrToString();
    m_aCommands[k].Initialize();
    SetCommandString(k, moved.c_str());
  }
  // An empty frame has nothing to clear and its count stays 0.
  if (count > 0) {
    if (count - 1 < kSlots) m_aCommands[count - 1].Initialize();
    SetCommandCount(count - 1);
  }
  return 1;
}
