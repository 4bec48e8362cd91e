#include "ui/form_model.h"

#include <stdexcept>

namespace tarv::ui {

std::string FormModel::Member(std::string_view array, int index) {
  return std::string(array) + '_' + std::to_string(index);
}

const ControlState& FormModel::Control(std::string_view name) const {
  const auto it = controls_.find(name);
  if (it == controls_.end()) throw std::out_of_range("no control " + std::string(name));
  return it->second;
}

ControlState& FormModel::Add(std::string name) {
  return controls_[std::move(name)];
}

ControlState& FormModel::C(std::string_view name) {
  const auto it = controls_.find(name);
  if (it == controls_.end()) throw std::out_of_range("no control " + std::string(name));
  return it->second;
}

}  // namespace tarv::ui
