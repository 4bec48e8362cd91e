// The place manager's factory slot and ShowPlacemanager, the dialog's only
// opener.
#include "tarvplaces/placemanager.h"

#include <mutex>
#include <utility>

#include "atlas/atlas_fault.h"
#include "atlas/atlas_state.h"
#include "interface/read_call.h"
#include "platform/message_box.h"
#include "tarvplaces/places.h"
#include "util/text.h"

namespace tarv {
namespace {

struct FactorySlot {
  std::mutex mutex;
  PlaceManagerFactory factory;
};

FactorySlot& Slot() {
  static FactorySlot slot;
  return slot;
}

std::unique_ptr<PlaceManagerDialog> NewPlaceManager() {
  PlaceManagerFactory factory;
  {
    auto& slot = Slot();
    const std::lock_guard<std::mutex> lock(slot.mutex);
    factory = slot.factory;
  }
  return factory ? factory() : nullptr;
}

void ReportNotAvailable() {
  const bool german = CurrentAtlas().Language().Language() == kLanguageGerman;
  MsgBox(german ? "Die Orteverwaltung ist in diesem Programm nicht verf\xC3\xBCgbar."
                : "The place manager is not available in this program.",
         kMsgExclamation);
}

// Hosts pass names as the user typed them, sometimes with the full stop of
// an abbreviation ("St.") that the atlas does not store.
std::string PlaceName(const std::string* city) {
  if (city == nullptr) return {};
  std::string name = *city;
  if (!name.empty() && name.back() == '.') name.pop_back();
  return Trim(name);
}

template <typename T>
void WriteBack(T* target, const T& value) {
  if (target != nullptr) *target = value;
}

}  // namespace

PlaceManagerFactory SetPlaceManagerFactory(PlaceManagerFactory factory) {
  auto& slot = Slot();
  const std::lock_guard<std::mutex> lock(slot.mutex);
  return std::exchange(slot.factory, std::move(factory));
}

bool classPlaces::ShowPlacemanager(std::string* City, std::string* CountryShort, float* Longitude,
                                   float* Latitude, std::int16_t* Timetable, std::int16_t* Index,
                                   bool NewMode, std::int32_t Modal, OwnerWindow OwnerForm) {
  const FaultBox fault;
  // A fresh dialog per call, so every call starts with Canceled false.
  const std::unique_ptr<PlaceManagerDialog> dialog = NewPlaceManager();
  if (!dialog) {
    ReportNotAvailable();
    return false;
  }
  dialog->City(PlaceName(City));
  dialog->CountryShort(CountryShort != nullptr ? Trim(*CountryShort) : std::string());
  dialog->Longitude(Longitude != nullptr ? *Longitude : 0.0F);
  dialog->Latitude(Latitude != nullptr ? *Latitude : 0.0F);
  dialog->Timetable(Timetable != nullptr ? *Timetable : std::int16_t{0});
  dialog->Index(Index != nullptr ? *Index : std::int16_t{0});
  dialog->NewMode(NewMode);

  if (OwnerForm != 0) dialog->SetOwner(OwnerForm);
  dialog->Show(Modal);
  if (OwnerForm != 0) dialog->FocusOwner(OwnerForm);

  const bool accepted = !dialog->Canceled();
  if (accepted) {
    WriteBack(City, dialog->City());
    WriteBack(CountryShort, dialog->CountryShort());
    WriteBack(Longitude, dialog->Longitude());
    WriteBack(Latitude, dialog->Latitude());
    WriteBack(Timetable, dialog->Timetable());
    WriteBack(Index, dialog->Index());
  }
  return accepted;
}

}  // namespace tarv
