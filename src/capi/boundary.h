// The edge between the C interface and the component: every C function runs
// its body through Call, which turns every exception into a status and a
// message, and checks the strings it is given.
#ifndef TARVPLACES_CAPI_BOUNDARY_H_
#define TARVPLACES_CAPI_BOUNDARY_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>

#include "tarvplaces/tarvplaces.h"

namespace tarv::capi {

// Ends the body of a call with `status` and `message`.
struct Failure {
  tarv_status status;
  std::string message;
};
[[noreturn]] void Fail(tarv_status status, std::string message);

// The message of the last failed call of this thread ("" after success).
const char* LastError();

// Runs `body` with the thread's error cleared: returns its status, or the
// status of the exception it ended with (an AtlasError is TARV_E_ATLAS,
// std::invalid_argument TARV_E_ARGUMENT, std::bad_alloc TARV_E_MEMORY, ...).
// A call from inside a callback of the library is refused with TARV_E_BUSY.
tarv_status Run(tarv_status (*body)(void*), void* context) noexcept;

template <class Body>
tarv_status Call(Body&& body) noexcept {
  using Function = std::remove_reference_t<Body>;
  return Run([](void* context) { return (*static_cast<Function*>(context))(); }, &body);
}

// Fails with TARV_E_ARGUMENT when `pointer` is NULL.
void Require(const void* pointer, const char* what);

// `text` as a string after checking that it is there and is UTF-8
// (TARV_E_ARGUMENT, TARV_E_UTF8 naming `what` and the byte).
std::string Utf8Argument(const char* text, const char* what);

// True when `text` is well-formed UTF-8 (no overlong forms, surrogates or
// code points past U+10FFFF); else `*bad` (may be null) receives the offset
// of the first byte that is not.
bool IsUtf8(std::string_view text, std::size_t* bad = nullptr);

}  // namespace tarv::capi

#endif  // TARVPLACES_CAPI_BOUNDARY_H_
