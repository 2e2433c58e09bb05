#include "archive/Archive.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "registry/Utf16.h"
#include "util/ByteOrder.h"

namespace n4 {

namespace {

constexpr WORD kNullTag = 0;
constexpr WORD kNewClassTag = 0xFFFF;
constexpr WORD kClassTag = 0x8000;
constexpr DWORD kBigClassTag = 0x80000000u;
constexpr WORD kBigObjectTag = 0x7FFF;
constexpr DWORD kMaxMapCount = 0x3FFFFFFEu;
// Class names longer than this were never written by the framework.
constexpr WORD kMaxClassNameLength = 63;
constexpr std::uint64_t kUnicodeMarker = std::numeric_limits<std::uint64_t>::max();

}  // namespace

void Archive::Throw(ArchiveException::Cause cause) const { throw ArchiveException(cause, file_.GetFilePath()); }

void Archive::CheckLoading() const {
  if (mode_ != load) Throw(ArchiveException::writeOnly);
}

void Archive::CheckStoring() const {
  if (mode_ != store) Throw(ArchiveException::readOnly);
}

void Archive::CheckMapCount() const {
  if (mapCount_ >= kMaxMapCount) Throw(ArchiveException::badIndex);
}

// ---------------------------------------------------------------------------
// Storing

void Archive::Write(const void* data, std::size_t count) {
  CheckStoring();
  if (count <= kBufferSize - cur_) {
    if (count) std::memcpy(buffer_.data() + cur_, data, count);
    cur_ += count;
    return;
  }
  file_.Write(buffer_.data(), cur_);
  cur_ = 0;
  if (count >= kBufferSize) {
    file_.Write(data, count);
  } else {
    std::memcpy(buffer_.data(), data, count);
    cur_ = count;
  }
}

void Archive::Close() {
  if (mode_ == store) {
    file_.Write(buffer_.data(), cur_);
    cur_ = 0;
  }
}

void Archive::WriteByte(BYTE value) { Write(&value, 1); }

void Archive::WriteWord(WORD value) {
  unsigned char b[2];
  WriteLE16(b, value);
  Write(b, 2);
}

void Archive::WriteDword(DWORD value) {
  unsigned char b[4];
  WriteLE32(b, value);
  Write(b, 4);
}

void Archive::WriteString(const std::string& text) {
  const std::uint64_t length = text.size();
  if (length < 0xFF) {
    WriteByte(static_cast<BYTE>(length));
  } else if (length < 0xFFFE) {
    WriteByte(0xFF);
    WriteWord(static_cast<WORD>(length));
  } else {
    if (length > 0xFFFFFFFFu) Throw(ArchiveException::generic);
    WriteByte(0xFF);
    WriteWord(0xFFFF);
    WriteDword(static_cast<DWORD>(length));
  }
  Write(text.data(), text.size());
}

void Archive::WriteCount(std::uint64_t count) {
  if (count < 0xFFFF) {
    WriteWord(static_cast<WORD>(count));
  } else {
    if (count > 0xFFFFFFFFu) Throw(ArchiveException::generic);
    WriteWord(0xFFFF);
    WriteDword(static_cast<DWORD>(count));
  }
}

void Archive::WriteClass(const SerialClass* cls) {
  auto found = storedClasses_.find(cls);
  if (found != storedClasses_.end()) {
    const DWORD index = found->second;
    if (index < kBigObjectTag) {
      WriteWord(static_cast<WORD>(kClassTag | index));
    } else {
      WriteWord(kBigObjectTag);
      WriteDword(kBigClassTag | index);
    }
    return;
  }
  const std::size_t length = std::strlen(cls->m_lpszClassName);
  WriteWord(kNewClassTag);
  WriteWord(static_cast<WORD>(cls->m_wSchema));
  WriteWord(static_cast<WORD>(length));
  Write(cls->m_lpszClassName, length);
  CheckMapCount();
  storedClasses_[cls] = mapCount_++;
}

void Archive::WriteObject(Serializable* object) {
  CheckStoring();
  if (!object) {
    WriteWord(kNullTag);
    return;
  }
  WriteClass(object->GetRuntimeClass());
  CheckMapCount();
  ++mapCount_;
  object->Serialize(*this);
}

// ---------------------------------------------------------------------------
// Loading

void Archive::Need(std::size_t count) {
  CheckLoading();
  if (end_ - cur_ >= count) return;
  std::memmove(buffer_.data(), buffer_.data() + cur_, end_ - cur_);
  end_ -= cur_;
  cur_ = 0;
  end_ += file_.Read(buffer_.data() + end_, kBufferSize - end_);
  if (end_ < count) Throw(ArchiveException::endOfFile);
}

std::size_t Archive::Read(void* data, std::size_t count) {
  CheckLoading();
  auto* out = static_cast<unsigned char*>(data);
  std::size_t done = std::min(count, end_ - cur_);
  if (done) std::memcpy(out, buffer_.data() + cur_, done);
  cur_ += done;
  const std::size_t rest = count - done;
  if (rest == 0) return done;
  if (rest >= kBufferSize) return done + file_.Read(out + done, rest);
  cur_ = 0;
  end_ = file_.Read(buffer_.data(), kBufferSize);
  const std::size_t more = std::min(rest, end_);
  std::memcpy(out + done, buffer_.data(), more);
  cur_ = more;
  return done + more;
}

void Archive::RequireElements(std::uint64_t count, std::uint64_t elementSize) {
  // Division keeps huge counts from overflowing the product.
  if (elementSize && count > BytesLeft() / elementSize) Throw(ArchiveException::endOfFile);
}

BYTE Archive::ReadByte() {
  Need(1);
  return buffer_[cur_++];
}

WORD Archive::ReadWord() {
  Need(2);
  const WORD value = ReadLE16(buffer_.data() + cur_);
  cur_ += 2;
  return value;
}

DWORD Archive::ReadDword() {
  Need(4);
  const DWORD value = ReadLE32(buffer_.data() + cur_);
  cur_ += 4;
  return value;
}

std::uint64_t Archive::ReadStringLength() {
  const BYTE byteLength = ReadByte();
  if (byteLength < 0xFF) return byteLength;
  const WORD wordLength = ReadWord();
  if (wordLength == 0xFFFE) return kUnicodeMarker;
  if (wordLength < 0xFFFF) return wordLength;
  return ReadDword();
}

std::string Archive::ReadString() {
  std::uint64_t length = ReadStringLength();
  // A wide string (written by a Unicode build of the framework): the prefix
  // 0xFF 0xFFFE, then a length in characters of two bytes each.
  const bool wide = length == kUnicodeMarker;
  if (wide) {
    length = ReadStringLength();
    if (length == kUnicodeMarker) Throw(ArchiveException::generic);
  }
  const std::uint64_t bytes = wide ? length * 2 : length;
  RequireElements(bytes, 1);
  std::string text(static_cast<std::size_t>(bytes), '\0');
  if (Read(text.data(), text.size()) != text.size()) Throw(ArchiveException::endOfFile);
  return wide ? Utf16LeToUtf8(text) : text;
}

DWORD Archive::ReadCount() {
  const WORD count = ReadWord();
  return count != 0xFFFF ? count : ReadDword();
}

const SerialClass* Archive::ReadClass(const SerialClass& expected) {
  const WORD schema = ReadWord();
  const WORD length = ReadWord();
  // As the framework: a name too long or cut short is a bad class, not an
  // early end of file.
  char name[kMaxClassNameLength + 1];
  if (length > kMaxClassNameLength || Read(name, length) != length) Throw(ArchiveException::badClass);
  if (std::string_view(name, length) != expected.m_lpszClassName) Throw(ArchiveException::badClass);
  if ((expected.m_wSchema & ~kVersionableSchema) != schema && !(expected.m_wSchema & kVersionableSchema)) {
    Throw(ArchiveException::badSchema);
  }
  return &expected;
}

std::unique_ptr<Serializable> Archive::ReadObject(const SerialClass& expected) {
  CheckLoading();
  const WORD tag = ReadWord();
  const DWORD objectTag = tag == kBigObjectTag ? ReadDword()
                                               : (static_cast<DWORD>(tag & kClassTag) << 16) | (tag & ~kClassTag);
  if (!(objectTag & kBigClassTag)) {
    if (objectTag == kNullTag) return nullptr;
    Throw(ArchiveException::badIndex);
  }
  const SerialClass* cls;
  if (tag == kNewClassTag) {
    cls = ReadClass(expected);
    CheckMapCount();
    loaded_.push_back(cls);
    ++mapCount_;
  } else {
    const DWORD index = objectTag & ~kBigClassTag;
    if (index == 0 || index >= loaded_.size() || !loaded_[index]) Throw(ArchiveException::badIndex);
    cls = loaded_[index];
    if (cls != &expected) Throw(ArchiveException::badClass);
  }
  std::unique_ptr<Serializable> object = cls->CreateObject();
  CheckMapCount();
  loaded_.push_back(nullptr);
  ++mapCount_;
  object->Serialize(*this);
  return object;
}

}  // namespace n4
