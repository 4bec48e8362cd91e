// libmspack's SZDD expansion, the reference the component's own decoder is
// held to by the tests and the fuzzer.
#ifndef TARVPLACES_TESTS_SUPPORT_MSPACK_REFERENCE_H_
#define TARVPLACES_TESTS_SUPPORT_MSPACK_REFERENCE_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tarv::testing {

// The first `limit` bytes libmspack expands the SZDD file `szdd` to; nullopt
// when it refuses the file (a header it cannot read).
std::optional<std::string> ExpandWithLibmspack(std::string_view szdd, std::size_t limit);

}  // namespace tarv::testing

#endif  // TARVPLACES_TESTS_SUPPORT_MSPACK_REFERENCE_H_
