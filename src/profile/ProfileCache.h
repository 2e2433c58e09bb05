// The process-wide cache of parsed profile files.
//
// A settings class reads one key per call, so showing a page of 100 cells
// would otherwise read and parse its file a thousand times. Each lookup asks
// the file system for the file's stamp (size, write time, identity: one status
// call) and parses again only when it differs from the stamp of the cached
// copy. The writer stores what it wrote together with the stamp it took while
// still holding the file's lock, so an own write never forces a re-read.
//
// Checking costs a system call, which on some systems costs more than all the
// lookup work of a page. So a file checked less than kRecheckInterval ago is
// trusted without asking again: a burst of reads (a page and its 100 cells)
// costs one check, while a change by another process is seen by any read
// that starts more than that interval after the previous check. Own writes
// are seen at once.
//
// Bounded: at most kMaxEntries files and kMaxBytes of text are kept; the least
// recently used go first.
//
// Thread safety: all members may be called from any thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

#include "platform/Env.h"
#include "profile/ProfileText.h"

namespace n4 {

class ProfileCache {
 public:
  static ProfileCache& Instance();

  // The parsed file; an empty text for a missing, unreadable or oversized file.
  std::shared_ptr<const ProfileText> Get(const std::string& path);
  void Store(const std::string& path, const FileStamp& stamp, std::shared_ptr<const ProfileText> text);
  void Forget(const std::string& path);
  void Clear();

  static constexpr std::size_t kMaxEntries = 64;
  static constexpr std::size_t kMaxBytes = 64u << 20;
  static constexpr std::chrono::milliseconds kRecheckInterval{2};

 private:
  struct Entry {
    FileStamp stamp;
    std::chrono::steady_clock::time_point checked;
    std::shared_ptr<const ProfileText> text;
    std::uint64_t lastUse = 0;
  };
  void StoreLocked(const std::string& path, const FileStamp& stamp, std::shared_ptr<const ProfileText> text);

  std::mutex mutex_;
  std::unordered_map<std::string, Entry> entries_;
  std::size_t bytes_ = 0;
  std::uint64_t clock_ = 0;
};

}  // namespace n4
