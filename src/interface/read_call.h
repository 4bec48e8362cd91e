// What every public member that reads an atlas opens for the length of its
// call, whichever interface it belongs to.
#ifndef TARVPLACES_INTERFACE_READ_CALL_H_
#define TARVPLACES_INTERFACE_READ_CALL_H_

#include "atlas/atlas_fault.h"
#include "atlas/atlas_state.h"
#include "platform/file_status.h"

namespace tarv {

// Makes `atlas` the thread's atlas, looks at each of its files once (the
// change counter of its USER folder says how long what was seen holds),
// and starts the call's record of files it could not read. An unusable
// change counter is told to the host once.
class ReadCall {
 public:
  explicit ReadCall(AtlasState& atlas);
  ReadCall(const ReadCall&) = delete;
  ReadCall& operator=(const ReadCall&) = delete;

 private:
  AtlasScope atlas_;
  StatScope look_;
  FaultScope fault_;
};

// The classic members' way of telling a file they could not read: when the
// outermost call ends, the fault it noted is shown in a message box with
// the critical-stop icon, the LZ error text and the reader's title
// ("Read_Cp_Orte"). The other interfaces throw or return it instead.
class FaultBox {
 public:
  FaultBox() = default;
  ~FaultBox();
  FaultBox(const FaultBox&) = delete;
  FaultBox& operator=(const FaultBox&) = delete;

 private:
  FaultScope fault_;
};

// A classic member's read of the default atlas (or of the thread's atlas).
class ClassicCall {
 public:
  ClassicCall() : read_(CurrentAtlas()) {}

 private:
  FaultBox box_;  // first: its scope is the outermost, and it tells last
  ReadCall read_;
};

}  // namespace tarv

#endif  // TARVPLACES_INTERFACE_READ_CALL_H_
