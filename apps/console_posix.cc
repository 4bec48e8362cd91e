#include <unistd.h>

#include "console.h"

namespace tarv {

std::vector<std::string> Utf8Arguments(int argc, char** argv) {
  return std::vector<std::string>(argv, argv + argc);
}

void PrepareStandardStreams() {}

bool StderrIsTerminal() {
  return ::isatty(2) != 0;
}

}  // namespace tarv
