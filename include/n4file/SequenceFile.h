// Sequence files: the show a sign plays, and its frames.
//
// A sequence file is a RIFF file of form "seq4": the INFO list, the file
// header, the start-of-sequence frame (the sign's size and colour
// technology), the frames in play order and the end-of-sequence frame.
// Frames are top-level chunks whose objects derive from CN4Frame; graphic
// frames carry their pixels in a CN4BulbData.
//
// Records are viewed in place inside the file's mapping (see RiffFile.h):
// pointers returned by the accessors stay valid only until the next append.
//
// Text, data and include frames are carried verbatim: their chunks survive
// editing and saving byte for byte.
//
// Thread safety: a sequence file and its frames belong to one thread at a time.
#pragma once

#include <string>

#include "n4file/BulbData.h"
#include "n4file/Files.h"
#include "n4file/RiffFile.h"

namespace n4 {
constexpr DWORD kFourccSeq4 = MakeFourCC("seq4");
constexpr DWORD kFourccSos = MakeFourCC("sos ");
constexpr DWORD kFourccEnd = MakeFourCC("end ");
constexpr DWORD kFourccTxd = MakeFourCC("txd ");
constexpr DWORD kFourccSnd = MakeFourCC("snd ");
constexpr DWORD kFourccGrp = MakeFourCC("grp ");
constexpr DWORD kFourccGrph = MakeFourCC("grph");
constexpr DWORD kFourccBulb = MakeFourCC("bulb");
constexpr DWORD kFourccTxt = MakeFourCC("txt ");
constexpr DWORD kFourccTxth = MakeFourCC("txth");
constexpr DWORD kFourccDat = MakeFourCC("dat ");
constexpr DWORD kFourccDath = MakeFourCC("dath");
constexpr DWORD kFourccInc = MakeFourCC("inc ");
constexpr DWORD kFourccInch = MakeFourCC("inch");
constexpr DWORD kFourccCmd = MakeFourCC("cmd ");
constexpr DWORD kFourccCmdh = MakeFourCC("cmdh");
constexpr DWORD kFourccCmds = MakeFourCC("cmds");

// The most frames a sequence holds (the end frame included).
constexpr int kMaxFrames = 5000;
}  // namespace n4

// ---------------------------------------------------------------------------
// Records. All packed and little-endian; bytes this library does not use are
// written by the applications and kept as stored.

#pragma pack(push, 1)

// The common frame header at the start of every frame record: 16 bytes, of
// which the library uses the frame number.
struct tag_N4_FRM {
  WORD wFrameNumber;
  BYTE abReserved[14];
};

struct tag_N4_SOS_FRM {
  tag_N4_FRM frm;
  WORD wHeight;        // 16: sign height in bulbs (rows)
  WORD wWidth;         // 18: sign width in bulbs (columns)
  DWORD dwColorTech;   // 20: tag_N4_SIGN_COLOR
  DWORD dwPixelTech;   // 24: tag_N4_PIXEL_TECH
  DWORD dwRunTime;     // 28: run time in milliseconds, written by CalcRunTime
  WORD wReserved1;     // 32
  WORD wFrameCount;    // 34: written at every save
  WORD wIncludeCount;  // 36: written by CalcRunTime
  BYTE bPreviewOnly;   // 38: 1 or 0
  BYTE abReserved2[9];
};

struct tag_N4_EOS_FRM {
  tag_N4_FRM frm;
  BYTE abReserved[16];
};

struct tag_N4_SND_FRM {
  tag_N4_FRM frm;
  BYTE abReserved[384];
};

// The fixed part of a text-data record; its text buffer follows it.
struct tag_N4_TXD_FRM {
  tag_N4_FRM frm;
  BYTE abReserved1[27];
  WORD wTextLength;  // 43: the text length a save keeps
  BYTE abReserved2[356];
};

