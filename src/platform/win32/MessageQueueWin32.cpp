// n4::MessageQueue on Windows: a message-only window. Posts are the system's
// PostMessage; Wait takes this window's posted messages off its thread's
// queue without dispatching them, sleeping in the system until one arrives.
#include <windows.h>

#include <chrono>
#include <mutex>

#include "n4file/DirWatch.h"

namespace n4 {

namespace detail {

struct MessageQueueState {
  HWND window = nullptr;
};

}  // namespace detail

namespace {

constexpr char kClassName[] = "N4FileMessageQueue";

HINSTANCE ThisModule() {
  HMODULE module = nullptr;
  ::GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCSTR>(&ThisModule), &module);
  return module;
}

// Registered once per process, for the module holding this code (the
// library's DLL, or the program it is linked into).
void RegisterWindowClass() {
  static std::once_flag once;
  std::call_once(once, [] {
    WNDCLASSEXA windowClass{};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = ::DefWindowProcA;
    windowClass.hInstance = ThisModule();
    windowClass.lpszClassName = kClassName;
    ::RegisterClassExA(&windowClass);  // a failure shows as a null window below
  });
}

}  // namespace

MessageQueue::MessageQueue() : m_state(std::make_shared<detail::MessageQueueState>()) {
  RegisterWindowClass();
  m_state->window =
      ::CreateWindowExA(0, kClassName, "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, ThisModule(), nullptr);
}

MessageQueue::~MessageQueue() {
  if (m_state->window) ::DestroyWindow(m_state->window);
}

HWND MessageQueue::GetHandle() const { return m_state->window; }

int MessageQueue::Post(UINT message, std::uintptr_t wParam, std::intptr_t lParam) {
  return PostMessageTo(m_state->window, message, wParam, lParam);
}

std::optional<Message> MessageQueue::Wait(DWORD timeoutMs) {
  if (!m_state->window) return std::nullopt;
  const auto start = std::chrono::steady_clock::now();
  for (;;) {
    MSG msg{};
    if (::PeekMessageA(&msg, m_state->window, 0, 0, PM_REMOVE)) {
      return Message{msg.hwnd, msg.message, static_cast<std::uintptr_t>(msg.wParam),
                     static_cast<std::intptr_t>(msg.lParam)};
    }
    DWORD remaining = INFINITE;
    if (timeoutMs != INFINITE) {
      const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(
          std::chrono::steady_clock::now() - start).count();
      if (elapsed >= timeoutMs) return std::nullopt;
      remaining = static_cast<DWORD>(timeoutMs - elapsed);
    }
    // MWMO_INPUTAVAILABLE: wake for messages already queued but not yet
    // looked at as well, not only for ones that arrive from now on. Posts
    // meant for the thread's other windows are theirs to pump; left waiting,
    // they make this loop poll until the time-out.
    ::MsgWaitForMultipleObjectsEx(0, nullptr, remaining, QS_POSTMESSAGE | QS_ALLPOSTMESSAGE, MWMO_INPUTAVAILABLE);
  }
}

// A null window would post to the calling thread itself; it is refused as
// an unknown window.
int PostMessageTo(HWND window, UINT message, std::uintptr_t wParam, std::intptr_t lParam) {
  if (window == nullptr) return 0;
  return ::PostMessageA(window, message, static_cast<WPARAM>(wParam), static_cast<LPARAM>(lParam)) ? 1 : 0;
}

}  // namespace n4
