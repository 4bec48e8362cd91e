// The place manager dialog as the place service sees it.
//
// The core library holds no user interface. classPlaces::ShowPlacemanager
// asks the factory installed here for a fresh dialog, hands it the current
// place through its properties, shows it and reads the place back. The Qt
// dialogs of the library tarvplaces_ui install their factory with
// tarv::ui::InstallDialogs(); a host with a toolkit of its own may install
// one of its own instead. Without a factory ShowPlacemanager shows a message
// that the place manager is not available and returns false.
#ifndef TARVPLACES_PLACEMANAGER_H_
#define TARVPLACES_PLACEMANAGER_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tarv {

// A native window handle (a WId in Qt, an HWND on Windows); 0 for none.
using OwnerWindow = std::uintptr_t;

// Show modalities of ShowPlacemanager, as hosts pass them.
inline constexpr std::int32_t kModeless = 0;
inline constexpr std::int32_t kModal = 1;

// One place manager dialog. Its properties are plain values: setting one has
// no other effect. Strings are UTF-8, coordinates decimal degrees (east and
// north positive).
class PlaceManagerDialog {
 public:
  virtual ~PlaceManagerDialog() = default;

  // True when the dialog was left by cancelling.
  virtual bool Canceled() const = 0;

  virtual std::string City() const = 0;
  virtual void City(const std::string& value) = 0;
  virtual std::string CountryShort() const = 0;
  virtual void CountryShort(const std::string& value) = 0;
  virtual float Longitude() const = 0;
  virtual void Longitude(float value) = 0;
  virtual float Latitude() const = 0;
  virtual void Latitude(float value) = 0;
  virtual std::int16_t Timetable() const = 0;
  virtual void Timetable(std::int16_t value) = 0;
  virtual std::int16_t Index() const = 0;
  virtual void Index(std::int16_t value) = 0;
  // True when the dialog opens to enter a new place.
  virtual bool NewMode() const = 0;
  virtual void NewMode(bool NewIsNew) = 0;

  // Makes the dialog an owned window of `owner` and keeps the handle.
  virtual void SetOwner(OwnerWindow owner) = 0;
  // Shows the dialog. With `modal` not kModeless it returns when the dialog
  // has closed; a modeless dialog stays open and the call returns at once.
  virtual void Show(std::int32_t modal) = 0;
  // Gives the input focus back to `owner` after the dialog has closed.
  virtual void FocusOwner(OwnerWindow owner) = 0;
};

// Creates a fresh dialog for one ShowPlacemanager call; may return null when
// no dialog can be shown (ShowPlacemanager then returns false).
using PlaceManagerFactory = std::function<std::unique_ptr<PlaceManagerDialog>()>;

// Installs the process-wide factory; an empty function removes it. Returns
// the factory installed before.
PlaceManagerFactory SetPlaceManagerFactory(PlaceManagerFactory factory);

}  // namespace tarv

#endif  // TARVPLACES_PLACEMANAGER_H_
