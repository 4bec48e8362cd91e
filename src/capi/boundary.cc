#include "capi/boundary.h"

#include <cstdint>
#include <cstring>
#include <new>
#include <stdexcept>

#include "tarvplaces/atlas.h"
#include "tarvplaces/atlas_error.h"

namespace tarv::capi {
namespace {

// This thread's last message. Trivially destructible on purpose: mingw-w64
// runs the destructors of its emulated thread_local variables on memory it
// has freed already. A longer message is cut with "...".
constexpr std::size_t kMessageSize = 4096;
thread_local char t_last_error[kMessageSize] = "";
// Set while this thread is inside a call: a callback that calls back in would
// change what the call that raised it is working on.
thread_local bool t_in_call = false;

tarv_status Record(tarv_status status, const char* message) noexcept {
  const std::size_t length = std::strlen(message);
  if (length < kMessageSize) {
    std::memcpy(t_last_error, message, length + 1);
  } else {
    std::memcpy(t_last_error, message, kMessageSize - 4);
    std::memcpy(t_last_error + kMessageSize - 4, "...", 4);
  }
  return status;
}

tarv_status RecordAtlasError(tarv_status status, const AtlasError& e) noexcept {
  try {
    return Record(status, (HostPath(e.file()) + ": " + e.problem()).c_str());
  } catch (...) {
    return Record(status, e.what());
  }
}

class InCall {
 public:
  InCall() { t_in_call = true; }
  ~InCall() { t_in_call = false; }
  InCall(const InCall&) = delete;
  InCall& operator=(const InCall&) = delete;
};

}  // namespace

void Fail(tarv_status status, std::string message) {
  throw Failure{status, std::move(message)};
}

const char* LastError() {
  return t_last_error;
}

tarv_status Run(tarv_status (*body)(void*), void* context) noexcept {
  t_last_error[0] = '\0';
  if (t_in_call) {
    return Record(TARV_E_BUSY, "a callback of the library called the library again");
  }
  try {
    const InCall in_call;
    const tarv_status status = body(context);
    // A callback refused inside this call left its message; success says nothing.
    if (status == TARV_OK) t_last_error[0] = '\0';
    return status;
  } catch (const Failure& failure) {
    return Record(failure.status, failure.message.c_str());
  } catch (const AtlasWriteError& e) {
    return RecordAtlasError(TARV_E_WRITE, e);
  } catch (const AtlasError& e) {
    return RecordAtlasError(TARV_E_ATLAS, e);
  } catch (const std::invalid_argument& e) {
    return Record(TARV_E_ARGUMENT, e.what());
  } catch (const std::bad_alloc&) {
    return Record(TARV_E_MEMORY, "out of memory");
  } catch (const std::exception& e) {
    return Record(TARV_E_INTERNAL, e.what());
  } catch (...) {
    return Record(TARV_E_INTERNAL, "an unknown failure inside the library");
  }
}

void Require(const void* pointer, const char* what) {
  if (pointer == nullptr) Fail(TARV_E_ARGUMENT, std::string(what) + " is NULL");
}

bool IsUtf8(std::string_view text, std::size_t* bad) {
  std::size_t i = 0;
  while (i < text.size()) {
    const auto lead = static_cast<unsigned char>(text[i]);
    std::size_t length = 0;
    std::uint32_t lowest = 0;  // below it the form is overlong
    std::uint32_t value = 0;
    if (lead < 0x80) {
      ++i;
      continue;
    } else if (lead >= 0xC2 && lead <= 0xDF) {
      length = 2, lowest = 0x80, value = lead & 0x1FU;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
      length = 3, lowest = 0x800, value = lead & 0x0FU;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
      length = 4, lowest = 0x10000, value = lead & 0x07U;
    }
    bool ok = length != 0 && i + length <= text.size();
    for (std::size_t k = 1; ok && k < length; ++k) {
      const auto next = static_cast<unsigned char>(text[i + k]);
      ok = (next & 0xC0U) == 0x80U;
      value = (value << 6) | (next & 0x3FU);
    }
    ok = ok && value >= lowest && value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
    if (!ok) {
      if (bad != nullptr) *bad = i;
      return false;
    }
    i += length;
  }
  return true;
}

std::string Utf8Argument(const char* text, const char* what) {
  Require(text, what);
  std::string value(text);
  std::size_t bad = 0;
  if (!IsUtf8(value, &bad)) {
    Fail(TARV_E_UTF8, std::string(what) + " is not UTF-8: byte " + std::to_string(bad + 1) +
                          " of " + std::to_string(value.size()) + " starts no valid character");
  }
  return value;
}

}  // namespace tarv::capi
