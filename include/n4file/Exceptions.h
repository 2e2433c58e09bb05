// The exceptions that file and archive errors raise where the library lets
// them pass to the caller (the real-time data configuration file, script
// files). Both carry the cause codes of the framework whose files we read, so
// callers can tell an early end of file from a foreign class or a full disk.
#pragma once

#include <stdexcept>
#include <string>

#include "n4file/Types.h"

namespace n4 {

// A failed file operation: the framework's cause, the system error number
// (Windows numbering on every platform) and the file's name.
class N4FILE_API FileException : public std::runtime_error {
 public:
  enum Cause {
    none,
    generic,
    fileNotFound,
    badPath,
    tooManyOpenFiles,
    accessDenied,
    invalidFile,
    removeCurrentDir,
    directoryFull,
    badSeek,
    hardIO,
    sharingViolation,
    lockViolation,
    diskFull,
    endOfFile,
  };

  FileException(Cause cause, LONG osError, const std::string& fileName);

  // The cause that a system error number stands for (generic when none fits).
  static Cause OsErrorToException(LONG osError);

  Cause m_cause;
  LONG m_lOsError;
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
