#include "platform/message_box.h"

#include <gtest/gtest.h>

namespace tarv {
namespace {

TEST(MessageBox, HostSinkReceivesTitleTextAndStyleAndAnswers) {
  Message seen;
  const auto previous = SetMessageSink([&seen](const Message& m) {
    seen = m;
    return MsgAnswer::kNo;
  });
  EXPECT_EQ(MsgBox("Ort löschen?", kMsgYesNoCancel + kMsgQuestion, "Orte"), MsgAnswer::kNo);
  EXPECT_EQ(seen.title, "Orte");
  EXPECT_EQ(seen.text, "Ort löschen?");
  EXPECT_EQ(seen.style, kMsgYesNoCancel + kMsgQuestion);
  SetMessageSink(nullptr);
}

TEST(MessageBox, DefaultSinkPrintsAndConfirmsTheFirstButton) {
  SetMessageSink(nullptr);
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(MsgBox("g_PlacesPath ist nicht gefüllt", kMsgInformation), MsgAnswer::kOk);
  EXPECT_EQ(MsgBox("?", kMsgYesNo), MsgAnswer::kYes);
  EXPECT_EQ(MsgBox("?", kMsgRetryCancel + kMsgCritical), MsgAnswer::kRetry);
  const std::string err = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(err.find("TarvPlaces: g_PlacesPath ist nicht gefüllt"), std::string::npos);
}

}  // namespace
}  // namespace tarv