struct tag_N4_GRP_HDR {
  tag_N4_FRM frm;
  LONG lEntryEffect;      // 16: 0 ... 53
  LONG lEntryRate;        // 20: ticks per step minus 4
  WORD wEntryDivider;     // 24: 2, 4 or 8 divide the run time of most effects
  LONG lHoldEffect;       // 26: 31 ... 38 move, anything else holds steady
  LONG lHoldEffectRate;   // 30
  LONG lHoldTime;         // 34: in 1/120-second ticks
  LONG lExitEffect;       // 38
  WORD wExitDivider;      // 42
  LONG lExitRate;         // 44
  DWORD dwCompressMethod; // 48: method of the saved bulb data; 0 in a working file
  BYTE abReserved[28];
};

struct tag_N4_CMD_HDR {
  tag_N4_FRM frm;
  WORD wNumCommands;  // 16: commands in use
  BYTE abReserved[14];
};

#pragma pack(pop)

static_assert(sizeof(tag_N4_FRM) == 16);
static_assert(sizeof(tag_N4_SOS_FRM) == 48);
static_assert(sizeof(tag_N4_EOS_FRM) == 32);
static_assert(sizeof(tag_N4_SND_FRM) == 400);
static_assert(sizeof(tag_N4_TXD_FRM) == 401);
static_assert(sizeof(tag_N4_GRP_HDR) == 80);
static_assert(sizeof(tag_N4_CMD_HDR) == 32);

// ---------------------------------------------------------------------------
// Frames

class N4FILE_API CN4Frame : public CN4RiffChunk {
  N4_DECLARE_DYNCREATE(CN4Frame)
 public:
  void AdjustToNewBase(void* newBase, void* oldBase) override;
  // The frame's common header; the chunk's body unless a kind says otherwise.
  virtual tag_N4_FRM* FrameHdr();
  // 0 without a header.
  WORD GetFrameNumber();
  // 0 without a header, else 1.
  int SetFrameNumber(WORD n);
};

namespace n4 {
// A frame whose record is one chunk body of fixed size. Attaching refuses
// other IDs and bodies too short for the record.
class N4FILE_API FixedRecordFrame : public CN4Frame {
 public:
  FixedRecordFrame(DWORD id, DWORD bodySize) : m_dwId(id), m_dwBodySize(bodySize) {}
  void* AppendToFile(CN4RiffFile* file) override;
  void* AttachToFile(void* chunk) override;
  DWORD RecordSize() const { return m_dwBodySize; }

 protected:
  DWORD m_dwId;
  DWORD m_dwBodySize;
};
}  // namespace n4

class N4FILE_API CN4SosFrame : public n4::FixedRecordFrame {
  N4_DECLARE_DYNCREATE(CN4SosFrame)
 public:
  CN4SosFrame() : FixedRecordFrame(n4::kFourccSos, sizeof(tag_N4_SOS_FRM)) {}
  tag_N4_SOS_FRM* SosFrame() const { return reinterpret_cast<tag_N4_SOS_FRM*>(Data()); }
};

class N4FILE_API CN4EosFrame : public n4::FixedRecordFrame {
  N4_DECLARE_DYNCREATE(CN4EosFrame)
 public:
  CN4EosFrame() : FixedRecordFrame(n4::kFourccEnd, sizeof(tag_N4_EOS_FRM)) {}
  tag_N4_EOS_FRM* EosFrame() const { return reinterpret_cast<tag_N4_EOS_FRM*>(Data()); }
};

class N4FILE_API CN4SndFrame : public n4::FixedRecordFrame {
  N4_DECLARE_DYNCREATE(CN4SndFrame)
 public:
  CN4SndFrame() : FixedRecordFrame(n4::kFourccSnd, sizeof(tag_N4_SND_FRM)) {}
  tag_N4_SND_FRM* SndFrame() const { return reinterpret_cast<tag_N4_SND_FRM*>(Data()); }
};

