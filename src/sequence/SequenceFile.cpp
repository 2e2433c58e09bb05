// CN4SequenceFile: the "seq4" RIFF file, its frame numbering and limits.
#include <algorithm>

#include "n4file/SequenceFile.h"

const CRuntimeClass CN4SequenceFile::classCN4SequenceFile = {
    "CN4SequenceFile", []() -> std::unique_ptr<CN4RiffChunk> { return std::make_unique<CN4SequenceFile>(); }};
const CRuntimeClass* CN4SequenceFile::GetRuntimeClass() const { return &classCN4SequenceFile; }

namespace {
const char kSoftware[] = "Lyrae 4000 Sequence Designer";

// A prototype whose first field (the height) is zero has not been sized yet.
bool IsSet(const SN4BulbCompInfo& info) { return info.m_dwHeight != 0; }
}  // namespace

CN4SequenceFile::CN4SequenceFile() = default;

CN4SequenceFile::~CN4SequenceFile() {
  // Frames point at the prototypes: close while both still exist.
  Close();
  RemoveAllObjects();
}

const CRuntimeClass* CN4SequenceFile::IDToRtClass(DWORD id) {
  if (const CRuntimeClass* base = CN4RiffFile::IDToRtClass(id)) return base;
  switch (id) {
    case n4::kFourccSos: return RUNTIME_CLASS(CN4SosFrame);
    case n4::kFourccEnd: return RUNTIME_CLASS(CN4EosFrame);
    case n4::kFourccTxd: return RUNTIME_CLASS(CN4TxdFrame);
    case n4::kFourccSnd: return RUNTIME_CLASS(CN4SndFrame);
    case n4::kFourccGrp: return RUNTIME_CLASS(CN4GphFrame);
    case n4::kFourccDat: return RUNTIME_CLASS(CN4DataFrame);
    case n4::kFourccInc: return RUNTIME_CLASS(CN4IncFrame);
    case n4::kFourccCmd: return RUNTIME_CLASS(CN4CmdFrame);
    case n4::kFourccTxt: return RUNTIME_CLASS(CN4TextFrame);
    default: return nullptr;
  }
}

std::unique_ptr<CN4RiffChunk> CN4SequenceFile::CreateChunk(DWORD id) {
  std::unique_ptr<CN4RiffChunk> object = CN4RiffFile::CreateChunk(id);
  if (auto* graphic = n4::KindOf<CN4GphFrame>(object.get())) {
    if (!IsSet(m_GraphicBulbProto)) {
      if (tag_N4_SOS_FRM* sos = SosData()) {
        m_GraphicBulbProto.SetSizeAndColor(sos->wHeight, sos->wWidth, sos->dwColorTech);
      }
    }
    graphic->SetBulbCompInfoPtr(&m_GraphicBulbProto);
  } else if (auto* text = n4::KindOf<CN4TextFrame>(object.get())) {
    if (!IsSet(m_TextBulbProto)) {
      if (tag_N4_SOS_FRM* sos = SosData()) m_TextBulbProto.SetSizeAndColor(16, 16, sos->dwColorTech);
    }
    text->SetBulbCompColorInfoPtr(&m_TextBulbProto);
  }
  return object;
}

void CN4SequenceFile::SetMappingPageSize() {
  tag_N4_SOS_FRM* sos = SosData();
  if (!sos) {
    CN4RiffFile::SetMappingPageSize();
    return;
  }
  const std::uint64_t frame = n4::FrameSize(sos->wHeight, sos->wWidth, sos->dwColorTech);
  std::uint64_t page;
  if (frame < 1048576) page = frame * 16;
  else if (frame < 2097152) page = frame * 8;
  else if (frame < 4194304) page = frame * 4;
  else page = frame * 2;
  // A sign without bulbs (or a technology without bits) sizes nothing: keep
  // the default page rather than a page of zero bytes.
  if (page == 0 || page > 0x40000000u) page = 65536;
  m_dwMappingPageSize = static_cast<DWORD>(page);
}

int CN4SequenceFile::Open(const char* path, N4OpenFlags flags) {
  m_nFirstFrameObjNum = -1;
  m_GraphicBulbProto.CleanUp();
  m_GraphicBulbProto.SetSizeAndColor(0, 0, 0);
  m_TextBulbProto.CleanUp();
  m_TextBulbProto.SetSizeAndColor(0, 0, 0);
  if (!CN4RiffFile::Open(path, flags, n4::kFourccSeq4)) return 0;
  m_nFirstFrameObjNum = -1;
  if (tag_N4_SOS_FRM* sos = SosData()) {
    m_GraphicBulbProto.SetSizeAndColor(sos->wHeight, sos->wWidth, sos->dwColorTech);
    return 1;
  }
  return flags == OpenReadOnly ? 0 : 1;
}

