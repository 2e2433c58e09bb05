// Exceptions that file and archive errors raise where they pass to the caller
// (script files, the real-time data configuration file).
//
// n4::FileException carries the cause codes the application framework's file
// exception has always used, so callers that switch on them keep working, and
// the system error number (the Windows number on every platform) behind it.
//
// Thread safety: plain values; copy freely.
#pragma once

#include <stdexcept>
#include <string>

#include "n4file/Export.h"
#include "n4file/Types.h"

namespace n4 {

class N4FILE_API FileException : public std::runtime_error {
 public:
  enum Cause {
    none = 0,
    genericException = 1,
    fileNotFound = 2,
    badPath = 3,
    tooManyOpenFiles = 4,
    accessDenied = 5,
    invalidFile = 6,
    removeCurrentDir = 7,
    directoryFull = 8,
    badSeek = 9,
    hardIO = 10,
    sharingViolation = 11,
    lockViolation = 12,
    diskFull = 13,
    endOfFile = 14,
  };

  // A record with no error: cause none, system error -1, no file name.
  FileException() : FileException(none, -1, std::string()) {}
  FileException(Cause cause, long osError, const std::string& fileName)
      : std::runtime_error(Describe(cause, osError, fileName)),
        m_cause(cause),
        m_lOsError(osError),
        m_strFileName(fileName) {}

  Cause GetCause() const { return m_cause; }
  // The system error number, -1 when none was involved.
  long GetOsError() const { return m_lOsError; }
  const std::string& GetFileName() const { return m_strFileName; }

  // The cause the framework gives a system error number.
  static Cause OsErrorToException(long osError) {
    switch (osError) {
      case 0: return none;
      case 2: return fileNotFound;     // file not found
      case 3: return badPath;          // path not found
      case 4: return tooManyOpenFiles;
      case 5: return accessDenied;
      case 6: return fileNotFound;     // invalid handle: the framework's choice
      case 19: return accessDenied;    // write protected
      case 32: return sharingViolation;
      case 33: return lockViolation;
      case 38: return endOfFile;       // reached the end of the file
      case 39: return diskFull;        // handle disk full
      case 80: return accessDenied;    // file exists
      case 112: return diskFull;
      case 123: return badPath;        // invalid name
      case 131: return badSeek;        // negative seek
      case 145: return removeCurrentDir;  // directory not empty
      case 183: return accessDenied;   // already exists
      case 206: return badPath;        // name too long
      default: return genericException;
    }
  }

  // A file exception for a failed system call on fileName.
  static FileException FromOsError(long osError, const std::string& fileName) {
    return FileException(OsErrorToException(osError), osError, fileName);
  }

 private:
  static std::string Describe(Cause cause, long osError, const std::string& fileName) {
    static const char* const kNames[] = {
        "no error",       "generic error",      "file not found",    "bad path",
        "too many open files", "access denied", "invalid file",      "cannot remove the current directory",
        "directory full", "bad seek",           "hardware I/O error", "sharing violation",
        "lock violation", "disk full",          "end of file"};
    const int index = cause >= none && cause <= endOfFile ? cause : genericException;
    std::string text = fileName.empty() ? std::string("file") : fileName;
    text += ": ";
    text += kNames[index];
    if (osError != -1) text += " (system error " + std::to_string(osError) + ")";
    return text;
  }

 public:
  // Public, as the framework's file exception has them.
  Cause m_cause;
  long m_lOsError;
  std::string m_strFileName;
};

// A malformed archive, or an archive used in the wrong direction.
class N4FILE_API ArchiveException : public std::runtime_error {
 public:
  enum Cause {
    none,
    generic,
    readOnly,   // a write to a loading archive
    endOfFile,  // the file ended inside a value
    writeOnly,  // a read from a storing archive
    badIndex,   // an object or class reference that names no fitting entry
    badClass,   // a class name that is unknown or not the one expected
    badSchema,  // a class stored with another schema that it cannot read
  };

  ArchiveException(Cause cause, const std::string& fileName);

  Cause m_cause;
  std::string m_strFileName;
};

}  // namespace n4
