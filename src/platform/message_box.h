// The component's message box: forwards to the host's message sink.
#ifndef TARVPLACES_PLATFORM_MESSAGE_BOX_H_
#define TARVPLACES_PLATFORM_MESSAGE_BOX_H_

#include <string>

#include "tarvplaces/message_sink.h"

namespace tarv {

// The title a message gets when its caller names none.
inline constexpr const char* kDefaultMessageTitle = "TarvPlaces";

// Shows `text` (UTF-8) with the MsgStyle flags `style` under `title` through
// the installed sink and returns the answer.
MsgAnswer MsgBox(const std::string& text, int style = kMsgOkOnly,
                 const std::string& title = kDefaultMessageTitle);

}  // namespace tarv

#endif  // TARVPLACES_PLATFORM_MESSAGE_BOX_H_
