// CN4FileCalibration as an in-memory image: headers, pixel buffer, accessors.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "n4file/Calibration.h"
#include "platform/RandomAccessFile.h"

namespace {

constexpr WORD kBitmapType = 0x4D42;  // "BM"
constexpr DWORD kInfoHeaderSize = 40;
constexpr WORD kBitsPerPixel = 24;

using Buffer = std::unique_ptr<unsigned char[], n4::CalibrationBufferDeleter>;

// A zeroed buffer. calloc leaves untouched pages unmapped, so a header that
// claims a large face costs memory only for the bytes actually read. Null
// when the size does not fit the 32-bit data size or cannot be allocated.
Buffer AllocateZeroed(unsigned long size) {
  if (std::uint64_t{size} > std::numeric_limits<DWORD>::max()) return nullptr;
  // One byte at least, so an empty buffer is still a buffer.
  return Buffer(static_cast<unsigned char*>(std::calloc(std::max<unsigned long>(size, 1), 1)));
}

}  // namespace

void n4::CalibrationBufferDeleter::operator()(unsigned char* p) const noexcept { std::free(p); }

CN4FileCalibration::CN4FileCalibration(unsigned long rows, unsigned long cols)
    : m_pFileHeader(std::make_unique<BITMAPFILEHEADER>()),
      m_pInfoHeader(std::make_unique<BITMAPINFOHEADER>()) {
  m_pFileHeader->bfType = kBitmapType;
  m_pInfoHeader->biSize = kInfoHeaderSize;
  m_pInfoHeader->biWidth = static_cast<LONG>(cols);
  m_pInfoHeader->biHeight = static_cast<LONG>(rows);
  m_pInfoHeader->biPlanes = 1;
  m_pInfoHeader->biBitCount = kBitsPerPixel;
}

CN4FileCalibration::~CN4FileCalibration() {
  CN4FileCalibration::Close();
  m_pInfoHeader.reset();
  m_pFileHeader.reset();
  m_pData.reset();
}

// The new buffer is made before the old one goes: a copy of the object's own
// bytes (SetFileData(GetPtrToFileData(...))) stays valid, and a size that
// cannot be allocated leaves the object as it was.
void CN4FileCalibration::ReplaceData(Buffer data, DWORD size) {
  m_pData = std::move(data);
  m_dwDataSize = size;
}

void CN4FileCalibration::InitializeDataBuffer(char value, unsigned long size) {
  Buffer data = AllocateZeroed(size);
  if (!data) return;
  if (value != 0) std::memset(data.get(), static_cast<unsigned char>(value), size);
  ReplaceData(std::move(data), static_cast<DWORD>(size));
}

void CN4FileCalibration::InitializeDataBuffer(unsigned char value, int size) {
  if (size < 0) return;  // would wrap to a size no buffer can have
  InitializeDataBuffer(static_cast<char>(value), static_cast<unsigned long>(size));
}

void CN4FileCalibration::SetRows(unsigned long rows) {
  if (m_pInfoHeader) m_pInfoHeader->biHeight = static_cast<LONG>(rows);
}

void CN4FileCalibration::SetCols(unsigned long cols) {
  if (m_pInfoHeader) m_pInfoHeader->biWidth = static_cast<LONG>(cols);
}

void CN4FileCalibration::SetFileData(char* data, unsigned long size) {
  if (data == nullptr) return;
  Buffer copy = AllocateZeroed(size);
  if (!copy) return;
  if (size != 0) std::memcpy(copy.get(), data, size);
  ReplaceData(std::move(copy), static_cast<DWORD>(size));
}

void CN4FileCalibration::SetFileData(unsigned char* data, int size) {
  if (size < 0) return;
  SetFileData(reinterpret_cast<char*>(data), static_cast<unsigned long>(size));
}

void CN4FileCalibration::SetFileHeader(BITMAPFILEHEADER* header) {
  if (header == nullptr) return;
  m_pFileHeader = std::make_unique<BITMAPFILEHEADER>(*header);
  m_pFileHeader->bfType = kBitmapType;
  m_pFileHeader->bfReserved1 = 0;
  m_pFileHeader->bfReserved2 = 0;
}

void CN4FileCalibration::SetInfoHeader(BITMAPINFOHEADER* header) {
  if (header == nullptr) return;
  m_pInfoHeader = std::make_unique<BITMAPINFOHEADER>(*header);
  m_pInfoHeader->biSize = kInfoHeaderSize;
  m_pInfoHeader->biBitCount = kBitsPerPixel;
}

int CN4FileCalibration::SetModuleData(CRect* area, unsigned char* data, unsigned long size) {
  CSize face(static_cast<LONG>(GetCols()), static_cast<LONG>(GetRows()));
  return SetModuleData(area, data, size, &face, m_pData.get(), m_dwDataSize);
}

unsigned long CN4FileCalibration::GetRows() {
  // Through LONG, so a negative height reads back as the same unsigned long
  // SetRows was given.
  return m_pInfoHeader ? static_cast<unsigned long>(m_pInfoHeader->biHeight) : 0;
}

unsigned long CN4FileCalibration::GetCols() {
  return m_pInfoHeader ? static_cast<unsigned long>(m_pInfoHeader->biWidth) : 0;
}

unsigned long CN4FileCalibration::GetDataSize() { return m_dwDataSize; }

char* CN4FileCalibration::GetPtrToFileData(unsigned long* size) {
  if (size != nullptr) *size = m_dwDataSize;
  return reinterpret_cast<char*>(m_pData.get());
}

unsigned long CN4FileCalibration::GetFileData(char* dest, unsigned long size) {
  if (dest == nullptr || !m_pData) return 0;
  const unsigned long count = std::min<unsigned long>(size, m_dwDataSize);
  std::memcpy(dest, m_pData.get(), count);
  return count;
}

int CN4FileCalibration::GetFileData(unsigned char* dest, int size) {
  if (dest == nullptr || !m_pData || size <= 0) return 0;
  const auto count = std::min<unsigned long>(static_cast<unsigned long>(size), m_dwDataSize);
  std::memcpy(dest, m_pData.get(), count);
  return static_cast<int>(count);
}

void CN4FileCalibration::GetFileHeader(BITMAPFILEHEADER* header) {
  if (header != nullptr && m_pFileHeader) *header = *m_pFileHeader;
}

void CN4FileCalibration::GetInfoHeader(BITMAPINFOHEADER* header) {
  if (header != nullptr && m_pInfoHeader) *header = *m_pInfoHeader;
}

int CN4FileCalibration::GetModuleData(CRect* area, unsigned char* dest, unsigned long size) {
  CSize face(static_cast<LONG>(GetCols()), static_cast<LONG>(GetRows()));
  return GetModuleData(area, dest, size, &face, m_pData.get(), m_dwDataSize);
}
