// The command line and standard streams of the tool, per system.
#ifndef TARVPLACES_APPS_CONSOLE_H_
#define TARVPLACES_APPS_CONSOLE_H_

#include <string>
#include <vector>

namespace tarv {

// The program's arguments in UTF-8. On Windows the narrow argv is in the
// ANSI code page (with "best fit" stand-ins for what it lacks, "Łódź" as
// "Lodz"), so the arguments are taken from the wide command line instead.
std::vector<std::string> Utf8Arguments(int argc, char** argv);

// Makes the standard streams carry the tool's bytes as they are: on Windows
// no "\r" before each "\n", and a console that shows UTF-8.
void PrepareStandardStreams();

// True when standard error is a terminal (progress is shown there only).
bool StderrIsTerminal();

}  // namespace tarv

#endif  // TARVPLACES_APPS_CONSOLE_H_
