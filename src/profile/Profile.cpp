#include "profile/Profile.h"

#include <chrono>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

#include "platform/Env.h"
#include "profile/ProfileCache.h"
#include "profile/ProfileEdit.h"
#include "profile/ProfileText.h"

namespace n4 {
namespace {

constexpr std::chrono::milliseconds kLockTimeout = std::chrono::seconds(30);

bool HasLineBreak(const char* text) { return text != nullptr && std::strpbrk(text, "\r\n") != nullptr; }

bool IsMissing(const SysError& err) { return err.code == kErrFileNotFound || err.code == kErrPathNotFound; }

// Copies text into buffer, cut to size - 1 characters; returns the count copied.
DWORD CopyValue(std::string_view text, char* buffer, DWORD size) {
  if (buffer == nullptr || size == 0) return 0;
  const std::size_t n = text.size() < size - 1 ? text.size() : size - 1;
  if (n > 0) std::memcpy(buffer, text.data(), n);
  buffer[n] = '\0';
  return static_cast<DWORD>(n);
}

// Writes zero-terminated strings ended by an empty string, as the list reads
// of the Windows functions do, cutting the list to fit.
class ListWriter {
 public:
  ListWriter(char* buffer, DWORD size) : buffer_(buffer), size_(buffer ? size : 0) {}
  // "name=value" without building it first.
  void AddKey(std::string_view name, std::string_view value) {
    if (!Append(name) || !Append("=") || !Append(value)) return;
    buffer_[used_++] = '\0';
  }
  void Add(std::string_view item) {
    if (Append(item)) buffer_[used_++] = '\0';
  }

 private:
  // Appends without a terminator; false (and the list closed) when cut.
  bool Append(std::string_view item) {
    if (full_ || used_ + 2 > size_) {
      full_ = true;
      return false;
    }
    // Room for this item's terminator and the list's final one.
    const std::size_t room = size_ - 2 - used_;
    const std::size_t n = item.size() < room ? item.size() : room;
    if (n > 0) std::memcpy(buffer_ + used_, item.data(), n);
    used_ += n;
    if (n < item.size()) {
      full_ = true;
      return false;
    }
    return true;
  }

 public:
  DWORD Finish() {
    if (size_ == 0) return 0;
    if (size_ == 1) {
      buffer_[0] = '\0';
      return 0;
    }
    if (full_) {
      buffer_[size_ - 2] = '\0';
      buffer_[size_ - 1] = '\0';
      return size_ - 2;
    }
    buffer_[used_] = '\0';
    if (used_ == 0 && size_ > 1) buffer_[1] = '\0';
    return static_cast<DWORD>(used_);
  }

