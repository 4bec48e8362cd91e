// The list control a host hands to SearchPlacesInForm: any list that can be
// cleared, take items and keep one number per item.
#ifndef TARVPLACES_LIST_CONTROL_H_
#define TARVPLACES_LIST_CONTROL_H_

#include <cstdint>
#include <string>

namespace tarv {

class PlaceListControl {
 public:
  virtual ~PlaceListControl() = default;
  // Removes every item.
  virtual void Clear() = 0;
  // Appends an item (UTF-8 text).
  virtual void AddItem(const std::string& item) = 0;
  // The index of the item added last.
  virtual std::int32_t NewIndex() const = 0;
  // Stores `data` with the item at `index`.
  virtual void ItemData(std::int32_t index, std::int32_t data) = 0;
};

}  // namespace tarv

#endif  // TARVPLACES_LIST_CONTROL_H_