// A text-data frame: the fixed record and a text buffer of 256 bytes while
// editing; a save keeps only the stored text length.
class N4FILE_API CN4TxdFrame : public n4::FixedRecordFrame {
  N4_DECLARE_DYNCREATE(CN4TxdFrame)
 public:
  static constexpr int kTextCapacity = 256;
  CN4TxdFrame() : FixedRecordFrame(n4::kFourccTxd, CalcSize(kTextCapacity)) {}
  void* CopyEx(void* dest, int mode, int compress) override;
  void* AttachToFile(void* chunk) override;
  tag_N4_TXD_FRM* TxdFrame() const { return reinterpret_cast<tag_N4_TXD_FRM*>(Data()); }
  // The text buffer after the fixed record.
  char* Text() const { return Data() ? static_cast<char*>(Data()) + sizeof(tag_N4_TXD_FRM) : nullptr; }
  static DWORD CalcSize(int textBytes) { return static_cast<DWORD>(textBytes) + sizeof(tag_N4_TXD_FRM); }
  static DWORD BytesRequired(int textBytes) { return ChunkBytesRequired(CalcSize(textBytes)); }
};

// ---------------------------------------------------------------------------
// Graphic frames

class N4FILE_API CN4GraphicHdr : public CN4RiffChunk {
  N4_DECLARE_DYNCREATE(CN4GraphicHdr)
 public:
  void* AppendToFile(CN4RiffFile* file) override;
  void* AttachToFile(void* chunk) override;
  static DWORD BytesRequired() { return ChunkBytesRequired(sizeof(tag_N4_GRP_HDR)); }
  tag_N4_GRP_HDR* GphHdr() const { return reinterpret_cast<tag_N4_GRP_HDR*>(Data()); }
};

class N4FILE_API CN4GphFrame : public CN4Frame {
  N4_DECLARE_DYNCREATE(CN4GphFrame)
 public:
  void* AppendToFile(CN4RiffFile* file) override;
  // Copies the frame; the bulb compression method travels through header
  // offset 48: handed to the bulb data before an expansion (compress 1), and
  // written back after a compressing copy (0 otherwise).
  void* CopyEx(void* dest, int mode, int compress) override;
  void* AttachToFile(void* chunk) override;
  void AdjustToNewBase(void* newBase, void* oldBase) override;
  tag_N4_FRM* FrameHdr() override;
  virtual void SetBulbCompInfoPtr(SN4BulbCompInfo* info);
  DWORD CopyBytesRequired(int mode, int compress) const override;
  // Uncompressed pixels in a well-formed frame copy as stored.
  int IsCopyVerbatim(int mode, int compress) const override;

  tag_N4_GRP_HDR* GphHdr() const { return m_GraphicHdr.GphHdr(); }
  CN4GraphicHdr* GetGraphicHdrObj() { return &m_GraphicHdr; }
  BYTE* BulbData() const { return m_BulbData.BulbData(); }
  CN4BulbData* GetBulbObj() { return &m_BulbData; }
  // The bulb data's chunk bytes, the header's, and the list header with type.
  DWORD BytesRequired(CN4RiffFile* file) const;

  // One line describing the header, e.g.
  //   "Wand Left @2, Steady for 2.00  , Dissolve @0"
  // Parts, joined by ", ":
  //   entry: the entry effect's name, then " @%d" with the entry rate unless
  //          the effect takes no steps ("Change", "Blank");
  //   hold:  a steady hold reads "Steady for %-06.2f" with the hold time in
  //          seconds, or "Steady for 1/%2.0f" when the hold is shorter than a
  //          second (the fraction's denominator), or just "Steady" without a
  //          hold time; a moving hold reads "<name> @%d for %-06.2f" with the
  //          hold effect's rate and the hold time in seconds, or "<name> @%d"
  //          without a hold time;
  //   exit:  the exit effect's name ("Stay" for 0, "Dissolve" for 2), then
  //          " @%d" with the exit rate unless the effect takes no steps.
  // Unknown effect numbers read as "Effect %d".
  static std::string Describe(const tag_N4_GRP_HDR& hdr);

 private:
  CN4GraphicHdr m_GraphicHdr;
  CN4BulbData m_BulbData;
};

