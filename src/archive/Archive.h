// The binary archive: values and objects stored in the byte encoding of the
// framework archive that configuration files have always used.
//
// Integers are little-endian. A string is its length (one byte; or 0xFF and a
// 16-bit length; or 0xFF, 0xFFFF and a 32-bit length) and its bytes. A count
// is 16 bits, or 0xFFFF and 32 bits. Objects are written with a tag: one table
// numbers classes and objects together from 1 in the order written (0 is the
// null object); a class met for the first time is written as 0xFFFF, its
// schema, its name's length (16 bits each) and its name, and takes the next
// number; a class already met as 0x8000 | its number (numbers from 0x7FFF on:
// 0x7FFF, then 0x80000000 | number in 32 bits). Every object written takes the
// next number, then writes its own fields.
//
// Loading builds the same table. Errors raise n4::ArchiveException with the
// framework's cause. Every length and count taken from the file is checked
// against the bytes the file has left before anything is allocated for it.
//
// An archive is used by one thread and in one direction.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "archive/ArchiveFile.h"
#include "n4file/Exceptions.h"
#include "n4file/Serializable.h"

namespace n4 {

class Archive {
 public:
  enum Mode { load, store };
  static constexpr std::size_t kBufferSize = 4096;

  Archive(ArchiveFile& file, Mode mode) : file_(file), mode_(mode) {}
  Archive(const Archive&) = delete;
  Archive& operator=(const Archive&) = delete;

  bool IsLoading() const { return mode_ == load; }
  bool IsStoring() const { return mode_ == store; }
  ArchiveFile& GetFile() { return file_; }

  // Storing. The buffer reaches the file at Close (REQUIRES: before the file
  // is committed).
  void WriteByte(BYTE value);
  void WriteWord(WORD value);
  void WriteDword(DWORD value);
  void WriteInt(std::int32_t value) { WriteDword(static_cast<DWORD>(value)); }
  void WriteString(const std::string& text);
  void WriteCount(std::uint64_t count);
  // Writes the object's tag (its class, first time or by number) and then
  // the object itself; null writes the null tag. Records here have a single
  // owner and are written once each, so no object is ever written as a
  // reference to an earlier one.
  void WriteObject(Serializable* object);
  void Write(const void* data, std::size_t count);
  void Close();

  // Loading.
  BYTE ReadByte();
  WORD ReadWord();
  DWORD ReadDword();
  std::int32_t ReadInt() { return static_cast<std::int32_t>(ReadDword()); }
  std::string ReadString();
  DWORD ReadCount();
  // Reads an object tag and creates and loads an object of class `expected`;
  // null for the null tag. A class other than `expected` raises badClass; a
  // reference to an object loaded earlier raises badIndex, since every record
  // has one owner and the framework would have shared it between two.
  std::unique_ptr<Serializable> ReadObject(const SerialClass& expected);
  template <class T>
  std::unique_ptr<T> ReadObjectOf() {
    std::unique_ptr<Serializable> object = ReadObject(T::ThisClass());
    return std::unique_ptr<T>(static_cast<T*>(object.release()));
  }
  // Up to count bytes; fewer only at the end of the file.
  std::size_t Read(void* data, std::size_t count);
  std::uint64_t BytesLeft() const { return (end_ - cur_) + file_.BytesLeft(); }
  // Raises endOfFile unless count values of elementSize bytes can still follow.
  void RequireElements(std::uint64_t count, std::uint64_t elementSize);

  [[noreturn]] void Throw(ArchiveException::Cause cause) const;

 private:
  // Loading: makes count (at most kBufferSize) bytes available at cur_.
  void Need(std::size_t count);
  void CheckLoading() const;
  void CheckStoring() const;
  void CheckMapCount() const;
  // The length of a string, or kUnicodeMarker for a wide string's prefix.
  std::uint64_t ReadStringLength();
  const SerialClass* ReadClass(const SerialClass& expected);
  void WriteClass(const SerialClass* cls);

  ArchiveFile& file_;
  Mode mode_;
  std::array<unsigned char, kBufferSize> buffer_{};
  std::size_t cur_ = 0;  // loading: next unread byte; storing: bytes buffered
  std::size_t end_ = 0;  // loading: end of the bytes buffered

  // Numbers given so far (the next one to give), 0 being the null object.
  DWORD mapCount_ = 1;
  std::unordered_map<const SerialClass*, DWORD> storedClasses_;
  // Loading: entry n is the class numbered n, or null for an object.
  std::vector<const SerialClass*> loaded_{nullptr};
};

}  // namespace n4
