#include <windows.h>
// windows.h first: shellapi.h needs its types.
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <cstdio>

#include "platform/console.h"
#include "platform/paths.h"

namespace tarv {

std::vector<std::string> Utf8Arguments(int argc, char** argv) {
  int count = 0;
  wchar_t** wide = ::CommandLineToArgvW(::GetCommandLineW(), &count);
  if (wide == nullptr) return std::vector<std::string>(argv, argv + argc);
  std::vector<std::string> arguments;
  for (int i = 0; i < count; ++i)
    arguments.push_back(Utf8OfPath(std::filesystem::path(wide[i])));
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
