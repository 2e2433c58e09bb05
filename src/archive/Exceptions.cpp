#include "n4file/Exceptions.h"

#include "platform/Errors.h"

namespace n4 {

namespace {

const char* FileCauseText(FileException::Cause cause) {
  switch (cause) {
    case FileException::none: return "no error";
    case FileException::fileNotFound: return "file not found";
    case FileException::badPath: return "bad path";
    case FileException::tooManyOpenFiles: return "too many open files";
    case FileException::accessDenied: return "access denied";
    case FileException::invalidFile: return "invalid file";
    case FileException::removeCurrentDir: return "cannot remove the current directory";
    case FileException::directoryFull: return "directory full";
    case FileException::badSeek: return "bad seek";
    case FileException::hardIO: return "hardware I/O error";
    case FileException::sharingViolation: return "sharing violation";
    case FileException::lockViolation: return "lock violation";
    case FileException::diskFull: return "disk full";
    case FileException::endOfFile: return "end of file";
    case FileException::generic: break;
  }
  return "file error";
}

const char* ArchiveCauseText(ArchiveException::Cause cause) {
  switch (cause) {
    case ArchiveException::none: return "no error";
    case ArchiveException::readOnly: return "write to an archive that is loading";
    case ArchiveException::endOfFile: return "unexpected end of file";
    case ArchiveException::writeOnly: return "read from an archive that is storing";
    case ArchiveException::badIndex: return "bad object or class reference";
    case ArchiveException::badClass: return "unknown or unexpected class";
    case ArchiveException::badSchema: return "unsupported class schema";
    case ArchiveException::generic: break;
  }
  return "archive error";
}

std::string Describe(const char* what, const std::string& fileName) {
  return fileName.empty() ? std::string(what) : fileName + ": " + what;
}

}  // namespace

FileException::FileException(Cause cause, LONG osError, const std::string& fileName)
    : std::runtime_error(Describe(FileCauseText(cause), fileName) +
                         (osError ? " (" + SystemErrorText(static_cast<DWORD>(osError)) + ")" : "")),
      m_cause(cause),
      m_lOsError(osError),
      m_strFileName(fileName) {}

FileException::Cause FileException::OsErrorToException(LONG osError) {
  switch (osError) {
    case kErrSuccess: return none;
    case kErrFileNotFound: return fileNotFound;
    case kErrPathNotFound:
    case kErrInvalidName:
    case kErrFilenameTooLong: return badPath;
    case kErrTooManyOpenFiles: return tooManyOpenFiles;
    case kErrAccessDenied:
    case kErrWriteProtect: return accessDenied;
    case kErrInvalidHandle:
    case kErrFileInvalid: return invalidFile;
    case kErrSharingViolation: return sharingViolation;
    case kErrLockViolation: return lockViolation;
    case kErrHandleDiskFull:
    case kErrDiskFull: return diskFull;
    default: return generic;
  }
}

ArchiveException::ArchiveException(Cause cause, const std::string& fileName)
    : std::runtime_error(Describe(ArchiveCauseText(cause), fileName)), m_cause(cause), m_strFileName(fileName) {}

}  // namespace n4
