// A file read and written at a position, like the framework's binary file
// object: small files handled through ordinary reads and writes rather than a
// mapping (script files, calibration bitmaps).
//
// Sharing follows the Windows rules of FileHandle (Env.h): on POSIX the same
// advisory lock bytes are used, so a RandomAccessFile and a FileHandle on one
// file refuse each other exactly as two FileHandles would (error 32).
//
// Thread safety: one object belongs to one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/Env.h"

namespace n4 {

enum class RandomAccessMode {
  ReadOnly,        // an existing file, reads only
  ReadWrite,       // an existing file
  OpenOrCreate,    // read-write; created when missing, never truncated
  CreateTruncate,  // read-write; created when missing, emptied when present
};

enum class SeekFrom { Begin, Current, End };

class RandomAccessFile {
 public:
  virtual ~RandomAccessFile() = default;

  // Moves the position and stores the new one in *position (when not null).
  // A position beyond the end is allowed (a write there extends the file);
  // one before the start fails with kErrNegativeSeek and changes nothing.
  virtual bool Seek(std::int64_t offset, SeekFrom from, std::uint64_t* position, SysError* err) = 0;
  // Reads up to size bytes at the position; fewer only at the end of the file.
  virtual bool Read(void* buffer, std::size_t size, std::size_t* bytesRead, SysError* err) = 0;
  // Writes all of data at the position, or fails.
  virtual bool Write(const void* data, std::size_t size, SysError* err) = 0;
  // Ends the file at the position (truncating or extending it).
  virtual bool SetEndOfFile(SysError* err) = 0;
  virtual bool GetLength(std::uint64_t* length, SysError* err) = 0;
  // Releases the file and its sharing claim. Afterwards every call fails with
  // kErrInvalidHandle. The destructor closes a file still open.
  virtual bool Close(SysError* err) = 0;
};

// The text-mode line end of the platform: "\r\n" on Windows, "\n" elsewhere.
const char* TextLineEnd();

// The platform's implementation; callers go through Env::OpenRandomAccessFile
// so that a test can wrap it.
std::unique_ptr<RandomAccessFile> OpenPlatformRandomAccessFile(const std::string& path, RandomAccessMode mode,
                                                               FileShare share, SysError* err);

}  // namespace n4