namespace n4 {
// Names of the numbered effects; null outside 0 ... 53.
N4FILE_API const char* EntryEffectName(int effect);
// As entry names, except that 0 is "Stay" and 2 "Dissolve".
N4FILE_API const char* ExitEffectName(int effect);
// "Steady" for any value outside 31 ... 38.
N4FILE_API const char* HoldEffectName(int effect);
// The run-time class of an effect (-1 ... 12); class -1 for numbers outside 0 ... 53.
N4FILE_API int EffectClass(int effect);
// The steps an effect takes on a sign of height h and width w.
N4FILE_API DWORD EffectSteps(int effect, DWORD h, DWORD w);
// The divider of an effect's rate: divider when it is 2, 4 or 8 and the
// effect is from 7 to 30 or above 49; otherwise 1.
N4FILE_API int EffectDivisor(int effect, WORD divider);
// The pixels of a graphic frame as a player gets them: one frame of
// n4::FrameSize bytes of its sequence's sign, the stored bytes of a working
// file or the saved data expanded with the method its header records. Empty
// when the frame has no sign geometry or its data is damaged (too short for a
// frame, an unknown method, or a stream that does not hold one whole frame).
N4FILE_API std::vector<BYTE> GraphicFramePixels(CN4GphFrame* frame);
}  // namespace n4

// ---------------------------------------------------------------------------
// Command frames

class N4FILE_API CN4CommandHdr : public CN4RiffChunk {
  N4_DECLARE_DYNCREATE(CN4CommandHdr)
 public:
  void* AppendToFile(CN4RiffFile* file) override;
  void* AttachToFile(void* chunk) override;
  static DWORD BytesRequired() { return ChunkBytesRequired(sizeof(tag_N4_CMD_HDR)); }
  tag_N4_CMD_HDR* CmdHdr() const { return reinterpret_cast<tag_N4_CMD_HDR*>(Data()); }
  int GetNumFrameCommands() const { return CmdHdr() ? CmdHdr()->wNumCommands : 0; }
};

class N4FILE_API CN4CmdFrame : public CN4Frame {
  N4_DECLARE_DYNCREATE(CN4CmdFrame)
 public:
  static constexpr int kSlots = 128;

  CN4CmdFrame();
  void* AppendToFile(CN4RiffFile* file) override;
  void* CopyEx(void* dest, int mode, int compress) override;
  void* AttachToFile(void* chunk) override;
  void AdjustToNewBase(void* newBase, void* oldBase) override;
  tag_N4_FRM* FrameHdr() override;

  tag_N4_CMD_HDR* CmdHdr() const { return m_CommandHdr.CmdHdr(); }
  int GetCommandCount() const { return m_CommandHdr.GetNumFrameCommands(); }
  // Null outside 0 ... 127; "" for an absent slot.
  const char* GetPtrToCommandString(int i) const;
  // The slot written, or -1 when s does not fit or all slots are used.
  int AddCommand(const char* s);
  // Shifts slots pos ... up by one and writes s at pos. 0 for a null s, pos
  // outside 0 ... 127 or a full frame. REQUIRES: strlen(s) <= 255 (a longer
  // s still shifts and counts, leaving slot pos empty).
  int InsertCommand(int pos, const char* s);
  // Shifts the slots after i down by one. 0 for i outside 0 ... 127.
  // REQUIRES: i < GetCommandCount() (the index is not checked against it).
  int DeleteCommand(int i);
  static DWORD CalcSize() { return 4 + kSlots * 264; }
  static DWORD BytesRequired() { return CN4CommandHdr::BytesRequired() + 12 + kSlots * 264; }

 private:
  int SetCommandString(int i, const char* s);
  void SetCommandCount(int count);

  CN4CommandHdr m_CommandHdr;
  CN4RiffString m_aCommands[kSlots];
};

// ---------------------------------------------------------------------------
// Frames carried verbatim: text, data and include frames. Their layouts
// belong to the applications; the library keeps their lists byte for byte and
// numbers them through their header sub-chunk.

