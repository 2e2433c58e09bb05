// The RIFF container: chunk records and the memory-mapped RIFF file.
//
// A chunk object never owns the bytes of its chunk; it views them inside the
// mapping of the file it belongs to (_RIFFCHUNK). Every pointer a chunk holds
// stays valid only until the file's mapping grows: the file then re-bases all
// of its objects with AdjustToNewBase. Do not keep raw pointers into a file
// across an append.
//
// Robustness: every chunk the library attaches has been checked to lie inside
// the mapping (n4::ChunkFits), so a damaged file makes objects fail to attach
// instead of reading outside the mapped bytes. Callers that attach chunks by
// hand must check the same.
//
// Thread safety: a file and its objects are used by one thread at a time.
#pragma once

#include <bit>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "n4file/Types.h"

static_assert(std::endian::native == std::endian::little,
              "records are viewed in place and are little-endian on disk");

class CN4RiffFile;
class CN4RiffChunk;

namespace n4 {
class FileHandle;
class MappedView;
}  // namespace n4

// ---------------------------------------------------------------------------
// Run-time class records: a class name and a factory, looked up by chunk code.

struct N4FILE_API CRuntimeClass {
  const char* m_lpszClassName;
  std::unique_ptr<CN4RiffChunk> (*m_pfnCreateObject)();

  std::unique_ptr<CN4RiffChunk> CreateObject() const;
};

#define RUNTIME_CLASS(cls) (&cls::class##cls)

