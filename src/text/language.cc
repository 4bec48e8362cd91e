#include "tarvplaces/language.h"

#include <charconv>
#include <fstream>

namespace tarv {

bool TarvLanguage::SetResourceFile(const std::string& path) {
  resource_file_ = path;
  texts_.clear();
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const auto tab = line.find('\t');
    if (tab == std::string::npos) continue;
    std::int32_t number = 0;
    const auto [end, ec] = std::from_chars(line.data(), line.data() + tab, number);
    if (ec != std::errc() || end != line.data() + tab) continue;
    texts_[number] = line.substr(tab + 1);
  }
  return true;
}

std::string TarvLanguage::Text(std::int32_t number) const {
  const auto it = texts_.find(number);
  return it == texts_.end() ? std::string() : it->second;
}

}  // namespace tarv
