#include "platform/win32/FileWin32.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>

#include "platform/win32/ErrorsWin32.h"

namespace n4 {

namespace {

// PrefetchVirtualMemory arrived with Windows 8; looked up at run time so that
// the library still loads where it is missing (the pages then fault in as
// they are touched).
struct PrefetchRange {
  void* address;
  SIZE_T bytes;
};
using PrefetchFn = BOOL(WINAPI*)(HANDLE, ULONG_PTR, PrefetchRange*, ULONG);

PrefetchFn Prefetcher() {
  static const PrefetchFn fn = [] {
    HMODULE kernel = ::GetModuleHandleA("kernel32.dll");
    FARPROC proc = kernel ? ::GetProcAddress(kernel, "PrefetchVirtualMemory") : nullptr;
    return reinterpret_cast<PrefetchFn>(reinterpret_cast<void*>(proc));
  }();
  return fn;
}

class Win32MappedView final : public MappedView {
 public:
  Win32MappedView(HANDLE mapping, void* p, std::uint64_t size, bool writable)
      : mapping_(mapping), writable_(writable) {
    data_ = static_cast<std::byte*>(p);
    size_ = size;
  }
  // The view goes before the section: a file stays "user-mapped" (and cannot
  // be truncated or replaced) until both are gone.
  ~Win32MappedView() override {
    ::UnmapViewOfFile(data_);
    ::CloseHandle(mapping_);
  }
  Win32MappedView(const Win32MappedView&) = delete;
  Win32MappedView& operator=(const Win32MappedView&) = delete;

  // Writes dirty pages to the file without waiting for the disk; the handle's
  // Sync is what makes them durable. A copy-on-write view has nothing of the
  // file's to write.
  bool Flush(SysError* err) override {
    if (!writable_) return true;
    if (!::FlushViewOfFile(data_, 0)) return FailLastError(err);
    return true;
  }

  // Grow keeps the base class's kErrNotSupported: a view cannot be extended
  // in place here, so the caller maps the larger size afresh.

  void Populate(std::uint64_t offset, std::uint64_t length, bool forWrite) override {
    (void)forWrite;  // prefetching reads the pages in; a write then only dirties them
    if (offset >= size_ || length == 0) return;
    PrefetchFn prefetch = Prefetcher();
    if (!prefetch) return;
    length = std::min(length, size_ - offset);
    PrefetchRange range{data_ + offset, static_cast<SIZE_T>(length)};
    prefetch(::GetCurrentProcess(), 1, &range, 0);  // a hint; failure changes nothing
  }

 private:
  HANDLE mapping_;
  bool writable_;
};

class Win32FileHandle final : public FileHandle {
 public:
  explicit Win32FileHandle(HANDLE handle) : handle_(handle) {}
  ~Win32FileHandle() override { ::CloseHandle(handle_); }
  Win32FileHandle(const Win32FileHandle&) = delete;
  Win32FileHandle& operator=(const Win32FileHandle&) = delete;

  bool GetSize(std::uint64_t* size, SysError* err) override {
    LARGE_INTEGER li{};
    if (!::GetFileSizeEx(handle_, &li)) return FailLastError(err);
    *size = static_cast<std::uint64_t>(li.QuadPart);
    return true;
  }

  // Fails with ERROR_USER_MAPPED_FILE while any view of the file would lose
  // pages, which is the behaviour callers rely on.
  bool SetLength(std::uint64_t length, SysError* err) override {
    if (length > static_cast<std::uint64_t>(INT64_MAX)) return Fail(err, ERROR_INVALID_PARAMETER);
    LARGE_INTEGER li{};
    li.QuadPart = static_cast<LONGLONG>(length);
    if (!::SetFilePointerEx(handle_, li, nullptr, FILE_BEGIN)) return FailLastError(err);
    if (!::SetEndOfFile(handle_)) return FailLastError(err);
    return true;
  }

