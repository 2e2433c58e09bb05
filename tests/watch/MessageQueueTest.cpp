#include <gtest/gtest.h>

#include <thread>

#include "n4file/DirWatch.h"

namespace {

TEST(MessageQueue, DeliversPostsInOrderAndTimesOutWhenEmpty) {
  n4::MessageQueue queue;
  EXPECT_FALSE(queue.Wait(0).has_value());
  EXPECT_EQ(queue.Post(10, 1, -1), 1);
  EXPECT_EQ(n4::PostMessageTo(queue.GetHandle(), 11, 2, -2), 1);
  for (UINT n : {1u, 2u}) {
    auto message = queue.Wait(0);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->hwnd, queue.GetHandle());
    EXPECT_EQ(message->message, 9 + n);
    EXPECT_EQ(message->wParam, n);
    EXPECT_EQ(message->lParam, -static_cast<std::intptr_t>(n));
  }
  EXPECT_FALSE(queue.Wait(20).has_value());
}

TEST(MessageQueue, PostsToUnknownOrDestroyedQueuesFail) {
  HWND gone = nullptr;
  {
    n4::MessageQueue queue;
    gone = queue.GetHandle();
  }
  n4::MessageQueue other;  // a newer queue never takes over an old handle
  EXPECT_NE(other.GetHandle(), gone);
  // An application's own message: a system one carrying a pointer would be
  // refused for that reason alone.
  constexpr UINT kAppMessage = 0x8001;
  EXPECT_EQ(n4::PostMessageTo(gone, kAppMessage, 0, 0), 0);
  EXPECT_EQ(n4::PostMessageTo(nullptr, kAppMessage, 0, 0), 0);
  EXPECT_FALSE(other.Wait(0).has_value());
}

TEST(MessageQueue, PostFromAnotherThreadWakesAnEndlessWait) {
  n4::MessageQueue queue;
  std::thread poster([handle = queue.GetHandle()] { n4::PostMessageTo(handle, 7, 0, 0); });
  auto message = queue.Wait(INFINITE);
  poster.join();
  ASSERT_TRUE(message);
  EXPECT_EQ(message->message, 7u);
}

}  // namespace
