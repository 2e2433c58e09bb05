// The replaceable message sink behind n4::ShowMessage.
#include "n4file/Message.h"

#include <cstdio>
#include <mutex>
#include <utility>

namespace n4 {
namespace {

void WriteToStandardError(const std::string& text, UINT /*style*/) {
  std::fprintf(stderr, "%s\n", text.c_str());
  std::fflush(stderr);
}

std::mutex& SinkMutex() {
  static std::mutex mutex;
  return mutex;
}

MessageSink& CurrentSink() {
  static MessageSink sink = WriteToStandardError;
  return sink;
}

}  // namespace

MessageSink SetMessageSink(MessageSink sink) {
  std::lock_guard<std::mutex> lock(SinkMutex());
  MessageSink previous = std::move(CurrentSink());
  CurrentSink() = sink ? std::move(sink) : MessageSink(WriteToStandardError);
  return previous;
}

void ShowMessage(const std::string& text, UINT style) {
  MessageSink sink;
  {
    // A copy, so a sink may itself install another sink or show a message.
    std::lock_guard<std::mutex> lock(SinkMutex());
    sink = CurrentSink();
  }
  sink(text, style);
}

}  // namespace n4
