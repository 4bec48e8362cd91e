// The record of atlas files a call could not read (see AtlasFault): the
// readers note what they meet, the public members start each call afresh.
#ifndef TARVPLACES_ATLAS_ATLAS_FAULT_H_
#define TARVPLACES_ATLAS_ATLAS_FAULT_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "tarvplaces/atlas_error.h"

namespace tarv {

// Notes that `file` (UTF-8) could not be read, with its negative LZ error
// code; `reader` is the title the classic members' message box gives it
// ("Read_Cp_Orte"). The first fault of a call is kept: later ones mostly
// follow from it. Readers only note faults; the interfaces tell them.
void NoteAtlasFault(const std::string& file, std::int32_t code, std::string_view reader = {});

// The fault this thread noted since the outermost FaultScope opened (or
// since the last ClearAtlasFault); Code 0 when none.
AtlasFault LastAtlasFault();

// The reader that noted it, "" when none.
std::string LastAtlasFaultReader();

void ClearAtlasFault();

// Opened by the public members that read atlas files: the outermost scope of
// a thread forgets the previous call's fault when it opens, so that the
// fault afterwards is this call's. Scopes nest.
class FaultScope {
 public:
  FaultScope();
  ~FaultScope();
  FaultScope(const FaultScope&) = delete;
  FaultScope& operator=(const FaultScope&) = delete;

  // Whether it is the thread's outermost scope, the one that ends the call.
  bool Outermost() const noexcept { return outermost_; }

 private:
  bool outermost_;
};

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_ATLAS_FAULT_H_
