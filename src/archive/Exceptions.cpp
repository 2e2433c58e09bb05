#include "n4file/Exceptions.h"

namespace n4 {

namespace {

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

ArchiveException::ArchiveException(Cause cause, const std::string& fileName)
    : std::runtime_error(Describe(ArchiveCauseText(cause), fileName)), m_cause(cause), m_strFileName(fileName) {}

}  // namespace n4
