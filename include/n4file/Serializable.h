// The base of records that store themselves in a binary archive.
//
// An archive names each stored object by the class record below: the class
// name and schema written into the file, and the factory that makes an empty
// object of the class again when the file is loaded. The archive itself
// (src/archive/) is internal; applications load and store whole files through
// the classes that use it (n4file/Rtd.h).
#pragma once

#include <memory>

#include "n4file/Types.h"

namespace n4 {

class Archive;
class Serializable;

// Schema bit of classes that read objects stored with another schema
// themselves (each writes a version of its own) instead of refusing them.
constexpr UINT kVersionableSchema = 0x80000000u;

struct N4FILE_API SerialClass {
  const char* m_lpszClassName;
  UINT m_wSchema;  // schema number, possibly with kVersionableSchema
  std::unique_ptr<Serializable> (*m_pfnCreateObject)();

  std::unique_ptr<Serializable> CreateObject() const { return m_pfnCreateObject(); }
  // The schema number without the versionable mark: the version that the
  // class's records write first.
  int Version() const { return static_cast<int>(m_wSchema & ~kVersionableSchema); }
};

class N4FILE_API Serializable {
 public:
  virtual const SerialClass* GetRuntimeClass() const = 0;
  virtual ~Serializable() = default;
  // Stores this object into, or loads it from, ar (ar.IsStoring() tells).
  // Loading may throw n4::ArchiveException; storing n4::FileException.
  virtual void Serialize(Archive& ar) = 0;

 protected:
  Serializable() = default;
  Serializable(const Serializable&) = default;
  Serializable& operator=(const Serializable&) = default;
};

}  // namespace n4

// Inside a class body: the class record and its GetRuntimeClass override.
#define N4_DECLARE_SERIAL(cls)                  \
 public:                                        \
  static const n4::SerialClass class##cls;      \
  static const n4::SerialClass& ThisClass() { return class##cls; } \
  const n4::SerialClass* GetRuntimeClass() const override;

// In the class's source file; schema as stored (e.g. kVersionableSchema | 1).
#define N4_IMPLEMENT_SERIAL(cls, schema)                                                           \
  const n4::SerialClass cls::class##cls = {                                                        \
      #cls, (schema), []() -> std::unique_ptr<n4::Serializable> { return std::make_unique<cls>(); }}; \
  const n4::SerialClass* cls::GetRuntimeClass() const { return &cls::class##cls; }
