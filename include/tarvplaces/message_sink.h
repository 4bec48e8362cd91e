// Message boxes of the component, routed through a sink the host can replace.
#ifndef TARVPLACES_MESSAGE_SINK_H_
#define TARVPLACES_MESSAGE_SINK_H_

#include <functional>
#include <string>

namespace tarv {

// Button and icon flags of a message, combined by addition as in the classic
// message-box call: e.g. kMsgCritical (16) for the LZ read errors,
// kMsgYesNoCancel + kMsgQuestion for a question with three answers.
enum MsgStyle : int {
  kMsgOkOnly = 0,
  kMsgOkCancel = 1,
  kMsgAbortRetryIgnore = 2,
  kMsgYesNoCancel = 3,
  kMsgYesNo = 4,
  kMsgRetryCancel = 5,
  kMsgCritical = 16,
  kMsgQuestion = 32,
  kMsgExclamation = 48,
  kMsgInformation = 64,
};

// The button the user chose, with the classic numeric values.
enum class MsgAnswer : int {
  kOk = 1,
  kCancel = 2,
  kAbort = 3,
  kRetry = 4,
  kIgnore = 5,
  kYes = 6,
  kNo = 7
};

// One message as the component wants it shown. Texts are UTF-8.
struct Message {
  std::string title;  // "TarvPlaces" when the component gives no title of its own
  std::string text;
  int style = kMsgOkOnly;  // MsgStyle flags: buttons (low 4 bits) plus icon
};

// Shows a message and returns the user's answer. Called on the thread that
// called the component.
using MessageSink = std::function<MsgAnswer(const Message&)>;

// Replaces the process-wide sink; an empty function restores the default,
// which writes "title: text" to stderr and answers with the first button of
// the style (OK, Abort, Yes or Retry), as a dialog whose default button was
// confirmed would. Returns the sink that was installed before.
MessageSink SetMessageSink(MessageSink sink);

}  // namespace tarv

#endif  // TARVPLACES_MESSAGE_SINK_H_
