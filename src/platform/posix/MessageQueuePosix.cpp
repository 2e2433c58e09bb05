// The stand-in for a window's message queue on systems without windows.
//
// Handles are numbers drawn from a counter and looked up in a process-wide
// table, never addresses: a post to the handle of a destroyed queue finds
// nothing instead of reaching freed memory or a newer queue.
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <unordered_map>

#include "n4file/DirWatch.h"

namespace n4 {

namespace detail {

struct MessageQueueState {
  std::mutex mutex;
  std::condition_variable arrived;
  std::deque<Message> messages;
  bool closed = false;
  std::uintptr_t handle = 0;  // set before the queue is published, then fixed
};

}  // namespace detail

namespace {

struct QueueTable {
  std::mutex mutex;
  std::uintptr_t lastHandle = 0;
  std::unordered_map<std::uintptr_t, std::shared_ptr<detail::MessageQueueState>> queues;
};

// Never destroyed, so that a queue or a worker ending during static
// destruction still finds it.
QueueTable& Table() {
  static auto* table = new QueueTable;
  return *table;
}

void Register(const std::shared_ptr<detail::MessageQueueState>& state) {
  QueueTable& table = Table();
  std::lock_guard<std::mutex> lock(table.mutex);
  state->handle = ++table.lastHandle;
  table.queues.emplace(state->handle, state);
}

int PostTo(detail::MessageQueueState& state, HWND hwnd, UINT message, std::uintptr_t wParam,
           std::intptr_t lParam) {
  {
    std::lock_guard<std::mutex> lock(state.mutex);
    if (state.closed) return 0;
    state.messages.push_back(Message{hwnd, message, wParam, lParam});
  }
  state.arrived.notify_one();
  return 1;
}

}  // namespace

MessageQueue::MessageQueue() : m_state(std::make_shared<detail::MessageQueueState>()) { Register(m_state); }

MessageQueue::~MessageQueue() {
  {
    QueueTable& table = Table();
    std::lock_guard<std::mutex> lock(table.mutex);
    table.queues.erase(m_state->handle);
  }
  // A post that looked the queue up just before it left the table sees this.
  std::lock_guard<std::mutex> lock(m_state->mutex);
  m_state->closed = true;
}

HWND MessageQueue::GetHandle() const { return reinterpret_cast<HWND>(m_state->handle); }

int MessageQueue::Post(UINT message, std::uintptr_t wParam, std::intptr_t lParam) {
  return PostTo(*m_state, GetHandle(), message, wParam, lParam);
}

std::optional<Message> MessageQueue::Wait(DWORD timeoutMs) {
  std::unique_lock<std::mutex> lock(m_state->mutex);
  auto ready = [this] { return !m_state->messages.empty(); };
  if (timeoutMs == INFINITE) {
    m_state->arrived.wait(lock, ready);
  } else if (!m_state->arrived.wait_for(lock, std::chrono::milliseconds(timeoutMs), ready)) {
    return std::nullopt;
  }
  Message message = m_state->messages.front();
  m_state->messages.pop_front();
  return message;
}

int PostMessageTo(HWND window, UINT message, std::uintptr_t wParam, std::intptr_t lParam) {
  std::shared_ptr<detail::MessageQueueState> state;
  {
    QueueTable& table = Table();
    std::lock_guard<std::mutex> lock(table.mutex);
    auto it = table.queues.find(reinterpret_cast<std::uintptr_t>(window));
    if (it == table.queues.end()) return 0;
    state = it->second;
  }
  return PostTo(*state, window, message, wParam, lParam);
}

}  // namespace n4
