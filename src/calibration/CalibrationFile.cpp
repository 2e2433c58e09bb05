// CN4FileCalibration as a file: open, close and the read and write steps.
#include <cstdint>
#include <cstdlib>

#include "calibration/CalibrationMath.h"
#include "n4file/Calibration.h"
#include "platform/RandomAccessFile.h"

namespace {

constexpr DWORD kHeadersSize = sizeof(BITMAPFILEHEADER) + sizeof(BITMAPINFOHEADER);  // 54

using Buffer = std::unique_ptr<unsigned char[], n4::CalibrationBufferDeleter>;

}  // namespace

int n4::FileErrorRecord::CauseFromOsError(DWORD osError) {
  return n4::FileException::OsErrorToException(static_cast<long>(osError));
}

int CN4FileCalibration::OpenWithMode(const char* name, OpenMode mode) {
  MarkNotOpen();
  static constexpr n4::RandomAccessMode kModes[] = {n4::RandomAccessMode::ReadOnly,
                                                     n4::RandomAccessMode::ReadWrite,
                                                     n4::RandomAccessMode::CreateTruncate};
  n4::SysError err;
  if (name != nullptr) {
    m_pFile = n4::Env::Default()->OpenRandomAccessFile(name, kModes[mode], n4::FileShare::None, &err);
  } else {
    err.code = n4::kErrInvalidName;
  }
  if (!m_pFile) {
    m_fileError.m_cause = n4::FileErrorRecord::CauseFromOsError(err.code);
    m_fileError.m_lOsError = static_cast<LONG>(err.code);
    m_fileError.m_strFileName = name != nullptr ? name : "";
    return m_bOpen = 0;
  }
  return m_bOpen = 1;
}

void CN4FileCalibration::MarkNotOpen() {
  if (m_pFile) {
    n4::SysError ignored;
    m_pFile->Close(&ignored);
    m_pFile.reset();
  }
  m_bOpen = 0;
}

int CN4FileCalibration::Open(const char* name, int bWrite) {
  return OpenWithMode(name, bWrite ? kOpenCreate : kOpenReadOnly);
}

void CN4FileCalibration::Close() {
  if (m_bOpen) MarkNotOpen();
  m_bOpen = 0;
}

int CN4FileCalibration::IsOpen() { return m_bOpen; }

int CN4FileCalibration::ReadFile() {
  return ReadCalFileHeader() && ReadCalFileInfoHeader() && ReadCalFileData() ? 1 : 0;
}

int CN4FileCalibration::WriteFile() {
  return WriteCalFileHeader() && WriteCalFileInfoHeader() && WriteCalFileData() ? 1 : 0;
}

// Reads never check how many bytes arrived: a short file leaves the rest of
// the zeroed record or buffer as zero, and still reads as a calibration file.
int CN4FileCalibration::ReadCalFileHeader() {
  if (!m_bOpen || !m_pFile) return 0;
  m_pFileHeader = std::make_unique<BITMAPFILEHEADER>();
  n4::SysError err;
  std::size_t got = 0;
  if (!m_pFile->Seek(0, n4::SeekFrom::Begin, nullptr, &err)) return 0;
  if (!m_pFile->Read(m_pFileHeader.get(), sizeof(BITMAPFILEHEADER), &got, &err)) return 0;
  return 1;
}

int CN4FileCalibration::ReadCalFileInfoHeader() {
  if (!m_bOpen || !m_pFile || !m_pFileHeader) return 0;
  m_pInfoHeader = std::make_unique<BITMAPINFOHEADER>();
  n4::SysError err;
  std::size_t got = 0;
  if (!m_pFile->Read(m_pInfoHeader.get(), sizeof(BITMAPINFOHEADER), &got, &err)) return 0;
  return 1;
}

int CN4FileCalibration::ReadCalFileData() {
  if (!m_bOpen || !m_pFile || !m_pFileHeader || !m_pInfoHeader) return 0;
  // The headers are not validated; only a size the 32-bit formula could not
  // have produced (overflowing or negative, e.g. a top-down bitmap) is
  // refused, where the older code failed to allocate.
  const auto size = n4::PaddedBitmapSize(m_pInfoHeader->biWidth, m_pInfoHeader->biHeight);
  if (!size || *size < 0) return 0;
  Buffer data(static_cast<unsigned char*>(std::calloc(static_cast<std::size_t>(*size) + 1, 1)));
  if (!data) return 0;
  ReplaceData(std::move(data), static_cast<DWORD>(*size));
  n4::SysError err;
  std::size_t got = 0;
  if (!m_pFile->Read(m_pData.get(), m_dwDataSize, &got, &err)) return 0;
  return 1;
}

int CN4FileCalibration::WriteCalFileHeader() {
  if (!m_bOpen || !m_pFile || !m_pFileHeader) return 0;
  n4::SysError err;
  if (!m_pFile->Seek(0, n4::SeekFrom::Begin, nullptr, &err)) return 0;
  return m_pFile->Write(m_pFileHeader.get(), sizeof(BITMAPFILEHEADER), &err) ? 1 : 0;
}

int CN4FileCalibration::WriteCalFileInfoHeader() {
  if (!m_bOpen || !m_pFile || !m_pInfoHeader) return 0;
  n4::SysError err;
  return m_pFile->Write(m_pInfoHeader.get(), sizeof(BITMAPINFOHEADER), &err) ? 1 : 0;
}

int CN4FileCalibration::WriteCalFileData() {
  if (!m_bOpen || !m_pFile || !m_pData) return 0;
  n4::SysError err;
  if (!m_pFile->Write(m_pData.get(), m_dwDataSize, &err)) return 0;
  // A file that was longer before loses its tail; a failure here leaves the
  // tail and is not reported, as the header below already tells the size.
  (void)m_pFile->SetEndOfFile(&err);
  // The final header is the one on the disk, patched: a derived class that
  // wrote its own file header keeps its other fields.
  if (!ReadCalFileHeader()) return 0;
  m_pFileHeader->bfSize = m_dwDataSize + kHeadersSize;
  m_pFileHeader->bfOffBits = kHeadersSize;
  return WriteCalFileHeader();
}