// Inside a class body: the class's record and its GetRuntimeClass override.
#define N4_DECLARE_DYNCREATE(cls)                           \
 public:                                                    \
  static const CRuntimeClass class##cls;                    \
  static const CRuntimeClass* ThisClass() { return &class##cls; } \
  const CRuntimeClass* GetRuntimeClass() const override;

// In the class's source file.
#define N4_IMPLEMENT_DYNCREATE(cls)                                                        \
  const CRuntimeClass cls::class##cls = {                                                  \
      #cls, []() -> std::unique_ptr<CN4RiffChunk> { return std::make_unique<cls>(); }};    \
  const CRuntimeClass* cls::GetRuntimeClass() const { return &cls::class##cls; }

// ---------------------------------------------------------------------------
// Chunk layout

namespace n4 {
constexpr DWORD kFourccRIFF = MakeFourCC("RIFF");
constexpr DWORD kFourccLIST = MakeFourCC("LIST");
constexpr DWORD kFourccINFO = MakeFourCC("INFO");
constexpr DWORD kFourccICMT = MakeFourCC("ICMT");
constexpr DWORD kFourccIKEY = MakeFourCC("IKEY");
constexpr DWORD kFourccISFT = MakeFourCC("ISFT");
constexpr DWORD kFourccICOP = MakeFourCC("ICOP");
constexpr DWORD kFourccICRD = MakeFourCC("ICRD");
constexpr DWORD kFourccN4HD = MakeFourCC("n4hd");

// True when a whole chunk starts at p and its header and body (not the pad
// byte) end at or before limit; "RIFF" and "LIST" chunks also need their type
// (size at least 4). Every walk through mapped bytes checks this first.
N4FILE_API bool ChunkFits(const void* p, const void* limit);

// The first chunk-sized step beyond `limit`-bounded bytes, for walks: the
// pointer after the chunk at p clamped to limit (p must fit).
N4FILE_API const std::byte* BoundedNextChunk(const void* p, const void* limit);
}  // namespace n4

// The pointer view of one chunk inside a mapping.
struct _RIFFCHUNK {
  std::byte* pChunk = nullptr;  // the chunk ID
  std::byte* pSize = nullptr;   // the size field
  std::byte* pType = nullptr;   // form/list type; null unless "RIFF" or "LIST"
  std::byte* pData = nullptr;   // first data byte
};

// Fills view from the chunk at p and returns the next chunk's address; a null
// p returns null and leaves view untouched.
N4FILE_API void* ParseChunk(void* p, _RIFFCHUNK* view);
// Writes an ID, a size (at least 4 for "RIFF"/"LIST") and for those the type,
// zero-fills the body and returns the address after the body and the pad byte
// (the pad byte is skipped, not written).
N4FILE_API void* WriteChunkHeader(void* p, DWORD id, DWORD size, DWORD type);
// size = end - pType (or end - pData). 0 when view or end is null or end lies
// before that point, else 1.
N4FILE_API int SetChunkSize(_RIFFCHUNK* view, void* end);
// Chunk start + 8 + size, plus 1 when size is odd.
N4FILE_API void* NextChunkPtr(const void* chunk);
// 8 + size + (size odd ? 1 : 0).
N4FILE_API DWORD ChunkBytesRequired(DWORD size);
// The form/list type of a "RIFF"/"LIST" chunk, its ID otherwise.
N4FILE_API DWORD ChunkId(const void* chunk);

// ---------------------------------------------------------------------------
// CN4RiffChunk: the base of every record stored in a RIFF file.

class N4FILE_API CN4RiffChunk {
 public:
  static const CRuntimeClass classCN4RiffChunk;
  static const CRuntimeClass* ThisClass() { return &classCN4RiffChunk; }
  virtual const CRuntimeClass* GetRuntimeClass() const;

  CN4RiffChunk() = default;
  virtual ~CN4RiffChunk() = default;
  CN4RiffChunk(const CN4RiffChunk&) = delete;
  CN4RiffChunk& operator=(const CN4RiffChunk&) = delete;

  // Appends this record to the end of file's working copy; returns the
  // address after it, or null. The base appends nothing.
  virtual void* AppendToFile(CN4RiffFile* file);
  // Copies the chunk to dest; mode > 0 expands for editing, mode < 0 compacts
  // for saving, 0 copies verbatim. Returns the address after the copy.
  virtual void* CopyEx(void* dest, int mode, int compress);
  // Views the chunk at p; returns the next chunk's address or null.
  virtual void* AttachToFile(void* chunk);
  // The mapping moved from oldBase to newBase.
  virtual void AdjustToNewBase(void* newBase, void* oldBase);
  // The most bytes CopyEx(dest, mode, compress) writes at dest; the base
  // copies the chunk as stored. A file reserves this before it copies a
  // record in, so records whose copy can outgrow the stored chunk (expanded
  // pixels of another sign) override it.
  virtual DWORD CopyBytesRequired(int mode, int compress) const;
  // 1 when CopyEx(dest, mode, compress) writes the chunk exactly as stored
  // (its 8 + GetSize() bytes): a file then moves the stored bytes itself, in
  // whole runs, without calling CopyEx. The base says 1 for a plain chunk
  // only; a derived class whose CopyEx is the plain copy may say 1 as well.
  virtual int IsCopyVerbatim(int mode, int compress) const;

  _RIFFCHUNK* Chunk() { return &m_Chunk; }
  const _RIFFCHUNK* Chunk() const { return &m_Chunk; }
  void* StartOfChunkPtr() const { return m_Chunk.pChunk; }
  void* Data() const { return m_Chunk.pData; }
  DWORD GetSize() const;
  DWORD Type() const;
  int IsRiffChunk() const;
  int IsListChunk() const;
  void* NextChunk() const;
  int SizeChunk(void* end) { return SetChunkSize(&m_Chunk, end); }
  // First sub-chunk of a "RIFF"/"LIST" chunk with identifying code `code`.
  void* FindSubChunk(DWORD code) const;
  // Appends a fresh chunk at the file's end and attaches this object to it.
  void* AppendToFile(CN4RiffFile* file, DWORD id, DWORD size, DWORD type);

 protected:
  // As AppendToFile(file, id, size, type), but views the fresh chunk as a
  // plain chunk: for records whose own AttachToFile needs sub-chunks that
  // they append next.
  void* AppendHeaderToFile(CN4RiffFile* file, DWORD id, DWORD size, DWORD type);
  // Appends this object as a "LIST" chunk of type listType holding members
  // in order. The file first grows by `bytes` (the whole list), so that the
  // list is appended within one mapping. Null when the growth or any append
  // fails (the file keeps the error); else the end of the list, whose size
  // then covers its members.
  void* AppendListToFile(CN4RiffFile* file, DWORD listType, DWORD bytes,
                         std::span<CN4RiffChunk* const> members);
  // Adds the mapping's displacement to one pointer (null stays null).
  static void Rebase(std::byte*& p, void* newBase, void* oldBase);
  // The attach of a record held in one chunk: views the chunk at p and
  // returns the next chunk's address when its ID is `id` and its body holds
  // at least minBodySize bytes (the record's fields lie inside it); null for
  // a null p or another chunk, which leaves this object detached.
  void* AttachRecord(void* chunk, DWORD id, DWORD minBodySize);

  _RIFFCHUNK m_Chunk;

 private:
  void* AppendChunk(CN4RiffFile* file, DWORD id, DWORD size, DWORD type, bool ownAttach);
};

namespace n4 {
// dynamic_cast with a fast path for the exact class, which is what lookups
// by chunk code nearly always find: one pointer comparison of class records.
template <class T>
T* KindOf(CN4RiffChunk* object) {
  if (!object) return nullptr;
  if (object->GetRuntimeClass() == T::ThisClass()) return static_cast<T*>(object);
  return dynamic_cast<T*>(object);
}
}  // namespace n4

// ---------------------------------------------------------------------------
// CN4RiffString: a string chunk of fixed capacity (body = capacity + 1).

class N4FILE_API CN4RiffString : public CN4RiffChunk {
  N4_DECLARE_DYNCREATE(CN4RiffString)
 public:
  CN4RiffString() = default;
  explicit CN4RiffString(DWORD fcc, int maxLength = 255) : m_dwFCCID(fcc), m_nMaxStringLength(maxLength) {}

  void* AppendToFile(CN4RiffFile* file) override;
  void* CopyEx(void* dest, int mode, int compress) override;
  void* AttachToFile(void* chunk) override;

  void SetFCCID(DWORD fcc) { m_dwFCCID = fcc; }
  DWORD GetFCCID() const { return m_dwFCCID; }
  void SetMaxStringLength(int length) { m_nMaxStringLength = length; }
  int GetMaxStringLength() const { return m_nMaxStringLength; }
  // len + 1; the capacity + 1 for -1.
  DWORD CalcSize(int len) const;
  DWORD BytesRequired(int len) const { return ChunkBytesRequired(CalcSize(len)); }
  // The string, or "" when the chunk is absent.
  const char* GetPtrToString() const;
  // 0 (nothing changed) when s is null or longer than the capacity; else 1.
  int SetString(const char* s);
  // Zero-fills the whole body.
  void Initialize();
  // Writes a fresh zeroed chunk of full capacity at dest.
  void* AddToBuffer(void* dest) const;

 private:
  DWORD m_dwFCCID = 0;
  int m_nMaxStringLength = 255;
};

// ---------------------------------------------------------------------------
// CN4RiffInfo: the "LIST" of type "INFO" with its five strings.

class N4FILE_API CN4RiffInfo : public CN4RiffChunk {
  N4_DECLARE_DYNCREATE(CN4RiffInfo)
 public:
  enum InfoString { Comments = 0, Keywords, Software, Copyright, CreationDate, StringCount };

  CN4RiffInfo();

  void* AppendToFile(CN4RiffFile* file) override;
  void* CopyEx(void* dest, int mode, int compress) override;
  void* AttachToFile(void* chunk) override;
  void AdjustToNewBase(void* newBase, void* oldBase) override;

  // The five strings at full capacity plus the list header (1,332 bytes).
  DWORD BytesRequired() const;
  CN4RiffString& String(InfoString which) { return m_aStrings[which]; }
  const CN4RiffString& String(InfoString which) const { return m_aStrings[which]; }

 private:
  CN4RiffString m_aStrings[StringCount];
};

// ---------------------------------------------------------------------------
// The file header record ("n4hd", 1,024 bytes).

#pragma pack(push, 1)
struct tag_N4_RIFF_FILE_DATA {
  WORD wCreatedMajor;     // 0: format major number at creation (5)
  WORD wCreatedMinor;     // 2: format minor number at creation (17)
  WORD wSavedMajor;       // 4: format major number at every save (5)
  WORD wSavedMinor;       // 6: format minor number at every save (17)
  BYTE abReserved1[508];  // 8: kept as stored
  DWORD dwCompression;    // 516: non-zero: file compression on
  DWORD dwObjectCount;    // 520: top-level objects, written at every save
  BYTE abReserved2[500];  // 524: kept as stored
};
#pragma pack(pop)
static_assert(sizeof(tag_N4_RIFF_FILE_DATA) == 1024);

namespace n4 {
constexpr WORD kFormatMajor = 5;
constexpr WORD kFormatMinor = 17;
}  // namespace n4

class N4FILE_API CN4RiffHdr : public CN4RiffChunk {
  N4_DECLARE_DYNCREATE(CN4RiffHdr)
 public:
  void* AppendToFile(CN4RiffFile* file) override;
  // Refuses (null) any chunk but "n4hd", leaving the view on it; a body too
  // short for the record does not attach and leaves this detached.
  void* AttachToFile(void* chunk) override;
  int IsCopyVerbatim(int, int) const override { return m_Chunk.pChunk != nullptr; }
  tag_N4_RIFF_FILE_DATA* RiffHdr() const { return reinterpret_cast<tag_N4_RIFF_FILE_DATA*>(m_Chunk.pData); }
};

// ---------------------------------------------------------------------------
// CN4RiffFile

enum N4OpenFlags {
  OpenReadOnly = 1,  // map the original read-only; objects parsed lazily
  OpenModify = 2,    // copy the original into a temporary working file
  OpenCreate = 3,    // start an empty working file; Update writes the original
};

class N4FILE_API CN4RiffFile : public CN4RiffChunk {
 public:
  static const CRuntimeClass classCN4RiffFile;
  static const CRuntimeClass* ThisClass() { return &classCN4RiffFile; }
  const CRuntimeClass* GetRuntimeClass() const override;

  CN4RiffFile();
  ~CN4RiffFile() override;

  // Virtual operations added to the chunk's.
  // Writes the working copy over the original. 1 when written, else 0.
  virtual int Update();
  // A new object for a chunk code, or null for an unknown code.
  virtual std::unique_ptr<CN4RiffChunk> CreateChunk(DWORD id);
  virtual const CRuntimeClass* IDToRtClass(DWORD id);
  virtual void SetMappingPageSize();

  int Open(const char* path, N4OpenFlags flags, DWORD formType);
  void Close();
  int IsOpen() const { return m_pViewBase != nullptr; }
  int IsWriteable() const { return IsOpen() && m_bUsesTempFile; }

  // Only when writeable: the next Update writes to path. 1, or 0.
  int SetOriginalPath(const std::string& path);
  int GetFileInformation(BY_HANDLE_FILE_INFORMATION* info);
  // A new unique file with prefix "SQ4" in the system's temporary directory.
  static int GetTmpN4File(std::string& name);

  // Object array.
  int AddObject(DWORD id, int pos);
  // Copies src in as a new object. The working file holds every record at
  // its full size, so that it can be edited like a fresh one: a mode of 0
  // (verbatim) or below (compact) is taken as 1 (expand); compress is passed
  // on as given.
  int AddObject(CN4RiffChunk* src, int pos, int mode, int compress);
  int RemoveObject(int index);
  CN4RiffChunk* GetObject(int index);
  CN4RiffChunk* FindObject(DWORD code, int hint, int* index);
  int GetArraySize() const { return static_cast<int>(m_aObjects.size()); }
  int GetObjectCount();

  // Growth of the working copy.
  int GrowFile(DWORD bytes);
  void* GetEnd() const { return m_pEnd; }
  int SetEnd(void* p);
  // True when the bytes from p to the end of the mapping have never been
  // written since the working file was created, and so still read as zero.
  bool IsUnwrittenSpace(const void* p) const;

  // Header and INFO strings.
  tag_N4_RIFF_FILE_DATA* RiffHdr();
  CN4RiffInfo* InfoChunk();
  int IsFileCompressionOn();
  const char* GetPtrToComments();
  int SetCommentsString(const char* s);
  const char* GetPtrToKeywords();
  int SetKeywordsString(const char* s);
  const char* GetPtrToSoftware();
  int SetSoftwareString(const char* s);
  const char* GetPtrToCopyright();
  int SetCopyrightString(const char* s);
  const char* GetPtrToCreationDate();
  int SetCreationDateString(const char* s);

  DWORD GetLastFileError() const { return m_dwLastError; }
  const char* GetPtrToErrorString() const { return m_strLastError.c_str(); }

  // Called as a long step goes on: the copy for editing made by Open (bytes
  // of the original walked), then each Update (objects written), with the
  // work done and the work in all. Stays set across Open and Close.
  using ProgressHandler = std::function<void(std::uint64_t done, std::uint64_t total)>;
  void SetProgressHandler(ProgressHandler handler) { m_fnProgress = std::move(handler); }

  // Introspection for tools and tests.
  N4OpenFlags GetOpenFlags() const { return m_nOpenFlags; }
  const std::string& GetOriginalPath() const { return m_strOriginalPath; }
  const std::string& GetWorkingPath() const { return m_strWorkingPath; }
  void* GetViewBase() const { return m_pViewBase; }
  DWORD GetMappingSize() const { return m_dwMappingSize; }
  DWORD GetMappingPageSize() const { return m_dwMappingPageSize; }
  // The end of the bytes that may be read: the mapping's end, or in a
  // read-only file the end of the file's data.
  void* GetMappedEnd() const { return m_pViewBase ? m_pViewBase + m_dwMappingSize : nullptr; }

 protected:
  int OpenOrigFileWriteMode(int skipIfCreating, int ignoreFailure);
  int CreateMapping(void* wantedEnd);
  DWORD MappingSize(void* wantedEnd);
  int CopyToTemp();
  // Writes the saved form of every object to out; its length in *length.
  int WriteSavedCopy(n4::FileHandle* out, int compress, std::uint64_t* length);
  // AddObject(src, -1, 1, compress) for the copy made at opening, src viewing
  // the original through `source`: the copy is written into the working file
  // rather than through the mapping, from file to file where it is verbatim.
  int AppendCopy(CN4RiffChunk* src, const n4::MappedView& source, int compress, std::vector<std::byte>& scratch);
  // The object at index, copied in up to copyEnd, views its copy.
  int AttachCopy(int index, std::byte* copyEnd);
  int BuildObjectArray(int upTo);
  int IsSpaceAvailable(const std::string& newFile);
  // Records the last system error (code and the platform's text).
  void GetLastErrorString();
  void RecordError(DWORD code, const std::string& text);
  void RemoveAllObjects();
  const char* InfoString(CN4RiffInfo::InfoString which);
  int SetInfoString(CN4RiffInfo::InfoString which, const char* s);

  N4OpenFlags m_nOpenFlags = OpenReadOnly;
  DWORD m_dwMappingSize = 0;
  DWORD m_dwMappingPageSize = 65536;
  std::string m_strWorkingPath;
  std::string m_strOriginalPath;
  std::unique_ptr<n4::FileHandle> m_pFile;
  std::unique_ptr<n4::FileHandle> m_pOrigFile;  // null plays the invalid handle
  std::unique_ptr<n4::MappedView> m_pMapping;
  std::byte* m_pViewBase = nullptr;
  std::byte* m_pEnd = nullptr;
  std::byte* m_pNextUnparsed = nullptr;
  int m_bUsesTempFile = 0;
  std::string m_strLastError;
  DWORD m_dwLastError = 0;
  std::vector<std::unique_ptr<CN4RiffChunk>> m_aObjects;
  std::uint64_t m_qwHighWater = 0;  // offset past every byte ever written in the working file
  bool m_bCopyingIn = false;        // CopyToTemp at work: growth leaves new pages to the copy's writes
  bool m_bParsing = false;          // BuildObjectArray is running (object creation may look things up)
  ProgressHandler m_fnProgress;

 private:
  int CreateMappingForLength(std::uint64_t used);
  std::uint64_t UsedBytes() const;
  void DropMapping();
};
