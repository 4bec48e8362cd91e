// Handles of the C interface: the open atlases of the process, all on the
// one atlas folder the component's process state can hold.
#ifndef TARVPLACES_CAPI_HANDLES_H_
#define TARVPLACES_CAPI_HANDLES_H_

#include <string>

#include "capi/boundary.h"
#include "tarvplaces/places.h"
#include "tarvplaces/tarvplaces.h"

// What a handle holds: its own classPlaces (for its events) and what the C
// host gave it. The atlas data itself is the process's.
struct tarv_atlas {
  tarv::classPlaces places;
  tarv_place_path_fn place_path_fn = nullptr;
  void* place_path_user = nullptr;
};

namespace tarv::capi {

// A new handle on `folder` ("" to share the open handles' folder or ask the
// callback), its tables loaded. Fails with TARV_E_ATLAS_IN_USE while handles
// on another folder are open, TARV_E_ATLAS when the folder holds no atlas.
tarv_atlas* OpenHandle(const std::string& folder);

// Frees an open handle; TARV_E_HANDLE for any other pointer.
void CloseHandle(tarv_atlas* atlas);

// Installs (or with null removes) the handle's place path callback. A
// folder it gives that the open handles do not share ends the call that
// raised it with TARV_E_ATLAS_IN_USE, before anything is handed out.
void SetPlacePathCallback(tarv_atlas& atlas, tarv_place_path_fn fn, void* user_data);

// TARV_E_ARGUMENT for null, TARV_E_HANDLE for a pointer that is no open
// handle (closed, or never opened).
void CheckOpen(const tarv_atlas* atlas);

// Runs `body(atlas)` through Call once the handle is known to be open.
template <class Body>
tarv_status CallOn(tarv_atlas* atlas, Body&& body) noexcept {
  return Call([&]() -> tarv_status {
    CheckOpen(atlas);
    return body(*atlas);
  });
}

}  // namespace tarv::capi

#endif  // TARVPLACES_CAPI_HANDLES_H_
