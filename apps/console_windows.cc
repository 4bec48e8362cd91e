#include <windows.h>
// windows.h first: shellapi.h needs its types.
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <cstdio>
#include <filesystem>

#include "console.h"

namespace tarv {

std::vector<std::string> Utf8Arguments(int argc, char** argv) {
  int count = 0;
  wchar_t** wide = ::CommandLineToArgvW(::GetCommandLineW(), &count);
  if (wide == nullptr) return std::vector<std::string>(argv, argv + argc);
  std::vector<std::string> arguments;
  for (int i = 0; i < count; ++i) {
    const std::u8string utf8 = std::filesystem::path(wide[i]).u8string();
    arguments.emplace_back(utf8.begin(), utf8.end());
  }
  ::LocalFree(wide);
  return arguments;
}

void PrepareStandardStreams() {
  std::fflush(stdout);
  std::fflush(stderr);
  ::_setmode(::_fileno(stdout), _O_BINARY);
  ::_setmode(::_fileno(stderr), _O_BINARY);
  ::SetConsoleOutputCP(CP_UTF8);
}

bool StderrIsTerminal() {
  return ::_isatty(::_fileno(stderr)) != 0;
}

}  // namespace tarv
