// Names Windows opens as devices, never as files.
#ifndef TARVPLACES_PLATFORM_DEVICE_NAMES_H_
#define TARVPLACES_PLATFORM_DEVICE_NAMES_H_

#include <string_view>

namespace tarv {

// True when a component of `path` names one of Windows' devices (CON, PRN,
// AUX, NUL, COM1-COM9, LPT1-LPT9, CONIN$, CONOUT$), with or without an
// extension: on Windows such a path opens the device, whatever the folder.
// The Windows port never opens such a path as a file.
bool IsReservedDeviceName(std::string_view path);

// True when this system would open a device for `path` rather than a file:
// on Windows for its reserved device names, elsewhere never (devices live in
// their own folder there). Such a path is never a file of the atlas.
bool NamesADevice(std::string_view path);

}  // namespace tarv

#endif  // TARVPLACES_PLATFORM_DEVICE_NAMES_H_
