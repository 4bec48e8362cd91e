#include "interface/read_call.h"

#include <string>

#include "platform/message_box.h"
#include "tarvplaces/atlas_error.h"

namespace tarv {

ReadCall::ReadCall(AtlasState& atlas) : ReadCall(atlas, atlas.UserWatch()) {}

ReadCall::ReadCall(AtlasState& atlas, WatchedFolder& watch) : atlas_(atlas), look_(watch) {
  if (const std::string trouble = watch.TakeTrouble(); !trouble.empty()) {
    MsgBox(trouble, kMsgExclamation);
  }
}

void ThrowIfMalformed(const FaultScope& scope) {
  if (!scope.Outermost()) return;
  if (const auto fault = LastMalformedFile()) throw AtlasError(fault->file, fault->problem);
}

FaultBox::~FaultBox() {
  if (!fault_.Outermost()) return;
  const AtlasFault fault = LastAtlasFault();
  if (!fault) return;
  const std::string reader = LastAtlasFaultReader();
  try {
    MsgBox(fault.Reason, kMsgCritical, reader.empty() ? kDefaultMessageTitle : reader);
  } catch (...) {  // NOLINT(bugprone-empty-catch): a sink that throws must not end the process
  }
}

}  // namespace tarv
