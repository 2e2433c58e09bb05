// A RIFF file type for tests: besides INFO and the header it knows "blob"
// chunks whose body size new blobs take from CTestBlob::s_size.
#pragma once

#include <cstring>
#include <string>

#include "n4file/RiffFile.h"
#include "util/ByteOrder.h"

constexpr DWORD kBlobId = n4::MakeFourCC("blob");
constexpr DWORD kBlobForm = n4::MakeFourCC("tst4");

class CTestBlob : public CN4RiffChunk {
  N4_DECLARE_DYNCREATE(CTestBlob)
 public:
  static inline DWORD s_size = 64;
  void* AppendToFile(CN4RiffFile* file) override { return CN4RiffChunk::AppendToFile(file, kBlobId, s_size, 0); }
  void* AttachToFile(void* p) override {
    if (!p) return nullptr;
    void* next = ParseChunk(p, &m_Chunk);
    return n4::ReadLE32(p) == kBlobId ? next : nullptr;
  }
  // Fills the body with a pattern derived from seed.
  void Fill(unsigned seed) {
    auto* d = static_cast<unsigned char*>(Data());
    for (DWORD i = 0; i < GetSize(); ++i) d[i] = static_cast<unsigned char>(seed * 31 + i * 7);
  }
  bool Holds(unsigned seed) const {
    const auto* d = static_cast<const unsigned char*>(Data());
    for (DWORD i = 0; i < GetSize(); ++i) {
      if (d[i] != static_cast<unsigned char>(seed * 31 + i * 7)) return false;
    }
    return true;
  }
};

class CTestBlobFile : public CN4RiffFile {
 public:
  const CRuntimeClass* IDToRtClass(DWORD id) override {
    if (const CRuntimeClass* base = CN4RiffFile::IDToRtClass(id)) return base;
    return id == kBlobId ? RUNTIME_CLASS(CTestBlob) : nullptr;
  }
  int Open(const std::string& path, N4OpenFlags flags) { return CN4RiffFile::Open(path.c_str(), flags, kBlobForm); }
  CTestBlob* Blob(int index) { return dynamic_cast<CTestBlob*>(GetObject(index)); }
  // Appends a blob of `size` bytes filled from `seed`; its index or -1.
  int AddBlob(DWORD size, unsigned seed, int pos = -1) {
    CTestBlob::s_size = size;
    int index = AddObject(kBlobId, pos);
    if (index >= 0) Blob(index)->Fill(seed);
    return index;
  }
};
