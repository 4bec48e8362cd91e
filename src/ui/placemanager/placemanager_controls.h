// What the parts of the place manager's model share about its controls.
#ifndef TARVPLACES_UI_PLACEMANAGER_PLACEMANAGER_CONTROLS_H_
#define TARVPLACES_UI_PLACEMANAGER_PLACEMANAGER_CONTROLS_H_

#include <cstdint>
#include <string>

#include "ui/placemanager/atlas_access.h"

namespace tarv::ui {

// The indices of the action buttons (bt_Action_N).
inline constexpr int kActionButtons[] = {1, 2, 3, 5};

// tb_Eingabe 5 (longitude) and 6 (latitude).
inline bool IsCoordinateField(std::int16_t index) {
  return index == 5 || index == 6;
}

// The fields that hold a place: its name (tb_Eingabe 3) and coordinates.
inline bool IsPlaceField(std::int16_t index) {
  return index == 3 || IsCoordinateField(index);
}

// The first column of a place list item ("München\t011E34'...").
inline std::string PlaceNameOfItem(const std::string& item) {
  return item.substr(0, item.find('\t'));
}

// The letter filter's item of a name's index letter, 0 ("All") for names
// not starting with A to Z.
inline std::int32_t LetterFilterItem(const std::string& name) {
  const std::string letter = NameIndexLetter(name);
  const char c = letter.empty() ? '\0' : letter[0];
  return c >= 'A' && c <= 'Z' ? c - 'A' + 1 : 0;
}

}  // namespace tarv::ui

#endif  // TARVPLACES_UI_PLACEMANAGER_PLACEMANAGER_CONTROLS_H_
