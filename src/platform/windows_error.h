// The text of a Windows error code, for messages (Windows only).
#ifndef TARVPLACES_PLATFORM_WINDOWS_ERROR_H_
#define TARVPLACES_PLATFORM_WINDOWS_ERROR_H_

#include <string>

namespace tarv {

// The system's English text of `code` (a GetLastError value) in UTF-8,
// without the final period and line break, followed by the code:
// "The process cannot access the file because it is being used by another
// process (error 32)".
std::string WindowsErrorText(unsigned long code);

}  // namespace tarv

#endif  // TARVPLACES_PLATFORM_WINDOWS_ERROR_H_
