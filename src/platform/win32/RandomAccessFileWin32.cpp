// Windows random-access files: the system's file handle, its file pointer and
// its own sharing modes.
#include <windows.h>

#include <algorithm>

#include "platform/RandomAccessFile.h"
#include "platform/win32/ErrorsWin32.h"

namespace n4 {

namespace {

DWORD ShareMode(FileShare share) {
  switch (share) {
    case FileShare::None: return 0;
    case FileShare::Read: return FILE_SHARE_READ;
    case FileShare::ReadWrite: return FILE_SHARE_READ | FILE_SHARE_WRITE;
  }
  return 0;
}

// ReadFile and WriteFile take 32-bit counts.
constexpr std::size_t kMaxChunk = 1u << 30;

class Win32RandomAccessFile final : public RandomAccessFile {
 public:
  explicit Win32RandomAccessFile(HANDLE handle) : handle_(handle) {}
  ~Win32RandomAccessFile() override {
    if (handle_ != INVALID_HANDLE_VALUE) ::CloseHandle(handle_);
  }
  Win32RandomAccessFile(const Win32RandomAccessFile&) = delete;
  Win32RandomAccessFile& operator=(const Win32RandomAccessFile&) = delete;

  bool Seek(std::int64_t offset, SeekFrom from, std::uint64_t* position, SysError* err) override {
    if (handle_ == INVALID_HANDLE_VALUE) return Fail(err, kErrInvalidHandle);
    const DWORD method = from == SeekFrom::Begin ? FILE_BEGIN : from == SeekFrom::Current ? FILE_CURRENT : FILE_END;
    LARGE_INTEGER distance;
    distance.QuadPart = offset;
    LARGE_INTEGER result;
    // The system refuses a position before the start with error 131 itself.
    if (!::SetFilePointerEx(handle_, distance, &result, method)) return FailLastError(err);
    if (position) *position = static_cast<std::uint64_t>(result.QuadPart);
    return true;
  }

  bool Read(void* buffer, std::size_t size, std::size_t* bytesRead, SysError* err) override {
    *bytesRead = 0;
    if (handle_ == INVALID_HANDLE_VALUE) return Fail(err, kErrInvalidHandle);
    auto* out = static_cast<char*>(buffer);
    while (*bytesRead < size) {
      const DWORD want = static_cast<DWORD>(std::min(size - *bytesRead, kMaxChunk));
      DWORD got = 0;
      if (!::ReadFile(handle_, out + *bytesRead, want, &got, nullptr)) return FailLastError(err);
      if (got == 0) break;  // end of file
      *bytesRead += got;
    }
    return true;
  }

  bool Write(const void* data, std::size_t size, SysError* err) override {
    if (handle_ == INVALID_HANDLE_VALUE) return Fail(err, kErrInvalidHandle);
    const auto* in = static_cast<const char*>(data);
    std::size_t done = 0;
    while (done < size) {
      const DWORD want = static_cast<DWORD>(std::min(size - done, kMaxChunk));
      DWORD put = 0;
      if (!::WriteFile(handle_, in + done, want, &put, nullptr)) return FailLastError(err);
      if (put == 0) return Fail(err, kErrDiskFull);
      done += put;
    }
    return true;
  }

  bool SetEndOfFile(SysError* err) override {
    if (handle_ == INVALID_HANDLE_VALUE) return Fail(err, kErrInvalidHandle);
    if (!::SetEndOfFile(handle_)) return FailLastError(err);
    return true;
  }

  bool GetLength(std::uint64_t* length, SysError* err) override {
    if (handle_ == INVALID_HANDLE_VALUE) return Fail(err, kErrInvalidHandle);
    LARGE_INTEGER size;
    if (!::GetFileSizeEx(handle_, &size)) return FailLastError(err);
    *length = static_cast<std::uint64_t>(size.QuadPart);
    return true;
  }

  bool Close(SysError* err) override {
    if (handle_ == INVALID_HANDLE_VALUE) return Fail(err, kErrInvalidHandle);
    const BOOL ok = ::CloseHandle(handle_);
    handle_ = INVALID_HANDLE_VALUE;
    if (!ok) return FailLastError(err);
    return true;
  }

 private:
  HANDLE handle_;
};

}  // namespace

const char* TextLineEnd() { return "\r\n"; }

// Not inheritable (no security attributes), as POSIX descriptors are opened
// close-on-exec. CREATE_ALWAYS empties a file only once the sharing check has
// passed.
std::unique_ptr<RandomAccessFile> OpenPlatformRandomAccessFile(const std::string& path, RandomAccessMode mode,
                                                               FileShare share, SysError* err) {
  const DWORD access = mode == RandomAccessMode::ReadOnly ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
  DWORD creation = OPEN_EXISTING;
  if (mode == RandomAccessMode::OpenOrCreate) creation = OPEN_ALWAYS;
  if (mode == RandomAccessMode::CreateTruncate) creation = CREATE_ALWAYS;
  HANDLE h = ::CreateFileA(path.c_str(), access, ShareMode(share), nullptr, creation, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) {
    FailLastError(err);
    return nullptr;
  }
  return std::make_unique<Win32RandomAccessFile>(h);
}

}  // namespace n4
