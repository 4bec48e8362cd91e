#include "atlas/atlas_fault.h"

#include "platform/file_status.h"
#include "platform/paths.h"
#include "platform/whole_file.h"
#include "text/codepage.h"
#include "text/lz.h"

namespace tarv {
namespace {

// Each thread's calls have their own record: a fault of one atlas's call is
// never another call's.
struct FaultRecord {
  AtlasFault fault;
  std::string reader;
  std::optional<FileFault> malformed;
  std::uint64_t notes = 0;
  int scope_depth = 0;
};

FaultRecord& Record() {
  thread_local FaultRecord record;
  return record;
}

}  // namespace

std::optional<ReadResult<std::string>> ReadPlainAtlasFile(const std::string& windows_path) {
  std::string bytes;
  const WholeFile result = ReadWholeFile(Utf8OfPath(NativePath(windows_path)), bytes);
  if (result == WholeFile::kMissing) return std::nullopt;
  if (result != WholeFile::kRead) {
    return ReadResult<std::string>(FileFault{windows_path, WholeFileProblem(result)});
  }
  return ReadResult<std::string>(std::move(bytes));
}

bool NotedAsNoFile(const std::string& file) {
  const FileStatus status = StatFile(NativePath(file));
  if (!status.exists || status.regular) return false;
  NoteMalformedFile({file, "is not a regular file"});
  return true;
}

void NoteUnreadableFile(const std::string& file, std::int32_t code) {
  if (code == LZERROR_BADINHANDLE && NotedAsNoFile(file)) return;
  NoteMalformedFile({file, Utf8FromAnsi(LZERROR_Msg(code, AnsiFromUtf8(file)))});
}

void NoteAtlasFault(const std::string& file, std::int32_t code, std::string_view reader) {
  FaultRecord& record = Record();
  if (code >= 0) return;
  ++record.notes;
  if (record.fault) return;
  if (code == LZERROR_BADINHANDLE && NotedAsNoFile(file)) return;
  // A reader that found the file malformed gives its own error on; the
  // file's fault is told once, as what is wrong with it.
  if (record.malformed && record.malformed->file == file) return;
  record.fault = AtlasFault{file, code, Utf8FromAnsi(LZERROR_Msg(code, AnsiFromUtf8(file)))};
  record.reader = reader;
}

void NoteMalformedFile(FileFault fault) {
  FaultRecord& record = Record();
  ++record.notes;
  if (!record.malformed) record.malformed = std::move(fault);
}

std::uint64_t FaultNotes() {
  return Record().notes;
}

std::optional<FileFault> LastMalformedFile() {
  return Record().malformed;
}

AtlasFault LastAtlasFault() {
  return Record().fault;
}

std::string LastAtlasFaultReader() {
  return Record().reader;
}

void ClearAtlasFault() {
  FaultRecord& record = Record();
  record.fault = AtlasFault{};
  record.reader.clear();
  record.malformed.reset();
}

FaultScope::FaultScope() : outermost_(Record().scope_depth++ == 0) {
  if (outermost_) ClearAtlasFault();
}

FaultScope::~FaultScope() {
  --Record().scope_depth;
}

}  // namespace tarv
