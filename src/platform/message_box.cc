#include "platform/message_box.h"

#include <iostream>
#include <mutex>
#include <utility>

namespace tarv {
namespace {

MsgAnswer FirstButton(int style) {
  switch (style & 0x0F) {
    case kMsgAbortRetryIgnore:
      return MsgAnswer::kAbort;
    case kMsgYesNoCancel:
    case kMsgYesNo:
      return MsgAnswer::kYes;
    case kMsgRetryCancel:
      return MsgAnswer::kRetry;
    default:
      return MsgAnswer::kOk;
  }
}

MsgAnswer StderrSink(const Message& message) {
  std::cerr << message.title << ": " << message.text << '\n';
  return FirstButton(message.style);
}

struct SinkSlot {
  std::mutex mutex;
  MessageSink sink = StderrSink;
};

SinkSlot& Slot() {
  static SinkSlot slot;
  return slot;
}

}  // namespace

MessageSink SetMessageSink(MessageSink sink) {
  auto& slot = Slot();
  const std::lock_guard<std::mutex> lock(slot.mutex);
  MessageSink previous = std::move(slot.sink);
  slot.sink = sink ? std::move(sink) : MessageSink(StderrSink);
  return previous;
}

MsgAnswer MsgBox(const std::string& text, int style, const std::string& title) {
  MessageSink sink;
  {
    auto& slot = Slot();
    const std::lock_guard<std::mutex> lock(slot.mutex);
    sink = slot.sink;
  }
  return sink(Message{title, text, style});
}

}  // namespace tarv
