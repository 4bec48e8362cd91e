// Handles of the C interface: each binds its own tarv::Atlas, so handles on
// any folders may be open at once and calls run in parallel.
#ifndef TARVPLACES_CAPI_HANDLES_H_
#define TARVPLACES_CAPI_HANDLES_H_

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "capi/boundary.h"
#include "tarvplaces/atlas.h"
#include "tarvplaces/tarvplaces.h"

// The address a host holds; what it stands for is a Handle, which lives on
// while calls on it run even when another thread closes it.
struct tarv_atlas {
  char unused = 0;
};

namespace tarv::capi {

// What a handle holds: its atlas (opened on its folder, or on the folder its
// place path callback gives when it needs one), its language and callback.
class Handle {
 public:
  // `user_folder` ("" for the atlas's own USER) holds the user's places of
  // `folder`, and of `folder` only.
  Handle(const std::string& folder, const std::string& user_folder);

  // The atlas of a call; asks the callback for a folder while there is none.
  // TARV_E_ATLAS when no folder can be had.
  std::shared_ptr<Atlas> AtlasOfCall();

  // The same for the country list, which also asks a callback whether to
  // change to another folder.
  std::shared_ptr<Atlas> AtlasOfCountryList();

  // The folder, "" while none is known and the callback gives none.
  std::string Folder();

  std::int32_t Language();
  // Later calls answer in `language` (an atlas opened anew in it).
  void SetLanguage(std::int32_t language);

  void SetPlacePathCallback(tarv_place_path_fn fn, void* user_data);

 private:
  // Asks the callback with `lock` held; opens the atlas on the folder it
  // gives when that differs from the current one.
  void AskCallback();
  // An atlas on `folder`, with the user folder the handle was opened with
  // when it is the handle's own folder.
  std::shared_ptr<Atlas> Open(const std::string& folder, std::int32_t language) const;

  std::mutex mutex_;  // guards what follows
  std::shared_ptr<Atlas> atlas_;
  std::string folder_, user_folder_;  // as opened
  std::int32_t language_ = kLanguageGerman;
  tarv_place_path_fn place_path_fn_ = nullptr;
  void* place_path_user_ = nullptr;
};

// A new handle on `folder` ("" for one that asks its callback), its tables
// loaded. TARV_E_ATLAS when the folder holds no atlas.
tarv_atlas* OpenHandle(const std::string& folder, const std::string& user_folder);

// Frees an open handle; TARV_E_HANDLE for any other pointer. Calls running
// on it finish on their own copy.
void CloseHandle(tarv_atlas* atlas);

// The Handle behind an open handle: TARV_E_ARGUMENT for null, TARV_E_HANDLE
// for a pointer that is no open handle (closed, or never opened).
std::shared_ptr<Handle> HandleOf(const tarv_atlas* atlas);

// Runs `body(handle)` through Call once the handle is known to be open.
template <class Body>
tarv_status CallOn(tarv_atlas* atlas, Body&& body) noexcept {
  return Call([&]() -> tarv_status {
    const std::shared_ptr<Handle> handle = HandleOf(atlas);
    return body(*handle);
  });
}

}  // namespace tarv::capi

#endif  // TARVPLACES_CAPI_HANDLES_H_
