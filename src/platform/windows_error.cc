#include "platform/windows_error.h"

#include <windows.h>

#include "platform/utf8_path.h"

namespace tarv {

std::string WindowsErrorText(unsigned long code) {
  wchar_t* buffer = nullptr;
  const DWORD length = ::FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
      nullptr, code, MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US),
      reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
  std::wstring text;
  if (length != 0 && buffer != nullptr) text.assign(buffer, length);
  if (buffer != nullptr) ::LocalFree(buffer);
  while (!text.empty() && (text.back() == L'\n' || text.back() == L'\r' || text.back() == L'.' ||
                           text.back() == L' ')) {
    text.pop_back();
  }
  std::string utf8 = text.empty() ? std::string("system error") : Utf8OfPath(text);
  return utf8 + " (error " + std::to_string(code) + ")";
}

}  // namespace tarv
