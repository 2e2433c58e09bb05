// The save protocol: replacing a whole file so that a crash or power cut at
// any moment leaves either the old or the new content, whole.
//
//   1. create a temporary file beside the target (same directory, so the
//      final step is a rename, never a copy);
//   2. write the new content into it;
//   3. sync it (content and length durable);
//   4. rename it over the target;
//   5. sync the directory (the rename durable).
//
// Every writer of a file that users keep uses it: sequence saves, the .reg
// settings store, and the calibration, real-time data, profile and script
// writers. A failure at any step is reported and leaves the target as it
// was; the temporary file is removed. A failure of step 5 is reported too,
// although the target already shows the new content: the caller must not
// tell the user the content is safe.
//
// Streaming writer (large or generated content):
//
//   n4::AtomicFileWriter out(n4::Env::Default(), path);
//   if (!out.Begin(&err)) ...
//   out.Append(bytes, size, &err) ...   // as often as needed
//   if (!out.Commit(&err)) ...          // destroyed uncommitted: discarded
//
// Whole content in memory: n4::WriteFileAtomic(env, path, data, &err).
// Content already in a finished file (a save composed in a mapping):
// n4::ReplaceFileAtomic(env, from, to, &err).
//
// Permissions: a replaced target's permissions carry over; a new file gets
// the platform's defaults. A read-only target is refused (kErrAccessDenied)
// before anything is written.
//
// Thread safety: one writer per object; writers of different targets may run
// at once. Concurrent writers of one target must be ordered by the caller
// (the .reg store locks); otherwise the last rename wins, still whole.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "platform/Env.h"

namespace n4 {

class AtomicFileWriter {
 public:
  // busyRetry: how long a rename refused because a reader holds the target
  // (Windows readers hold files while they read them) is tried again.
  // REQUIRES: env outlives the writer.
  AtomicFileWriter(Env* env, std::string target,
                   std::chrono::milliseconds busyRetry = std::chrono::milliseconds(0));
  ~AtomicFileWriter();
  AtomicFileWriter(const AtomicFileWriter&) = delete;
  AtomicFileWriter& operator=(const AtomicFileWriter&) = delete;

  // Steps 1: refuses a read-only target, creates the temporary file.
  bool Begin(SysError* err);
  // Step 2. REQUIRES: Begin succeeded and Commit was not called.
  bool Append(const void* data, std::size_t size, SysError* err);
  // Steps 3 to 5. After a failure before the rename the target is untouched.
  bool Commit(SysError* err);
  // Drops the temporary file; the target stays as it was.
  void Discard();

  const std::string& target() const { return target_; }

 private:
  bool RenameOverTarget(SysError* err);

  Env* env_;
  std::string target_;
  std::chrono::milliseconds busyRetry_;
  std::string temp_;
  std::unique_ptr<WritableFile> file_;
};

bool WriteFileAtomic(Env* env, const std::string& path, std::string_view data, SysError* err);

// Replaces `to` with the finished file `from`: synced and renamed when both
// lie on one volume, else copied through AtomicFileWriter. The caller deletes
// `from` afterwards (it is gone when it was renamed).
bool ReplaceFileAtomic(Env* env, const std::string& from, const std::string& to, SysError* err);

}  // namespace n4
