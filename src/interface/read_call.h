// What every public member that reads an atlas opens for the length of its
// call, whichever interface it belongs to.
#ifndef TARVPLACES_INTERFACE_READ_CALL_H_
#define TARVPLACES_INTERFACE_READ_CALL_H_

#include <type_traits>

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
  ReadCall(AtlasState& atlas, WatchedFolder& watch);

  AtlasScope atlas_;
  StatScope look_;
  FaultScope fault_;
};

// Throws AtlasError for the malformed file the call noted, when `scope` is
// the outermost one: an answer made without the file would be another
// atlas's.
void ThrowIfMalformed(const FaultScope& scope);

// A classic member that reads only the tables: a malformed file is thrown
// when the member ends (Check).
class TableCall {
 public:
  TableCall() = default;
  TableCall(const TableCall&) = delete;
  TableCall& operator=(const TableCall&) = delete;
  void Check() const { ThrowIfMalformed(fault_); }

 private:
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
  void Check() const { ThrowIfMalformed(fault_); }

 private:
  FaultScope fault_;
};

// A classic member's read of the default atlas (or of the thread's atlas).
class ClassicCall {
 public:
  ClassicCall() : read_(CurrentAtlas()) {}
  void Check() const { box_.Check(); }

 private:
  FaultBox box_;  // first: its scope is the outermost, and it tells last
  ReadCall read_;
};

// Runs a classic member's body within a `Call` and checks it at the end:
// the member answers, or throws AtlasError for a malformed file it met.
template <typename Call = TableCall, typename Body>
auto Classic(Body&& body) -> decltype(body()) {
  const Call call;
  if constexpr (std::is_void_v<decltype(body())>) {
    body();
    call.Check();
  } else {
    auto answer = body();
    call.Check();
    return answer;
  }
}

}  // namespace tarv

#endif  // TARVPLACES_INTERFACE_READ_CALL_H_
