// A name index from arbitrary bytes, and the same bytes as host text: a
// damaged index is a fault naming it or a working index, never a crash; host text
// of any bytes transliterates into the code page without inventing
// wildcards, and is looked up under a key its name is filed under.
#include <cstdint>
#include <string>
#include <string_view>

#include "atlas/name_index.h"
#include "atlas/name_key.h"
#include "fuzz_support.h"
#include "text/codepage.h"

namespace {

void CheckIndex(std::string_view input) {
  using namespace tarv;
  const auto read = NameIndex::Read(input, "X.NDX");
  if (!read) {
    FUZZ_CHECK(read.fault().file == "X.NDX");
    return;
  }
  const NameIndex& index = **read;
  const auto entries = index.Entries();
  FUZZ_CHECK(entries.size() == index.size());
  for (std::size_t i = 0; i < entries.size() && i < 16; ++i) {
    const auto& e = entries[i];
    FUZZ_CHECK(e.record >= 1 && e.record <= index.RecordCount());
    const auto found = index.Find(e.key, false);
    bool listed = false;
    for (const auto& f : found)
      listed = listed || f.record == e.record;
    FUZZ_CHECK(listed);
    FUZZ_CHECK(index.Find(e.key.substr(0, 1), true).size() >= found.size());
  }
  // What the writer makes of the entries reads back to the same answers.
  const auto again = NameIndex::Read(EncodeNameIndex(entries, index.RecordCount()), "Y.NDX");
  FUZZ_CHECK(again.ok());
  if (!entries.empty()) {
    FUZZ_CHECK((*again)->Find(entries[0].key, false).size() ==
               index.Find(entries[0].key, false).size());
  }
}

void CheckText(std::string_view input) {
  using namespace tarv;
  const std::string ansi = AnsiFromUtf8(input);
  FUZZ_CHECK(IsTransliterable(input) == (ansi.find(kUnmappable) == std::string::npos));
  // Wildcards come only from the text itself.
  for (const char wildcard : {'*', '?', '['}) {
    if (input.find(wildcard) == std::string_view::npos)
      FUZZ_CHECK(ansi.find(wildcard) == std::string::npos);
  }
  for (const auto& key : NameKeysOf(ansi)) {
    FUZZ_CHECK(!key.empty());
    FUZZ_CHECK(NameKeysMatch(ansi, key, false) && NameKeysMatch(ansi, key.substr(0, 1), true));
  }
  // What a host types is looked up under a key the builder files the same
  // name under; a character that is part of no name makes no key.
  const std::string typed = TypedNameKey(input);
  if (!typed.empty()) {
    bool filed = false;
    for (const auto& key : NameKeysOfText(input))
      filed = filed || key == typed;
    FUZZ_CHECK(filed);
  }
  if (FirstNonNameCharacter(input).position != 0) FUZZ_CHECK(typed.empty());
  FUZZ_CHECK(Utf8Prefix(input, 3).size() <= input.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  CheckIndex(input);
  if (size <= 256) CheckText(input);  // ICU's cost grows with the text, not its findings
  return 0;
}