 private:
  char* buffer_;
  std::size_t size_;
  std::size_t used_ = 0;
  bool full_ = false;
};

// The signed decimal rule of the profile-integer reader, modulo 2^32.
UINT ParseProfileInt(std::string_view value) {
  std::size_t i = 0;
  bool negative = false;
  if (i < value.size() && (value[i] == '-' || value[i] == '+')) negative = value[i++] == '-';
  UINT result = 0;
  for (; i < value.size() && value[i] >= '0' && value[i] <= '9'; ++i) {
    result = result * 10u + static_cast<UINT>(value[i] - '0');
  }
  return negative ? 0u - result : result;
}

using Edit = std::function<bool(const ProfileText& text, std::string* out)>;

// The locked read-modify-write every change goes through.
bool Modify(const std::string& file, const Edit& edit) {
  // The file lock orders processes; this orders the threads of this one,
  // whatever the platform's lock does between them.
  static std::mutex writeMutex;
  std::lock_guard<std::mutex> guard(writeMutex);
  Env* env = Env::Default();
  SysError err;
  std::unique_ptr<FileLock> lock = env->LockFile(file + ".lock", true, kLockTimeout, &err);
  if (!lock) return false;
  std::string bytes;
  if (!env->ReadWholeFile(file, &bytes, &err)) {
    if (!IsMissing(err)) return false;
    bytes.clear();
  }
  if (bytes.size() > kMaxProfileBytes) return false;
  const ProfileText text(std::move(bytes));
  std::string changed;
  if (!edit(text, &changed)) return true;
  if (changed.size() > kMaxProfileBytes) return false;
  if (!env->WriteFileAtomic(file, changed, &err)) {
    ProfileCache::Instance().Forget(file);
    return false;
  }
  FileStamp stamp;
  if (env->GetFileStamp(file, &stamp, nullptr)) {
    ProfileCache::Instance().Store(file, stamp, std::make_shared<const ProfileText>(std::move(changed)));
  } else {
    ProfileCache::Instance().Forget(file);
  }
  return true;
}

}  // namespace

UINT ProfileGetInt(const char* section, const char* key, int defaultValue, const std::string& file) {
  if (section == nullptr || key == nullptr) return static_cast<UINT>(defaultValue);
  auto text = ProfileCache::Instance().Get(file);
  const auto* sec = text->FindSection(section);
  const auto* line = sec ? text->FindKey(*sec, key) : nullptr;
  if (line == nullptr) return static_cast<UINT>(defaultValue);
  std::string_view value = TrimBlanks(text->Value(*line));
  if (value.empty()) return static_cast<UINT>(defaultValue);
  return ParseProfileInt(value);
}

DWORD ProfileGetString(const char* section, const char* key, const char* defaultValue, char* buffer,
                       DWORD size, const std::string& file) {
  if (buffer == nullptr || size == 0) return 0;
  auto text = ProfileCache::Instance().Get(file);
  if (section == nullptr) {
    ListWriter list(buffer, size);
    for (const auto& sec : text->sections()) {
      if (sec.header != ProfileText::Section::kNoHeader || sec.endLine > sec.firstLine) {
        list.Add(text->SectionName(sec));
      }
    }
    return list.Finish();
  }
  const auto* sec = text->FindSection(section);
  if (key == nullptr) {
    ListWriter list(buffer, size);
    if (sec != nullptr) {
      for (std::uint32_t i = sec->firstLine; i < sec->endLine; ++i) {
        const auto& line = text->lines()[i];
        if (line.kind == ProfileText::LineKind::Key) list.Add(text->Name(line));
      }
    }
    return list.Finish();
  }
  const auto* line = sec ? text->FindKey(*sec, key) : nullptr;
  if (line == nullptr) return CopyValue(defaultValue ? defaultValue : "", buffer, size);
  return CopyValue(text->Value(*line), buffer, size);
}

DWORD ProfileGetSection(const char* section, char* buffer, DWORD size, const std::string& file) {
  if (buffer == nullptr || size == 0) return 0;
  ListWriter list(buffer, size);
  if (section != nullptr) {
    auto text = ProfileCache::Instance().Get(file);
    if (const auto* sec = text->FindSection(section)) {
      for (std::uint32_t i = sec->firstLine; i < sec->endLine; ++i) {
        const auto& line = text->lines()[i];
        if (line.kind == ProfileText::LineKind::Comment) continue;
        if (line.kind == ProfileText::LineKind::Key) {
          list.AddKey(text->Name(line), text->RawValue(line));
        } else {
          list.Add(text->Trimmed(line));
        }
      }
    }
  }
  return list.Finish();
}

BOOL ProfileWriteString(const char* section, const char* key, const char* value, const std::string& file) {
  if (section == nullptr || HasLineBreak(section) || HasLineBreak(key) || HasLineBreak(value)) return 0;
  if (key == nullptr) {
    return Modify(file, [&](const ProfileText& text, std::string* out) {
      return EditDeleteSection(text, section, out);
    });
  }
  if (value == nullptr) {
    return Modify(file, [&](const ProfileText& text, std::string* out) {
      return EditDeleteKey(text, section, key, out);
    });
  }
  return Modify(file, [&](const ProfileText& text, std::string* out) {
    return EditWriteString(text, section, key, value, out);
  });
}

BOOL ProfileWriteSection(const char* section, const char* lines, const std::string& file) {
  if (section == nullptr || HasLineBreak(section)) return 0;
  if (lines == nullptr) {
    return Modify(file, [&](const ProfileText& text, std::string* out) {
      return EditDeleteSection(text, section, out);
    });
  }
  std::vector<std::string_view> list;
  for (const char* p = lines; *p != '\0'; p += std::strlen(p) + 1) {
    if (HasLineBreak(p)) return 0;
    list.emplace_back(p);
  }
  return Modify(file, [&](const ProfileText& text, std::string* out) {
    return EditReplaceSection(text, section, list, out);
  });
}

BOOL ProfileDeleteFile(const std::string& file) {
  Env* env = Env::Default();
  SysError err;
  std::unique_ptr<FileLock> lock = env->LockFile(file + ".lock", true, kLockTimeout, &err);
  ProfileCache::Instance().Forget(file);
  if (!lock) return 0;
  if (env->DeleteFile(file, &err) || IsMissing(err)) return 1;
  return 0;
}

}  // namespace n4