  std::unique_ptr<MappedView> Map(std::uint64_t size, bool writable, SysError* err) override {
    std::uint64_t current = 0;
    if (!GetSize(&current, err)) return nullptr;
    // A size of 0 would mean "the whole file" to the system; the interface
    // promises that mapping nothing fails, as it does for an empty file.
    if (size == 0) {
      Fail(err, ERROR_FILE_INVALID);
      return nullptr;
    }
    if (size > current && !writable) {
      Fail(err, ERROR_INVALID_PARAMETER);
      return nullptr;
    }
    if (size > static_cast<std::uint64_t>(SIZE_MAX)) {
      Fail(err, ERROR_NOT_ENOUGH_MEMORY);
      return nullptr;
    }
    // A writable section larger than the file extends the file, with its
    // space allocated now: a full disk fails here rather than on first touch.
    // A read-only view is copy-on-write, so writes through it stay private.
    HANDLE mapping = ::CreateFileMappingA(handle_, nullptr, writable ? PAGE_READWRITE : PAGE_WRITECOPY,
                                          static_cast<DWORD>(size >> 32), static_cast<DWORD>(size), nullptr);
    if (!mapping) {
      FailLastError(err);
      return nullptr;
    }
    void* p = ::MapViewOfFile(mapping, writable ? FILE_MAP_READ | FILE_MAP_WRITE : FILE_MAP_COPY, 0, 0,
                              static_cast<SIZE_T>(size));
    if (!p) {
      FailLastError(err);
      ::CloseHandle(mapping);
      return nullptr;
    }
    return std::make_unique<Win32MappedView>(mapping, p, size, writable);
  }

  bool GetInformation(BY_HANDLE_FILE_INFORMATION* info, SysError* err) override {
    if (!::GetFileInformationByHandle(handle_, info)) return FailLastError(err);
    return true;
  }

  bool WriteAt(std::uint64_t offset, const void* data, std::size_t size, SysError* err) override {
    const auto* p = static_cast<const char*>(data);
    while (size > 0) {
      const DWORD chunk = static_cast<DWORD>(std::min<std::size_t>(size, 1u << 30));
      OVERLAPPED at{};
      at.Offset = static_cast<DWORD>(offset);
      at.OffsetHigh = static_cast<DWORD>(offset >> 32);
      DWORD written = 0;
      if (!::WriteFile(handle_, p, chunk, &written, &at)) return FailLastError(err);
      if (written == 0) return Fail(err, ERROR_DISK_FULL);
      p += written;
      size -= written;
      offset += written;
    }
    return true;
  }

  bool Sync(SysError* err) override {
    if (!::FlushFileBuffers(handle_)) return FailLastError(err);
    return true;
  }

  // MarkMapped keeps the base class's no-op: the system itself refuses to
  // replace a file with a mapped section (see ReplaceFailure in EnvWin32.cpp).

 private:
  HANDLE handle_;
};

DWORD ShareMode(FileShare share) {
  switch (share) {
    case FileShare::None: return 0;
    case FileShare::Read: return FILE_SHARE_READ;
    case FileShare::ReadWrite: return FILE_SHARE_READ | FILE_SHARE_WRITE;
  }
  return 0;
}

}  // namespace

// Handles are not inheritable (no security attributes), as POSIX descriptors
// are opened close-on-exec: a child process must not keep a file in use.
std::unique_ptr<FileHandle> OpenWin32File(const std::string& path, FileAccess access, FileShare share,
                                          FileDisposition disposition, SysError* err) {
  const DWORD desired = access == FileAccess::ReadWrite ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ;
  // CREATE_ALWAYS truncates only once the sharing check has passed, so a file
  // in use by another opener is never emptied under it.
  const DWORD creation = disposition == FileDisposition::CreateAlways ? CREATE_ALWAYS : OPEN_EXISTING;
  HANDLE h = ::CreateFileA(path.c_str(), desired, ShareMode(share), nullptr, creation, FILE_ATTRIBUTE_NORMAL,
                           nullptr);
  if (h == INVALID_HANDLE_VALUE) {
    FailLastError(err);
    return nullptr;
  }
  return std::make_unique<Win32FileHandle>(h);
}

}  // namespace n4