int CN4SequenceFile::OpenCreate(const char* path, WORD height, WORD width, tag_N4_SIGN_COLOR color,
                                tag_N4_PIXEL_TECH tech) {
  if (!Open(path, N4OpenFlags::OpenCreate)) return 0;
  SetSoftwareString(kSoftware);
  m_nFirstFrameObjNum = -1;
  if (AddObject(n4::kFourccSos, -1) < 0 || AddObject(n4::kFourccEnd, -1) < 0) {
    Close();
    return 0;
  }
  tag_N4_SOS_FRM* sos = SosData();
  if (!sos) {
    Close();
    return 0;
  }
  sos->wHeight = height;
  sos->wWidth = width;
  sos->dwColorTech = static_cast<DWORD>(color);
  sos->dwPixelTech = static_cast<DWORD>(tech);
  m_GraphicBulbProto.SetSizeAndColor(height, width, static_cast<DWORD>(color));
  return 1;
}

tag_N4_SOS_FRM* CN4SequenceFile::SosData() {
  auto* sos = n4::KindOf<CN4SosFrame>(FindObject(n4::kFourccSos, 2, nullptr));
  return sos ? sos->SosFrame() : nullptr;
}

tag_N4_EOS_FRM* CN4SequenceFile::EosData() {
  auto* eos = n4::KindOf<CN4EosFrame>(FindObject(n4::kFourccEnd, GetArraySize() - 1, nullptr));
  return eos ? eos->EosFrame() : nullptr;
}

int CN4SequenceFile::GetFirstFrameObjectNumber() {
  if (m_nFirstFrameObjNum == -1) {
    if (!FindObject(n4::kFourccSos, 2, &m_nFirstFrameObjNum)) return -1;
  }
  return m_nFirstFrameObjNum + 1;
}

int CN4SequenceFile::FrameCount() {
  const int count = GetObjectCount() - (InfoChunk() ? 3 : 2);
  return std::max(count, 0);
}

namespace {
// The frame classes this file creates: recognised by their class record,
// which is much cheaper than a dynamic_cast on every frame a player reads.
CN4Frame* AsFrame(CN4RiffChunk* object) {
  if (!object) return nullptr;
  static const CRuntimeClass* const kFrameClasses[] = {
      CN4GphFrame::ThisClass(), CN4SosFrame::ThisClass(),  CN4EosFrame::ThisClass(),
      CN4CmdFrame::ThisClass(), CN4TxdFrame::ThisClass(),  CN4SndFrame::ThisClass(),
      CN4TextFrame::ThisClass(), CN4DataFrame::ThisClass(), CN4IncFrame::ThisClass()};
  const CRuntimeClass* rtc = object->GetRuntimeClass();
  for (const CRuntimeClass* frameClass : kFrameClasses) {
    if (rtc == frameClass) return static_cast<CN4Frame*>(object);
  }
  return dynamic_cast<CN4Frame*>(object);  // a class of a derived sequence file
}
}  // namespace

CN4Frame* CN4SequenceFile::Frame(int i) {
  if (i < 0 || i > FrameCount() + 1) return nullptr;
  const int first = GetFirstFrameObjectNumber();
  if (first < 0) return nullptr;
  return AsFrame(GetObject(first + i - 1));
}

int CN4SequenceFile::TargetIndex(int pos) {
  const int first = GetFirstFrameObjectNumber();
  int index = first + pos - 1;
  if (index < first || index > GetArraySize() - 1) index = GetArraySize() - 1;
  return index;
}

int CN4SequenceFile::AddFrame(DWORD id, int pos) {
  if (FrameCount() >= n4::kMaxFrames) return -2;
  const int index = TargetIndex(pos);
  if (AddObject(id, index) < 0) return -1;
  return index - GetFirstFrameObjectNumber() + 1;
}

int CN4SequenceFile::AddFrame(CN4RiffChunk* src, int pos, int mode, int compress) {
  if (FrameCount() >= n4::kMaxFrames) return -2;
  const int index = TargetIndex(pos);
  if (AddObject(src, index, mode, compress) < 0) return -1;
  return index - GetFirstFrameObjectNumber() + 1;
}

int CN4SequenceFile::RemoveFrame(int n) { return RemoveObject(GetFirstFrameObjectNumber() + n - 1); }

int CN4SequenceFile::Update() {
  CalcRunTime();
  if (tag_N4_SOS_FRM* sos = SosData()) sos->wFrameCount = static_cast<WORD>(FrameCount());
  return CN4RiffFile::Update();
}

int CN4SequenceFile::SetPreviewOnly(int on) {
  tag_N4_SOS_FRM* sos = SosData();
  if (!sos) return 0;
  sos->bPreviewOnly = on ? 1 : 0;
  return 1;
}

int CN4SequenceFile::IsPreviewOnly() {
  tag_N4_SOS_FRM* sos = SosData();
  return sos ? sos->bPreviewOnly : 255;
}
