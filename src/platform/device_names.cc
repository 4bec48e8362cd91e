#include "platform/device_names.h"

#include <string>

namespace tarv {

bool IsReservedDeviceName(std::string_view path) {
  std::size_t start = 0;
  while (start <= path.size()) {
    std::size_t end = path.find_first_of("\\/", start);
    if (end == std::string_view::npos) end = path.size();
    std::string_view name = path.substr(start, end - start);
    // "NUL.dao" and "nul .txt" name the device as well.
    name = name.substr(0, name.find('.'));
    while (!name.empty() && name.back() == ' ')
      name.remove_suffix(1);
    std::string upper(name);
    for (char& c : upper) {
      if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    if (upper == "CON" || upper == "PRN" || upper == "AUX" || upper == "NUL" || upper == "CONIN$" ||
        upper == "CONOUT$") {
      return true;
    }
    if (upper.size() == 4 && (upper.starts_with("COM") || upper.starts_with("LPT")) &&
        upper[3] >= '0' && upper[3] <= '9') {
      return true;
    }
    // COM and LPT with a superscript digit (Windows-1252 ones, in UTF-8).
    if (upper.size() == 5 && (upper.starts_with("COM") || upper.starts_with("LPT")) &&
        upper[3] == '\xC2' && (upper[4] == '\xB9' || upper[4] == '\xB2' || upper[4] == '\xB3')) {
      return true;
    }
    start = end + 1;
  }
  return false;
}

bool NamesADevice(std::string_view path) {
#ifdef _WIN32
  return IsReservedDeviceName(path);
#else
  static_cast<void>(path);  // devices live in their own folder here
  return false;
#endif
}

}  // namespace tarv
