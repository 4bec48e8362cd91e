// The record of atlas files a call could not read (see AtlasFault): the
// readers note what they meet, the public members start each call afresh.
#ifndef TARVPLACES_ATLAS_ATLAS_FAULT_H_
#define TARVPLACES_ATLAS_ATLAS_FAULT_H_

#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "tarvplaces/atlas_error.h"

namespace tarv {

// A file that is present but breaks a rule of its format: an answer made
// from it would be a different atlas's. `file` is the path as opened
// (UTF-8), `problem` the rule broken ("line 7: 3 TAB-separated fields where
// 11 are needed").
struct FileFault {
  std::string file;
  std::string problem;
};

// What a reader gives back: what it read, or the fault that stopped it.
template <typename T>
class ReadResult {
 public:
  ReadResult(T value) : value_(std::move(value)) {}          // NOLINT: a result reads as its value
  ReadResult(FileFault fault) : fault_(std::move(fault)) {}  // NOLINT: or as its fault

  bool ok() const noexcept { return value_.has_value(); }
  explicit operator bool() const noexcept { return ok(); }
  // Only when ok().
  T& operator*() & { return *value_; }
  const T& operator*() const& { return *value_; }
  T&& operator*() && { return *std::move(value_); }
  T* operator->() { return &*value_; }
  const T* operator->() const { return &*value_; }
  // Only when !ok().
  const FileFault& fault() const { return *fault_; }

 private:
  std::optional<T> value_;
  std::optional<FileFault> fault_;
};

// How a decoder leaves from deep within when the bytes break a rule. Only
// Decode catches it: it never leaves the decoder's entry.
class FormatViolation : public std::exception {
 public:
  FormatViolation(std::string file, std::string problem)
      : fault_{std::move(file), std::move(problem)} {}
  const char* what() const noexcept override { return fault_.problem.c_str(); }
  const FileFault& fault() const noexcept { return fault_; }

 private:
  FileFault fault_;
};

// Runs a decoder that throws FormatViolation on a broken rule and gives its
// result or the fault.
template <typename Decoder>
auto Decode(Decoder&& decode) -> ReadResult<std::invoke_result_t<Decoder>> {
  try {
    return std::forward<Decoder>(decode)();
  } catch (const FormatViolation& violation) {
    return violation.fault();
  }
}

// The value, or AtlasError made from the fault: for the front ends that
// read files of their own (the atlas builder, the benchmarks).
template <typename T>
T ValueOrAtlasError(ReadResult<T> result) {
  if (!result) throw AtlasError(result.fault().file, result.fault().problem);
  return *std::move(result);
}

// The bytes of the plain atlas file at `windows_path`, nullopt where there is
// nothing at all; something that is there but cannot be read as a file (a
// FIFO, a folder, no permission) is a fault naming it.
std::optional<ReadResult<std::string>> ReadPlainAtlasFile(const std::string& windows_path);

// Notes that a file the call needed breaks its format's rules. Like the
// faults below, the first one of a call is kept, and readers only note it:
// each interface turns it into its own form (AtlasError, a C status).
void NoteMalformedFile(FileFault fault);

// How many faults (malformed files and read errors) this thread has noted so
// far, in any call: a memo compares it before and after a read to learn
// whether the read failed, and does not keep what a failed read gave.
std::uint64_t FaultNotes();

// The malformed file this thread noted since the outermost FaultScope
// opened, if any.
std::optional<FileFault> LastMalformedFile();

// Whether `file` is there but no regular file (a FIFO, a device, a folder),
// which is then noted as malformed: what it stands for would silently be
// missing.
bool NotedAsNoFile(const std::string& file);

// Notes `file` as malformed with what its LZ error `code` says, or as no
// regular file where that is why it could not be read.
void NoteUnreadableFile(const std::string& file, std::int32_t code);

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