namespace n4 {
class N4FILE_API VerbatimListFrame : public CN4Frame {
 public:
  VerbatimListFrame(DWORD listType, DWORD headerId) : m_dwListType(listType), m_dwHeaderId(headerId) {}
  // Appends an empty list of the frame's type.
  void* AppendToFile(CN4RiffFile* file) override;
  // Copies the list verbatim in every mode.
  void* CopyEx(void* dest, int mode, int compress) override;
  void* AttachToFile(void* chunk) override;
  // The header sub-chunk's body when it holds at least a frame number.
  tag_N4_FRM* FrameHdr() override;

 private:
  DWORD m_dwListType;
  DWORD m_dwHeaderId;
};
}  // namespace n4

class N4FILE_API CN4TextFrame : public n4::VerbatimListFrame {
  N4_DECLARE_DYNCREATE(CN4TextFrame)
 public:
  CN4TextFrame() : VerbatimListFrame(n4::kFourccTxt, n4::kFourccTxth) {}
  // The sequence's 16 x 16 prototype for text bulb data; kept for the
  // frame's colour data, which is carried as stored.
  void SetBulbCompColorInfoPtr(SN4BulbCompInfo* info) { m_pBulbCompColorInfo = info; }
  SN4BulbCompInfo* GetBulbCompColorInfoPtr() const { return m_pBulbCompColorInfo; }

 private:
  SN4BulbCompInfo* m_pBulbCompColorInfo = nullptr;
};

class N4FILE_API CN4DataFrame : public n4::VerbatimListFrame {
  N4_DECLARE_DYNCREATE(CN4DataFrame)
 public:
  CN4DataFrame() : VerbatimListFrame(n4::kFourccDat, n4::kFourccDath) {}
};

class N4FILE_API CN4IncFrame : public n4::VerbatimListFrame {
  N4_DECLARE_DYNCREATE(CN4IncFrame)
 public:
  CN4IncFrame() : VerbatimListFrame(n4::kFourccInc, n4::kFourccInch) {}
};

// ---------------------------------------------------------------------------
// The sequence file

class N4FILE_API CN4SequenceFile : public CN4RiffFile {
 public:
  static const CRuntimeClass classCN4SequenceFile;
  static const CRuntimeClass* ThisClass() { return &classCN4SequenceFile; }
  const CRuntimeClass* GetRuntimeClass() const override;

  CN4SequenceFile();
  ~CN4SequenceFile() override;

  int Update() override;
  std::unique_ptr<CN4RiffChunk> CreateChunk(DWORD id) override;
  const CRuntimeClass* IDToRtClass(DWORD id) override;
  // Pages sized from the sign: a multiple of one frame's bytes.
  void SetMappingPageSize() override;

  // A read-only file without a start frame gives 0 (and stays open).
  int Open(const char* path, N4OpenFlags flags);
  int OpenCreate(const char* path, WORD height, WORD width, tag_N4_SIGN_COLOR color, tag_N4_PIXEL_TECH tech);

  tag_N4_SOS_FRM* SosData();
  tag_N4_EOS_FRM* EosData();
  // The array index of frame 1 (the object after the start frame); -1 without one.
  int GetFirstFrameObjectNumber();
  int FrameCount();
  // Frame 0 is the start frame; null outside 0 ... FrameCount() + 1.
  CN4Frame* Frame(int i);
  // The new frame's number; -2 at the frame limit, -1 on any other failure.
  int AddFrame(DWORD id, int pos);
  int AddFrame(CN4RiffChunk* src, int pos, int mode, int compress);
  int RemoveFrame(int n);
  // Sums the frames' times (renumbering every frame) and stores it; milliseconds.
  int CalcRunTime();
  int SetPreviewOnly(int on);
  // 1 or 0; 255 without a start frame.
  int IsPreviewOnly();

  SN4BulbCompInfo* GetGraphicBulbPrototype() { return &m_GraphicBulbProto; }
  SN4BulbCompInfo* GetTextBulbPrototype() { return &m_TextBulbProto; }

 private:
  int TargetIndex(int pos);

  int m_nFirstFrameObjNum = -1;
  SN4BulbCompInfo m_GraphicBulbProto;
  SN4BulbCompInfo m_TextBulbProto;
};
