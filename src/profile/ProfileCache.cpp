#include "profile/ProfileCache.h"

#include <utility>

namespace n4 {
namespace {

std::shared_ptr<const ProfileText> EmptyText() {
  static const auto empty = std::make_shared<const ProfileText>();
  return empty;
}

}  // namespace

ProfileCache& ProfileCache::Instance() {
  static ProfileCache cache;
  return cache;
}

std::shared_ptr<const ProfileText> ProfileCache::Get(const std::string& path) {
  const auto now = std::chrono::steady_clock::now();
  {
    std::lock_guard<std::mutex> guard(mutex_);
    auto it = entries_.find(path);
    if (it != entries_.end() && now - it->second.checked < kRecheckInterval) {
      it->second.lastUse = ++clock_;
      return it->second.text;
    }
  }
  Env* env = Env::Default();
  FileStamp stamp;
  if (!env->GetFileStamp(path, &stamp, nullptr) || stamp.size > kMaxProfileBytes) {
    Forget(path);
    return EmptyText();
  }
  {
    std::lock_guard<std::mutex> guard(mutex_);
    auto it = entries_.find(path);
    if (it != entries_.end() && it->second.stamp == stamp) {
      it->second.checked = now;
      it->second.lastUse = ++clock_;
      return it->second.text;
    }
  }
  // Read outside the lock. Should the file change between the stamp and the
  // read, the copy is filed under the older stamp and the next call reads again.
  std::string bytes;
  if (!env->ReadWholeFile(path, &bytes, nullptr) || bytes.size() > kMaxProfileBytes) {
    Forget(path);
    return EmptyText();
  }
  auto text = std::make_shared<const ProfileText>(std::move(bytes));
  std::lock_guard<std::mutex> guard(mutex_);
  StoreLocked(path, stamp, text);
  return text;
}

void ProfileCache::Store(const std::string& path, const FileStamp& stamp, std::shared_ptr<const ProfileText> text) {
  std::lock_guard<std::mutex> guard(mutex_);
  StoreLocked(path, stamp, std::move(text));
}

void ProfileCache::StoreLocked(const std::string& path, const FileStamp& stamp,
                               std::shared_ptr<const ProfileText> text) {
  auto it = entries_.find(path);
  if (it != entries_.end()) {
    bytes_ -= it->second.text->bytes().size();
    entries_.erase(it);
  }
  const std::size_t size = text->bytes().size();
  while (!entries_.empty() && (entries_.size() >= kMaxEntries || bytes_ + size > kMaxBytes)) {
    auto oldest = entries_.begin();
    for (auto e = entries_.begin(); e != entries_.end(); ++e) {
      if (e->second.lastUse < oldest->second.lastUse) oldest = e;
    }
    bytes_ -= oldest->second.text->bytes().size();
    entries_.erase(oldest);
  }
  if (size > kMaxBytes) return;
  bytes_ += size;
  entries_[path] = Entry{stamp, std::chrono::steady_clock::now(), std::move(text), ++clock_};
}

void ProfileCache::Forget(const std::string& path) {
  std::lock_guard<std::mutex> guard(mutex_);
  auto it = entries_.find(path);
  if (it == entries_.end()) return;
  bytes_ -= it->second.text->bytes().size();
  entries_.erase(it);
}

void ProfileCache::Clear() {
  std::lock_guard<std::mutex> guard(mutex_);
  entries_.clear();
  bytes_ = 0;
}

}  // namespace n4
