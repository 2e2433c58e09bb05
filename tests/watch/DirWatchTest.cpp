// The directory watch against the real file system. Waits for a message are
// bounded by seconds so that a loaded machine cannot make them fail; checks
// that nothing arrives wait a few times the quiet period.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "n4file/DirWatch.h"
#include "support/TestSupport.h"

namespace {

constexpr UINT kMessage = 0x8000 + 42;
constexpr DWORD kArrives = 10000;  // ms: a message that must come comes by then
constexpr DWORD kQuiet = 300;      // ms: long enough for a wrong message to show

class TestWatch : public CN4FileDirWatchThread {
 public:
  using CN4FileDirWatchThread::CN4FileDirWatchThread;
  using CN4FileDirWatchThread::ExitThread;
  using CN4FileDirWatchThread::HandleDirectoryChange;
};

// The one message the watch posts by itself when it starts.
void ExpectInitialMessage(n4::MessageQueue& queue) {
  auto message = queue.Wait(kArrives);
  ASSERT_TRUE(message);
  EXPECT_EQ(message->hwnd, queue.GetHandle());
  EXPECT_EQ(message->message, kMessage);
  EXPECT_EQ(message->wParam, 0u);
  EXPECT_EQ(message->lParam, 0);
}

TEST(DirWatch, PostsOnceAtStartAndOnceForEachChangeOfTheDirectoryItself) {
  n4test::TempDir dir;
  n4test::WriteFile(dir.File("existing"), "abc");
  n4test::WriteFile(dir.File("doomed"), "x");
  std::filesystem::create_directory(dir.File("sub"));
  n4::MessageQueue queue;
  TestWatch watch(queue.GetHandle(), kMessage, dir.path());
  ExpectInitialMessage(queue);
  EXPECT_FALSE(queue.Wait(kQuiet).has_value());
  // Subdirectories are not watched; the cases below show the watch goes on.
  n4test::WriteFile(dir.File("sub/inner"), "data");
  std::filesystem::create_directory(dir.File("another"));
  EXPECT_FALSE(queue.Wait(kQuiet).has_value());

  struct Case {
    const char* name;
    void (*change)(const n4test::TempDir& dir);
  };
  const Case cases[] = {
      {"a file created", [](const n4test::TempDir& d) { n4test::WriteFile(d.File("new"), ""); }},
      {"a file grown", [](const n4test::TempDir& d) { std::ofstream(d.File("existing"), std::ios::binary | std::ios::app) << "more"; }},
      {"a burst of writes, merged",
       [](const n4test::TempDir& d) {
         const char* names[] = {"f0", "f1", "f2", "f3", "f4", "f5", "f6", "f7", "f8", "f9"};
         for (const char* name : names) n4test::WriteFile(d.File(name), "data");
       }},
      {"a file renamed",
       [](const n4test::TempDir& d) { std::filesystem::rename(d.File("new"), d.File("renamed")); }},
      {"a file deleted", [](const n4test::TempDir& d) { std::filesystem::remove(d.File("doomed")); }},
      {"a last-write time set",  // last: Wine stops here
       [](const n4test::TempDir& d) {
         std::filesystem::last_write_time(d.File("existing"), std::filesystem::file_time_type::clock::now() -
                                                                  std::chrono::hours(24));
       }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    if (std::string(c.name) == "a last-write time set" && n4test::UnderWine()) {
      GTEST_SKIP() << "Wine's change notification does not report a last-write time set alone";
    }
    c.change(dir);
    auto message = queue.Wait(kArrives);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->message, kMessage);
    EXPECT_FALSE(queue.Wait(kQuiet).has_value());
  }
}

TEST(DirWatch, StopEndsTheWorkerAndItsMessages) {
  n4test::TempDir dir;
  n4::MessageQueue queue;
  TestWatch watch(queue.GetHandle(), kMessage, dir.path());
  ExpectInitialMessage(queue);
  EXPECT_EQ(watch.ExitThread(), 1);  // the stop event ended an endless wait in time
  EXPECT_EQ(watch.ExitThread(), 1);  // nothing left to stop
  n4test::WriteFile(dir.File("after"), "data");
  EXPECT_FALSE(queue.Wait(kQuiet).has_value());
  // The owner can still post through the object.
  EXPECT_EQ(watch.HandleDirectoryChange(), 1);
  EXPECT_TRUE(queue.Wait(0).has_value());
}

TEST(DirWatch, AMissingDirectoryOrAGoneWindowIsNoHarm) {
  n4test::TempDir dir;
  HWND gone = nullptr;
  {
    n4::MessageQueue queue;
    gone = queue.GetHandle();
    TestWatch missing(gone, kMessage, dir.File("missing"));
    EXPECT_FALSE(queue.Wait(kQuiet).has_value());
    EXPECT_EQ(missing.ExitThread(), 1);
  }
  TestWatch watch(gone, kMessage, dir.path());
  EXPECT_EQ(watch.HandleDirectoryChange(), 0);
  n4test::WriteFile(dir.File("f"), "data");  // the worker's failed posts are ignored
}

}  // namespace
