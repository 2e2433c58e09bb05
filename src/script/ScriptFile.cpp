// The script file: opening, reading and writing in place, editing lines.
#include <climits>

#include "n4file/Script.h"
#include "platform/RandomAccessFile.h"
#include "script/TextLines.h"

namespace {

// The framework's file exception for a failed system call.
[[noreturn]] void Throw(const n4::SysError& err, const std::string& path) {
  throw n4::FileException::FromOsError(static_cast<long>(err.code), path);
}

bool InRange(int index, std::size_t size) { return index >= 0 && static_cast<std::size_t>(index) < size; }

int Count(std::size_t size) { return size > INT_MAX ? INT_MAX : static_cast<int>(size); }

}  // namespace

CN4FileScript::CN4FileScript() = default;
CN4FileScript::~CN4FileScript() = default;

int CN4FileScript::Open(const std::string& path, int bWrite) {
  m_pFile.reset();
  m_fileError = n4::FileException();
  n4::SysError err;
  m_pFile = n4::Env::Default()->OpenRandomAccessFile(
      path, bWrite ? n4::RandomAccessMode::OpenOrCreate : n4::RandomAccessMode::ReadWrite, n4::FileShare::None, &err);
  if (!m_pFile) {
    m_fileError = n4::FileException::FromOsError(static_cast<long>(err.code), path);
    return 0;
  }
  m_strPath = path;
  return 1;
}

int CN4FileScript::ReadScriptFile() {
  m_astrLines.clear();
  n4::SysError err;
  if (!m_pFile) {
    n4::Fail(&err, n4::kErrInvalidHandle);
    Throw(err, m_strPath);
  }
  if (!m_pFile->Seek(0, n4::SeekFrom::Begin, nullptr, &err)) Throw(err, m_strPath);
  std::string bytes;
  char buffer[65536];
  for (;;) {
    std::size_t got = 0;
    if (!m_pFile->Read(buffer, sizeof buffer, &got, &err)) Throw(err, m_strPath);
    bytes.append(buffer, got);
    if (got < sizeof buffer) break;
  }
  m_astrLines = n4::SplitTextLines(bytes);
  return Count(m_astrLines.size());
}

void CN4FileScript::WriteScriptFile() {
  n4::SysError err;
  if (!m_pFile) {
    n4::Fail(&err, n4::kErrInvalidHandle);
    Throw(err, m_strPath);
  }
  const std::string text = n4::JoinTextLines(m_astrLines, n4::TextLineEnd());
  if (!m_pFile->Seek(0, n4::SeekFrom::Begin, nullptr, &err) || !m_pFile->Write(text.data(), text.size(), &err) ||
      !m_pFile->SetEndOfFile(&err)) {
    Throw(err, m_strPath);
  }
}

int CN4FileScript::GetLineCount() const { return Count(m_astrLines.size()); }

int CN4FileScript::GetLine(int index, std::string& line) const {
  if (!InRange(index, m_astrLines.size())) return 0;
  line = m_astrLines[static_cast<std::size_t>(index)];
  return 1;
}

int CN4FileScript::AddLine(const char* text, int index) {
  std::string line = text ? text : "";
  if (index < 0) {
    m_astrLines.push_back(std::move(line));
    return Count(m_astrLines.size() - 1);
  }
  const auto at = static_cast<std::size_t>(index);
  if (at >= m_astrLines.size()) {
    m_astrLines.resize(at + 1);
    m_astrLines[at] = std::move(line);
  } else {
    m_astrLines.insert(m_astrLines.begin() + index, std::move(line));
  }
  return index;
}

int CN4FileScript::DeleteLine(int index) {
  if (!InRange(index, m_astrLines.size())) return 0;
  m_astrLines.erase(m_astrLines.begin() + index);
  return 1;
}

int CN4FileScript::SetLine(int index, const char* text) {
  if (!InRange(index, m_astrLines.size())) return 0;
  m_astrLines[static_cast<std::size_t>(index)] = text ? text : "";
  return 1;
}
