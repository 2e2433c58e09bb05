#include <gtest/gtest.h>

#include <thread>

#include "n4file/DirWatch.h"

namespace {

TEST(MessageQueue, DeliversPostsInOrderAndTimesOutWhenEmpty) {
  n4::MessageQueue queue;
  EXPECT_FALSE(queue.Wait(0).has_value());
  EXPECT_EQ(queue.Post(10, 1, -1), 1);
  EXPECT_EQ(n4::PostMessageTo(queue.GetHandle(), 11, 2, -2), 1);
  auto first = queue.Wait(0);
  auto second = queue.Wait(0);
  ASSERT_TRUE(first && second);
  EXPECT_EQ(first->hwnd, queue.GetHandle());
  EXPECT_EQ(first->message, 10u);
  EXPECT_EQ(first->wParam, 1u);
  EXPECT_EQ(first->lParam, -1);
  EXPECT_EQ(second->message, 11u);
  EXPECT_EQ(second->lParam, -2);
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
